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
#include <vector>

#include <sys/types.h>

namespace quillfen::platform {

/// Tells when there is a session bus again, after it ended or where there was none.
///
/// A connection of the bus library's never comes back by itself, and neither does the one that it
/// shares in a process; so whoever is on the bus moves to another. Nothing is asked time and again:
/// what changes in the folder of the bus's socket says when to look, and a bus is asked for when
/// another socket is there than before. Where it lies in no folder, only the first seconds count.
/// Never waits. Main thread only.
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
    /// What tells a socket from the next one of its name.
    struct SocketFile {
        dev_t device;
        ino_t number;
        time_t seconds; ///< These two: of its last change.
        long nanoseconds;
        friend bool operator==(const SocketFile &, const SocketFile &) = default;
    };
    using SocketFiles = std::vector<SocketFile>;

    /// Those that are there now.
    SocketFiles socketFiles() const;
    void follow(QDBusConnection bus);
    void watchFolders();
    void folderChanged();
    void lookAnew();
    void knock();
    void takeNoForAnAnswer();
    void comeBack();

    QByteArray m_addresses;
    QString m_name; ///< Of the connection that was made last; empty before the first.
    QFileSystemWatcher m_folders;
    SocketFiles m_knockedAt; ///< What was there when it was looked anew for a bus.
    QTimer m_again;
    int m_tries = 0;
    std::unique_ptr<BusKnock> m_knock;
};

} // namespace quillfen::platform
