// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QString>
#include <QStringList>

#include <signal.h>
#include <sys/types.h>

namespace quillfen::platform {

/// A session bus of the test's own, which it can stop and hang up.
class PrivateBus {
public:
    PrivateBus()
    {
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--session"), QStringLiteral("--nofork"),
                        QStringLiteral("--nopidfile"), QStringLiteral("--print-address=1")});
        if (m_daemon.waitForReadyRead())
            m_address = QString::fromLatin1(m_daemon.readLine()).trimmed();
        if (m_address.isEmpty())
            qFatal("no dbus-daemon: %s", qPrintable(m_daemon.errorString()));
    }
    ~PrivateBus()
    {
        for (const QString &name : m_connections)
            QDBusConnection::disconnectFromBus(name);
        stop();
    }
    PrivateBus(const PrivateBus &) = delete;
    PrivateBus &operator=(const PrivateBus &) = delete;

    QString address() const { return m_address; }
    /// A new connection: to the bus it looks like another process.
    QDBusConnection connection()
    {
        m_connections += m_address + QString::number(m_connections.size());
        return QDBusConnection::connectToBus(m_address, m_connections.constLast());
    }
    void stop()
    {
        resume();
        m_daemon.kill();
        m_daemon.waitForFinished();
    }
    /// Makes the bus deaf and dumb, with its connections open.
    void hang() { kill(pid_t(m_daemon.processId()), SIGSTOP); }
    void resume()
    {
        if (m_daemon.processId() != 0)
            kill(pid_t(m_daemon.processId()), SIGCONT);
    }

private:
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};

} // namespace quillfen::platform
