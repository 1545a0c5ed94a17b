// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/net/NetlinkMessage.h"
#include "platform/linux/net/ServiceOrder.h"

#include <QByteArray>
#include <QFile>
#include <QString>

namespace quillfen::test {

/// The kernel's answers of data/network.bin; data/record.py tells what network that was.
inline QByteArray recording()
{
    QFile file(QStringLiteral(QUILLFEN_NET_DATA "/network.bin"));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline platform::Bytes bytesOf(const QByteArray &bytes)
{
    return std::as_bytes(std::span(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

/// All that the messages at the front of @p bytes tell.
inline platform::NetworkTables decodeAll(platform::Bytes bytes)
{
    platform::NetworkTables tables;
    while (const auto message = platform::takeMessage(bytes)) {
        if (auto link = platform::decodeLink(*message))
            tables.links.push_back(*std::move(link));
        if (const auto address = platform::decodeAddress(*message))
            tables.addresses.push_back(*address);
        if (const auto route = platform::decodeDefaultRoute(*message))
            tables.routes.push_back(*route);
    }
    return tables;
}

} // namespace quillfen::test
