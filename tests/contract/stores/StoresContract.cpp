// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Later.h"
#include "platform/Turns.h"
#include "platform/linux/net/NetlinkStores.h"
#include "unit/net/PrivateNetwork.h"
#include "world/FakeStores.h"

#include <QCoreApplication>
#include <QTest>

#include <cerrno>
#include <exception>
#include <memory>
#include <vector>

// What platform::DynamicStores promises, of the kernel's network and of the tests' own.

using namespace quillfen::platform;
using quillfen::test::PrivateNetwork;
using quillfen::world::FakeStores;
using namespace Qt::StringLiterals;

namespace {

/// A machine whose network can be changed, and the stores that show it.
class Machine {
public:
    virtual ~Machine() = default;

    virtual DynamicStores &stores() = 0;
    /// Gives @p interface one more address; a new interface comes last.
    virtual void plugIn(const QString &interface, const QString &address) = 0;
    virtual void unplug(const QString &interface) = 0;
    virtual void putFirst(const QString &interface) = 0;
};

class RealMachine final : public Machine {
public:
    DynamicStores &stores() override { return m_stores; }
    void plugIn(const QString &interface, const QString &address) override
    {
        if (!m_interfaces.contains(interface)) {
            m_network.addCable(interface);
            m_interfaces << interface;
        }
        m_network.addAddress(interface, address + u"/24"_s);
    }
    void unplug(const QString &interface) override
    {
        m_network.ip(u"link del "_s + interface);
        m_interfaces.removeAll(interface);
    }
    void putFirst(const QString &interface) override
    {
        m_network.ip(u"route replace default dev "_s + interface);
    }

private:
    PrivateNetwork m_network;
    NetlinkStores m_stores;
    QStringList m_interfaces;
};

class FakeMachine final : public Machine {
public:
    DynamicStores &stores() override { return m_network; }
    void plugIn(const QString &interface, const QString &address) override
    {
        m_network.plugIn(interface, address);
    }
    void unplug(const QString &interface) override { m_network.unplug(interface); }
    void putFirst(const QString &interface) override { m_network.putFirst(interface); }

private:
    FakeStores m_network;
};

QString keyOfService(const QString &service)
{
    return u"State:/Network/Service/%1/IPv4"_s.arg(service);
}

QStringList addressesIn(DynamicStores &stores)
{
    const auto store = stores.create(u"reading"_s, nullptr, nullptr);
    QStringList all;
    const auto snapshot = store->copyMultiple({ipv4OfEveryService()});
    for (const auto &[key, value] : snapshot.value_or(StoreSnapshot()))
        all += value.toMap().value(ipv4AddressesKey()).toStringList();
    return all;
}

Task<void> waitFor(Later<bool> *later)
{
    co_await *later;
}

/// A subscription and all that it told.
struct Subscription {
    explicit Subscription(Machine &machine, const QString &pattern = ipv4OfEveryService())
        : store(machine.stores().create(u"subscription"_s, heard, this))
    {
        store->setNotificationKeys({pattern});
        source = store->createRunLoopSource();
    }
    void begin()
    {
        source->onEachChange([this](const QStringList &) { ++ahead; });
        source->addTo(turns);
    }

    static Task<void> heard(DynamicStore &store, const QStringList &changedKeys, void *context)
    {
        auto *self = static_cast<Subscription *>(context);
        self->rightStore = self->rightStore && &store == self->store.get();
        self->told.push_back(changedKeys);
        co_return;
    }

    Turns turns{[](const std::exception_ptr &) { qFatal("a turn failed"); }};
    std::unique_ptr<DynamicStore> store;
    std::unique_ptr<RunLoopSource> source;
    int ahead = 0;
    std::vector<QStringList> told;
    bool rightStore = true;
};

} // namespace

class StoresContract : public QObject {
    Q_OBJECT

    std::unique_ptr<Machine> m_machine;

    static void bothMachines()
    {
        QTest::addColumn<bool>("real");
        QTest::newRow("kernel") << true;
        QTest::newRow("fake") << false;
    }

private Q_SLOTS:
    void initTestCase_data() { bothMachines(); }

