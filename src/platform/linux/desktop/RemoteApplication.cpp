// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/RemoteApplication.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include <chrono>
#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds kPatience = 2s;
constexpr auto kTokenVariable = "XDG_ACTIVATION_TOKEN";
const QString kToken = u"activation-token"_s;

QString objectPath(const QString &name)
{
    QString path = u'/' + name;
    return path.replace(u'.', u'/').replace(u'-', u'_');
}

} // namespace

RemoteApplication::RemoteApplication(const std::optional<QDBusConnection> &bus, const QString &name,
                                     std::function<void()> onActivate)
    : m_onActivate(std::move(onActivate))
{
    if (bus)
        QDBusConnection(*bus).registerObject(objectPath(name), this,
                                             QDBusConnection::ExportAllSlots);
}

void RemoteApplication::activate(const QDBusConnection &bus, const QString &name,
                                 const std::function<void()> &done)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        name, objectPath(name), u"org.freedesktop.Application"_s, u"Activate"_s);
    QVariantMap platformData;
    if (const QString token = qEnvironmentVariable(kTokenVariable); !token.isEmpty())
        platformData[kToken] = token;
    call << platformData;
    auto *const watcher =
        new QDBusPendingCallWatcher(bus.asyncCall(call, static_cast<int>(kPatience.count())));
    connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, done] {
        watcher->deleteLater();
        done();
    });
}

void RemoteApplication::Activate(const QVariantMap &platformData)
{
    if (const QString token = platformData.value(kToken).toString(); !token.isEmpty())
        qputenv(kTokenVariable, token.toUtf8());
    // Later: whoever asks waits for the answer to this call, and a window may take its time.
    QMetaObject::invokeMethod(
        this, [this] { m_onActivate(); }, Qt::QueuedConnection);
}

void RemoteApplication::Open(const QStringList & /*uris*/, const QVariantMap &platformData)
{
    Activate(platformData);
}

void RemoteApplication::ActivateAction(const QString & /*action*/,
                                       const QVariantList & /*parameters*/,
                                       const QVariantMap &platformData)
{
    Activate(platformData);
}

} // namespace quillfen::platform
