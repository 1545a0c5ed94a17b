// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/CWInternetAddress.h"

#include "mail/PlainText.h"

#include <QHostAddress>
#include <QUrl>

#include <algorithm>

namespace quillfen::mail {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMostLocalOctets = 64; // RFC 5321 section 4.5.3.1.1
constexpr qsizetype kMostHostOctets = 253; // RFC 1035 section 2.3.4, as text
constexpr qsizetype kMostLabelOctets = 63;

bool isLetterOrDigit(char16_t unit)
{
    return (unit >= u'a' && unit <= u'z') || (unit >= u'A' && unit <= u'Z')
        || (unit >= u'0' && unit <= u'9');
}

/// What RFC 5322 lets stand in an address without quotes.
bool isLocal(QChar character)
{
    return isLetterOrDigit(character.unicode())
        || QStringView(u"!#$%&'*+-/=?^_`{|}~.").contains(character);
}

/// Underscores are no part of a host name, but of names that people have given their hosts.
bool isLabel(const QByteArray &label)
{
    return !label.isEmpty() && label.size() <= kMostLabelOctets && !label.startsWith('-')
        && !label.endsWith('-') && std::all_of(label.begin(), label.end(), [](char octet) {
               return isLetterOrDigit(static_cast<unsigned char>(octet)) || octet == '-'
                   || octet == '_';
           });
}

/// The octets of a domain: a host name, or an address in brackets. Empty: it is neither.
QByteArray asciiDomain(const QString &domain)
{
    if (!domain.startsWith(u'[') || !domain.endsWith(u']'))
        return asciiHostName(domain);
    constexpr auto kIPv6Tag = "IPv6:"_L1;
    const QString literal = domain.sliced(1, domain.size() - 2);
    const bool tagged = literal.startsWith(kIPv6Tag, Qt::CaseInsensitive);
    const QHostAddress address(tagged ? literal.sliced(kIPv6Tag.size()) : literal);
    const auto protocol = tagged ? QAbstractSocket::IPv6Protocol : QAbstractSocket::IPv4Protocol;
    if (address.protocol() != protocol || !address.scopeId().isEmpty())
        return {};
    return (tagged ? "[IPv6:" : "[") + address.toString().toLatin1() + ']';
}

/// A name without the quotes around it and the backslashes in it.
QString unquoted(QString name)
{
    if (name.size() < 2 || !name.startsWith(u'"') || !name.endsWith(u'"'))
        return name;
    name = name.sliced(1, name.size() - 2);
    for (qsizetype at = name.indexOf(u'\\'); at >= 0; at = name.indexOf(u'\\', at + 1))
        name.remove(at, 1);
    return name;
}

} // namespace

CWInternetAddress CWInternetAddress::refused(const QString &reason)
{
    CWInternetAddress address;
    address.m_refusal = reason;
    return address;
}

CWInternetAddress CWInternetAddress::initWithString(const QString &text)
{
    if (hasControl(text)) // at its ends too: whoever put it there meant something else
        return refused(u"has a control character in it"_s);
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty())
        return refused(u"is empty"_s);

    QString name;
    QString bare = trimmed;
    if (const qsizetype open = trimmed.lastIndexOf(u'<'); open >= 0 && trimmed.endsWith(u'>')) {
        name = unquoted(trimmed.first(open).trimmed());
        bare = trimmed.sliced(open + 1).chopped(1).trimmed();
    }
    const qsizetype at = bare.lastIndexOf(u'@');
    if (at < 0)
        return refused(u"has no “@” in it"_s);
    const QString local = bare.first(at);
    if (local.isEmpty() || local.size() > kMostLocalOctets
        || !std::all_of(local.begin(), local.end(), isLocal))
        return refused(u"has something before the “@” that cannot be sent"_s);
    const QByteArray domain = asciiDomain(bare.sliced(at + 1));
    if (domain.isEmpty())
        return refused(u"has no host name behind the “@”"_s);

    CWInternetAddress address;
    address.m_wire = local.toLatin1() + '@' + domain;
    address.m_name = name;
    address.m_refusal.clear();
    return address;
}

QByteArray asciiHostName(const QString &name)
{
    const QByteArray utf8 = name.toUtf8();
    const bool isAscii =
        std::all_of(utf8.begin(), utf8.end(), [](char octet) { return (octet & 0x80) == 0; });
    QByteArray ascii = isAscii ? utf8 : QUrl::toAce(name);
    if (ascii.endsWith('.')) // the root's own, empty label
        ascii.chop(1);
    const QByteArrayList labels = ascii.split('.');
    const bool isName =
        ascii.size() <= kMostHostOctets && std::all_of(labels.begin(), labels.end(), isLabel);
    return isName ? ascii : QByteArray();
}

} // namespace quillfen::mail
