// SPDX-License-Identifier: GPL-3.0-or-later
//
// Stands in for a part of the kernel that this machine lacks. Preloaded into a program (LD_PRELOAD,
// ld.so(8)), it answers what that program asks on sockets of NETLINK_GENERIC, from files that are
// read at each question. They stand in the folder that the environment variable KERNEL_ANSWERS
// names, and are called after the question:
//
//   FAMILY.COMMAND.INTERFACE    numbers; INTERFACE is 0 where the question names none
//
// Such a file holds all messages of the answer as the kernel writes them; they get the question's
// sequence number. With an empty file, there is silence. A question without a file goes to the real
// kernel, as does everything else.
//
// Only sendto() is replaced. The answer is a datagram from another socket to that of the program,
// whose waiting and receiving are thus real. Sending it needs CAP_NET_ADMIN (netlink(7)).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include <libmnl/libmnl.h>
#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

namespace {

int option(int socket, int name)
{
    int value = -1;
    socklen_t size = sizeof value;
    getsockopt(socket, SOL_SOCKET, name, &value, &size);
    return value;
}

bool isGenericNetlink(int socket)
{
    return option(socket, SO_DOMAIN) == AF_NETLINK
        && option(socket, SO_PROTOCOL) == NETLINK_GENERIC;
}

int takeInterface(const nlattr *attribute, void *interface)
{
    if (mnl_attr_get_type(attribute) == NL80211_ATTR_IFINDEX)
        *static_cast<std::uint32_t *>(interface) = mnl_attr_get_u32(attribute);
    return MNL_CB_OK;
}

/// The name of the file with the answer to @p question.
std::string fileName(const nlmsghdr &question)
{
    const auto *generic = static_cast<const genlmsghdr *>(mnl_nlmsg_get_payload(&question));
    std::uint32_t interface = 0;
    mnl_attr_parse(&question, sizeof *generic, takeInterface, &interface);
    return std::to_string(question.nlmsg_type) + '.' + std::to_string(generic->cmd) + '.'
        + std::to_string(interface);
}

/// The answer to @p question; nothing if that is for the real kernel to give.
std::optional<std::string> answerTo(const nlmsghdr &question)
{
    const char *folder = std::getenv("KERNEL_ANSWERS");
    if (!folder)
        return {};
    std::ifstream file(std::filesystem::path(folder) / fileName(question), std::ios::binary);
    if (!file)
        return {};
    std::string answer(std::istreambuf_iterator<char>(file), {});
    for (std::size_t at = 0; at + sizeof(nlmsghdr) <= answer.size();) {
        auto *message = reinterpret_cast<nlmsghdr *>(answer.data() + at);
        message->nlmsg_seq = question.nlmsg_seq;
        at += std::max(sizeof(nlmsghdr), NLMSG_ALIGN(std::size_t{message->nlmsg_len}));
    }
    return answer;
}

ssize_t send(int socket, const void *bytes, std::size_t size, int flags, const void *to,
             socklen_t toSize)
{
    iovec part{.iov_base = const_cast<void *>(bytes), .iov_len = size};
    msghdr message{};
    message.msg_name = const_cast<void *>(to);
    message.msg_namelen = toSize;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    return sendmsg(socket, &message, flags);
}

/// Has @p socket receive @p answer.
void give(int socket, const std::string &answer)
{
    sockaddr_nl to{};
    socklen_t size = sizeof to;
    getsockname(socket, reinterpret_cast<sockaddr *>(&to), &size);
    const int own = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_GENERIC);
    if (send(own, answer.data(), answer.size(), MSG_DONTWAIT, &to, sizeof to) < 0)
        std::perror("wireless_kernel");
    close(own);
}

} // namespace

extern "C" ssize_t sendto(int socket, const void *bytes, std::size_t size, int flags,
                          const sockaddr *to, socklen_t toSize)
{
    const auto *question = static_cast<const nlmsghdr *>(bytes);
    if (isGenericNetlink(socket) && mnl_nlmsg_ok(question, static_cast<int>(size))) {
        if (const auto answer = answerTo(*question)) {
            if (!answer->empty())
                give(socket, *answer);
            return static_cast<ssize_t>(size);
        }
    }
    return send(socket, bytes, size, flags, to, toSize);
}
