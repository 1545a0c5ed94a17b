// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/NetlinkMessage.h"

#include <algorithm>

#include <linux/netlink.h>

namespace quillfen::platform {

// Messages and attributes are padded alike, so one function steps over both.
static_assert(NLMSG_ALIGNTO == NLA_ALIGNTO);

QByteArray textAtFront(Bytes bytes)
{
    const auto end = std::find(bytes.begin(), bytes.end(), std::byte{0});
    return {reinterpret_cast<const char *>(bytes.data()),
            static_cast<qsizetype>(end - bytes.begin())};
}

Bytes afterAligned(Bytes bytes, std::size_t size)
{
    // Compared before it is rounded up: near the largest number, rounding would wrap around.
    if (size >= bytes.size())
        return {};
    const std::size_t padded = NLMSG_ALIGN(size);
    return padded >= bytes.size() ? Bytes() : bytes.subspan(padded);
}

std::optional<NetlinkMessage> takeMessage(Bytes &rest)
{
    const auto header = valueAtFront<nlmsghdr>(rest);
    if (!header || header->nlmsg_len < sizeof(nlmsghdr) || header->nlmsg_len > rest.size())
        return {};
    const Bytes whole = rest.first(header->nlmsg_len);
    rest = afterAligned(rest, whole.size());
    return NetlinkMessage{.type = header->nlmsg_type,
                          .flags = header->nlmsg_flags,
                          .sequence = header->nlmsg_seq,
                          .payload = whole.subspan(sizeof(nlmsghdr))};
}

std::optional<NetlinkAttribute> takeAttribute(Bytes &rest)
{
    const auto header = valueAtFront<nlattr>(rest);
    if (!header || header->nla_len < sizeof(nlattr) || header->nla_len > rest.size())
        return {};
    const Bytes whole = rest.first(header->nla_len);
    rest = afterAligned(rest, whole.size());
    return NetlinkAttribute{.type = static_cast<std::uint16_t>(header->nla_type & NLA_TYPE_MASK),
                            .payload = whole.subspan(sizeof(nlattr))};
}

} // namespace quillfen::platform
