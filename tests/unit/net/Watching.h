// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/Turns.h"
#include "platform/linux/net/NetlinkStores.h"

#include <QObject>
#include <QSocketNotifier>
#include <QStringList>
#include <QTest>
#include <QTimer>

#include <chrono>
#include <exception>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include <poll.h>

namespace quillfen::test {

/// All addresses of all services, in order; throws if the store fails.
inline QStringList addressesIn(platform::DynamicStores &stores)
{
    const auto store = stores.create(QStringLiteral("test"), nullptr, nullptr);
    const auto snapshot =
        store ? store->copyMultiple({platform::ipv4OfEveryService()}) : std::nullopt;
    if (!snapshot)
        throw std::runtime_error("no snapshot: " + std::to_string(stores.lastError()));
    QStringList all;
    for (const auto &[key, value] : *snapshot)
        all += value.toMap().value(platform::ipv4AddressesKey()).toStringList();
    return all;
}

/// A subscription to the kernel's network, and all that it told.
class Watching {
public:
    Watching()
    {
        store = stores.create(QStringLiteral("watching"), heard, this);
        if (!store || !store->setNotificationKeys({platform::ipv4OfEveryService()}))
            throw std::runtime_error("no subscription");
        source = store->createRunLoopSource();
        source->onEachChange([this](const QStringList &) { ++ahead; });
        source->addTo(turns);
    }

    /// Whether all that came so far has been looked at, and nothing is planned any more.
    bool atRest() const
    {
        const auto *object = dynamic_cast<const QObject *>(source.get());
        const auto *notifier = object->findChild<QSocketNotifier *>();
        pollfd line{.fd = static_cast<int>(notifier->socket()), .events = POLLIN, .revents = 0};
        return notifier->isEnabled() && !object->findChild<QTimer *>()->isActive()
            && poll(&line, 1, 0) == 0 && !turns.busy();
    }

    platform::NetlinkStores stores;
    std::unique_ptr<platform::DynamicStore> store;
    std::unique_ptr<platform::RunLoopSource> source;
    int ahead = 0; ///< How often it was told ahead of its turn.
    std::vector<QStringList> told; ///< The keys of each callback.
    QStringList seen; ///< What the last callback read.
    std::chrono::steady_clock::time_point toldAt; ///< When that was.
    platform::Turns turns{[](std::exception_ptr) { qFatal("a turn failed"); }};

private:
    static platform::Task<void> heard(platform::DynamicStore &, const QStringList &changedKeys,
                                      void *context)
    {
        auto *watching = static_cast<Watching *>(context);
        watching->toldAt = std::chrono::steady_clock::now();
        watching->told.push_back(changedKeys);
        watching->seen = addressesIn(watching->stores);
        co_return;
    }
};

} // namespace quillfen::test
