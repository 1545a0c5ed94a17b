// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

namespace quillfen::platform {

/// The bus name that panels' watchers share. @source StatusNotifierItem specification
QString watcherName();

/// Keeps an item of a panel registered with the desktop's StatusNotifierWatcher, whenever one is
/// there and however often it is replaced. Waits for none.
class WatcherRegistration : public QObject {
    Q_OBJECT

public:
    /// The item lies on @p itemPath of @p connection.
    WatcherRegistration(QDBusConnection connection, QString itemPath);

    /// Registers now and from now on. The item has to be served already.
    void start();

Q_SIGNALS:
    /// Another watcher takes over, and with it perhaps another panel.
    void panelChanged();
    /// No panel shows the item for now, for @p reason.
    void waiting(const QString &reason);

private:
    void registerItem();

    QDBusConnection m_connection;
    QString m_itemPath;
    QDBusServiceWatcher m_owners;
};

} // namespace quillfen::platform
