// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QHostAddress>
#include <QString>
#include <QtGlobal>

#include <array>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillfen::mail {

/// A port on loopback that takes no further connection and refuses none either: its queue is full.
class DeafServer {
public:
    /// Not the one that everything else listens at, so that the same port can be had.
    static inline const QString kAddress = QStringLiteral("127.0.0.3");

    explicit DeafServer(quint16 port = 0)
    {
        sockaddr_in place = {};
        place.sin_family = AF_INET;
        place.sin_port = htons(port);
        place.sin_addr.s_addr = htonl(QHostAddress(kAddress).toIPv4Address());
        auto *const address = reinterpret_cast<sockaddr *>(&place);
        socklen_t size = sizeof place;
        m_listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (bind(m_listening, address, size) != 0 || listen(m_listening, 0) != 0
            || getsockname(m_listening, address, &size) != 0)
            qFatal("no port");
        m_port = ntohs(place.sin_port);
        for (int &waiting : m_waiting) {
            waiting = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            connect(waiting, address, size); // it begins, or waits for ever: both is wanted
        }
    }
    ~DeafServer()
    {
        close(m_listening);
        for (const int waiting : m_waiting)
            close(waiting);
    }
    DeafServer(const DeafServer &) = delete;
    DeafServer &operator=(const DeafServer &) = delete;

    QString address() const { return kAddress; }
    quint16 port() const { return m_port; }

private:
    int m_listening = -1;
    quint16 m_port = 0;
    std::array<int, 3> m_waiting = {};
};

} // namespace quillfen::mail
