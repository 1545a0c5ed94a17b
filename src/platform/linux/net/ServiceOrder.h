// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/net/RtnetlinkDecode.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace quillfen::platform {

/// The kernel's tables, each in the kernel's own order.
struct NetworkTables {
    std::vector<Link> links;
    std::vector<LinkAddress> addresses;
    std::vector<DefaultRoute> routes;
};

/// A network service: an interface in use, and its addresses.
struct Service {
    QString identifier; ///< The interface's name.
    QStringList addresses; ///< Dotted-decimal; never empty; duplicates stay.

    friend bool operator==(const Service &, const Service &) = default;
};

/// The services in the order that a person cares about, so that the first address is "the" one.
///
/// In use is an interface that is up, has its cable or radio connection (RUNNING and LOWER_UP:
/// at a loss the latter falls first, at a Wi-Fi login the former comes last), is no loopback, if
/// it is a bridge has a port, and has an address of a scope wider than this host.
///
/// First come the interfaces of default routes, best metric first and in the kernel's order
/// where equal; then hardware; then what software made (bridges, virtual cables, tunnels); within
/// each by interface number. Inside one, addresses keep the kernel's order, but those of link
/// scope (169.254…) come behind the wider ones, and deprecated ones last.
std::vector<Service> orderedServices(const NetworkTables &tables);

} // namespace quillfen::platform
