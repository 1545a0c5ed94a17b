// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <cstdint>

#include <linux/netlink.h>

namespace quillfen::test {

/// The bytes of @p value as they lie in memory.
template <typename T>
QByteArray raw(const T &value)
{
    return QByteArray(reinterpret_cast<const char *>(&value), sizeof value);
}

/// Filled up to the next multiple of four.
inline QByteArray padded(QByteArray bytes)
{
    return bytes.append((4 - bytes.size() % 4) % 4, '\0');
}

/// One attribute, padded, as the kernel writes it.
inline QByteArray attribute(std::uint16_t type, const QByteArray &payload)
{
    const nlattr header{.nla_len = static_cast<std::uint16_t>(sizeof(nlattr) + payload.size()),
                        .nla_type = type};
    return padded(raw(header) + payload);
}

/// One message, padded, as the kernel writes it.
inline QByteArray message(std::uint16_t type, const QByteArray &payload, std::uint32_t sequence = 1,
                          std::uint16_t flags = 0)
{
    const nlmsghdr header{.nlmsg_len =
                              static_cast<std::uint32_t>(sizeof(nlmsghdr) + payload.size()),
                          .nlmsg_type = type,
                          .nlmsg_flags = flags,
                          .nlmsg_seq = sequence,
                          .nlmsg_pid = 0};
    return padded(raw(header) + payload);
}

} // namespace quillfen::test
