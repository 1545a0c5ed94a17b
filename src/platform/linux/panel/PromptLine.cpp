// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/PromptLine.h"

#include <QDBusPendingCallWatcher>

#include <optional>
#include <utility>

#include <dbus/dbus.h>
#include <poll.h>
#include <sys/socket.h>

// libdbus may be called from several threads, but Qt has it call back only in the thread of its
// own: what Qt is told in another one, "tell me when the socket takes more", gets lost. And it
// has no way of being woken for a message that was only queued because that thread was just
// reading. So nothing is sent past that thread unless the socket takes it, and whatever is left in
// the queue afterwards, be it ours or Qt's, is pushed on by a call that Qt sends.

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// A message on the wire apart from its arguments: the header with a path and three names.
constexpr qsizetype kHeader = 512;

using OwnMessage = std::unique_ptr<DBusMessage, decltype(&dbus_message_unref)>;

/// The arguments of @p message, if they are texts all.
std::optional<QList<QByteArray>> texts(const QDBusMessage &message)
{
    QList<QByteArray> found;
    for (const QVariant &argument : message.arguments()) {
        if (argument.typeId() != QMetaType::QString)
            return {};
        found += argument.toString().toUtf8();
    }
    return found;
}

/// @p message with the arguments @p texts for libdbus; nothing where there is no memory.
OwnMessage forLibrary(const QDBusMessage &message, const QList<QByteArray> &texts)
{
    OwnMessage signal(dbus_message_new_signal(message.path().toLatin1().constData(),
                                              message.interface().toLatin1().constData(),
                                              message.member().toLatin1().constData()),
                      &dbus_message_unref);
    if (!signal)
        return signal;
    DBusMessageIter arguments;
    dbus_message_iter_init_append(signal.get(), &arguments);
    for (const QByteArray &text : texts) {
        const char *bytes = text.constData();
        if (!dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, &bytes))
            return {nullptr, &dbus_message_unref};
    }
    return signal;
}

/// How much the socket @p descriptor takes whole if it takes anything at all: Linux calls one of
/// the kind AF_UNIX writable while at most a quarter of its buffer is in use.
qsizetype mostAtOnce(int descriptor)
{
    int buffer = 0;
    socklen_t size = sizeof buffer;
    return getsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &buffer, &size) == 0 ? buffer / 4 : 0;
}

} // namespace

void PromptLine::Unref::operator()(DBusConnection *line) const
{
    dbus_connection_unref(line);
}

PromptLine::PromptLine(const QDBusConnection &connection) : m_connection(connection)
{
    if (!connection.isConnected())
        return;
    m_line.reset(dbus_connection_ref(static_cast<DBusConnection *>(connection.internalPointer())));
    if (dbus_connection_get_socket(m_line.get(), &m_descriptor))
        m_mostAtOnce = mostAtOnce(m_descriptor);
}

void PromptLine::send(const QDBusMessage &message)
{
    if (!m_connection.isConnected() || sendAtOnce(message))
        return;
    m_connection.send(message);
    followTheLongWay();
}

bool PromptLine::sendAtOnce(const QDBusMessage &message)
{
    if (m_asking || message.type() != QDBusMessage::SignalMessage)
        return false;
    const auto arguments = texts(message);
    if (!arguments)
        return false;
    qsizetype size = kHeader;
    for (const QByteArray &text : *arguments)
        size += text.size();
    if (!takesAtOnce(size))
        return false;
    const OwnMessage signal = forLibrary(message, *arguments);
    if (!signal || !dbus_connection_send(m_line.get(), signal.get(), nullptr))
        return false;
    if (dbus_connection_has_messages_to_send(m_line.get()))
        followTheLongWay();
    return true;
}

bool PromptLine::takesAtOnce(qsizetype size) const
{
    pollfd socket{.fd = m_descriptor, .events = POLLOUT, .revents = 0};
    return size <= m_mostAtOnce && !dbus_connection_has_messages_to_send(m_line.get())
        && poll(&socket, 1, 0) == 1 && socket.revents == POLLOUT;
}

void PromptLine::followTheLongWay()
{
    if (m_asking)
        m_moreSince = true;
    else
        ask();
}

/// When a call is answered, or has failed, all that was sent before it is off the long way.
void PromptLine::ask()
{
    m_asking = true;
    const QDBusMessage ping =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                       u"org.freedesktop.DBus.Peer"_s, u"Ping"_s);
    auto *answer = new QDBusPendingCallWatcher(m_connection.asyncCall(ping), this);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, this,
                     [this](QDBusPendingCallWatcher *finished) {
                         finished->deleteLater();
                         m_asking = false;
                         if (std::exchange(m_moreSince, false))
                             ask();
                     });
}

} // namespace quillfen::platform
