// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>

#include <optional>

namespace quillfen::platform {

/// Whether there is a session bus to try: an address in DBUS_SESSION_BUS_ADDRESS, or the user
/// bus's socket in $XDG_RUNTIME_DIR. Without this question libdbus would start a bus of its
/// own ("autolaunch"), which nobody else is on and which stays behind.
bool sessionBusExists();

/// This process's shared connection to the session bus; nothing when there is no bus or it
/// does not let us in.
std::optional<QDBusConnection> sessionBus();

} // namespace quillfen::platform
