// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/bus/LocalSockets.h"

#include <QByteArray>

#include <optional>
#include <vector>

namespace quillfen::platform {

/// The first words with a message bus, on a socket of their own, up to its answer to a message.
///
/// The bus library says them too, but it waits for the answers without any limit of time, and so
/// does each of its callers. So a bus is asked this way first; whether it answers holds
/// for the moment only. Never waits: see descriptor() for when to go on.
/// @source https://dbus.freedesktop.org/doc/dbus-specification.html, "Authentication Protocol",
///         "EXTERNAL", "Message Bus Messages".
class BusHandshake {
public:
    enum class State {
        Queueing, ///< It has too many callers at the door: try again a little later.
        Waiting, ///< It has not answered yet: try again when descriptor() can be read from.
        Answers, ///< Or is of a kind that cannot be asked this way, and taken at its word.
        Absent, ///< Nobody is there, or hung up on us.
    };

    /// With the first bus of the D-Bus addresses @p addresses that takes a call.
    explicit BusHandshake(const QByteArray &addresses);
    ~BusHandshake();
    BusHandshake(const BusHandshake &) = delete;
    BusHandshake &operator=(const BusHandshake &) = delete;

    /// Goes on as far as it gets without waiting. Answers and Absent are final.
    State go();
    /// The socket that the answers come from; -1 while there is none.
    int descriptor() const { return m_descriptor; }

private:
    State call();
    State hear();
    State logIn();
    State end(State outcome);
    bool say(const QByteArray &words) const;

    std::optional<std::vector<LocalSocket>> m_sockets;
    int m_descriptor = -1;
    QByteArray m_heard;
    bool m_loggedIn = false;
    std::optional<State> m_outcome;
};

} // namespace quillfen::platform
