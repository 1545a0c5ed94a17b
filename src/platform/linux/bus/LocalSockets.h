// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <optional>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>

namespace quillfen::platform {

/// Where a socket of this machine lies, as connect(2) takes it.
struct LocalSocket {
    sockaddr_un address;
    socklen_t size; ///< Bytes of it that count.
};

/// The sockets that the D-Bus addresses @p addresses name, in their order, as far as one can
/// connect to them. Nothing when an address is of another kind (TCP, a program to start).
/// @source https://dbus.freedesktop.org/doc/dbus-specification.html, "Server Addresses" and
///         "Unix Domain Sockets"; unix(7).
std::optional<std::vector<LocalSocket>> localSockets(const QByteArray &addresses);

} // namespace quillfen::platform
