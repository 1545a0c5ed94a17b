// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/ServedObject.h"

#include <QDBusError>
#include <QDBusVariant>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

ServedObject::ServedObject(QDBusConnection connection, QString path, QString interface, QString xml)
    : m_connection(std::move(connection)),
      m_path(std::move(path)),
      m_interface(std::move(interface)),
      m_xml(std::move(xml))
{ }

QString ServedObject::introspect(const QString &) const
{
    return u"<interface name=\"%1\">%2</interface>"_s.arg(m_interface, m_xml);
}

bool ServedObject::handleMessage(const QDBusMessage &message, const QDBusConnection &)
{
    if (message.type() != QDBusMessage::MethodCallMessage)
        return false;
    if (message.interface() == u"org.freedesktop.DBus.Properties")
        return handleProperties(message);
    if (!message.interface().isEmpty() && message.interface() != m_interface)
        return false;
    const auto method = std::ranges::find(m_methods, message.member(), &Method::name);
    if (method == m_methods.end())
        return false;
    if (message.signature() != method->signature)
        replyError(message, QDBusError::InvalidArgs,
                   u"%1 takes (%2)"_s.arg(method->name, method->signature));
    else
        method->run(message);
    return true;
}

bool ServedObject::handleProperties(const QDBusMessage &message) const
{
    const QVariantList given = message.arguments();
    const QString call = message.member() + u'(' + message.signature() + u')';
    if (call != u"Get(ss)" && call != u"GetAll(s)" && call != u"Set(ssv)")
        return false;
    if (const QString asked = given.first().toString(); !asked.isEmpty() && asked != m_interface) {
        replyError(message, QDBusError::UnknownInterface, u"No interface "_s + asked);
    } else if (call == u"GetAll(s)") {
        reply(message, {properties()});
    } else if (const QVariant value = properties().value(given.at(1).toString());
               !value.isValid()) {
        replyError(message, QDBusError::UnknownProperty,
                   u"No property "_s + given.at(1).toString());
    } else if (call == u"Set(ssv)") {
        replyError(message, QDBusError::PropertyReadOnly, u"Not to be set from outside"_s);
    } else {
        reply(message, {QVariant::fromValue(QDBusVariant(value))});
    }
    return true;
}

void ServedObject::reply(const QDBusMessage &message, const QVariantList &results) const
{
    if (message.isReplyRequired())
        send(message.createReply(results));
}

void ServedObject::replyError(const QDBusMessage &message, QDBusError::ErrorType type,
                              const QString &text) const
{
    if (message.isReplyRequired())
        send(message.createErrorReply(type, text));
}

void ServedObject::emitSignal(const QString &name, const QVariantList &arguments) const
{
    if (!m_connection.isConnected())
        return;
    QDBusMessage signal = QDBusMessage::createSignal(m_path, m_interface, name);
    signal.setArguments(arguments);
    send(signal);
}

} // namespace quillfen::platform
