// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/NameLookup.h"

#include <functional>
#include <memory>

namespace quillfen::platform {

/// Addresses from the system's resolver.
///
/// The resolver cannot be interrupted and may take 10 s and more when name servers are dead, so
/// each lookup runs on a thread of its own that nobody waits for, the end of the process
/// included. Whoever asks for a name that is being looked up shares that lookup. While kMostNames
/// are being looked up, a further name gets no address at once.
class SystemNameLookup : public NameLookup {
public:
    /// Finds the addresses of a name. Called on a thread of its own, several at once, and
    /// possibly still running when the process ends; so it owns all that it uses.
    using Resolver = std::function<NameAnswer(const QString &name)>;
    static constexpr int kMostNames = 8;

    SystemNameLookup();
    explicit SystemNameLookup(Resolver resolver);
    ~SystemNameLookup() override;

    Task<NameAnswer> addresses(QString name) override;

private:
    struct Exchange;

    /// @returns whether a lookup of @p name runs and will give its answer.
    bool join(const QString &name, const Giver<NameAnswer> &give);

    Resolver m_resolver;
    std::shared_ptr<Exchange> m_exchange; ///< Outlives us while a lookup is out.
};

/// The system's own resolver: getaddrinfo(3), hence /etc/hosts, DNS, mDNS: whatever
/// nsswitch.conf(5) names.
NameAnswer systemAddresses(const QString &name);

} // namespace quillfen::platform
