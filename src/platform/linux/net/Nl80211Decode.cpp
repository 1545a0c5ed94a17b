// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/Nl80211Decode.h"

#include <cstddef>

#include <linux/genetlink.h>
#include <linux/nl80211.h>

namespace quillfen::platform {
namespace {

/// The element with the network's name, and its greatest length in bytes.
constexpr std::byte kNameElement{0};
constexpr std::size_t kLongestName = 32;

/// The attributes of a message of the given command; none for other messages.
Bytes attributesOf(const NetlinkMessage &message, std::uint8_t command)
{
    const auto header = valueAtFront<genlmsghdr>(message.payload);
    return header && header->cmd == command ? afterAligned(message.payload, sizeof(genlmsghdr))
                                            : Bytes();
}

/// Takes the next element off the front of @p rest: a number, a length, and that many bytes. The
/// length must be what is left at most.
std::optional<Bytes> takeElement(Bytes &rest, std::byte &number)
{
    constexpr std::size_t kHeader = 2;
    if (rest.size() < kHeader || std::to_integer<std::size_t>(rest[1]) > rest.size() - kHeader)
        return {};
    number = rest[0];
    const Bytes payload = rest.subspan(kHeader, std::to_integer<std::size_t>(rest[1]));
    rest = rest.subspan(kHeader + payload.size());
    return payload;
}

/// The name in the elements of a network's answer; nothing where it hides its name, which it
/// does with no bytes, or with as many zeros.
std::optional<QByteArray> nameIn(Bytes elements)
{
    std::byte number{};
    while (const auto payload = takeElement(elements, number)) {
        if (number != kNameElement)
            continue;
        const bool hidden =
            std::ranges::all_of(*payload, [](std::byte each) { return each == std::byte{0}; });
        if (hidden || payload->size() > kLongestName)
            return {};
        return QByteArray(reinterpret_cast<const char *>(payload->data()),
                          static_cast<qsizetype>(payload->size()));
    }
    return {};
}

std::optional<QByteArray> joinedNetwork(Bytes network)
{
    std::optional<std::uint32_t> status;
    Bytes answered;
    Bytes announced;
    while (const auto attribute = takeAttribute(network)) {
        if (attribute->type == NL80211_BSS_STATUS)
            status = valueAtFront<std::uint32_t>(attribute->payload);
        else if (attribute->type == NL80211_BSS_INFORMATION_ELEMENTS)
            answered = attribute->payload;
        else if (attribute->type == NL80211_BSS_BEACON_IES)
            announced = attribute->payload;
    }
    if (status != NL80211_BSS_STATUS_ASSOCIATED)
        return {};
    // What it answers when it is asked names even a network that hides its name in what it
    // announces to everybody.
    const auto name = nameIn(answered);
    return name ? name : nameIn(announced);
}

} // namespace

std::optional<std::uint16_t> decodeWirelessFamily(const NetlinkMessage &message)
{
    if (message.type != GENL_ID_CTRL)
        return {};
    QByteArray name;
    std::optional<std::uint16_t> number;
    Bytes rest = attributesOf(message, CTRL_CMD_NEWFAMILY);
    while (const auto attribute = takeAttribute(rest)) {
        if (attribute->type == CTRL_ATTR_FAMILY_NAME)
            name = textAtFront(attribute->payload);
        else if (attribute->type == CTRL_ATTR_FAMILY_ID)
            number = valueAtFront<std::uint16_t>(attribute->payload);
    }
    return name == NL80211_GENL_NAME && number >= NLMSG_MIN_TYPE ? number : std::nullopt;
}

std::optional<Station> decodeStation(const NetlinkMessage &message)
{
    Station station;
    std::optional<std::uint32_t> type;
    Bytes rest = attributesOf(message, NL80211_CMD_NEW_INTERFACE);
    while (const auto attribute = takeAttribute(rest)) {
        if (attribute->type == NL80211_ATTR_IFINDEX)
            station.index = valueAtFront<std::uint32_t>(attribute->payload).value_or(0);
        else if (attribute->type == NL80211_ATTR_IFNAME)
            station.name = QString::fromUtf8(textAtFront(attribute->payload));
        else if (attribute->type == NL80211_ATTR_IFTYPE)
            type = valueAtFront<std::uint32_t>(attribute->payload);
    }
    return type == NL80211_IFTYPE_STATION && station.index != 0 ? std::optional(station)
                                                                : std::nullopt;
}

std::optional<QByteArray> decodeJoinedNetwork(const NetlinkMessage &message)
{
    Bytes rest = attributesOf(message, NL80211_CMD_NEW_SCAN_RESULTS);
    while (const auto attribute = takeAttribute(rest)) {
        if (attribute->type == NL80211_ATTR_BSS)
            return joinedNetwork(attribute->payload);
    }
    return {};
}

} // namespace quillfen::platform