    void init()
    {
        QFETCH_GLOBAL(const bool, real);
        if (real)
            m_machine = std::make_unique<RealMachine>();
        else
            m_machine = std::make_unique<FakeMachine>();
    }

    void anEmptyNetworkIsAnEmptySnapshot()
    {
        const auto store = m_machine->stores().create(u"test"_s, nullptr, nullptr);
        QVERIFY(store != nullptr);
        QCOMPARE(store->copyMultiple({ipv4OfEveryService()}), StoreSnapshot());
        QCOMPARE(m_machine->stores().lastError(), 0);
    }

    void aSnapshotHoldsTheServicesInTheirOrder()
    {
        m_machine->plugIn(u"eth0"_s, u"192.0.2.7"_s);
        m_machine->plugIn(u"eth1"_s, u"198.51.100.7"_s);
        m_machine->plugIn(u"eth0"_s, u"192.0.2.3"_s);
        QCOMPARE(addressesIn(m_machine->stores()),
                 (QStringList{u"192.0.2.7"_s, u"192.0.2.3"_s, u"198.51.100.7"_s}));
        m_machine->putFirst(u"eth1"_s);
        QCOMPARE(addressesIn(m_machine->stores()),
                 (QStringList{u"198.51.100.7"_s, u"192.0.2.7"_s, u"192.0.2.3"_s}));
        m_machine->unplug(u"eth1"_s);
        QCOMPARE(addressesIn(m_machine->stores()), (QStringList{u"192.0.2.7"_s, u"192.0.2.3"_s}));
    }

    void aSnapshotHoldsOnlyWhatMatches()
    {
        m_machine->plugIn(u"eth0"_s, u"192.0.2.7"_s);
        m_machine->plugIn(u"eth1"_s, u"198.51.100.7"_s);
        const auto store = m_machine->stores().create(u"test"_s, nullptr, nullptr);
        const QVariantMap entity{{ipv4AddressesKey(), QStringList{u"198.51.100.7"_s}}};
        QCOMPARE(store->copyMultiple({keyOfService(u"eth1"_s)}),
                 (StoreSnapshot{{keyOfService(u"eth1"_s), entity}}));
        QCOMPARE(store->copyMultiple({u"State:/Network/Service/"_s}), StoreSnapshot());
        QCOMPARE(store->copyMultiple({}), StoreSnapshot());
    }

    void whatIsNoPatternIsAnErrorWithACode()
    {
        const auto store = m_machine->stores().create(u"test"_s, Subscription::heard, nullptr);
        QVERIFY(!store->copyMultiple({u"("_s}));
        QCOMPARE(m_machine->stores().lastError(), EINVAL);
        QVERIFY(!store->setNotificationKeys({u"("_s}));
        QVERIFY(store->createRunLoopSource() == nullptr);
    }

    void eachChangeIsToldOnce()
    {
        Subscription subscription(*m_machine);
        subscription.begin();
        m_machine->plugIn(u"eth0"_s, u"192.0.2.7"_s);
        QTRY_COMPARE(subscription.told.size(), 1u);
        QCOMPARE(subscription.told.back(), QStringList{keyOfService(u"eth0"_s)});
        m_machine->plugIn(u"eth1"_s, u"198.51.100.7"_s);
        QTRY_COMPARE(subscription.told.size(), 2u);
        QCOMPARE(subscription.told.back(), QStringList{keyOfService(u"eth1"_s)});
        m_machine->putFirst(u"eth1"_s);
        QTRY_COMPARE(subscription.told.size(), 3u);
        QCOMPARE(subscription.told.back(),
                 (QStringList{keyOfService(u"eth0"_s), keyOfService(u"eth1"_s)}));
        m_machine->unplug(u"eth0"_s);
        QTRY_COMPARE(subscription.told.size(), 4u);
        QCOMPARE(subscription.told.back(), QStringList{keyOfService(u"eth0"_s)});
        QCOMPARE(subscription.ahead, 4);
        QVERIFY(subscription.rightStore);
    }

