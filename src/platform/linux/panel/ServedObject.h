// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QVariantMap>

#include <functional>
#include <vector>

namespace quillfen::platform {

/// An object that other programs call over the bus, with one interface of its own.
///
/// The bus library can serve any QObject by itself, but such an object always has all of its
/// properties; a panel takes a label that is there and empty for the whole of the item.
/// So this is answered by hand: reading of properties, and methods by name and signature.
/// A call that does not fit gets an error as its answer, whatever it contains.
class ServedObject : public QDBusVirtualObject {
    Q_OBJECT

public:
    QString introspect(const QString &path) const override;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override;

protected:
    /// A method that others may call: its name, the signature of its arguments ("iias"), and
    /// what it does with a message that has just these.
    struct Method {
        QString name;
        QString signature;
        std::function<void(const QDBusMessage &)> run;
    };

    /// @p xml declares @p interface, without the element around it. The object is
    /// to be registered on @p connection by whoever made it.
    ServedObject(QDBusConnection connection, QString path, QString interface, QString xml);

    /// All properties as they are now.
    virtual QVariantMap properties() const = 0;
    void setMethods(std::vector<Method> methods) { m_methods = std::move(methods); }

    /// Answers @p message, if its sender wants an answer.
    void reply(const QDBusMessage &message, const QVariantList &results = {}) const;
    void replyError(const QDBusMessage &message, QDBusError::ErrorType type,
                    const QString &text) const;
    /// Emits the signal @p name of this object's interface.
    void emitSignal(const QString &name, const QVariantList &arguments = {}) const;
    /// Brings all of these to the bus.
    virtual void send(const QDBusMessage &message) const { m_connection.send(message); }
    QDBusConnection connection() const { return m_connection; }
    QString path() const { return m_path; }

private:
    bool handleProperties(const QDBusMessage &message) const;

    QDBusConnection m_connection;
    QString m_path;
    QString m_interface;
    QString m_xml;
    std::vector<Method> m_methods;
};

} // namespace quillfen::platform
