// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/StatusForms.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace quillfen::app {

using platform::ShownStatus;

namespace {

const QString kUnknown = u"not known"_s;

QJsonValue orNull(const std::optional<QString> &text)
{
    return text ? QJsonValue(*text) : QJsonValue(QJsonValue::Null);
}

/// So many addresses stand in a tooltip.
constexpr qsizetype kMostInTooltip = 10;

QString addressesInTooltip(const QStringList &addresses)
{
    if (addresses.isEmpty())
        return u"No local address"_s;
    const QString text =
        u"Local addresses: "_s + QStringList(addresses.mid(0, kMostInTooltip)).join(u", ");
    const qsizetype more = addresses.size() - kMostInTooltip;
    return more <= 0 ? text : text + u" and %1 more"_s.arg(more);
}

/// What JSON lets stand, and what would steer the terminal that shows it: DEL and C1, and the marks
/// that turn the direction of what follows.
bool steers(char16_t c)
{
    return (c >= 0x7f && c <= 0x9f) || c == 0x061c || c == 0x200e || c == 0x200f
        || (c >= 0x2028 && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069);
}

/// As one line of JSON (RFC 8259). Outside of its texts there is nothing but ASCII, so what steers
/// stands inside of one and can be escaped.
QByteArray oneLine(const QJsonObject &object)
{
    QString line;
    for (const QChar c : QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact)))
        line += steers(c.unicode()) ? u"\\u%1"_s.arg(c.unicode(), 4, 16, '0'_L1) : QString(c);
    return line.toUtf8() + '\n';
}

/// What is to be known beside the title, each on a line; what is not known is left out.
QStringList details(const ShownStatus &status)
{
    QStringList lines{addressesInTooltip(status.addresses)};
    const auto add = [&lines](const QString &label, const std::optional<QString> &value) {
        if (value)
            lines += label + *value;
    };
    add(u"DNS name: "_s, status.dnsName);
    add(u"Computer: "_s, status.computerName);
    add(u"Wireless network: "_s, status.wirelessNetwork);
    add(u"External address: "_s, status.externalAddress);
    return lines;
}

} // namespace

QStringList statusLines(const ShownStatus &status)
{
    const QStringList &addresses = status.addresses;
    return {u"Title: "_s + status.title,
            u"First address: "_s + (addresses.isEmpty() ? u"none"_s : addresses.first()),
            u"DNS name: "_s + status.dnsName.value_or(kUnknown),
            u"Local addresses: "_s + (addresses.isEmpty() ? u"none"_s : addresses.join(u", ")),
            u"Computer name: "_s + status.computerName.value_or(kUnknown),
            u"Wireless network: "_s + status.wirelessNetwork.value_or(kUnknown),
            u"External address: "_s + status.externalAddress.value_or(kUnknown)};
}

QByteArray statusJson(const ShownStatus &status)
{
    const QStringList &addresses = status.addresses;
    return oneLine(
        {{u"title"_s, status.title},
         {u"address"_s, addresses.isEmpty() ? QJsonValue(QJsonValue::Null) : addresses.first()},
         {u"addresses"_s, QJsonArray::fromStringList(addresses)},
         {u"dnsName"_s, orNull(status.dnsName)},
         {u"computerName"_s, orNull(status.computerName)},
         {u"wirelessNetwork"_s, orNull(status.wirelessNetwork)},
         {u"externalAddress"_s, orNull(status.externalAddress)}});
}

QByteArray barLine(const ShownStatus &status)
{
    const bool connected = !status.addresses.isEmpty();
    return oneLine({{u"text"_s, status.title.toHtmlEscaped()},
                    {u"tooltip"_s, details(status).join(u'\n').toHtmlEscaped()},
                    {u"class"_s, connected ? u"connected"_s : u"disconnected"_s}});
}

} // namespace quillfen::app
