// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/WatcherPresence.h"

#include "platform/linux/panel/WatcherRegistration.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

WatcherPresence::WatcherPresence(std::optional<QDBusConnection> bus) : m_bus(std::move(bus))
{
    m_owners.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    QObject::connect(&m_owners, &QDBusServiceWatcher::serviceOwnerChanged, this,
                     [this](const QString &, const QString &, const QString &newOwner) {
                         take(!newOwner.isEmpty());
                     });
}

void WatcherPresence::start()
{
    if (!m_bus || !m_bus->isConnected()) {
        take(false);
        return;
    }
    // In this order: a watcher that appears in between is heard of twice rather than never.
    m_owners.setConnection(*m_bus);
    m_owners.addWatchedService(watcherName());
    m_bus->connect({}, u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s,
                   u"Disconnected"_s, this, SLOT(busEnded()));
    ask();
}

void WatcherPresence::moveTo(const QDBusConnection &bus)
{
    m_bus = bus;
    start();
}

void WatcherPresence::ask()
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                       u"org.freedesktop.DBus"_s, u"NameHasOwner"_s);
    call << watcherName();
    auto *answer = new QDBusPendingCallWatcher(m_bus->asyncCall(call), this);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, this,
                     [this](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         const QDBusPendingReply<bool> reply = *finished;
                         if (!reply.isError())
                             take(reply.value());
                     });
}

void WatcherPresence::take(bool present)
{
    if (std::exchange(m_present, present) == present)
        return;
    if (present)
        Q_EMIT appeared();
    else
        Q_EMIT disappeared();
}

} // namespace quillfen::platform
