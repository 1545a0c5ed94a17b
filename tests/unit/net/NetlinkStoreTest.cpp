// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/NetlinkStores.h"
#include "unit/net/Descriptors.h"
#include "unit/net/PrivateNetwork.h"
#include "unit/net/Watching.h"

#include <QCoreApplication>
#include <QTest>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <sys/resource.h>

using namespace quillfen::platform;
using namespace quillfen::test;
using namespace Qt::StringLiterals;

namespace {

QString key(const QString &service)
{
    return u"State:/Network/Service/"_s + service + u"/IPv4"_s;
}

/// As long as it lives, no further descriptor can be opened.
class NoDescriptorLeft {
public:
    NoDescriptorLeft()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const rlimit none{.rlim_cur = 0, .rlim_max = m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoDescriptorLeft() { setrlimit(RLIMIT_NOFILE, &m_before); }
    NoDescriptorLeft(const NoDescriptorLeft &) = delete;
    NoDescriptorLeft &operator=(const NoDescriptorLeft &) = delete;

private:
    rlimit m_before{};
};

} // namespace

class NetlinkStoreTest : public QObject {
    Q_OBJECT

    std::optional<PrivateNetwork> m_network;

private Q_SLOTS:
    void init() { m_network.emplace(); }

    void listsTheNetwork_data()
    {
        QTest::addColumn<QString>("commands");
        QTest::addColumn<QStringList>("expected");
        struct Row {
            const char *name;
            QString commands;
            QStringList expected;
        };
        const QString one = u"address add 192.0.2.7/24 dev ea\n"_s;
        const QString two = one + u"address add 198.51.100.7/24 dev eb\n"_s;
        const std::array rows{
            Row{"no address", {}, {}},
            Row{"loopback", u"address add 192.0.2.1/32 dev lo"_s, {}},
            Row{"one", one, {u"192.0.2.7"_s}},
            Row{"two interfaces", two, {u"192.0.2.7"_s, u"198.51.100.7"_s}},
            Row{"two on one",
                one + u"address add 192.0.2.3/24 dev ea"_s,
                {u"192.0.2.7"_s, u"192.0.2.3"_s}},
            Row{"the same on both",
                one + u"address add 192.0.2.7/25 dev eb"_s,
                {u"192.0.2.7"_s, u"192.0.2.7"_s}},
            Row{"the same twice on one",
                one + u"address add 192.0.2.7/32 dev ea"_s,
                {u"192.0.2.7"_s, u"192.0.2.7"_s}},
            Row{"with a label",
                u"address add 192.0.2.7/24 dev ea label ea:vip"_s,
                {u"192.0.2.7"_s}},
            Row{"link scope last",
                u"address add 169.254.1.1/16 dev ea scope link\n"_s + one,
                {u"192.0.2.7"_s, u"169.254.1.1"_s}},
            Row{"host scope never",
                u"address add 192.0.2.1/32 dev ea scope host\n"_s + one,
                {u"192.0.2.7"_s}},
            Row{"deprecated last",
                u"address add 192.0.2.9/24 dev ea preferred_lft 0\n"_s + one
                    + u"address add 169.254.1.1/16 dev ea scope link"_s,
                {u"192.0.2.7"_s, u"169.254.1.1"_s, u"192.0.2.9"_s}},
            Row{"our own end of two",
                u"address add 10.8.0.2 peer 10.8.0.1 dev ea"_s,
                {u"10.8.0.2"_s}},
            Row{"taken down", two + u"link set ea down"_s, {u"198.51.100.7"_s}},
            Row{"cable out", two + u"link set eafar down"_s, {u"198.51.100.7"_s}},
            Row{"default route",
                two + u"route add default via 198.51.100.1"_s,
                {u"198.51.100.7"_s, u"192.0.2.7"_s}},
            Row{"two default routes",
                two + u"route add default via 192.0.2.1 metric 20\n"_s
                    + u"route add default via 198.51.100.1 metric 10"_s,
                {u"198.51.100.7"_s, u"192.0.2.7"_s}},
            Row{"default route with several ways",
                two + u"route add default nexthop via 198.51.100.1 nexthop via 192.0.2.1"_s,
                {u"198.51.100.7"_s, u"192.0.2.7"_s}},
            Row{"default route of another table",
                two + u"route add default via 198.51.100.1 table 77"_s,
                {u"192.0.2.7"_s, u"198.51.100.7"_s}},
            Row{"default route that leads nowhere",
                two + u"route add unreachable default"_s,
                {u"192.0.2.7"_s, u"198.51.100.7"_s}},
            Row{"default route over a cable that is out",
                two + u"route add default via 198.51.100.1\nlink set ebfar down"_s,
                {u"192.0.2.7"_s}},
            Row{"bridge without a port",
                u"link add br0 type bridge\nlink set br0 up\n"_s
                    + u"address add 203.0.113.1/24 dev br0"_s,
                {}},
            Row{"bridge with a port",
                u"link add br0 type bridge\nlink set br0 up\nlink set ea master br0\n"_s
                    + u"address add 203.0.113.1/24 dev br0"_s,
                {u"203.0.113.1"_s}},
            Row{"tunnel that nobody reads",
                u"tuntap add dev tun0 mode tun\nlink set tun0 up\n"_s
                    + u"address add 10.8.0.2 peer 10.8.0.1 dev tun0"_s,
                {}},
            Row{"IPv6 only", u"address add 2001:db8::7/64 dev ea"_s, {}},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.commands << row.expected;
    }

    void listsTheNetwork()
    {
        QFETCH(const QString, commands);
        QFETCH(const QStringList, expected);
        m_network->addCable(u"ea"_s);
        m_network->addCable(u"eb"_s);
        m_network->ip(commands);
        NetlinkStores stores;
        // A bridge that got its port takes a moment to carry data.
        QTRY_COMPARE(addressesIn(stores), expected);
        QCOMPARE(stores.lastError(), 0);
    }

    void namesEachServiceByItsInterface()
    {
        m_network->addCable(u"ea"_s);
        m_network->addCable(u"eb"_s);
        m_network->addAddress(u"eb"_s, u"192.0.2.7/24"_s);
        NetlinkStores stores;
        const auto store = stores.create(u"test"_s, nullptr, nullptr);
        const StoreSnapshot expected{
            {key(u"eb"_s), QVariantMap{{ipv4AddressesKey(), QStringList{u"192.0.2.7"_s}}}}};
        QCOMPARE(store->copyMultiple({ipv4OfEveryService()}), expected);
        QCOMPARE(store->copyMultiple({key(u"eb"_s)}), expected);
        QCOMPARE(store->copyMultiple({key(u"ea"_s)}), StoreSnapshot());
    }

    void answersWithTheNamespaceThatItWasOpenedIn()
    {
        m_network->addCable(u"ea"_s);
        m_network->addAddress(u"ea"_s, u"192.0.2.7/24"_s);
        NetlinkStores stores;
        const auto here = stores.create(u"test"_s, nullptr, nullptr);
        const PrivateNetwork elsewhere;
        QCOMPARE(addressesIn(stores), QStringList());
        QCOMPARE(here->copyMultiple({ipv4OfEveryService()})->size(), 1u);
    }

    void listsTenThousandAddresses()
    {
        m_network->addCable(u"ea"_s);
        QString lines;
        QStringList expected;
        for (int number = 0; number < 10'000; ++number) {
            expected << u"10.%1.%2.1"_s.arg(number / 250).arg(number % 250);
            lines += u"address add "_s + expected.last() + u"/8 dev ea\n"_s;
        }
        m_network->ip(lines);
        NetlinkStores stores;
        QCOMPARE(addressesIn(stores), expected);
        QBENCHMARK_ONCE
        {
            addressesIn(stores);
        }
    }

    void refusesWhatIsNoPattern()
    {
        NetlinkStores stores;
        const auto store = stores.create(u"test"_s, nullptr, nullptr);
        QVERIFY(!store->copyMultiple({u"("_s}));
        QCOMPARE(stores.lastError(), EINVAL);
        QVERIFY(!store->setNotificationKeys({u"["_s}));
        QVERIFY(!store->createRunLoopSource());
    }

    void saysWhyNoConnectionCanBeOpened()
    {
        NetlinkStores stores;
        {
            const NoDescriptorLeft exhausted;
            QVERIFY(!stores.create(u"test"_s, nullptr, nullptr));
        }
        QCOMPARE(stores.lastError(), EMFILE);
        QVERIFY(stores.create(u"test"_s, nullptr, nullptr));
    }

    void saysWhyNothingCanBeSubscribedTo()
    {
        NetlinkStores stores;
        const auto store = stores.create(u"test"_s, nullptr, nullptr);
        const NoDescriptorLeft exhausted;
        QVERIFY(!store->setNotificationKeys({ipv4OfEveryService()}));
        QCOMPARE(stores.lastError(), EMFILE);
    }

    void asksOnAnotherLineAfterALineBroke()
    {
        m_network->addCable(u"ea"_s);
        m_network->addAddress(u"ea"_s, u"192.0.2.7/24"_s);
        NetlinkStores stores;
        const auto before = openDescriptors();
        const auto store = stores.create(u"test"_s, nullptr, nullptr);
        breakFirstDescriptorAfter(before);
        QVERIFY(!store->copyMultiple({ipv4OfEveryService()}));
        QCOMPARE(stores.lastError(), ENOTSOCK);
        QCOMPARE(store->copyMultiple({ipv4OfEveryService()})->size(), 1u);
    }

    void leavesNoDescriptorBehind()
    {
        const auto before = openDescriptors();
        for (int round = 0; round < 100; ++round) {
            Watching watching;
            QVERIFY(openDescriptors().size() > before.size());
        }
        QCOMPARE(openDescriptors(), before);
    }

    void handsNoDescriptorToChildren()
    {
        const auto before = openDescriptors();
        const Watching watching;
        const auto now = openDescriptors();
        QVERIFY(now.size() >= before.size() + 2);
        for (const int each : now) {
            const bool older = std::ranges::binary_search(before, each);
            QVERIFY(older || fcntl(each, F_GETFD) & FD_CLOEXEC);
        }
    }
};

int main(int argc, char **argv)
{
    PrivateNetwork::allow();
    QCoreApplication app(argc, argv);
    NetlinkStoreTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "NetlinkStoreTest.moc"
