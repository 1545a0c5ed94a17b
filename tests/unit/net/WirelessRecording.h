// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/net/NetlinkMessage.h"
#include "unit/net/MessageBuilder.h"
#include "unit/net/Recording.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <cstdint>
#include <stdexcept>
#include <utility>

#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <linux/nl80211.h>

namespace quillfen::test {

/// The number of the family in all recordings.
inline constexpr std::uint16_t kWireless = 35;
/// The name of the network in all recordings.
inline const QByteArray kRecordedName = QByteArrayLiteral("Caf\xe9\xff \xf0\x9f\x8d\xb5");

/// The messages of the file @p name of data/nl80211, without the end of the table; README.md
/// there tells what they show.
inline QList<QByteArray> wirelessRecording(const QString &name)
{
    QFile file(QStringLiteral(QUILLFEN_NET_DATA "/nl80211/%1.bin").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        throw std::runtime_error(file.fileName().toStdString());
    const QByteArray recorded = file.readAll();
    platform::Bytes rest = bytesOf(recorded);
    QList<QByteArray> messages;
    while (!rest.empty()) {
        const auto before = rest;
        const auto message = platform::takeMessage(rest);
        if (!message)
            throw std::runtime_error("half a message");
        if (message->type != NLMSG_DONE)
            messages.append(QByteArray(reinterpret_cast<const char *>(before.data()),
                                       static_cast<qsizetype>(before.size() - rest.size())));
    }
    return messages;
}

/// A message of the wireless part, padded, as the kernel writes it.
inline QByteArray wirelessMessage(std::uint8_t command, const QByteArray &attributes)
{
    const genlmsghdr header{.cmd = command, .version = 1, .reserved = 0};
    return message(kWireless, raw(header) + attributes, 1, NLM_F_MULTI);
}

/// An interface @p name of the given type.
inline QByteArray interface(std::uint32_t index, const QByteArray &name,
                            std::uint32_t type = NL80211_IFTYPE_STATION)
{
    return wirelessMessage(NL80211_CMD_NEW_INTERFACE,
                           attribute(NL80211_ATTR_IFINDEX, raw(index))
                               + attribute(NL80211_ATTR_IFNAME, name + '\0')
                               + attribute(NL80211_ATTR_IFTYPE, raw(type)));
}

/// An element of what a network sends.
inline QByteArray element(char number, const QByteArray &payload)
{
    return QByteArray(1, number) + static_cast<char>(payload.size()) + payload;
}

/// A network within reach, from its attributes NL80211_BSS_….
inline QByteArray network(const QByteArray &attributes)
{
    return wirelessMessage(NL80211_CMD_NEW_SCAN_RESULTS,
                           attribute(NL80211_ATTR_BSS | NLA_F_NESTED, attributes));
}

inline QByteArray status(std::uint32_t value)
{
    return attribute(NL80211_BSS_STATUS, raw(value));
}

/// A network of that name, joined or not.
inline QByteArray network(const QByteArray &name, bool joined)
{
    const QByteArray elements = attribute(NL80211_BSS_INFORMATION_ELEMENTS, element(0, name));
    return network(joined ? elements + status(NL80211_BSS_STATUS_ASSOCIATED) : elements);
}

} // namespace quillfen::test
