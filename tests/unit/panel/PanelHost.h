// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QString>
#include <QStringList>
#include <QTest>
#include <QVariant>

#include <chrono>
#include <utility>
#include <vector>

namespace quillfen::platform {

/// The desktop's side of a status area: the watcher that items register with, and a panel that
/// listens to them, reads them and calls them.
class PanelHost : public QDBusVirtualObject {
    Q_OBJECT

public:
    struct Item {
        QString service;
        QString path;
    };
    struct Signal {
        QString name;
        QVariantList arguments;
    };

    /// A panel on @p bus, which is not there for items before appear().
    explicit PanelHost(QDBusConnection bus) : m_bus(std::move(bus))
    {
        m_bus.registerVirtualObject(QStringLiteral("/StatusNotifierWatcher"), this);
    }
    ~PanelHost() override { disappear(); }

    void appear() { m_bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")); }
    void disappear() { m_bus.unregisterService(QStringLiteral("org.kde.StatusNotifierWatcher")); }

    /// Every registration so far, oldest first.
    const std::vector<Item> &items() const { return m_items; }
    /// Every signal that the items sent since the last call, oldest first.
    std::vector<Signal> takeSignals() { return std::exchange(m_signals, {}); }
    QStringList signalNames() const
    {
        QStringList names;
        for (const Signal &signal : m_signals)
            names.append(signal.name);
        return names;
    }

    /// Calls the last item's object at @p path, its own path if that is empty, and lets the event
    /// loop turn until the answer is there.
    QDBusMessage call(const QString &path, const QString &interface, const QString &method,
                      const QVariantList &arguments) const
    {
        return await(send(path, interface, method, arguments));
    }
    QDBusPendingCall send(const QString &path, const QString &interface, const QString &method,
                          const QVariantList &arguments) const
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            m_items.back().service, path.isEmpty() ? m_items.back().path : path, interface, method);
        message.setArguments(arguments);
        return m_bus.asyncCall(message, 5000);
    }
    static QDBusMessage await(const QDBusPendingCall &call)
    {
        const QDeadlineTimer deadline(std::chrono::seconds(5));
        while (!call.isFinished() && !deadline.hasExpired())
            QTest::qWait(1);
        return call.reply();
    }
    QVariantMap readAll() const
    {
        const QDBusMessage answer = call({}, QStringLiteral("org.freedesktop.DBus.Properties"),
                                         QStringLiteral("GetAll"), {itemInterface()});
        return answer.arguments().isEmpty()
            ? QVariantMap()
            : qdbus_cast<QVariantMap>(answer.arguments().constFirst());
    }
    QDBusMessage read(const QString &property) const
    {
        return call({}, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                    {itemInterface(), property});
    }
    /// Everything that was sent to this panel before has arrived after this.
    void catchUp() const { read(QStringLiteral("Id")); }

    static QString itemInterface() { return QStringLiteral("org.kde.StatusNotifierItem"); }

    static QString menuInterface() { return QStringLiteral("com.canonical.dbusmenu"); }

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &) override
    {
        if (message.member() != QLatin1String("RegisterStatusNotifierItem"))
            return false;
        m_items.push_back({message.service(), message.arguments().value(0).toString()});
        for (const QString &interface : {itemInterface(), menuInterface()})
            m_bus.connect(message.service(), QString(), interface, QString(), this,
                          SLOT(hear(QDBusMessage)));
        m_bus.send(message.createReply());
        return true;
    }

private Q_SLOTS:
    void hear(const QDBusMessage &signal)
    {
        m_signals.push_back({signal.member(), signal.arguments()});
    }

private:
    QDBusConnection m_bus;
    std::vector<Item> m_items;
    std::vector<Signal> m_signals;
};

} // namespace quillfen::platform
