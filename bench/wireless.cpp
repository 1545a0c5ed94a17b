// SPDX-License-Identifier: GPL-3.0-or-later

// How long it takes to find out to which wireless network this machine is joined, beside the least
// that it can take: to open a line to the kernel, and to ask a bare question on it.
//
//   bench_wireless TIMES
//
// The three take turns, so that all meet the same moods of the machine. Writes lines of a name and
// microseconds to standard output.

#include <QCoreApplication>
#include <QEventLoop>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>

#include <libmnl/libmnl.h>
#include <linux/genetlink.h>

#include "Die.h"
#include "platform/Turns.h"
#include "platform/linux/net/Nl80211Report.h"

using quillfen::bench::count;
using quillfen::bench::die;
using quillfen::bench::need;
using namespace quillfen::platform;

namespace {

constexpr int kWarmUp = 10; ///< Rounds that are not counted.

struct CloseSocket {
    void operator()(mnl_socket *socket) const { mnl_socket_close(socket); }
};
using Socket = std::unique_ptr<mnl_socket, CloseSocket>;

Socket openSocket()
{
    Socket socket(mnl_socket_open(NETLINK_GENERIC));
    if (!socket || mnl_socket_bind(socket.get(), 0, MNL_SOCKET_AUTOPID) < 0)
        die("a netlink socket", errno);
    return socket;
}

void openAndClose()
{
    openSocket();
}

/// Asks for all families that the kernel has, and reads the answer to its end.
void askBarely()
{
    const Socket socket = openSocket();
    alignas(nlmsghdr) std::array<char, 32'768> room;
    nlmsghdr *request = mnl_nlmsg_put_header(room.data());
    request->nlmsg_type = GENL_ID_CTRL;
    request->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    auto *body = static_cast<genlmsghdr *>(mnl_nlmsg_put_extra_header(request, sizeof(genlmsghdr)));
    body->cmd = CTRL_CMD_GETFAMILY;
    need(static_cast<int>(mnl_socket_sendto(socket.get(), request, request->nlmsg_len)),
         "a question to the kernel");
    for (;;) {
        const ssize_t size = mnl_socket_recvfrom(socket.get(), room.data(), room.size());
        int rest = need(static_cast<int>(size), "an answer of the kernel");
        const auto *message = reinterpret_cast<const nlmsghdr *>(room.data());
        for (; mnl_nlmsg_ok(message, rest); message = mnl_nlmsg_next(message, &rest)) {
            if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR)
                return;
        }
    }
}

Task<void> report()
{
    Nl80211Report wireless;
    co_await wireless.run();
}

void lookUp()
{
    Turns turns([](const std::exception_ptr &) { die("the lookup"); });
    turns.take(report());
    while (turns.busy())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

void measure(const char *name, void (*work)(), bool counts)
{
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    work();
    const std::chrono::duration<double, std::micro> taken = Clock::now() - start;
    if (counts)
        std::printf("%s %.1f\n", name, taken.count());
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    if (argc != 2)
        die("usage: bench_wireless TIMES");
    const int times = count(argv[1]);
    for (int round = -kWarmUp; round < times; ++round) {
        measure("open", openAndClose, round >= 0);
        measure("question", askBarely, round >= 0);
        measure("report", lookUp, round >= 0);
    }
    return 0;
}
