// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace quillfen::platform {

class Turns;
class DynamicStore;

/// Keys and values as they stood at one moment, in the store's own order of its services.
/// A value is a dictionary (QVariantMap) of texts and lists of texts.
using StoreSnapshot = std::vector<std::pair<QVariant, QVariant>>;

/// What a connection calls once for each batch of changes, with the context it was opened with.
using StoreCallback = Task<void> (*)(DynamicStore &store, const QStringList &changedKeys,
                                     void *context);

/// The source of a connection's change notifications; silent until one of these is called.
class RunLoopSource {
public:
    virtual ~RunLoopSource() = default;

    /// Calls the connection's callback, which it must have, from now on: a batch of changes
    /// becomes one turn, which calls it if the watched values then differ from those that it
    /// last heard of, or if the program has read others meanwhile. While another turn runs, all
    /// that comes is gathered into one batch.
    virtual void addTo(Turns &turns) = 0;
    /// Calls @p told from now on, at once on every change and turn or no turn, with all watched
    /// addresses in their order. For what does not wait; it must not wait itself.
    virtual void onEachChange(std::function<void(const QStringList &addresses)> told) = 0;
};

/// One connection to the platform's store of the network's present state.
class DynamicStore {
public:
    virtual ~DynamicStore() = default;

    /// All entries whose keys match one of @p patterns; nothing on failure (see lastError()).
    virtual std::optional<StoreSnapshot> copyMultiple(const QStringList &patterns) = 0;
    /// Names the keys whose changes are notified. @returns false on failure.
    virtual bool setNotificationKeys(const QStringList &patterns) = 0;
    /// The source to be added to the turns; null on failure. It must not outlive the store.
    virtual std::unique_ptr<RunLoopSource> createRunLoopSource() = 0;
};

/// Opens connections to the dynamic store.
class DynamicStores {
public:
    virtual ~DynamicStores() = default;

    /// Opens a connection named @p name, which calls @p callback, if any, with @p context.
    /// @returns null on failure.
    virtual std::unique_ptr<DynamicStore> create(const QString &name, StoreCallback callback,
                                                 void *context) = 0;
    /// The code of the last failure (an errno value on Linux); 0 when none is known.
    virtual std::int32_t lastError() const = 0;
};

/// The key pattern of the IPv4 entity of every network service's present state.
inline QString ipv4OfEveryService()
{
    return QStringLiteral("State:/Network/Service/[^/]+/IPv4");
}

/// The name under which an IPv4 entity holds its addresses, a list of dotted-decimal texts.
inline QString ipv4AddressesKey()
{
    return QStringLiteral("Addresses");
}

} // namespace quillfen::platform
