// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "platform/linux/bus/LocalSockets.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>

using quillfen::platform::LocalSocket;
using quillfen::test::require;

/// Any value of DBUS_SESSION_BUS_ADDRESS.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray addresses(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const auto sockets = quillfen::platform::localSockets(addresses);
    if (!sockets)
        return 0;
    require(static_cast<qsizetype>(sockets->size()) <= addresses.count(';') + 1);
    for (const LocalSocket &socket : *sockets) {
        require(socket.address.sun_family == AF_UNIX);
        require(socket.size > offsetof(sockaddr_un, sun_path));
        require(socket.size <= sizeof socket.address);
    }
    return 0;
}
