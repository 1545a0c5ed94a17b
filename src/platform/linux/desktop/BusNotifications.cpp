// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/BusNotifications.h"

#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

constexpr auto kPath = "/com/corvane/DistributedNotificationCenter"_L1;
constexpr auto kInterface = "com.corvane.DistributedNotificationCenter"_L1;
constexpr auto kPosted = "Posted"_L1;
constexpr auto kTwoStrings = "ss"_L1;

} // namespace

BusNotifications::BusNotifications(std::optional<QDBusConnection> bus) : m_bus(std::move(bus))
{
    listen();
}

BusNotifications::~BusNotifications() = default;

void BusNotifications::moveTo(const QDBusConnection &bus)
{
    m_bus = bus;
    listen();
}

void BusNotifications::listen()
{
    if (m_bus)
        m_bus->connect({}, kPath, kInterface, kPosted, kTwoStrings, this, SLOT(hear(QDBusMessage)));
}

void BusNotifications::addObserver(const QString &name, const QString &object,
                                   std::function<void()> callback)
{
    m_observers.push_back({.name = name, .object = object, .callback = std::move(callback)});
}

void BusNotifications::post(const QString &name, const QString &object)
{
    QMetaObject::invokeMethod(
        this, [this, name, object] { deliver(name, object); }, Qt::QueuedConnection);
    if (!m_bus)
        return;
    QDBusMessage signal = QDBusMessage::createSignal(kPath, kInterface, kPosted);
    signal << name << object;
    m_bus->send(signal); // a lost bus takes nothing; our own observers have theirs already
}

void BusNotifications::hear(const QDBusMessage &signal)
{
    const QVariantList arguments = signal.arguments();
    if (signal.signature() == kTwoStrings && signal.service() != m_bus->baseService())
        deliver(arguments.at(0).toString(), arguments.at(1).toString());
}

void BusNotifications::deliver(const QString &name, const QString &object) const
{
    const std::vector<Observer> observers = m_observers; // a callback may add another
    for (const Observer &observer : observers) {
        if (observer.name == name && observer.object == object)
            observer.callback();
    }
}

} // namespace quillfen::platform
