// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DistributedNotificationCenter.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>
#include <vector>

namespace quillfen::platform {

/// Distributed notifications as the D-Bus signal `Posted(s name, s object)` of the interface
/// `com.corvane.DistributedNotificationCenter`, sent on the session bus from the path
/// `/com/corvane/DistributedNotificationCenter`. Any process may send it.
///
/// What this process posts reaches its own observers inside the process, from the event loop
/// and not from within post(), bus or no bus; the bus's echo of it is dropped. A signal
/// with other arguments is none of ours. Main thread only.
class BusNotifications : public QObject, public DistributedNotificationCenter {
    Q_OBJECT

public:
    /// On @p bus; without one, or once it is lost, inside this process only.
    explicit BusNotifications(std::optional<QDBusConnection> bus);
    ~BusNotifications() override;

    /// The bus is another from now on.
    void moveTo(const QDBusConnection &bus);

    void addObserver(const QString &name, const QString &object,
                     std::function<void()> callback) override;
    void post(const QString &name, const QString &object) override;

private:
    Q_SLOT void hear(const QDBusMessage &signal);
    void listen();
    void deliver(const QString &name, const QString &object) const;

    struct Observer {
        QString name;
        QString object;
        std::function<void()> callback;
    };
    std::optional<QDBusConnection> m_bus;
    std::vector<Observer> m_observers;
};

} // namespace quillfen::platform
