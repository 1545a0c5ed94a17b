// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Later.h"
#include "unit/net/Descriptors.h"
#include "unit/net/PrivateNetwork.h"
#include "unit/net/Watching.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <array>
#include <chrono>
#include <optional>

using namespace quillfen::platform;
using namespace quillfen::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const auto kA1 = u"192.0.2.7"_s;
const auto kA2 = u"192.0.2.8"_s;
const auto kB = u"198.51.100.7"_s;
const auto kMarker = u"233.252.0.1"_s;

/// The services' names in keys.
QString servicesIn(const QStringList &keys)
{
    QStringList names;
    for (const QString &key : keys)
        names << key.section(u'/', 3, 3);
    return names.join(u' ');
}

Task<void> waitFor(Later<bool> *later)
{
    co_await *later;
}

/// What a program does that reads the network in a turn and then has to wait.
Task<void> readAndWaitFor(DynamicStores *stores, Later<bool> *later)
{
    addressesIn(*stores);
    co_await *later;
}

} // namespace

/// Every test starts with the cables ea, eb and ec plugged and ed not up; ea has two addresses and
/// the default route, eb and ed have one address each.
class NetlinkChangesTest : public QObject {
    Q_OBJECT

    std::optional<PrivateNetwork> m_network;
    std::optional<Watching> m_watching;

    /// Proves that nothing is under way: a change that is made now is the next to be told.
    void nextToldIsAMarker()
    {
        const auto before = m_watching->told.size();
        m_network->addAddress(u"ec"_s, kMarker + u"/32"_s);
        QTRY_COMPARE(m_watching->told.size(), before + 1);
        QVERIFY(servicesIn(m_watching->told.back()).contains(u"ec"_s));
        QTRY_VERIFY(m_watching->atRest());
        QCOMPARE(m_watching->told.size(), before + 1);
    }

private Q_SLOTS:
    void init()
    {
        m_network.emplace();
        for (const QString &name : {u"ea"_s, u"eb"_s, u"ec"_s})
            m_network->addCable(name);
        m_network->ip(u"link add ed type veth peer name edfar\n"
                      "address add 192.0.2.7/24 dev ea\naddress add 192.0.2.8/24 dev ea\n"
                      "address add 198.51.100.7/24 dev eb\naddress add 203.0.113.7/24 dev ed\n"
                      "route add default via 192.0.2.1 metric 10\n"_s);
        m_watching.emplace();
        QTRY_VERIFY(m_watching->atRest());
    }
    void cleanup() { m_watching.reset(); }

    void tellsOnceOfAChange_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("services");
        QTest::addColumn<QStringList>("expected");
        struct Row {
            const char *name;
            QString change;
            QString services;
            QStringList expected;
        };
        const std::array rows{
            Row{"address added",
                u"address add 192.0.2.9/24 dev ea"_s,
                u"ea"_s,
                {kA1, kA2, u"192.0.2.9"_s, kB}},
            Row{"first address of an interface",
                u"address add 10.0.0.1/8 dev ec"_s,
                u"ec"_s,
                {kA1, kA2, kB, u"10.0.0.1"_s}},
            Row{"address removed", u"address del 192.0.2.8/24 dev ea"_s, u"ea"_s, {kA1, kB}},
            Row{"last address of an interface removed",
                u"address del 198.51.100.7/24 dev eb"_s,
                u"eb"_s,
                {kA1, kA2}},
            Row{"first address removed, the second with it",
                u"address del 192.0.2.7/24 dev ea"_s,
                u"ea"_s,
                {kB}},
            Row{"address swapped",
                u"address del 198.51.100.7/24 dev eb\naddress add 198.51.100.8/24 dev eb"_s,
                u"eb"_s,
                {kA1, kA2, u"198.51.100.8"_s}},
            Row{"address deprecated",
                u"address change 192.0.2.7/24 dev ea preferred_lft 0"_s,
                u"ea"_s,
                {kA2, kA1, kB}},
            Row{"taken down", u"link set eb down"_s, u"eb"_s, {kA1, kA2}},
            Row{"cable out", u"link set ebfar down"_s, u"eb"_s, {kA1, kA2}},
            Row{"cable out that has the default route", u"link set eafar down"_s, u"ea"_s, {kB}},
            Row{"interface up",
                u"link set ed up\nlink set edfar up"_s,
                u"ed"_s,
                {kA1, kA2, kB, u"203.0.113.7"_s}},
            Row{"interface removed", u"link del ea"_s, u"ea"_s, {kB}},
            Row{"default route moved to the other interface",
                u"route del default\nroute add default via 198.51.100.1"_s,
                u"ea eb"_s,
                {kB, kA1, kA2}},
            Row{"better default route",
                u"route add default via 198.51.100.1 metric 5"_s,
                u"ea eb"_s,
                {kB, kA1, kA2}},
            Row{"all at once",
                u"link del ea\nlink del eb\nlink del ec\nlink del ed"_s,
                u"ea eb"_s,
                {}},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.change << row.services << row.expected;
    }

