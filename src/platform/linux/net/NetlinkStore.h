// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DynamicStore.h"
#include "platform/linux/net/NetlinkSource.h"
#include "platform/linux/net/ServiceQuestion.h"
#include "platform/linux/net/ServicesRead.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace quillfen::platform {

/// One connection to the kernel's state of the network; NetlinkStores opens it.
///
/// The value under "State:/Network/Service/<interface>/IPv4" is the service's list of addresses.
/// A service without addresses has no such key.
class NetlinkStore final : public DynamicStore {
public:
    /// What all connections have in common; it outlives them.
    struct Common {
        std::int32_t &lastError;
        ServicesRead &lastRead;
    };

    NetlinkStore(Common common, StoreCallback callback, void *context);

    /// @returns false on failure, as all below that may fail; Common::lastError then tells why.
    bool open();
    /// A fresh answer of the kernel's, never what was heard before.
    /// @errors EINVAL: a pattern is no regular expression.
    std::optional<StoreSnapshot> copyMultiple(const QStringList &patterns) override;
    /// Hears of all changes from now on. @errors as copyMultiple().
    bool setNotificationKeys(const QStringList &patterns) override;
    /// One source for each time that the keys were set.
    /// @errors EINVAL: no keys were set.
    std::unique_ptr<RunLoopSource> createRunLoopSource() override;

private:
    bool failed(int error);

    Common m_common;
    const StoreCallback m_callback;
    void *const m_context;
    ServiceQuestion m_question;
    std::optional<NetlinkSource::Subscription> m_subscription;
};

} // namespace quillfen::platform
