// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Host.h"
#include "platform/Later.h"

#include <functional>
#include <memory>

namespace quillfen::platform {

/// Names from the system's resolver and of this machine.
///
/// The resolver cannot be interrupted and may take 10 s and more when name servers are dead, so
/// each lookup runs on a thread of its own that nobody waits for: not the caller for
/// longer than 2 s, and not the end of the process at all. While kMostLookups are still out, a
/// further one answers nothing at once.
class HostNames : public Host {
public:
    /// Finds the name of a valid IPv4 address. Called on a thread of its own, several at once,
    /// and possibly still running when the process ends; so it owns all that it uses.
    using Resolver = std::function<std::optional<QString>(const QString &address)>;
    static constexpr int kMostLookups = 8;

    HostNames();
    /// With another @p resolver and another machine-info(5) file.
    HostNames(Resolver resolver, QString machineInfoPath);
    ~HostNames() override;

    Task<std::optional<QString>> name(QString address) override;
    std::optional<QString> machineName() const override;

private:
    struct Exchange;

    /// @returns whether the lookup runs and will give its answer.
    bool startLookup(const QString &address, const Giver<std::optional<QString>> &give);

    Resolver m_resolver;
    QString m_machineInfoPath;
    std::shared_ptr<Exchange> m_exchange; ///< Outlives us while a lookup is out.
};

/// The system's own resolver: getnameinfo(3) with NI_NAMEREQD, hence /etc/hosts, DNS, mDNS:
/// whatever nsswitch.conf(5) names.
std::optional<QString> systemResolver(const QString &address);

} // namespace quillfen::platform
