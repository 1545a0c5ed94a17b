// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/ServiceKeys.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace quillfen::platform {
namespace {

std::map<QString, QStringList> byKey(const std::vector<Service> &services)
{
    std::map<QString, QStringList> values;
    for (const Service &service : services)
        values[keyOf(service)] += service.addresses;
    return values;
}

} // namespace

QString keyOf(const Service &service)
{
    return QStringLiteral("State:/Network/Service/%1/IPv4").arg(service.identifier);
}

QStringList changedKeys(const std::vector<Service> &before, const std::vector<Service> &after)
{
    const auto former = byKey(before);
    const auto present = byKey(after);
    std::map<QString, QStringList> differing;
    std::ranges::set_symmetric_difference(former, present,
                                          std::inserter(differing, differing.end()));
    QStringList keys;
    for (const auto &[key, addresses] : differing.empty() ? present : differing)
        keys.append(key);
    return keys;
}

std::optional<KeyPatterns> KeyPatterns::from(const QStringList &patterns)
{
    KeyPatterns keys;
    for (const QString &pattern : patterns) {
        QRegularExpression expression(QRegularExpression::anchoredPattern(pattern));
        if (!expression.isValid())
            return {};
        keys.m_expressions.push_back(std::move(expression));
    }
    return keys;
}

std::vector<Service> KeyPatterns::matching(const std::vector<Service> &services,
                                           const std::vector<Service> &known) const
{
    std::vector<Service> wanted;
    auto next = known.begin();
    for (const Service &service : services) {
        const bool isKnown = next != known.end() && next->identifier == service.identifier;
        if (isKnown)
            ++next;
        if (isKnown || match(service))
            wanted.push_back(service);
    }
    return wanted;
}

bool KeyPatterns::match(const Service &service) const
{
    const QString key = keyOf(service);
    return std::ranges::any_of(m_expressions, [&key](const QRegularExpression &expression) {
        return expression.match(key).hasMatch();
    });
}

} // namespace quillfen::platform
