// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/RtnetlinkDecode.h"

#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace quillfen::platform {
namespace {

using Address = std::array<std::uint8_t, 4>;

QString kindOf(Bytes linkInfo)
{
    while (const auto attribute = takeAttribute(linkInfo)) {
        if (attribute->type == IFLA_INFO_KIND)
            return QString::fromUtf8(textAtFront(attribute->payload));
    }
    return {};
}

/// Only a value of exactly four bytes is an IPv4 address.
std::optional<Address> addressIn(Bytes payload)
{
    return payload.size() == sizeof(Address) ? valueAtFront<Address>(payload) : std::nullopt;
}

/// Where the first of several ways leaves; 0 if there is none.
int firstHop(Bytes ways)
{
    const auto hop = valueAtFront<rtnexthop>(ways);
    return hop ? hop->rtnh_ifindex : 0;
}

/// The front of a message of the given type; nothing for other messages.
template <typename Header>
std::optional<Header> headerOf(const NetlinkMessage &message, std::uint16_t type)
{
    return message.type == type ? valueAtFront<Header>(message.payload) : std::nullopt;
}

} // namespace

std::optional<Link> decodeLink(const NetlinkMessage &message)
{
    const auto header = headerOf<ifinfomsg>(message, RTM_NEWLINK);
    if (!header || header->ifi_family != AF_UNSPEC || header->ifi_index <= 0)
        return {};
    Link link{.index = header->ifi_index, .flags = header->ifi_flags};
    Bytes rest = afterAligned(message.payload, sizeof(ifinfomsg));
    while (const auto attribute = takeAttribute(rest)) {
        switch (attribute->type) {
        case IFLA_IFNAME:
            link.name = QString::fromUtf8(textAtFront(attribute->payload));
            break;
        case IFLA_MASTER:
            link.master = valueAtFront<int>(attribute->payload).value_or(0);
            break;
        case IFLA_LINKINFO:
            link.kind = kindOf(attribute->payload);
            break;
        default:
            break;
        }
    }
    return link.name.isEmpty() ? std::nullopt : std::optional(link);
}

std::optional<LinkAddress> decodeAddress(const NetlinkMessage &message)
{
    const auto header = headerOf<ifaddrmsg>(message, RTM_NEWADDR);
    if (!header || header->ifa_family != AF_INET || header->ifa_index == 0)
        return {};
    LinkAddress result{.link = static_cast<int>(header->ifa_index),
                       .address = {},
                       .flags = header->ifa_flags,
                       .scope = header->ifa_scope};
    std::optional<Address> local;
    std::optional<Address> otherEnd;
    Bytes rest = afterAligned(message.payload, sizeof(ifaddrmsg));
    while (const auto attribute = takeAttribute(rest)) {
        if (attribute->type == IFA_LOCAL)
            local = addressIn(attribute->payload);
        else if (attribute->type == IFA_ADDRESS)
            otherEnd = addressIn(attribute->payload);
        else if (attribute->type == IFA_FLAGS) // all flags; the header has room for eight
            result.flags = valueAtFront<std::uint32_t>(attribute->payload).value_or(result.flags);
    }
    // On a point-to-point interface IFA_ADDRESS is the peer; elsewhere both are the same.
    const auto own = local ? local : otherEnd;
    if (!own)
        return {};
    result.address = *own;
    return result;
}

std::optional<DefaultRoute> decodeDefaultRoute(const NetlinkMessage &message)
{
    const auto header = headerOf<rtmsg>(message, RTM_NEWROUTE);
    if (!header || header->rtm_family != AF_INET || header->rtm_dst_len != 0
        || header->rtm_type != RTN_UNICAST || header->rtm_flags & RTM_F_CLONED)
        return {};
    DefaultRoute route;
    std::uint32_t table = header->rtm_table;
    Bytes rest = afterAligned(message.payload, sizeof(rtmsg));
    while (const auto attribute = takeAttribute(rest)) {
        if (attribute->type == RTA_TABLE)
            table = valueAtFront<std::uint32_t>(attribute->payload).value_or(table);
        else if (attribute->type == RTA_PRIORITY)
            route.metric = valueAtFront<std::uint32_t>(attribute->payload).value_or(0);
        else if (attribute->type == RTA_OIF)
            route.link = valueAtFront<int>(attribute->payload).value_or(0);
        else if (attribute->type == RTA_MULTIPATH && route.link == 0)
            route.link = firstHop(attribute->payload);
    }
    return table == RT_TABLE_MAIN && route.link > 0 ? std::optional(route) : std::nullopt;
}

} // namespace quillfen::platform
