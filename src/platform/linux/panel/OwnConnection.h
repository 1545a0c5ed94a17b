// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>

namespace quillfen::platform {

/// A connection to the session bus of its own, by whose unique name the bus tells it from the rest
/// of this process. Closed at the end. Without a session bus it is one that is never connected.
class OwnConnection {
public:
    OwnConnection();
    ~OwnConnection();
    OwnConnection(const OwnConnection &) = delete;
    OwnConnection &operator=(const OwnConnection &) = delete;

    QDBusConnection get() const { return m_connection; }

private:
    QDBusConnection m_connection;
};

} // namespace quillfen::platform
