// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/SingleInstance.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <chrono>
#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto kBusPatience = 2s;

// D-Bus specification, "Bus messages": org.freedesktop.DBus.RequestName
constexpr uint kDoNotQueue = 4;
constexpr uint kNowOwner = 1;
constexpr uint kOwnerBefore = 4;

QDBusMessage requestOf(const QString &name)
{
    QDBusMessage request =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                       u"org.freedesktop.DBus"_s, u"RequestName"_s);
    request << name << kDoNotQueue;
    return request;
}

SingleInstance::Outcome outcomeOf(const QDBusPendingReply<uint> &reply)
{
    if (reply.isError())
        return SingleInstance::Outcome::NoBus;
    const uint code = reply.value();
    return code == kNowOwner || code == kOwnerBefore ? SingleInstance::Outcome::Owner
                                                     : SingleInstance::Outcome::AlreadyRunning;
}

} // namespace

SingleInstance::SingleInstance(std::optional<QDBusConnection> bus, const QString &name,
                               std::function<void(Outcome)> told)
    : m_name(name)
{
    if (!bus || !bus->isConnected()) { // a call on a lost connection never finishes
        QMetaObject::invokeMethod(
            this, [told = std::move(told)] { told(Outcome::NoBus); }, Qt::QueuedConnection);
        return;
    }
    constexpr auto kTimeout = std::chrono::milliseconds(kBusPatience);
    m_answer.emplace(bus->asyncCall(requestOf(name), int(kTimeout.count())));
    connect(&*m_answer, &QDBusPendingCallWatcher::finished, this,
            [this, told = std::move(told)] { told(outcomeOf(*m_answer)); });
}

void SingleInstance::moveTo(const QDBusConnection &bus) const
{
    bus.send(requestOf(m_name));
}

} // namespace quillfen::platform
