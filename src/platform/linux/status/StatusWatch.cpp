// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/status/StatusWatch.h"

#include "platform/linux/status/StatusProperties.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

#include <functional>
#include <limits>
#include <utility>

// The order matters. First we listen for the name's owners, then we ask who the owner is: so
// nobody comes or goes unnoticed. Then we listen for its changes, and then ask for its
// properties. A change is not taken from the signal, which may overtake an answer on its way
// to us, but asked for: whatever is asked last is the latest.

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

const QString kBus = u"org.freedesktop.DBus"_s;
const QString kNobody = u"org.freedesktop.DBus.Error.NameHasNoOwner"_s;
const QString kBusPath = u"/org/freedesktop/DBus"_s;

/// In ms; libdbus sets no timer for it (DBUS_TIMEOUT_INFINITE). An answer that came too late would
/// be lost, and with it what changed; and an end that we wait for shows without one.
constexpr int kAsLongAsItTakes = std::numeric_limits<int>::max();

/// Calls @p then with the answer to @p call from the event loop, unless @p context is gone.
void send(const QDBusConnection &bus, const QDBusMessage &call, QObject *context,
          std::function<void(const QDBusMessage &)> then)
{
    auto *answer = new QDBusPendingCallWatcher(bus.asyncCall(call, kAsLongAsItTakes), context);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, context,
                     [answer, then = std::move(then)] {
                         answer->deleteLater();
                         then(answer->reply());
                     });
}

} // namespace

StatusWatch::StatusWatch(const QDBusConnection &bus, QString name,
                         std::chrono::milliseconds patience)
    : m_bus(bus),
      m_name(std::move(name))
{
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(patience);
    m_deadline.callOnTimeout(this, &StatusWatch::giveUp);
}

StatusWatch::~StatusWatch() = default;

void StatusWatch::start()
{
    m_bus.connect(kBus, kBusPath, kBus, u"NameOwnerChanged"_s, {m_name}, {}, this,
                  SLOT(ownerChanged(QString, QString, QString)));
    m_bus.connect({}, u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s,
                  u"Disconnected"_s, this, SLOT(busEnded()));
    QDBusMessage call = QDBusMessage::createMethodCall(kBus, kBusPath, kBus, u"GetNameOwner"_s);
    call << m_name;
    m_deadline.start();
    send(m_bus, call, this, [this](const QDBusMessage &answer) {
        if (!m_deadline.isActive())
            return; // given up
        if (answer.type() == QDBusMessage::ReplyMessage) {
            takeOwner(answer.arguments().value(0).toString());
            return;
        }
        m_deadline.stop();
        if (answer.errorName() == kNobody)
            Q_EMIT absent();
        else
            Q_EMIT silent();
    });
}

void StatusWatch::giveUp()
{
    m_owner.clear();
    Q_EMIT silent();
}

void StatusWatch::takeOwner(const QString &owner)
{
    m_owner = owner;
    // By its unique name: for another one Qt would first ask for its owner, and wait.
    m_bus.connect(m_owner, kStatusPath, kPropertiesInterface, u"PropertiesChanged"_s, this,
                  SLOT(propertiesChanged(QDBusMessage)));
    ask();
}

void StatusWatch::ask()
{
    if (std::exchange(m_asking, true)) {
        m_askAgain = true;
        return;
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(m_owner, kStatusPath, kPropertiesInterface, u"GetAll"_s);
    call << QString(kStatusInterface);
    call.setAutoStartService(false);
    send(m_bus, call, this, [this](const QDBusMessage &answer) {
        m_asking = false;
        if (!m_owner.isEmpty())
            takeAnswer(answer);
    });
}

void StatusWatch::takeAnswer(const QDBusMessage &answer)
{
    const QDBusPendingReply<QVariantMap> reply = answer;
    m_deadline.stop();
    if (reply.isError() && !m_answered) {
        giveUp();
        return;
    }
    m_answered = true;
    if (!reply.isError())
        Q_EMIT shown(fromProperties(reply.value()));
    if (std::exchange(m_askAgain, false) && !m_owner.isEmpty())
        ask();
}

void StatusWatch::end()
{
    if (std::exchange(m_owner, {}).isEmpty())
        return;
    m_deadline.stop();
    if (m_answered)
        Q_EMIT ended();
    else
        Q_EMIT absent();
}

void StatusWatch::ownerChanged(const QString &, const QString &before, const QString &)
{
    if (before == m_owner)
        end();
}

void StatusWatch::propertiesChanged(const QDBusMessage &signal)
{
    if (signal.arguments().value(0).toString() == kStatusInterface && !m_owner.isEmpty())
        ask();
}

void StatusWatch::busEnded()
{
    end();
}

} // namespace quillfen::platform
