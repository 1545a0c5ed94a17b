// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QDBusConnection>

namespace quillfen::platform {

/// A connection to the session bus of its own, by whose unique name the bus tells it from the rest
/// of this process. Closed at the end.
///
/// The connecting waits for the bus without a limit, so the bus has to have answered just now
/// (BusKnock).
class OwnConnection {
public:
    /// To the bus of the D-Bus addresses @p addresses; where that fails, one that is never
    /// connected.
    explicit OwnConnection(const QByteArray &addresses);
    ~OwnConnection();
    OwnConnection(const OwnConnection &) = delete;
    OwnConnection &operator=(const OwnConnection &) = delete;

    QDBusConnection get() const { return m_connection; }

private:
    QDBusConnection m_connection;
};

} // namespace quillfen::platform
