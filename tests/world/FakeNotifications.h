// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DistributedNotificationCenter.h"

#include <QMetaObject>
#include <QObject>
#include <QString>

#include <functional>
#include <utility>
#include <vector>

namespace quillfen::world {

/// A session in which everybody shares this one centre. Notifications arrive from the event loop.
class FakeNotifications : public platform::DistributedNotificationCenter {
public:
    void addObserver(const QString &name, const QString &object,
                     std::function<void()> callback) override
    {
        m_observers.push_back({name, object, std::move(callback)});
    }
    void post(const QString &name, const QString &object) override
    {
        QMetaObject::invokeMethod(
            &m_context, [this, name, object] { deliver(name, object); }, Qt::QueuedConnection);
    }

private:
    struct Observer {
        QString name;
        QString object;
        std::function<void()> callback;
    };

    void deliver(const QString &name, const QString &object) const
    {
        const std::vector<Observer> observers = m_observers;
        for (const Observer &observer : observers) {
            if (observer.name == name && observer.object == object)
                observer.callback();
        }
    }

    std::vector<Observer> m_observers;
    QObject m_context; ///< Dies first, and with it what is still on its way.
};

} // namespace quillfen::world