    void tellsOnceOfAChange()
    {
        QFETCH(const QString, change);
        m_network->ip(change);
        QTRY_VERIFY(!m_watching->told.empty());
        QTRY_VERIFY(m_watching->atRest());
        QTEST(addressesIn(m_watching->stores), "expected");
        QTEST(servicesIn(m_watching->told.front()), "services");
        QCOMPARE(m_watching->told.size(), 1u);
        QCOMPARE(m_watching->ahead, 1);
    }

    void tellsOfAnInterfaceThatMovesToAnotherNamespace()
    {
        QProcess elsewhere;
        elsewhere.start(u"unshare"_s, {u"--net"_s, u"sh"_s, u"-c"_s, u"echo ready; read end"_s});
        QVERIFY(elsewhere.waitForReadyRead());
        m_network->ip(u"link set ea netns %1"_s.arg(elsewhere.processId()));
        QTRY_COMPARE(addressesIn(m_watching->stores), QStringList{kB});
        QTRY_COMPARE(m_watching->told.size(), 1u);
        QCOMPARE(servicesIn(m_watching->told.front()), u"ea"_s);
        elsewhere.closeWriteChannel();
        QVERIFY(elsewhere.waitForFinished());
    }

    void tellsOfBothEndsOfAnOutage()
    {
        m_network->ip(u"link set eafar down"_s);
        QTRY_COMPARE(m_watching->told.size(), 1u);
        m_network->ip(u"link set eafar up"_s);
        QTRY_COMPARE(m_watching->told.size(), 2u);
        QCOMPARE(addressesIn(m_watching->stores), (QStringList{kA1, kA2, kB}));
    }

