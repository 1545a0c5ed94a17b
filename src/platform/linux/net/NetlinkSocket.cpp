// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/NetlinkSocket.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>

#include <libmnl/libmnl.h>
#include <poll.h>
#include <sys/socket.h>

namespace quillfen::platform {
namespace {

using namespace std::chrono_literals;

/// The kernel answers a dump within the calls that send and receive, so this never passes
/// where all is well.
constexpr std::chrono::milliseconds kAnswerTime = 1s;
/// The kernel hands out at most 32 KiB at a time, but for a single line that is longer.
constexpr std::size_t kLargestAnswer = 64 * 1024;
/// More than a queue of the usual size holds (256), so that a storm cannot keep us reading.
constexpr int kMostDrainedAtOnce = 1024;

bool becomesReadable(int descriptor, std::chrono::milliseconds within)
{
    pollfd awaited{.fd = descriptor, .events = POLLIN, .revents = 0};
    return poll(&awaited, 1, static_cast<int>(within.count())) > 0;
}

} // namespace

void NetlinkSocket::Close::operator()(mnl_socket *socket) const
{
    mnl_socket_close(socket);
}

std::optional<NetlinkSocket> NetlinkSocket::open(int protocol)
{
    mnl_socket *opened = mnl_socket_open2(protocol, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (!opened)
        return {};
    NetlinkSocket socket(opened);
    if (mnl_socket_bind(opened, 0, MNL_SOCKET_AUTOPID) < 0)
        return {};
    // Asks the kernel (4.20 and later) to filter routes by table. Without it we filter alone.
    int on = 1;
    mnl_socket_setsockopt(opened, NETLINK_GET_STRICT_CHK, &on, sizeof on);
    return socket;
}

bool NetlinkSocket::join(unsigned group)
{
    return mnl_socket_setsockopt(m_socket.get(), NETLINK_ADD_MEMBERSHIP, &group, sizeof group) == 0;
}

int NetlinkSocket::descriptor() const
{
    return mnl_socket_get_fd(m_socket.get());
}

bool NetlinkSocket::pending() const
{
    return becomesReadable(descriptor(), 0ms);
}

bool NetlinkSocket::drain()
{
    bool anything = false;
    for (int count = 0; count < kMostDrainedAtOnce; ++count) {
        const bool received = recv(descriptor(), nullptr, 0, MSG_TRUNC) >= 0;
        if (!received && errno != ENOBUFS && errno != EINTR)
            return anything;
        anything = true;
    }
    return anything;
}

bool NetlinkSocket::awaitAnswer() const
{
    if (becomesReadable(descriptor(), kAnswerTime))
        return true;
    errno = ETIMEDOUT;
    return false;
}

int NetlinkSocket::dump(nlmsghdr &request, const TakeMessage &take)
{
    request.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    request.nlmsg_seq = ++m_sequence;
    if (mnl_socket_sendto(m_socket.get(), &request, request.nlmsg_len) < 0)
        return errno;

    DumpReply reply(request.nlmsg_seq);
    std::array<std::byte, kLargestAnswer> buffer;
    while (!reply.complete()) {
        const auto size = mnl_socket_recvfrom(m_socket.get(), buffer.data(), buffer.size());
        if (size >= 0)
            reply.feed({buffer.data(), static_cast<std::size_t>(size)}, take);
        else if (errno != EINTR && (errno != EAGAIN || !awaitAnswer()))
            return errno;
    }
    return reply.error();
}

} // namespace quillfen::platform
