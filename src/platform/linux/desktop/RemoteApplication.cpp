// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/RemoteApplication.h"

#include "platform/linux/bus/ActivationToken.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include <chrono>
#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds kPatience = 2s;
const QString kToken = u"activation-token"_s;
const QString kStartup = u"desktop-startup-id"_s; ///< Where launchers had it before.

/// The token in a call's data; empty where there is none.
QString tokenIn(const QVariantMap &platformData)
{
    const QVariant value = platformData.value(kToken, platformData.value(kStartup));
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

} // namespace

QString applicationPath(const QString &name)
{
    QString path = u'/' + name;
    return path.replace(u'.', u'/').replace(u'-', u'_');
}

RemoteApplication::RemoteApplication(const std::optional<QDBusConnection> &bus, const QString &name,
                                     std::function<void()> onActivate, std::function<void()> onQuit)
    : m_path(applicationPath(name)),
      m_onActivate(std::move(onActivate)),
      m_onQuit(std::move(onQuit))
{
    if (bus)
        moveTo(*bus);
}

void RemoteApplication::moveTo(const QDBusConnection &bus)
{
    QDBusConnection(bus).registerObject(m_path, this, QDBusConnection::ExportAllSlots);
}

void RemoteApplication::activate(const QDBusConnection &bus, const QString &name,
                                 const std::function<void(bool)> &done)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        name, applicationPath(name), u"org.freedesktop.Application"_s, u"Activate"_s);
    call.setAutoStartService(false); // one that has just ended is not to come back for this
    QVariantMap platformData;
    if (const QString token = takeOwnActivationToken(); !token.isEmpty())
        platformData[kToken] = token;
    call << platformData;
    auto *const watcher =
        new QDBusPendingCallWatcher(bus.asyncCall(call, static_cast<int>(kPatience.count())));
    connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, done] {
        watcher->deleteLater();
        done(!watcher->isError());
    });
}

void RemoteApplication::Activate(const QVariantMap &platformData)
{
    if (!m_onActivate) {
        later({});
        return;
    }
    later([this, token = tokenIn(platformData)] {
        const ActivationToken inForce(token);
        m_onActivate();
    });
}

void RemoteApplication::Open(const QStringList & /*uris*/, const QVariantMap &platformData)
{
    Activate(platformData);
}

void RemoteApplication::ActivateAction(const QString &action, const QVariantList & /*parameters*/,
                                       const QVariantMap &platformData)
{
    if (action == kQuitAction)
        later(m_onQuit);
    else
        Activate(platformData);
}

void RemoteApplication::later(const std::function<void()> &order)
{
    if (order)
        QMetaObject::invokeMethod(this, order, Qt::QueuedConnection);
    else if (calledFromDBus())
        sendErrorReply(QDBusError::NotSupported, u"There is no way to do that here."_s);
}

} // namespace quillfen::platform
