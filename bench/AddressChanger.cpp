// SPDX-License-Identifier: GPL-3.0-or-later
#include "AddressChanger.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>

#include <arpa/inet.h>
#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>
#include <net/if.h>

#include "Die.h"

namespace quillfen::bench {

namespace {

constexpr int kPrefixLength = 16;
constexpr std::size_t kRequestRoom = 128;

in_addr_t address(int index)
{
    const unsigned third = 100 + static_cast<unsigned>(index) / 100 % 100;
    const unsigned fourth = 100 + static_cast<unsigned>(index) % 100;
    return htonl(10U << 24 | 77U << 16 | third << 8 | fourth);
}

} // namespace

std::string addressText(int index)
{
    const in_addr raw{.s_addr = address(index)};
    std::array<char, INET_ADDRSTRLEN> text;
    return inet_ntop(AF_INET, &raw, text.data(), text.size());
}

void AddressChanger::Close::operator()(mnl_socket *socket) const
{
    mnl_socket_close(socket);
}

AddressChanger::AddressChanger(const char *interface)
    : m_socket(mnl_socket_open(NETLINK_ROUTE)),
      m_interface(if_nametoindex(interface))
{
    if (!m_socket || mnl_socket_bind(m_socket.get(), 0, MNL_SOCKET_AUTOPID) < 0)
        die("a netlink socket", errno);
    if (!m_interface)
        die(interface, errno);
}

AddressChanger::~AddressChanger() = default;

void AddressChanger::add(int index)
{
    alignas(nlmsghdr) std::array<char, kRequestRoom> room;
    send(room.data(), request(room.data(), RTM_NEWADDR, index)->nlmsg_len);
    answers(1);
}

void AddressChanger::remove(int index)
{
    alignas(nlmsghdr) std::array<char, kRequestRoom> room;
    send(room.data(), request(room.data(), RTM_DELADDR, index)->nlmsg_len);
    answers(1);
}

void AddressChanger::swap(int oldIndex, int newIndex)
{
    alignas(nlmsghdr) std::array<char, 2 * kRequestRoom> room;
    const std::size_t first = request(room.data(), RTM_DELADDR, oldIndex)->nlmsg_len;
    const std::size_t second = request(room.data() + first, RTM_NEWADDR, newIndex)->nlmsg_len;
    send(room.data(), first + second);
}

void AddressChanger::answers(int count)
{
    alignas(nlmsghdr) std::array<char, 4096> room;
    while (count > 0) {
        const ssize_t size = mnl_socket_recvfrom(m_socket.get(), room.data(), room.size());
        int rest = need(static_cast<int>(size), "the kernel's answer");
        const auto *message = reinterpret_cast<const nlmsghdr *>(room.data());
        for (; mnl_nlmsg_ok(message, rest); message = mnl_nlmsg_next(message, &rest)) {
            const auto *answer = static_cast<const nlmsgerr *>(mnl_nlmsg_get_payload(message));
            if (message->nlmsg_type != NLMSG_ERROR || answer->error)
                die("the kernel refused a change", answer->error);
            --count;
        }
    }
}

nlmsghdr *AddressChanger::request(char *room, std::uint16_t type, int index) const
{
    nlmsghdr *message = mnl_nlmsg_put_header(room);
    message->nlmsg_type = type;
    message->nlmsg_flags = NLM_F_REQUEST | NLM_F_ACK;
    if (type == RTM_NEWADDR)
        message->nlmsg_flags |= NLM_F_CREATE | NLM_F_EXCL;
    auto *body = static_cast<ifaddrmsg *>(mnl_nlmsg_put_extra_header(message, sizeof(ifaddrmsg)));
    body->ifa_family = AF_INET;
    body->ifa_prefixlen = kPrefixLength;
    body->ifa_index = m_interface;
    mnl_attr_put_u32(message, IFA_LOCAL, address(index));
    return message;
}

void AddressChanger::send(const char *bytes, std::size_t size)
{
    if (mnl_socket_sendto(m_socket.get(), bytes, size) < 0)
        die("sending to the kernel", errno);
}

} // namespace quillfen::bench
