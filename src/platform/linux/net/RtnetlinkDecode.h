// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/net/NetlinkMessage.h"

#include <QString>

#include <array>
#include <cstdint>
#include <optional>

// What single lines of the kernel's network tables say. All functions are total: they answer
// nothing for a message of another kind, or one that is cut short or makes no sense.
// Source: rtnetlink(7).

namespace quillfen::platform {

/// A network interface.
struct Link {
    int index = 0; ///< The kernel's number; never 0 in a decoded link.
    std::uint32_t flags = 0; ///< IFF_…
    int master = 0; ///< The bridge or bond that it is a port of; 0: none.
    QString name{};
    QString kind{}; ///< "bridge", "veth", "tun", …; empty for hardware.

    friend bool operator==(const Link &, const Link &) = default;
};

/// An IPv4 address of an interface.
struct LinkAddress {
    int link = 0; ///< Index of the interface.
    std::array<std::uint8_t, 4> address{}; ///< Our own end's, in the order it is written.
    std::uint32_t flags = 0; ///< IFA_F_…
    std::uint8_t scope = 0; ///< RT_SCOPE_…

    friend bool operator==(const LinkAddress &, const LinkAddress &) = default;
};

/// A way to everywhere: a unicast default route of the main table.
struct DefaultRoute {
    int link = 0; ///< Index of the interface it leaves by, the first if several.
    std::uint32_t metric = 0; ///< The smaller, the better.

    friend bool operator==(const DefaultRoute &, const DefaultRoute &) = default;
};

/// An interface that is there, from RTM_NEWLINK. A bridge tells about its ports in messages of a
/// family of its own, which describe no interface.
std::optional<Link> decodeLink(const NetlinkMessage &message);

/// An address that is there, from RTM_NEWADDR.
std::optional<LinkAddress> decodeAddress(const NetlinkMessage &message);

/// A default route that is there, from RTM_NEWROUTE; nothing for any other route.
std::optional<DefaultRoute> decodeDefaultRoute(const NetlinkMessage &message);

} // namespace quillfen::platform
