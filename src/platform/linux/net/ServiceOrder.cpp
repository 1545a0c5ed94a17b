// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/ServiceOrder.h"

#include <QLatin1StringView>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <arpa/inet.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>

namespace quillfen::platform {
namespace {

using namespace Qt::StringLiterals;

QString dottedDecimal(const std::array<std::uint8_t, 4> &address)
{
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, address.data(), text.data(), text.size());
    return QString::fromLatin1(text.data());
}

std::unordered_map<int, QStringList> addressesByLink(std::vector<LinkAddress> addresses)
{
    std::erase_if(addresses, [](const LinkAddress &a) { return a.scope >= RT_SCOPE_HOST; });
    const auto rank = [](const LinkAddress &a) {
        return std::pair((a.flags & IFA_F_DEPRECATED) != 0, a.scope >= RT_SCOPE_LINK);
    };
    std::ranges::stable_sort(addresses, {}, rank);
    std::unordered_map<int, QStringList> lists;
    for (const LinkAddress &address : addresses)
        lists[address.link].append(dottedDecimal(address.address));
    return lists;
}

bool carriesData(const Link &link)
{
    constexpr std::uint32_t kInUse = IFF_UP | IFF_RUNNING | IFF_LOWER_UP;
    return (link.flags & (kInUse | IFF_LOOPBACK)) == kInUse;
}

/// For each link with a default route, which of those routes is its best: 0 is the best of all.
std::unordered_map<int, std::size_t> routeRanks(std::vector<DefaultRoute> routes)
{
    std::ranges::stable_sort(routes, {}, &DefaultRoute::metric);
    std::unordered_map<int, std::size_t> ranks;
    for (std::size_t rank = 0; rank < routes.size(); ++rank)
        ranks.try_emplace(routes[rank].link, rank);
    return ranks;
}

} // namespace

std::vector<Service> orderedServices(const NetworkTables &tables)
{
    std::unordered_set<int> withPort;
    for (const Link &link : tables.links)
        withPort.insert(link.master);
    auto addresses = addressesByLink(tables.addresses);
    const auto ranks = routeRanks(tables.routes);

    std::vector<Link> links = tables.links;
    std::erase_if(links, [&](const Link &link) {
        return !carriesData(link) || !addresses.contains(link.index)
            || (link.kind == "bridge"_L1 && !withPort.contains(link.index));
    });
    std::ranges::stable_sort(links, {}, [&](const Link &link) {
        const auto found = ranks.find(link.index);
        const std::size_t rank =
            found == ranks.end() ? std::numeric_limits<std::size_t>::max() : found->second;
        return std::tuple(rank, !link.kind.isEmpty(), link.index);
    });

    std::vector<Service> services;
    services.reserve(links.size());
    for (const Link &link : links)
        services.push_back({.identifier = link.name, .addresses = addresses.at(link.index)});
    return services;
}

} // namespace quillfen::platform
