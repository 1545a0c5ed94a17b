// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/net/NetlinkMessage.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <optional>

// What single messages of the kernel's wireless part say. All functions are total: they answer
// nothing for a message of another kind, or one that is cut short or makes no sense. Whether a
// message is from the wireless part at all is for the caller to know: its type is the number
// that decodeWirelessFamily() found.
// Source: <linux/genetlink.h>, <linux/nl80211.h>.

namespace quillfen::platform {

/// A radio's interface that joins networks as others do: none that opens one of its own, none
/// that only listens.
struct Station {
    std::uint32_t index = 0; ///< The kernel's number of the interface; never 0 when decoded.
    QString name{}; ///< The interface's.

    friend bool operator==(const Station &, const Station &) = default;
};

/// The number of the family "nl80211", from CTRL_CMD_NEWFAMILY; nothing for other families. The
/// kernel gives it out anew at each start.
std::optional<std::uint16_t> decodeWirelessFamily(const NetlinkMessage &message);

/// A station, from NL80211_CMD_NEW_INTERFACE; nothing for interfaces of other types.
std::optional<Station> decodeStation(const NetlinkMessage &message);

/// The name (SSID) of the network that the asked station is joined to, from one
/// NL80211_CMD_NEW_SCAN_RESULTS: 1 to 32 bytes of whatever coding. Nothing for the networks that
/// are only within reach, and for a joined one that hides its name.
///
/// The station's own message has a name as well, but with many access points it has none, and it
/// has one already while the station still tries to join.
/// @source IEEE 802.11 section 9.4.2.2 (SSID element)
std::optional<QByteArray> decodeJoinedNetwork(const NetlinkMessage &message);

} // namespace quillfen::platform
