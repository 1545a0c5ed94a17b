// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFile>
#include <QTemporaryDir>

#include <arpa/inet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillfen::platform {

inline const QString kWithSilentNameServer = QStringLiteral("--with-silent-name-server");

/// A network of this process's own with a name server in it that hears and never answers.
class SilentNameServer {
public:
    SilentNameServer()
    {
        const int spaces = CLONE_NEWNS | CLONE_NEWNET | (geteuid() == 0 ? 0 : CLONE_NEWUSER);
        if (unshare(spaces) != 0 || mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            qFatal("no namespaces of our own");
        replace("/etc/resolv.conf", "nameserver 127.0.0.1\n");
        replace("/etc/nsswitch.conf", "hosts: dns\n");

        m_socket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        ifreq loopback = {};
        qstrncpy(loopback.ifr_name, "lo", sizeof loopback.ifr_name);
        loopback.ifr_flags = IFF_UP;
        sockaddr_in here = {};
        here.sin_family = AF_INET;
        here.sin_port = htons(53);
        here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (ioctl(m_socket, SIOCSIFFLAGS, &loopback) != 0
            || bind(m_socket, reinterpret_cast<const sockaddr *>(&here), sizeof here) != 0)
            qFatal("no name server of our own");
    }
    ~SilentNameServer() { close(m_socket); }
    SilentNameServer(const SilentNameServer &) = delete;
    SilentNameServer &operator=(const SilentNameServer &) = delete;

    bool wasAsked() const
    {
        pollfd question = {.fd = m_socket, .events = POLLIN, .revents = 0};
        return poll(&question, 1, 0) > 0;
    }

private:
    /// Lets @p path read as @p text in this process.
    void replace(const char *path, const char *text)
    {
        QFile file(m_folder.filePath(QString::fromLatin1(path).section(u'/', -1)));
        if (!file.open(QIODevice::WriteOnly) || file.write(text) < 0)
            qFatal("no file");
        file.close();
        const QByteArray name = QFile::encodeName(file.fileName());
        if (mount(name.constData(), path, nullptr, MS_BIND, nullptr) != 0)
            qFatal("cannot replace %s", path);
    }

    QTemporaryDir m_folder;
    int m_socket = -1;
};

} // namespace quillfen::platform
