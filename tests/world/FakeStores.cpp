// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeStores.h"

#include "platform/Turns.h"

#include <QRegularExpression>
#include <QVariantMap>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <functional>
#include <ranges>
#include <utility>

namespace quillfen::world {

/// The source of a connection to a FakeStores.
class FakeStores::Source final : public platform::RunLoopSource {
public:
    Source(FakeStores &network, platform::DynamicStore &store, QStringList patterns,
           platform::StoreSnapshot start, platform::StoreCallback callback, void *context)
        : m_network(network),
          m_store(store),
          m_patterns(std::move(patterns)),
          m_heardOf(std::move(start)),
          m_present(m_heardOf),
          m_callback(callback),
          m_context(context),
          m_self(std::make_shared<Source *>(this))
    { }
    ~Source() override { std::erase(m_network.m_sources, this); }

    void addTo(platform::Turns &turns) override
    {
        assert(m_callback && "the turns need something to call");
        m_turns = &turns;
        begin();
    }
    void onEachChange(std::function<void(const QStringList &addresses)> told) override
    {
        m_told = std::move(told);
        begin();
    }

    void compare()
    {
        auto now = m_network.snapshot(m_patterns);
        const bool different = addresses(now) != addresses(m_present);
        m_present = std::move(now);
        const bool otherwise = readOtherwise();
        if (m_told && (different || otherwise))
            m_told(addresses(m_present));
        const bool news = otherwise || addresses(m_present) != addresses(m_heardOf);
        if (m_turns && news && !std::exchange(m_turnQueued, true))
            m_turns->take(turn(m_self));
    }

private:
    void begin()
    {
        if (std::ranges::find(m_network.m_sources, this) == m_network.m_sources.end())
            m_network.m_sources.push_back(this);
        compare();
    }
    static QStringList addresses(const platform::StoreSnapshot &entries)
    {
        QStringList all;
        for (const auto &[key, value] : entries)
            all += value.toMap().value(platform::ipv4AddressesKey()).toStringList();
        return all;
    }
    static platform::Task<void> turn(std::weak_ptr<Source *> self)
    {
        QStringList keys;
        const auto alive = self.lock();
        if (!alive || !(*alive)->beginTurn(&keys))
            co_return;
        Source *const source = *alive;
        co_await source->m_callback(source->m_store, keys, source->m_context);
    }
    bool beginTurn(QStringList *keys)
    {
        m_turnQueued = false;
        if (addresses(m_present) == addresses(m_heardOf) && !readOtherwise())
            return false;
        *keys = changedKeys();
        m_heardOf = m_present;
        m_readingsHeardOf = m_network.m_readings;
        return true;
    }
    bool readOtherwise() const
    {
        return m_network.m_readings != m_readingsHeardOf && m_network.m_lastRead
            && addresses(*m_network.m_lastRead) != addresses(m_present);
    }
    QStringList changedKeys() const
    {
        QStringList keys;
        const auto collect = [&keys](const auto &from, const auto &without) {
            for (const auto &entry : from) {
                if (std::ranges::find(without, entry) == without.end())
                    keys.append(entry.first.toString());
            }
        };
        collect(m_heardOf, m_present);
        collect(m_present, m_heardOf);
        if (keys.isEmpty())
            collect(m_present, platform::StoreSnapshot());
        keys.sort();
        keys.removeDuplicates();
        return keys;
    }

    FakeStores &m_network;
    platform::DynamicStore &m_store;
    const QStringList m_patterns;
    platform::StoreSnapshot m_heardOf; ///< What the callback last heard of.
    platform::StoreSnapshot m_present;
    const platform::StoreCallback m_callback;
    void *const m_context;
    const std::shared_ptr<Source *> m_self;
    std::uint64_t m_readingsHeardOf = 0;
    platform::Turns *m_turns = nullptr;
    std::function<void(const QStringList &)> m_told;
    bool m_turnQueued = false;
};

/// A connection to a FakeStores.
class FakeStores::Store final : public platform::DynamicStore {
public:
    Store(FakeStores &network, platform::StoreCallback callback, void *context)
        : m_network(network),
          m_callback(callback),
          m_context(context)
    { }

