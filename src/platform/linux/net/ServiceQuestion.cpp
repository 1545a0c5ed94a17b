// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/ServiceQuestion.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <functional>

#include <libmnl/libmnl.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

namespace quillfen::platform {
namespace {

/// A request for a table. Whatever is not set must be 0 for a kernel that checks strictly.
class TableRequest {
public:
    TableRequest(std::uint16_t type)
    {
        m_header = mnl_nlmsg_put_header(m_bytes.data());
        m_header->nlmsg_type = type;
    }
    template <typename T>
    T &extra()
    {
        return *static_cast<T *>(mnl_nlmsg_put_extra_header(m_header, sizeof(T)));
    }
    nlmsghdr &header() { return *m_header; }

private:
    alignas(nlmsghdr) std::array<std::byte, 128> m_bytes{};
    nlmsghdr *m_header = nullptr;
};

/// Appends what @p decode finds in each line of the answer to @p list.
template <typename T>
int collect(NetlinkSocket &line, TableRequest &request,
            std::optional<T> (*decode)(const NetlinkMessage &), std::vector<T> &list)
{
    return line.dump(request.header(), [&list, decode](const NetlinkMessage &message) {
        if (auto decoded = decode(message))
            list.push_back(*std::move(decoded));
    });
}

int readLinks(NetlinkSocket &line, std::vector<Link> &links)
{
    TableRequest request(RTM_GETLINK);
    request.extra<ifinfomsg>().ifi_family = AF_UNSPEC;
    mnl_attr_put_u32(&request.header(), IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS);
    return collect(line, request, decodeLink, links);
}

int readAddresses(NetlinkSocket &line, std::vector<LinkAddress> &addresses)
{
    TableRequest request(RTM_GETADDR);
    request.extra<ifaddrmsg>().ifa_family = AF_INET;
    return collect(line, request, decodeAddress, addresses);
}

int readRoutes(NetlinkSocket &line, std::vector<DefaultRoute> &routes)
{
    TableRequest request(RTM_GETROUTE);
    auto &filter = request.extra<rtmsg>();
    filter.rtm_family = AF_INET;
    filter.rtm_table = RT_TABLE_MAIN;
    const int error = collect(line, request, decodeDefaultRoute, routes);
    return error == ENOENT ? 0 : error; // some kernels, of a table that nothing was put into
}

} // namespace

int ServiceQuestion::open()
{
    if (!m_line)
        m_line = NetlinkSocket::open(NETLINK_ROUTE);
    return m_line ? 0 : errno;
}

int ServiceQuestion::readTables(NetworkTables &tables)
{
    const std::array<std::function<int()>, 3> readings{
        [&] { return readLinks(*m_line, tables.links); },
        [&] { return readAddresses(*m_line, tables.addresses); },
        [&] { return readRoutes(*m_line, tables.routes); }};
    int interruption = 0;
    for (const auto &read : readings) {
        const int error = read();
        if (error != 0 && error != EINTR)
            return error;
        interruption |= error;
    }
    return interruption;
}

int ServiceQuestion::ask(std::vector<Service> &services)
{
    if (const int error = open(); error != 0)
        return error;
    NetworkTables tables;
    const int error = readTables(tables);
    if (error != 0 && error != EINTR) {
        m_line.reset(); // the rest of a broken answer would be in the way of the next
        return error;
    }
    services = orderedServices(tables);
    return error;
}

int ServiceQuestion::askPersistently(std::vector<Service> &services)
{
    int error = EINTR;
    for (int tries = 0; error == EINTR && tries < kTries; ++tries)
        error = ask(services);
    return error == EINTR ? 0 : error;
}

} // namespace quillfen::platform
