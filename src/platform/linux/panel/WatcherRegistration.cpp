// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/WatcherRegistration.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include <chrono>

using namespace std::chrono_literals;
using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

constexpr std::chrono::milliseconds kAnswerWithin = 5s;

} // namespace

QString watcherName()
{
    return u"org.kde.StatusNotifierWatcher"_s;
}

WatcherRegistration::WatcherRegistration(QDBusConnection connection, QString itemPath)
    : m_connection(std::move(connection)),
      m_itemPath(std::move(itemPath))
{
    m_owners.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    QObject::connect(&m_owners, &QDBusServiceWatcher::serviceOwnerChanged, this,
                     [this](const QString &, const QString &, const QString &newOwner) {
                         if (newOwner.isEmpty())
                             return;
                         Q_EMIT panelChanged();
                         registerItem();
                     });
}

void WatcherRegistration::start()
{
    if (!m_connection.isConnected()) {
        Q_EMIT waiting(u"there is no session bus"_s);
        return;
    }
    // In this order: a watcher that appears in between is heard of twice rather than never.
    m_owners.setConnection(m_connection);
    m_owners.addWatchedService(watcherName());
    registerItem();
}

void WatcherRegistration::registerItem()
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        watcherName(), u"/StatusNotifierWatcher"_s, watcherName(), u"RegisterStatusNotifierItem"_s);
    call.setAutoStartService(false);
    // By path: a watcher then takes the sender's unique name, which is there for certain.
    call << m_itemPath;
    auto *answer = new QDBusPendingCallWatcher(
        m_connection.asyncCall(call, static_cast<int>(kAnswerWithin.count())), this);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, this,
                     [this](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         if (finished->isError())
                             Q_EMIT waiting(finished->error().message());
                     });
}

} // namespace quillfen::platform
