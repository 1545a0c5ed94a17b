// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/RemoteApplication.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

#include <algorithm>
#include <chrono>
#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds kPatience = 2s;
constexpr auto kTokenVariable = "XDG_ACTIVATION_TOKEN";
const QString kToken = u"activation-token"_s;

constexpr qsizetype kMostTokenBytes = 4096;

/// The token in a call's data; empty where there is none, or none that can be one: it goes into
/// the environment.
QByteArray tokenIn(const QVariantMap &platformData)
{
    const QVariant value = platformData.value(kToken);
    if (value.typeId() != QMetaType::QString)
        return {};
    const QByteArray token = value.toString().toUtf8();
    const bool printable =
        std::ranges::all_of(token, [](char byte) { return byte > ' ' && byte <= '~'; });
    return printable && token.size() <= kMostTokenBytes ? token : QByteArray();
}

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
    // Later: whoever asks waits for the answer to this call, and a window may take its time.
    const auto comeForward = [this, token = tokenIn(platformData)] {
        if (!token.isEmpty())
            qputenv(kTokenVariable, token);
        m_onActivate();
        qunsetenv(kTokenVariable); // it is good for one window, and not for our children
    };
    QMetaObject::invokeMethod(this, comeForward, Qt::QueuedConnection);
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
