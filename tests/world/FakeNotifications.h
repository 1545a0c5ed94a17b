// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DistributedNotificationCenter.h"

#include <QObject>
#include <QString>

#include <functional>
#include <vector>

namespace quillfen::world {

/// A session in which everybody shares this one centre. Notifications arrive from the event loop.
class FakeNotifications : public platform::DistributedNotificationCenter {
public:
    FakeNotifications();
    ~FakeNotifications() override;

    void addObserver(const QString &name, const QString &object,
                     std::function<void()> callback) override;
    void post(const QString &name, const QString &object) override;

private:
    struct Observer {
        QString name;
        QString object;
        std::function<void()> callback;
    };

    void deliver(const QString &name, const QString &object) const;

    std::vector<Observer> m_observers;
    QObject m_context; ///< Dies first, and with it what is still on its way.
};

} // namespace quillfen::world
