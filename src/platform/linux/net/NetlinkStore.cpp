// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/NetlinkStore.h"

#include <QVariantMap>

#include <cerrno>
#include <utility>
#include <vector>

#include <linux/rtnetlink.h>

namespace quillfen::platform {
namespace {

/// A line on which every event comes that can change the services: an interface going down tells
/// nothing of its addresses, and a default route moving tells nothing of interfaces.
/// @returns nothing on failure; errno tells.
std::optional<NetlinkSocket> openEvents()
{
    auto events = NetlinkSocket::open(NETLINK_ROUTE);
    for (const unsigned group : {RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR, RTNLGRP_IPV4_ROUTE}) {
        if (!events || !events->join(group))
            return {};
    }
    return events;
}

} // namespace

NetlinkStore::NetlinkStore(Common common, StoreCallback callback, void *context)
    : m_common(common),
      m_callback(callback),
      m_context(context)
{ }

bool NetlinkStore::failed(int error)
{
    if (error != 0)
        m_common.lastError = error;
    return error != 0;
}

bool NetlinkStore::open()
{
    return !failed(m_question.open());
}

std::optional<StoreSnapshot> NetlinkStore::copyMultiple(const QStringList &patterns)
{
    const auto keys = KeyPatterns::from(patterns);
    if (failed(keys ? 0 : EINVAL))
        return {};
    ServicesRead &read = m_common.lastRead;
    if (failed(m_question.askPersistently(read.services)))
        return {};
    ++read.count;

    StoreSnapshot snapshot;
    for (const Service &service : keys->matching(read.services)) {
        const QVariantMap entity{{ipv4AddressesKey(), service.addresses}};
        snapshot.emplace_back(keyOf(service), entity);
    }
    return snapshot;
}

bool NetlinkStore::setNotificationKeys(const QStringList &patterns)
{
    auto keys = KeyPatterns::from(patterns);
    if (failed(keys ? 0 : EINVAL))
        return false;
    // The groups are joined before the question, so that no change falls between the two.
    auto events = openEvents();
    if (failed(events ? 0 : errno))
        return false;
    std::vector<Service> start;
    if (failed(m_question.askPersistently(start)))
        return false;
    start = keys->matching(start);
    m_subscription.emplace(NetlinkSource::Subscription{
        .keys = *std::move(keys), .events = *std::move(events), .heardOf = std::move(start)});
    return true;
}

std::unique_ptr<RunLoopSource> NetlinkStore::createRunLoopSource()
{
    if (failed(m_subscription ? 0 : EINVAL))
        return nullptr;
    auto subscription = std::exchange(m_subscription, {});
    const NetlinkSource::Target target{
        .store = *this, .callback = m_callback, .context = m_context};
    return std::make_unique<NetlinkSource>(*std::move(subscription), target, m_question,
                                           m_common.lastRead);
}

} // namespace quillfen::platform
