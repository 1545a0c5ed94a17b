// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DynamicStore.h"

#include <QStringList>
#include <QVariant>

#include <cstdint>
#include <memory>

namespace quillfen::netinfo {

/// The status of success.
inline constexpr std::int32_t noErr = 0;
/// The status of a failure for which the store has no code of its own.
inline constexpr std::int32_t kSCStatusFailed = 1001;

/// Takes a snapshot of all IPv4 addresses of all network services.
///
/// @param addrList  must be there and hold nothing. On success it holds a new list, which may be
///                  empty: the services' own lists one after the other, in the store's order,
///                  neither sorted nor freed of duplicates. On failure it still holds nothing.
/// @returns noErr, or the store's last error, or kSCStatusFailed if that is 0.
///
/// What the caller must do is asserted: a mistake prints file, line and expression, and aborts.
std::int32_t CopyIPAddressListSCF(platform::DynamicStores &stores,
                                  std::unique_ptr<QStringList> *addrList);

/// Subscribes @p callback, called with @p context, to changes of what CopyIPAddressListSCF()
/// lists. Nothing is called before the caller adds the source to the turns.
///
/// @param callback   must be there.
/// @param storeRef   must be there and hold nothing; on success holds the connection.
/// @param sourceRef  must be there and hold nothing; on success holds the source, which must go
///                   before the connection. On failure both still hold nothing.
/// @returns as CopyIPAddressListSCF(). Mistakes abort likewise.
std::int32_t AddIPAddressListChangeCallbackSCF(platform::DynamicStores &stores,
                                               platform::StoreCallback callback, void *context,
                                               std::unique_ptr<platform::DynamicStore> *storeRef,
                                               std::unique_ptr<platform::RunLoopSource> *sourceRef);

/// Appends the addresses of one entry of a snapshot to a list; none if it names no addresses.
///
/// @param key      must be a text.
/// @param value    must be a dictionary; what it holds as addresses must be a list of texts.
/// @param context  must be a list of texts: the one that grows.
void AppendIPAddressesOfEntity(const QVariant *key, const QVariant *value, QVariant *context);

} // namespace quillfen::netinfo
