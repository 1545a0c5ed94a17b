// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/Dial.h"

#include <QByteArray>
#include <QSocketNotifier>

#include <cerrno>
#include <utility>

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillfen::mail {

Dial::Dial() = default;

Dial::~Dial()
{
    giveUp();
}

void Dial::start(const QString &address, std::uint16_t port)
{
    giveUp();
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV; // so it asks nobody
    addrinfo *found = nullptr;
    const QByteArray service = QByteArray::number(port);
    if (const int error = getaddrinfo(address.toUtf8(), service, &hints, &found); error != 0) {
        fail(QString::fromLocal8Bit(gai_strerror(error)));
        return;
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> place(found, &freeaddrinfo);
    m_descriptor = socket(found->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (m_descriptor < 0
        || (::connect(m_descriptor, found->ai_addr, found->ai_addrlen) != 0
            && errno != EINPROGRESS)) {
        fail(qt_error_string(errno));
        return;
    }
    m_writable = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Write);
    connect(m_writable.get(), &QSocketNotifier::activated, this, &Dial::onWritable);
}

void Dial::giveUp()
{
    if (m_writable) {
        m_writable->setEnabled(false);
        m_writable.release()->deleteLater(); // it may be calling us just now
    }
    if (m_descriptor >= 0)
        ::close(std::exchange(m_descriptor, -1));
}

void Dial::onWritable()
{
    int error = 0;
    socklen_t size = sizeof error;
    if (getsockopt(m_descriptor, SOL_SOCKET, SO_ERROR, &error, &size) != 0)
        error = errno;
    if (error != 0) {
        fail(qt_error_string(error));
        return;
    }
    const int descriptor = std::exchange(m_descriptor, -1);
    giveUp();
    Q_EMIT connected(descriptor);
}

void Dial::fail(const QString &why)
{
    giveUp();
    Q_EMIT failed(why);
}

} // namespace quillfen::mail
