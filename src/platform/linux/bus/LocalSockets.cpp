// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/LocalSockets.h"

#include <QList>

#include <algorithm>
#include <cstddef>

namespace quillfen::platform {

namespace {

constexpr QByteArrayView kUnix = "unix:";

/// The name of the socket at @p keysAndValues; one that lies in no folder begins with a zero byte.
QByteArray socketName(const QByteArray &keysAndValues)
{
    for (const QByteArray &pair : keysAndValues.split(',')) {
        const qsizetype equals = pair.indexOf('=');
        const QByteArray key = pair.first(std::max<qsizetype>(equals, 0));
        const QByteArray value = QByteArray::fromPercentEncoding(pair.sliced(equals + 1));
        if (key == "path")
            return value;
        if (key == "abstract")
            return '\0' + value;
        if (key == "runtime" && value == "yes")
            return qgetenv("XDG_RUNTIME_DIR") + "/bus";
    }
    return {};
}

std::optional<LocalSocket> localSocket(const QByteArray &name)
{
    LocalSocket socket = {};
    if (name.isEmpty() || name.size() >= qsizetype(sizeof socket.address.sun_path))
        return {};
    socket.address.sun_family = AF_UNIX;
    std::copy(name.cbegin(), name.cend(), socket.address.sun_path);
    // A path ends with its zero byte; an abstract name has exactly the bytes that are counted.
    const std::size_t end = name.startsWith('\0') ? 0 : 1;
    socket.size = socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(name.size()) + end);
    return socket;
}

} // namespace

std::optional<std::vector<LocalSocket>> localSockets(const QByteArray &addresses)
{
    std::vector<LocalSocket> sockets;
    for (const QByteArray &address : addresses.split(';')) {
        if (address.isEmpty())
            continue;
        if (!address.startsWith(kUnix))
            return {};
        if (const auto socket = localSocket(socketName(address.sliced(kUnix.size()))))
            sockets.push_back(*socket);
    }
    return sockets;
}

} // namespace quillfen::platform
