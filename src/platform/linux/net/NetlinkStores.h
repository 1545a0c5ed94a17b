// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DynamicStore.h"
#include "platform/linux/net/ServicesRead.h"

#include <cstdint>
#include <memory>

namespace quillfen::platform {

/// Opens connections to what the kernel knows of the network, spoken to over rtnetlink.
///
/// A service is an interface that carries data now and has an IPv4 address; its identifier is
/// the interface's name (ServiceOrder.h tells which come first). Of the kernel's namespaces, it
/// is the one that the process is in when a connection is opened. No privileges are needed.
///
/// The connections must not outlive it. Main thread only.
class NetlinkStores final : public DynamicStores {
public:
    /// @errors what netlink(7) and socket(2) give: most likely EMFILE or EPERM.
    std::unique_ptr<DynamicStore> create(const QString &name, StoreCallback callback,
                                         void *context) override;
    std::int32_t lastError() const override { return m_lastError; }

private:
    std::int32_t m_lastError = 0;
    ServicesRead m_lastRead;
};

} // namespace quillfen::platform
