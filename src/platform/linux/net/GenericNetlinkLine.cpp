// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/GenericNetlinkLine.h"

#include "platform/Later.h"

#include <QSocketNotifier>
#include <QTimer>

#include <cerrno>
#include <chrono>

#include <libmnl/libmnl.h>
#include <linux/netlink.h>
#include <sys/socket.h>

namespace quillfen::platform {
namespace {

/// Bytes; the kernel hands out no more at a time.
constexpr std::size_t kLargestDatagram = 32 * 1024;

/// @returns false when @p deadline passed first.
Task<bool> becomesReadable(int descriptor, QDeadlineTimer deadline)
{
    Later<bool> readable;
    const Giver<bool> give = readable.giver();
    QSocketNotifier notifier(descriptor, QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [give] { give(true); });
    QTimer timer;
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer, &QTimer::timeout, &timer, [give] { give(false); });
    timer.start(std::chrono::ceil<std::chrono::milliseconds>(deadline.remainingTimeAsDuration()));
    co_return co_await readable;
}

} // namespace

void GenericNetlinkLine::Close::operator()(mnl_socket *socket) const
{
    mnl_socket_close(socket);
}

GenericNetlinkLine::GenericNetlinkLine(mnl_socket *socket)
    : m_socket(socket),
      m_room(kLargestDatagram)
{ }

std::unique_ptr<KernelLine> GenericNetlinkLine::open()
{
    mnl_socket *opened = mnl_socket_open2(NETLINK_GENERIC, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (!opened)
        return nullptr;
    std::unique_ptr<KernelLine> line(new GenericNetlinkLine(opened));
    return mnl_socket_bind(opened, 0, MNL_SOCKET_AUTOPID) == 0 ? std::move(line) : nullptr;
}

int GenericNetlinkLine::send(Bytes message)
{
    return mnl_socket_sendto(m_socket.get(), message.data(), message.size()) < 0 ? errno : 0;
}

Task<Datagram> GenericNetlinkLine::receive(QDeadlineTimer deadline)
{
    for (;;) {
        const auto size = mnl_socket_recvfrom(m_socket.get(), m_room.data(), m_room.size());
        if (size >= 0)
            co_return Datagram{.bytes = {m_room.data(), static_cast<std::size_t>(size)}};
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN)
            co_return Datagram{.error = errno};
        const int descriptor = mnl_socket_get_fd(m_socket.get());
        const bool readable = co_await becomesReadable(descriptor, deadline);
        if (!readable)
            co_return Datagram{.error = ETIMEDOUT};
    }
}

} // namespace quillfen::platform
