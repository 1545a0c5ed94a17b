// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/NetlinkStores.h"

#include "platform/linux/net/NetlinkStore.h"

namespace quillfen::platform {

std::unique_ptr<DynamicStore> NetlinkStores::create(const QString &, StoreCallback callback,
                                                    void *context)
{
    auto store = std::make_unique<NetlinkStore>(
        NetlinkStore::Common{.lastError = m_lastError, .lastRead = m_lastRead}, callback, context);
    if (!store->open())
        return nullptr;
    return store;
}

} // namespace quillfen::platform