    void keepsSilent_data()
    {
        QTest::addColumn<QString>("noise");
        struct Row {
            const char *name;
            QString noise;
        };
        const std::array rows{
            Row{"lease renewed",
                u"address change 192.0.2.7/24 dev ea valid_lft 900 "
                "preferred_lft 600"_s},
            Row{"another size of packets", u"link set ea mtu 1400"_s},
            Row{"alias", u"link set ea alias uplink"_s},
            Row{"label",
                u"address del 198.51.100.7/24 dev eb\n"
                "address add 198.51.100.7/24 dev eb label eb:home"_s},
            Row{"route to one network", u"route add 203.0.113.0/25 via 192.0.2.1"_s},
            Row{"worse default route", u"route add default via 198.51.100.1 metric 99"_s},
            Row{"default route lost where it made no difference", u"route del default"_s},
            Row{"address and no address again",
                u"address add 192.0.2.9/24 dev ea\naddress del 192.0.2.9/24 dev ea"_s},
            Row{"address on an interface that is down", u"address add 192.0.2.9/24 dev ed"_s},
            Row{"interface without an address",
                u"link add ee type veth peer name eefar\n"
                "link set ee up\nlink set eefar up"_s},
            Row{"bridge without a port",
                u"link add br0 type bridge\nlink set br0 up\naddress add 10.1.1.1/8 dev br0"_s},
            Row{"port for a bridge that is down",
                u"link add br0 type bridge\n"
                "link set ec master br0\nlink set ec nomaster"_s},
            Row{"address of the loopback", u"address add 192.0.2.77/32 dev lo"_s},
            Row{"the same address on another interface in the same place",
                u"address del 198.51.100.7/24 dev eb\naddress add 198.51.100.7/24 dev ec"_s},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.noise;
    }

    void keepsSilent()
    {
        QFETCH(const QString, noise);
        m_network->ip(noise);
        QVERIFY(!m_watching->atRest()); // the kernel did tell something
        QTRY_VERIFY(m_watching->atRest());
        QCOMPARE(m_watching->told.size(), 0u);
        QCOMPARE(m_watching->ahead, 0);
        nextToldIsAMarker();
    }

    void leavesTheFirstMomentToWhoeverIsToldAtOnce()
    {
        using Clock = std::chrono::steady_clock;
        std::optional<Clock::time_point> ahead;
        m_watching->source->onEachChange([&ahead](const QStringList &) { ahead = Clock::now(); });
        QTRY_VERIFY(m_watching->atRest());
        Watching inTurnAlone; // it comes later, so it is woken after the other
        inTurnAlone.store->setNotificationKeys({ipv4OfEveryService()});
        inTurnAlone.source = inTurnAlone.store->createRunLoopSource();
        inTurnAlone.source->addTo(inTurnAlone.turns);
        QTRY_VERIFY(inTurnAlone.atRest());
        m_network->addAddress(u"eb"_s, u"10.0.0.1/32"_s);
        QTRY_COMPARE(inTurnAlone.told.size(), 1u);
        QVERIFY(ahead);
        QVERIFY(inTurnAlone.toldAt - *ahead >= 1ms);
    }

    void gathersWhatComesDuringAnotherTurn()
    {
        Later<bool> end;
        m_watching->turns.take(waitFor(&end));
        for (int round = 1; round <= 3; ++round) {
            m_network->addAddress(u"eb"_s, u"10.0.0.%1/32"_s.arg(round));
            QTRY_COMPARE(m_watching->ahead, round);
        }
        QCOMPARE(m_watching->told.size(), 0u);
        end.giver()(true);
        QTRY_COMPARE(m_watching->told.size(), 1u);
        nextToldIsAMarker();
    }

    void forgetsWhatIsUndoneDuringAnotherTurn()
    {
        Later<bool> end;
        m_watching->turns.take(waitFor(&end));
        m_network->addAddress(u"eb"_s, u"10.0.0.1/32"_s);
        QTRY_COMPARE(m_watching->ahead, 1);
        m_network->ip(u"address del 10.0.0.1/32 dev eb"_s);
        QTRY_COMPARE(m_watching->ahead, 2);
        end.giver()(true);
        QTRY_VERIFY(!m_watching->turns.busy());
        QTRY_VERIFY(m_watching->atRest());
        QCOMPARE(m_watching->told.size(), 0u);
        nextToldIsAMarker();
    }

    /// The kernel may take a moment to see a cable again, so these are made during another turn.
    void forgetsAnInterruption_data()
    {
        QTest::addColumn<QString>("interruption");
        QTest::newRow("cable out and in") << u"link set eafar down\nlink set eafar up"_s;
        QTest::newRow("renamed") << u"link set eb down\nlink set eb name lan\nlink set lan up"_s;
    }

    void forgetsAnInterruption()
    {
        QFETCH(const QString, interruption);
        Later<bool> end;
        m_watching->turns.take(waitFor(&end));
        m_network->ip(interruption);
        NetlinkStores onlooker;
        QTRY_COMPARE(addressesIn(onlooker), (QStringList{kA1, kA2, kB}));
        end.giver()(true);
        QTRY_VERIFY(m_watching->atRest());
        QCOMPARE(m_watching->told.size(), 0u);
        nextToldIsAMarker();
    }

    void looksOnceMoreWhenItsTurnComes()
    {
        Later<bool> end;
        m_watching->turns.take(waitFor(&end));
        m_network->addAddress(u"eb"_s, u"10.0.0.1/32"_s);
        QTRY_COMPARE(m_watching->ahead, 1);
        // The turn ends before the event loop has seen this.
        m_network->ip(u"address del 10.0.0.1/32 dev eb"_s);
        end.giver()(true);
        QTRY_VERIFY(!m_watching->turns.busy() && m_watching->atRest());
        QCOMPARE(m_watching->told.size(), 0u);
        QCOMPARE(m_watching->ahead, 2);
    }

    void doesNotForgetWhatTheOtherTurnRead()
    {
        Later<bool> end;
        m_network->addAddress(u"eb"_s, u"10.0.0.1/32"_s);
        m_watching->turns.take(readAndWaitFor(&m_watching->stores, &end));
        QTRY_COMPARE(m_watching->ahead, 1);
        m_network->ip(u"address del 10.0.0.1/32 dev eb"_s);
        QTRY_COMPARE(m_watching->ahead, 2);
        end.giver()(true);
        // All is as it last heard, but it goes by a list with the address that is gone.
        QTRY_COMPARE(m_watching->told.size(), 1u);
        nextToldIsAMarker();
    }

    void tellsWhatChangedBetweenAReadingAndTheSubscription()
    {
        Watching late;
        addressesIn(late.stores);
        m_network->addAddress(u"eb"_s, u"10.0.0.1/32"_s);
        late.store->setNotificationKeys({ipv4OfEveryService()});
        late.source = late.store->createRunLoopSource();
        late.source->onEachChange([&late](const QStringList &) { ++late.ahead; });
        late.source->addTo(late.turns);
        QTRY_COMPARE(late.told.size(), 1u);
        QCOMPARE(late.ahead, 1);
    }

    void isSilentBeforeItIsAddedToTheTurns()
    {
        Watching idle;
        idle.store->setNotificationKeys({ipv4OfEveryService()});
        idle.source = idle.store->createRunLoopSource();
        m_network->addAddress(u"eb"_s, u"10.0.0.1/32"_s);
        QTRY_COMPARE(m_watching->told.size(), 1u);
        QCOMPARE(idle.ahead, 0);
        idle.source->onEachChange([&idle](const QStringList &) { ++idle.ahead; });
        idle.source->addTo(idle.turns);
        QTRY_COMPARE(idle.told.size(), 1u);
    }

    void heedsItsPatterns()
    {
        m_watching->store->setNotificationKeys({u"State:/Network/Service/(eb|ec)/IPv4"_s});
        m_watching->source = m_watching->store->createRunLoopSource();
        m_watching->source->onEachChange([this](const QStringList &) { ++m_watching->ahead; });
        m_watching->source->addTo(m_watching->turns);
        QTRY_VERIFY(m_watching->atRest());
        m_network->addAddress(u"ea"_s, u"10.0.0.1/32"_s);
        QTRY_VERIFY(m_watching->atRest());
        QCOMPARE(m_watching->ahead, 0);
        nextToldIsAMarker();
    }

    void asksAgainAfterAFailure()
    {
        m_watching.reset();
        const auto before = openDescriptors();
        m_watching.emplace();
        QTRY_VERIFY(m_watching->atRest());
        breakFirstDescriptorAfter(before);
        m_network->addAddress(u"eb"_s, u"10.0.0.1/32"_s);
        QTRY_COMPARE(m_watching->seen, (QStringList{kA1, kA2, kB, u"10.0.0.1"_s}));
        QCOMPARE(m_watching->told.size(), 1u);
        nextToldIsAMarker();
    }

    void nothingComesAfterItsEnd()
    {
        Later<bool> end;
        m_watching->turns.take(waitFor(&end));
        m_network->addAddress(u"eb"_s, u"10.0.0.1/32"_s);
        QTRY_COMPARE(m_watching->ahead, 1);
        m_watching->source.reset();
        m_watching->store.reset();
        end.giver()(true);
        QTRY_VERIFY(!m_watching->turns.busy());
        QCOMPARE(m_watching->told.size(), 0u);
    }
};

int main(int argc, char **argv)
{
    PrivateNetwork::allow();
    QCoreApplication app(argc, argv);
    NetlinkChangesTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "NetlinkChangesTest.moc"
