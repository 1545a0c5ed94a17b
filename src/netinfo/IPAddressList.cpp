// SPDX-License-Identifier: GPL-3.0-or-later
#include "netinfo/IPAddressList.h"

#include <QMetaType>
#include <QVariantMap>

#include <cassert>
#include <cstddef>
#include <optional>
#include <utility>

// The assertions are written so that what they print names each value as it is called in the
// programming interface of the store; hence NULL, and the three type identifiers below. Running
// out of memory ends a C++ program, so the status -4960 for a list that could not be made, which
// that interface knows, does not occur.

namespace quillfen::netinfo {
namespace {

int CFGetTypeID(const QVariant *value)
{
    return value->typeId();
}

int CFStringGetTypeID()
{
    return QMetaType::QString;
}

int CFDictionaryGetTypeID()
{
    return QMetaType::QVariantMap;
}

int CFArrayGetTypeID()
{
    return QMetaType::QStringList;
}

/// The status of a call that failed just now.
std::int32_t statusOfFailure(const platform::DynamicStores &stores)
{
    const std::int32_t err = stores.lastError();
    return err == noErr ? kSCStatusFailed : err;
}

} // namespace

void AppendIPAddressesOfEntity(const QVariant *key, const QVariant *value, QVariant *context)
{
    assert(key != NULL);
    assert(CFGetTypeID(key) == CFStringGetTypeID());
    assert(value != NULL);
    assert(CFGetTypeID(value) == CFDictionaryGetTypeID());
    assert(context != NULL);
    assert(CFGetTypeID(context) == CFArrayGetTypeID());

    const QVariantMap &entity = *static_cast<const QVariantMap *>(value->constData());
    const auto found = entity.constFind(platform::ipv4AddressesKey());
    if (found == entity.cend())
        return;
    const QVariant *intfAddrList = &*found;
    assert(CFGetTypeID(intfAddrList) == CFArrayGetTypeID());
    // In place: taken out and put back, the list would be copied whole for each entity.
    static_cast<QStringList *>(context->data())->append(intfAddrList->toStringList());
}

std::int32_t CopyIPAddressListSCF(platform::DynamicStores &stores,
                                  std::unique_ptr<QStringList> *addrList)
{
    assert(addrList != NULL);
    assert(*addrList == NULL);

    std::int32_t err = noErr;
    const auto store = stores.create(QStringLiteral("CopyIPAddressListSCF"), nullptr, nullptr);
    if (!store)
        err = statusOfFailure(stores);

    std::optional<platform::StoreSnapshot> snapshot;
    if (err == noErr) {
        snapshot = store->copyMultiple({platform::ipv4OfEveryService()});
        if (!snapshot)
            err = statusOfFailure(stores);
    }

    if (err == noErr) {
        QVariant result = QStringList();
        for (const auto &[key, value] : *snapshot)
            AppendIPAddressesOfEntity(&key, &value, &result);
        *addrList = std::make_unique<QStringList>(result.toStringList());
    }

    assert((err == noErr) == (*addrList != NULL));
    return err;
}

std::int32_t AddIPAddressListChangeCallbackSCF(platform::DynamicStores &stores,
                                               platform::StoreCallback callback, void *context,
                                               std::unique_ptr<platform::DynamicStore> *storeRef,
                                               std::unique_ptr<platform::RunLoopSource> *sourceRef)
{
    assert(callback != NULL);
    assert(storeRef != NULL);
    assert(*storeRef == NULL);
    assert(sourceRef != NULL);
    assert(*sourceRef == NULL);

    std::int32_t err = noErr;
    auto store =
        stores.create(QStringLiteral("AddIPAddressListChangeCallbackSCF"), callback, context);
    if (!store)
        err = statusOfFailure(stores);

    if (err == noErr && !store->setNotificationKeys({platform::ipv4OfEveryService()}))
        err = statusOfFailure(stores);

    if (err == noErr) {
        *sourceRef = store->createRunLoopSource();
        if (*sourceRef == nullptr)
            err = statusOfFailure(stores);
    }

    if (err == noErr)
        *storeRef = std::move(store);

    assert((err == noErr) == (*storeRef != NULL));
    assert((err == noErr) == (*sourceRef != NULL));
    return err;
}

} // namespace quillfen::netinfo
