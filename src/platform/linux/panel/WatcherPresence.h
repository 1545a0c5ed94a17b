// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

#include <optional>

namespace quillfen::platform {

/// Tells whether a StatusNotifierWatcher is on the session bus, and with it a panel of the
/// new kind. Never polls. While a bus gives no answer nothing is told.
class WatcherPresence : public QObject {
    Q_OBJECT

public:
    /// @p bus: nothing when there is none.
    explicit WatcherPresence(std::optional<QDBusConnection> bus);

    /// Finds out, and tells each change from then on.
    void start();
    /// The bus is another from now on.
    void moveTo(const QDBusConnection &bus);

Q_SIGNALS:
    void appeared();
    /// There is none now, and perhaps no bus either. Told once in a row.
    void disappeared();

private Q_SLOTS:
    void busEnded() { take(false); }

private:
    void ask();
    void take(bool present);

    std::optional<QDBusConnection> m_bus;
    QDBusServiceWatcher m_owners;
    std::optional<bool> m_present; ///< Nothing while not known.
};

} // namespace quillfen::platform
