// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/net/ServiceOrder.h"

#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace quillfen::platform {

/// The store's key of the IPv4 entity of @p service.
QString keyOf(const Service &service);

/// The keys whose values differ between two states: services that came or went, or whose own
/// addresses changed; all keys if only the order of the services did.
QStringList changedKeys(const std::vector<Service> &before, const std::vector<Service> &after);

/// The keys that a connection wants to hear of.
class KeyPatterns {
public:
    /// Each pattern is a regular expression that must match a whole key.
    /// @returns nothing if one of them is none.
    static std::optional<KeyPatterns> from(const QStringList &patterns);

    /// Those of @p services whose keys match, in the same order. Of those that come in the order
    /// of @p known, an earlier answer, the keys are not matched again.
    std::vector<Service> matching(const std::vector<Service> &services,
                                  const std::vector<Service> &known = {}) const;

private:
    bool match(const Service &service) const;

    std::vector<QRegularExpression> m_expressions;
};

} // namespace quillfen::platform
