// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/BusHandshake.h"

#include <array>
#include <cerrno>

#include <unistd.h>

namespace quillfen::platform {

namespace {

constexpr qsizetype kLongestLine = 16 * 1024; // bytes, as in the bus library

/// The message that every connection begins with: little-endian, a method call, version 1, without
/// a body, serial number 1; then its fields, 110 bytes of them, each at a multiple of 8.
QByteArray hello()
{
    static constexpr char kHello[] = "l\1\0\1\0\0\0\0\1\0\0\0\156\0\0\0"
                                     "\1\1o\0\25\0\0\0/org/freedesktop/DBus\0\0\0"
                                     "\2\1s\0\24\0\0\0org.freedesktop.DBus\0\0\0\0"
                                     "\6\1s\0\24\0\0\0org.freedesktop.DBus\0\0\0\0"
                                     "\3\1s\0\5\0\0\0Hello\0\0\0";
    return QByteArray(kHello, sizeof kHello - 1);
}

} // namespace

BusHandshake::BusHandshake(const QByteArray &addresses) : m_sockets(localSockets(addresses)) { }

BusHandshake::~BusHandshake()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
}

BusHandshake::State BusHandshake::go()
{
    if (m_outcome)
        return *m_outcome;
    if (!m_sockets)
        return end(State::Answers);
    return m_descriptor < 0 ? call() : hear();
}

BusHandshake::State BusHandshake::call()
{
    for (const LocalSocket &socket : *m_sockets) {
        m_descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (connect(m_descriptor, reinterpret_cast<const sockaddr *>(&socket.address), socket.size)
            == 0) {
            const QByteArray user = QByteArray::number(geteuid()).toHex();
            return say('\0' + ("AUTH EXTERNAL " + user) + "\r\n") ? State::Waiting
                                                                  : end(State::Absent);
        }
        const bool queueing = errno == EAGAIN; // connect(2)
        close(m_descriptor);
        m_descriptor = -1;
        if (queueing)
            return State::Queueing;
    }
    return end(State::Absent);
}

BusHandshake::State BusHandshake::hear()
{
    std::array<char, 1024> piece = {};
    for (;;) {
        const ssize_t got = recv(m_descriptor, piece.data(), piece.size(), 0);
        if (got > 0 && m_loggedIn)
            return end(State::Answers);
        if (got < 0 && errno == EAGAIN)
            return State::Waiting;
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0 || m_heard.size() > kLongestLine)
            return end(State::Absent);
        m_heard.append(piece.data(), got);
        if (m_heard.contains("\r\n"))
            return logIn();
    }
}

BusHandshake::State BusHandshake::logIn()
{
    // Turned away, the bus library knows other ways to log in.
    if (!m_heard.startsWith("OK "))
        return end(State::Answers);
    m_loggedIn = true;
    return say("BEGIN\r\n" + hello()) ? State::Waiting : end(State::Absent);
}

BusHandshake::State BusHandshake::end(State outcome)
{
    m_outcome = outcome;
    return outcome;
}

bool BusHandshake::say(const QByteArray &words) const
{
    // A new socket has room for many times of all that is ever said here.
    return send(m_descriptor, words.constData(), std::size_t(words.size()), MSG_NOSIGNAL)
        == words.size();
}

} // namespace quillfen::platform