    std::optional<platform::StoreSnapshot> copyMultiple(const QStringList &patterns) override
    {
        if (failsFor(Call::CopyMultiple, patterns))
            return {};
        m_network.m_lastRead = m_network.snapshot({QStringLiteral(".*")});
        ++m_network.m_readings;
        return m_network.snapshot(patterns);
    }
    bool setNotificationKeys(const QStringList &patterns) override
    {
        if (failsFor(Call::SetNotificationKeys, patterns))
            return false;
        m_patterns = patterns;
        m_start = m_network.snapshot(patterns);
        return true;
    }
    std::unique_ptr<platform::RunLoopSource> createRunLoopSource() override
    {
        if (m_network.fails(Call::CreateRunLoopSource))
            return nullptr;
        if (!m_start) {
            m_network.m_lastError = EINVAL;
            return nullptr;
        }
        return std::make_unique<Source>(m_network, *this, m_patterns, *std::exchange(m_start, {}),
                                        m_callback, m_context);
    }

private:
    bool failsFor(Call call, const QStringList &patterns)
    {
        if (m_network.fails(call))
            return true;
        const bool valid = std::ranges::all_of(
            patterns, [](const QString &pattern) { return QRegularExpression(pattern).isValid(); });
        if (!valid)
            m_network.m_lastError = EINVAL;
        return !valid;
    }

    FakeStores &m_network;
    const platform::StoreCallback m_callback;
    void *const m_context;
    QStringList m_patterns;
    std::optional<platform::StoreSnapshot> m_start;
};

FakeStores::FakeStores() = default;

FakeStores::~FakeStores() = default;

void FakeStores::failNext(Call call, std::int32_t code)
{
    m_failures[call] = code;
}

bool FakeStores::fails(Call call)
{
    const auto failure = m_failures.extract(call);
    if (failure.empty())
        return false;
    m_lastError = failure.mapped();
    return true;
}

FakeStores::Service &FakeStores::service(QAnyStringView interface)
{
    const QString name = interface.toString();
    const auto found = std::ranges::find(m_services, name, &Service::name);
    return found != m_services.end() ? *found
                                     : m_services.emplace_back(Service{name, std::nullopt});
}

platform::StoreSnapshot FakeStores::snapshot(const QStringList &patterns) const
{
    platform::StoreSnapshot entries;
    for (const Service &each : m_services) {
        const QString key = QStringLiteral("State:/Network/Service/%1/IPv4").arg(each.name);
        const auto matches = [&key](const QString &pattern) {
            const QRegularExpression whole(QRegularExpression::anchoredPattern(pattern));
            return whole.match(key).hasMatch();
        };
        QVariantMap entity;
        if (each.addresses)
            entity[platform::ipv4AddressesKey()] = *each.addresses;
        if (std::ranges::any_of(patterns, matches))
            entries.emplace_back(key, entity);
    }
    return entries;
}

void FakeStores::changed()
{
    // A copy: whoever is told may end a subscription.
    const std::vector<Source *> told = m_sources;
    for (Source *source : told) {
        if (std::ranges::find(m_sources, source) != m_sources.end())
            source->compare();
    }
}

void FakeStores::plugIn(QAnyStringView interface, QAnyStringView address)
{
    Service &plugged = service(interface);
    plugged.addresses = plugged.addresses.value_or(QStringList()) << address.toString();
    changed();
}

void FakeStores::setAddresses(QAnyStringView interface, const QStringList &addresses)
{
    service(interface).addresses = addresses;
    changed();
}

void FakeStores::plugInWithoutAddresses(QAnyStringView interface)
{
    service(interface).addresses.reset();
    changed();
}

void FakeStores::unplug(QAnyStringView interface)
{
    std::erase_if(m_services,
                  [name = interface.toString()](const Service &each) { return each.name == name; });
    changed();
}

void FakeStores::rename(QAnyStringView interface, QAnyStringView newName)
{
    service(interface).name = newName.toString();
    changed();
}

void FakeStores::putFirst(QAnyStringView interface)
{
    const auto found = std::ranges::find(m_services, interface.toString(), &Service::name);
    assert(found != m_services.end() && "no such interface");
    std::rotate(m_services.begin(), found, found + 1);
    changed();
}

std::unique_ptr<platform::DynamicStore>
FakeStores::create(const QString &name, platform::StoreCallback callback, void *context)
{
    if (fails(Call::Create))
        return nullptr;
    m_connectionNames.append(name);
    return std::make_unique<Store>(*this, callback, context);
}

} // namespace quillfen::world
