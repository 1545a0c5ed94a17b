// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeNotifications.h"

#include <QMetaObject>

#include <utility>

namespace quillfen::world {

FakeNotifications::FakeNotifications() = default;

FakeNotifications::~FakeNotifications() = default;

void FakeNotifications::addObserver(const QString &name, const QString &object,
                                    std::function<void()> callback)
{
    m_observers.push_back({name, object, std::move(callback)});
}

void FakeNotifications::post(const QString &name, const QString &object)
{
    QMetaObject::invokeMethod(
        &m_context, [this, name, object] { deliver(name, object); }, Qt::QueuedConnection);
}

void FakeNotifications::deliver(const QString &name, const QString &object) const
{
    const std::vector<Observer> observers = m_observers;
    for (const Observer &observer : observers) {
        if (observer.name == name && observer.object == object)
            observer.callback();
    }
}

} // namespace quillfen::world
