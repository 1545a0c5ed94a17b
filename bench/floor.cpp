// SPDX-License-Identifier: GPL-3.0-or-later

// The floor: how fast a change of address can come to the session bus at all on this machine.
//
// A bare listener on libmnl and sd-bus: woken by the kernel, it drains what woke it, asks for the
// addresses and signals the first one of an interface that runs. No toolkit, no log, no lookup, no
// menu, no pause between two batches.
//
//   bench_floor ITEM      ITEM: the object path that the signal comes from
//
// Writes "ready" to standard output when it listens.

#include <array>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include <arpa/inet.h>
#include <libmnl/libmnl.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <poll.h>
#include <systemd/sd-bus.h>

#include "Die.h"

using quillfen::bench::die;
using quillfen::bench::need;

namespace {

constexpr std::size_t kLargestAnswer = 32'768; ///< Bytes; the kernel hands out no more at once.
constexpr int kRetry = 5; ///< Milliseconds to wait after a dump that a change broke into.

struct CloseSocket {
    void operator()(mnl_socket *socket) const { mnl_socket_close(socket); }
};
using Socket = std::unique_ptr<mnl_socket, CloseSocket>;

Socket openSocket()
{
    Socket socket(mnl_socket_open(NETLINK_ROUTE));
    if (!socket || mnl_socket_bind(socket.get(), 0, MNL_SOCKET_AUTOPID) < 0)
        die("a netlink socket", errno);
    return socket;
}

/// Reads away the events: they only say that something changed. An overrun says so, too.
void drain(int events)
{
    char rest;
    while (recv(events, &rest, sizeof rest, MSG_DONTWAIT) >= 0 || errno == ENOBUFS)
        ;
}

/// Asks for all links or all IPv4 addresses. @returns whether the answer is one moment's view.
bool dump(const Socket &questions, std::uint16_t type,
          const std::function<void(const nlmsghdr &)> &take)
{
    alignas(nlmsghdr) std::array<char, kLargestAnswer> room;
    nlmsghdr *request = mnl_nlmsg_put_header(room.data());
    request->nlmsg_type = type;
    request->nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    auto *body = static_cast<ifinfomsg *>(mnl_nlmsg_put_extra_header(request, sizeof(ifinfomsg)));
    body->ifi_family = type == RTM_GETADDR ? AF_INET : AF_UNSPEC;
    need(static_cast<int>(mnl_socket_sendto(questions.get(), request, request->nlmsg_len)),
         "a question to the kernel");

    for (bool whole = true;;) {
        const ssize_t size = mnl_socket_recvfrom(questions.get(), room.data(), room.size());
        int rest = need(static_cast<int>(size), "an answer of the kernel");
        const auto *message = reinterpret_cast<const nlmsghdr *>(room.data());
        for (; mnl_nlmsg_ok(message, rest); message = mnl_nlmsg_next(message, &rest)) {
            whole = whole && !(message->nlmsg_flags & NLM_F_DUMP_INTR);
            if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR)
                return whole;
            take(*message);
        }
    }
}

/// The interface's own address in a message RTM_NEWADDR, as text; empty when it has none.
std::string ownAddress(const nlmsghdr &message)
{
    std::string address;
    mnl_attr_parse(
        &message, sizeof(ifaddrmsg),
        [](const nlattr *attribute, void *found) {
            std::array<char, INET_ADDRSTRLEN> text;
            if (mnl_attr_get_type(attribute) == IFA_LOCAL)
                *static_cast<std::string *>(found) =
                    inet_ntop(AF_INET, mnl_attr_get_payload(attribute), text.data(), text.size());
            return MNL_CB_OK;
        },
        &address);
    return address;
}

/// The first address of a running interface into @p first, empty when there is none.
/// @returns false when a change broke in; @p first is then of no use.
bool findFirst(const Socket &questions, std::string &first)
{
    constexpr unsigned kRunning = IFF_UP | IFF_RUNNING;
    std::set<unsigned> running;
    const bool linksWhole = dump(questions, RTM_GETLINK, [&](const nlmsghdr &message) {
        const auto *link = static_cast<const ifinfomsg *>(mnl_nlmsg_get_payload(&message));
        if ((link->ifi_flags & (kRunning | IFF_LOOPBACK)) == kRunning)
            running.insert(static_cast<unsigned>(link->ifi_index));
    });
    first.clear();
    const bool addressesWhole = dump(questions, RTM_GETADDR, [&](const nlmsghdr &message) {
        const auto *body = static_cast<const ifaddrmsg *>(mnl_nlmsg_get_payload(&message));
        if (first.empty() && running.contains(body->ifa_index))
            first = ownAddress(message);
    });
    return linksWhole && addressesWhole;
}

void follow(const Socket &events, const Socket &questions, sd_bus *bus, const char *item)
{
    std::string shown;
    std::string first;
    for (int wait = 0;;) {
        pollfd waiting{.fd = mnl_socket_get_fd(events.get()), .events = POLLIN, .revents = 0};
        need(poll(&waiting, 1, wait), "waiting for the kernel");
        drain(waiting.fd);
        const bool whole = findFirst(questions, first);
        wait = whole ? -1 : kRetry;
        if (!whole || first == shown)
            continue;
        need(sd_bus_emit_signal(bus, item, "org.kde.StatusNotifierItem", "XAyatanaNewLabel", "ss",
                                first.c_str(), "255.255.255.255"),
             "a signal");
        need(sd_bus_flush(bus), "the session bus");
        shown = first;
    }
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
        die("usage: bench_floor ITEM");
    sd_bus *bus = nullptr;
    need(sd_bus_open_user(&bus), "the session bus");
    const Socket events = openSocket();
    const Socket questions = openSocket();
    for (int group : {RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR, RTNLGRP_IPV4_ROUTE}) {
        need(mnl_socket_setsockopt(events.get(), NETLINK_ADD_MEMBERSHIP, &group, sizeof group),
             "joining a group of events");
    }
    std::puts("ready");
    std::fflush(stdout);
    follow(events, questions, bus, argv[1]);
}
