// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDBusConnection>

#include <chrono>
#include <optional>

namespace quillfen::platform {

/// The D-Bus addresses of the session bus: those in DBUS_SESSION_BUS_ADDRESS, or the user bus's
/// socket in $XDG_RUNTIME_DIR. Empty when there is none to try. Without this question libdbus
/// would start a bus of its own ("autolaunch"), which nobody else is on and which stays behind.
QByteArray sessionBusAddress();

/// The session bus as this process has it from its start to its end: it answers, or whoever
/// looks for it in this process, Qt included, finds none.
///
/// For libdbus waits without a limit for a bus that takes a call and never answers, and everybody
/// on the main thread with it. Make one per process, before the application object.
class SessionBus {
public:
    static constexpr std::chrono::milliseconds kPatience{1500};

    /// Asks the bus, and waits at most @p patience for its answer. There is no event loop yet that
    /// this could hold up.
    explicit SessionBus(std::chrono::milliseconds patience = kPatience);

    /// Whether somebody took the call and did not answer in time.
    bool isSilent() const { return m_state == State::Silent; }
    /// This process's shared connection; nothing when there is no bus, or none that answers or
    /// lets us in. Needs the application object.
    std::optional<QDBusConnection> connection() const;

private:
    enum class State { Answers, Silent, Absent };

    static State ask(const QByteArray &addresses, std::chrono::milliseconds patience);

    State m_state;
};

} // namespace quillfen::platform