    void nothingIsToldBeforeTheSourceIsAdded()
    {
        Subscription subscription(*m_machine);
        Subscription other(*m_machine);
        other.begin();
        m_machine->plugIn(u"eth0"_s, u"192.0.2.7"_s);
        QTRY_COMPARE(other.told.size(), 1u);
        QCOMPARE(subscription.ahead, 0);
        subscription.begin();
        QTRY_COMPARE(subscription.told.size(), 1u);
        QCOMPARE(subscription.ahead, 1);
    }

    void onlyWatchedKeysAreTold()
    {
        Subscription subscription(*m_machine, keyOfService(u"eth1"_s));
        Subscription other(*m_machine);
        subscription.begin();
        other.begin();
        m_machine->plugIn(u"eth0"_s, u"192.0.2.7"_s);
        QTRY_COMPARE(other.told.size(), 1u);
        m_machine->plugIn(u"eth1"_s, u"198.51.100.7"_s);
        QTRY_COMPARE(subscription.told.size(), 1u);
        QCOMPARE(subscription.told.front(), QStringList{keyOfService(u"eth1"_s)});
        QCOMPARE(subscription.ahead, 1);
    }

    void changesDuringAnotherTurnAreOneBatch()
    {
        Subscription subscription(*m_machine);
        subscription.begin();
        Later<bool> end;
        subscription.turns.take(waitFor(&end));
        m_machine->plugIn(u"eth0"_s, u"192.0.2.7"_s);
        QTRY_COMPARE(subscription.ahead, 1);
        m_machine->plugIn(u"eth1"_s, u"198.51.100.7"_s);
        QTRY_COMPARE(subscription.ahead, 2);
        QCOMPARE(subscription.told.size(), 0u);
        end.giver()(true);
        QTRY_COMPARE(subscription.told.size(), 1u);
        QCOMPARE(subscription.told.front(),
                 (QStringList{keyOfService(u"eth0"_s), keyOfService(u"eth1"_s)}));
    }

    void whatIsUndoneDuringAnotherTurnIsNotTold()
    {
        Subscription subscription(*m_machine);
        subscription.begin();
        Later<bool> end;
        subscription.turns.take(waitFor(&end));
        m_machine->plugIn(u"eth0"_s, u"192.0.2.7"_s);
        QTRY_COMPARE(subscription.ahead, 1);
        m_machine->unplug(u"eth0"_s);
        QTRY_COMPARE(subscription.ahead, 2);
        end.giver()(true);
        QTRY_VERIFY(!subscription.turns.busy());
        QCOMPARE(subscription.told.size(), 0u);
        m_machine->plugIn(u"eth1"_s, u"198.51.100.7"_s);
        QTRY_COMPARE(subscription.told.size(), 1u);
        QCOMPARE(subscription.told.front(), QStringList{keyOfService(u"eth1"_s)});
    }

    void whatWasReadAndUndoneIsTold()
    {
        Subscription subscription(*m_machine);
        subscription.begin();
        Later<bool> end;
        subscription.turns.take(waitFor(&end));
        m_machine->plugIn(u"eth0"_s, u"192.0.2.7"_s);
        QTRY_COMPARE(subscription.ahead, 1);
        QCOMPARE(addressesIn(m_machine->stores()), QStringList{u"192.0.2.7"_s});
        m_machine->unplug(u"eth0"_s);
        QTRY_COMPARE(subscription.ahead, 2);
        end.giver()(true);
        QTRY_COMPARE(subscription.told.size(), 1u);
    }

    void anEndedSubscriptionIsSilent()
    {
        Subscription subscription(*m_machine);
        subscription.begin();
        Later<bool> end;
        subscription.turns.take(waitFor(&end));
        m_machine->plugIn(u"eth0"_s, u"192.0.2.7"_s);
        QTRY_COMPARE(subscription.ahead, 1);
        subscription.source.reset();
        subscription.store.reset();
        end.giver()(true);
        QTRY_VERIFY(!subscription.turns.busy());
        QCOMPARE(subscription.told.size(), 0u);
    }
};

int main(int argc, char **argv)
{
    PrivateNetwork::allow();
    QCoreApplication app(argc, argv);
    StoresContract test;
    return QTest::qExec(&test, argc, argv);
}
#include "StoresContract.moc"
