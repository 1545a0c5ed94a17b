// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/commands/TerminationRequest.h"

#include "platform/linux/desktop/RemoteApplication.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

const QString kBus = u"org.freedesktop.DBus"_s;
const QString kBusPath = u"/org/freedesktop/DBus"_s;

} // namespace

TerminationRequest::TerminationRequest(const QDBusConnection &bus, QString name,
                                       std::chrono::milliseconds patience,
                                       std::function<void(Outcome)> told)
    : m_bus(bus),
      m_name(std::move(name)),
      m_patience(patience),
      m_told(std::move(told))
{
    m_deadline.setSingleShot(true);
    m_deadline.callOnTimeout(this, [this] { tell(Outcome::StillThere); });
    m_deadline.start(patience);
    // Before we ask who it is: so its end is not missed, however soon it comes.
    m_bus.connect(kBus, kBusPath, kBus, u"NameOwnerChanged"_s, {m_name}, {}, this,
                  SLOT(ownerChanged(QString, QString, QString)));
    findOwner();
}

void TerminationRequest::findOwner()
{
    QDBusMessage call = QDBusMessage::createMethodCall(kBus, kBusPath, kBus, u"GetNameOwner"_s);
    call << m_name;
    auto *answer =
        new QDBusPendingCallWatcher(m_bus.asyncCall(call, int(m_patience.count())), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<QString> owner = *answer;
        if (!owner.isError())
            ask(owner.value());
        else if (owner.error().name() == u"org.freedesktop.DBus.Error.NameHasNoOwner")
            tell(Outcome::NobodyThere);
        else
            tell(Outcome::StillThere);
    });
}

void TerminationRequest::ask(const QString &owner)
{
    m_owner = owner;
    QDBusMessage call = QDBusMessage::createMethodCall(
        m_owner, applicationPath(m_name), u"org.freedesktop.Application"_s, u"ActivateAction"_s);
    call << QString(kQuitAction) << QVariantList() << QVariantMap();
    auto *answer =
        new QDBusPendingCallWatcher(m_bus.asyncCall(call, int(m_patience.count())), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        // One that ends instead of answering is what we wait for: its owner's change follows.
        if (answer->isError() && answer->error().type() != QDBusError::NoReply)
            tell(Outcome::StillThere);
    });
}

void TerminationRequest::ownerChanged(const QString &, const QString &before, const QString &)
{
    if (!m_owner.isEmpty() && before == m_owner)
        tell(Outcome::Ended);
}

void TerminationRequest::tell(Outcome outcome)
{
    m_deadline.stop();
    if (const auto told = std::exchange(m_told, {}))
        told(outcome);
}

} // namespace quillfen::platform
