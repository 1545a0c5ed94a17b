// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/bus/BusKnock.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

#include <memory>
#include <optional>

namespace quillfen::platform {

/// Tells when there is a session bus again, after it ended or where there was none.
///
/// A connection of the bus library's never comes back by itself, and neither does the one that it
/// shares in a process; so whoever is on the bus moves to another. Nothing is asked time and again:
/// what changes in the folder of the bus's socket says when to look. Where it lies in none, only
/// the first seconds count. Never waits. Main thread only.
class BusReturn : public QObject {
    Q_OBJECT

public:
    /// Of the bus of the D-Bus addresses @p addresses, on which this process is by @p bus now, or
    /// not at all.
    BusReturn(QByteArray addresses, const std::optional<QDBusConnection> &bus);
    ~BusReturn() override;

Q_SIGNALS:
    /// It is there, and @p bus a new connection to it, which is good until the bus ends again.
    void returned(const QDBusConnection &bus);

private Q_SLOTS:
    void busEnded();

private:
    void follow(QDBusConnection bus);
    void watchFolders();
    void lookAnew();
    void knock();
    void takeNoForAnAnswer();
    void comeBack();

    QByteArray m_addresses;
    QString m_name; ///< Of the connection that was made last; empty before the first.
    QFileSystemWatcher m_folders;
    QTimer m_again;
    int m_tries = 0;
    std::unique_ptr<BusKnock> m_knock;
};

} // namespace quillfen::platform
