// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>

namespace quillfen::platform {

using Bytes = std::span<const std::byte>;

/// One message of the kernel's. It points into the bytes that it was taken from.
/// @source netlink(7)
struct NetlinkMessage {
    std::uint16_t type = 0; ///< NLMSG_… or a type of the protocol's own, such as RTM_NEWLINK.
    std::uint16_t flags = 0; ///< NLM_F_…
    std::uint32_t sequence = 0; ///< Of the request that it answers; 0 if it answers none.
    Bytes payload;
};

/// One typed value inside a message. It points into the bytes that it was taken from.
struct NetlinkAttribute {
    std::uint16_t type = 0; ///< Without the flags NLA_F_NESTED and NLA_F_NET_BYTEORDER.
    Bytes payload;
};

/// Takes the next message off the front of @p rest, which needs no alignment.
/// @returns nothing when no whole message is left.
std::optional<NetlinkMessage> takeMessage(Bytes &rest);

/// Takes the next attribute off the front of @p rest, which needs no alignment.
/// @returns nothing when no whole attribute is left.
std::optional<NetlinkAttribute> takeAttribute(Bytes &rest);

/// The value at the front of @p bytes, in the machine's byte order; nothing if they are too few.
template <typename T>
std::optional<T> valueAtFront(Bytes bytes)
{
    if (bytes.size() < sizeof(T))
        return {};
    T value;
    std::memcpy(&value, bytes.data(), sizeof(T));
    return value;
}

/// The text at the front of @p bytes: up to the first NUL, or all where there is none.
QByteArray textAtFront(Bytes bytes);

/// What follows the first @p size bytes and the padding after them; empty if nothing does.
Bytes afterAligned(Bytes bytes, std::size_t size);

} // namespace quillfen::platform
