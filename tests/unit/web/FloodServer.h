// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <array>
#include <atomic>
#include <thread>
#include <utility>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillfen::platform {

/// A server on a thread of its own that answers its first caller with @p opening and then with
/// @p wave, over and over, as fast as it is taken, until that one hangs up.
class FloodServer {
public:
    FloodServer(QByteArray opening, QByteArray wave)
        : m_opening(std::move(opening)),
          m_wave(std::move(wave)),
          m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in here = {};
        here.sin_family = AF_INET;
        here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof here;
        auto *const address = reinterpret_cast<sockaddr *>(&here);
        if (bind(m_listener, address, size) != 0 || listen(m_listener, 1) != 0
            || getsockname(m_listener, address, &size) != 0)
            qFatal("no server");
        m_port = ntohs(here.sin_port);
        m_thread = std::thread([this] { serve(); });
    }
    ~FloodServer()
    {
        m_ended = true;
        m_thread.join();
        close(m_listener);
    }
    FloodServer(const FloodServer &) = delete;
    FloodServer &operator=(const FloodServer &) = delete;

    quint16 port() const { return m_port; }
    QUrl url() const { return QUrl(QStringLiteral("http://127.0.0.1:%1/").arg(m_port)); }
    /// Whether the caller has hung up.
    bool left() const { return m_left; }
    /// How many bytes the caller or the system took.
    qint64 sent() const { return m_sent; }

private:
    static constexpr int kLook = 50; // ms

    /// Waits until @p socket is ready for @p events. @returns false when this is to end.
    bool ready(int socket, short events) const
    {
        pollfd look = {.fd = socket, .events = events, .revents = 0};
        while (!m_ended) {
            if (poll(&look, 1, kLook) > 0)
                return true;
        }
        return false;
    }
    /// @returns false when it is over.
    bool send(int caller, const QByteArray &bytes)
    {
        for (qsizetype at = 0; at < bytes.size();) {
            if (!ready(caller, POLLOUT))
                return false;
            const ssize_t sent = ::send(caller, bytes.constData() + at, size_t(bytes.size() - at),
                                        MSG_NOSIGNAL | MSG_DONTWAIT);
            if (sent < 0)
                return false;
            at += sent;
            m_sent += sent;
        }
        return true;
    }
    void serve()
    {
        if (!ready(m_listener, POLLIN))
            return;
        const int caller = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        std::array<char, 4096> request;
        if (ready(caller, POLLIN) && read(caller, request.data(), request.size()) > 0
            && send(caller, m_opening)) {
            while (send(caller, m_wave)) { }
        }
        m_left = !m_ended;
        close(caller);
    }

    QByteArray m_opening;
    QByteArray m_wave;
    int m_listener;
    quint16 m_port = 0;
    std::atomic_bool m_ended = false;
    std::atomic_bool m_left = false;
    std::atomic<qint64> m_sent = 0;
    std::thread m_thread;
};

} // namespace quillfen::platform
