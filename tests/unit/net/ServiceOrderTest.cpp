// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/ServiceOrder.h"
#include "platform/DynamicStore.h"
#include "platform/linux/net/ServiceKeys.h"

#include <QTest>

#include <array>

#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/rtnetlink.h>

using namespace quillfen::platform;
using namespace Qt::StringLiterals;

namespace {

constexpr std::uint32_t kInUse = IFF_UP | IFF_RUNNING | IFF_LOWER_UP;

Link hardware(int index, std::uint32_t flags = kInUse)
{
    return {.index = index, .flags = flags, .master = 0, .name = u"if%1"_s.arg(index), .kind = {}};
}

Link software(int index, const QString &kind, int master = 0)
{
    Link link = hardware(index);
    link.kind = kind;
    link.master = master;
    return link;
}

/// 10.0.0.@p last on the link @p link.
LinkAddress address(int link, std::uint8_t last, std::uint8_t scope = RT_SCOPE_UNIVERSE,
                    std::uint32_t flags = 0)
{
    return {.link = link, .address = {10, 0, 0, last}, .flags = flags, .scope = scope};
}

QString told(const std::vector<Service> &services)
{
    QStringList texts;
    for (const Service &service : services)
        texts << service.identifier + u':' + service.addresses.join(u',');
    return texts.join(u' ').replace(u"10.0.0."_s, u"."_s);
}

Service service(const QString &identifier, const QStringList &addresses)
{
    return {.identifier = identifier, .addresses = addresses};
}

} // namespace

class ServiceOrderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void ordersServices_data()
    {
        QTest::addColumn<NetworkTables>("tables");
        QTest::addColumn<QString>("expected");
        struct Row {
            const char *name;
            NetworkTables tables;
            QString expected;
        };
        const auto deprecated = IFA_F_DEPRECATED;
        const Link a = hardware(1), b = hardware(2);
        const std::vector<LinkAddress> oneEach{address(1, 1), address(2, 2)};
        const std::array rows{
            Row{"nothing", {}, u""_s},
            Row{"by number, whatever the kernel's order",
                {{b, a}, oneEach, {}},
                u"if1:.1 if2:.2"_s},
            Row{"the default route's first", {{a, b}, oneEach, {{2, 0}}}, u"if2:.2 if1:.1"_s},
            Row{"the better metric first",
                {{a, b}, oneEach, {{1, 200}, {2, 100}}},
                u"if2:.2 if1:.1"_s},
            Row{"equal metrics in the kernel's order",
                {{a, b}, oneEach, {{2, 100}, {1, 100}}},
                u"if2:.2 if1:.1"_s},
            Row{"a link's best route counts",
                {{a, b}, oneEach, {{1, 300}, {2, 200}, {1, 100}}},
                u"if1:.1 if2:.2"_s},
            Row{"the largest metric is better than none",
                {{a, b}, oneEach, {{2, 0xffffffff}}},
                u"if2:.2 if1:.1"_s},
            Row{"the default route's link lost its cable",
                {{a, hardware(2, IFF_UP)}, oneEach, {{2, 0}, {1, 9}}},
                u"if1:.1"_s},
            Row{"a route to no link that is listed", {{a}, oneEach, {{7, 0}}}, u"if1:.1"_s},
            Row{"hardware before software",
                {{software(1, u"wireguard"_s), b}, oneEach, {}},
                u"if2:.2 if1:.1"_s},
            Row{"a tunnel with the default route before hardware",
                {{software(1, u"tun"_s), b}, oneEach, {{1, 50}, {2, 100}}},
                u"if1:.1 if2:.2"_s},
            Row{"a bridge without a port",
                {{software(1, u"bridge"_s), b}, oneEach, {}},
                u"if2:.2"_s},
            Row{"a bridge with a port",
                {{software(1, u"bridge"_s), b, software(3, u"veth"_s, 1)}, oneEach, {}},
                u"if2:.2 if1:.1"_s},
            Row{"up only", {{hardware(1, IFF_UP), b}, oneEach, {}}, u"if2:.2"_s},
            Row{"not yet running",
                {{hardware(1, IFF_UP | IFF_LOWER_UP), b}, oneEach, {}},
                u"if2:.2"_s},
            Row{"cable lost, not yet noticed further up",
                {{hardware(1, IFF_UP | IFF_RUNNING), b}, oneEach, {}},
                u"if2:.2"_s},
            Row{"taken down",
                {{hardware(1, IFF_RUNNING | IFF_LOWER_UP), b}, oneEach, {}},
                u"if2:.2"_s},
            Row{"loopback", {{hardware(1, kInUse | IFF_LOOPBACK), b}, oneEach, {}}, u"if2:.2"_s},
            Row{"no address", {{a, b}, {address(2, 2)}, {}}, u"if2:.2"_s},
            Row{"an address of no link", {{a}, oneEach, {}}, u"if1:.1"_s},
            Row{"two addresses in the kernel's order",
                {{a}, {address(1, 9), address(1, 3)}, {}},
                u"if1:.9,.3"_s},
            Row{"duplicates stay",
                {{a, b}, {address(1, 1), address(1, 1), address(2, 1)}, {}},
                u"if1:.1,.1 if2:.1"_s},
            Row{"this link's scope after wider ones",
                {{a},
                 {address(1, 1, RT_SCOPE_LINK), address(1, 2), address(1, 3, RT_SCOPE_SITE)},
                 {}},
                u"if1:.2,.3,.1"_s},
            Row{"this host's scope never",
                {{a, b}, {address(1, 1, RT_SCOPE_HOST), address(2, 2)}, {}},
                u"if2:.2"_s},
            Row{"deprecated last, even behind link scope",
                {{a},
                 {address(1, 1, 0, deprecated), address(1, 2, RT_SCOPE_LINK), address(1, 3)},
                 {}},
                u"if1:.3,.2,.1"_s},
            Row{"nothing but a deprecated one",
                {{a}, {address(1, 1, RT_SCOPE_LINK, deprecated)}, {}},
                u"if1:.1"_s},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.tables << row.expected;
    }

    void ordersServices()
    {
        QFETCH(const NetworkTables, tables);
        QTEST(told(orderedServices(tables)), "expected");
    }

    void namesTheKeysThatChanged_data()
    {
        QTest::addColumn<std::vector<Service>>("before");
        QTest::addColumn<std::vector<Service>>("after");
        QTest::addColumn<QString>("expected");
        const Service a = service(u"a"_s, {u"1"_s}), b = service(u"b"_s, {u"2"_s});
        const Service more = service(u"a"_s, {u"1"_s, u"3"_s});
        struct Row {
            const char *name;
            std::vector<Service> before;
            std::vector<Service> after;
            QString expected;
        };
        const std::array rows{
            Row{"came", {a}, {b, a}, u"b"_s},
            Row{"went", {a, b}, {b}, u"a"_s},
            Row{"one more address", {a, b}, {more, b}, u"a"_s},
            Row{"one for the other", {a}, {b}, u"a b"_s},
            Row{"order", {a, b}, {b, a}, u"a b"_s},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.before << row.after << row.expected;
    }

    void namesTheKeysThatChanged()
    {
        QFETCH(const std::vector<Service>, before);
        QFETCH(const std::vector<Service>, after);
        QStringList names;
        for (const QString &key : changedKeys(before, after)) {
            QVERIFY(key.startsWith(u"State:/Network/Service/"_s) && key.endsWith(u"/IPv4"_s));
            names << key.section(u'/', 3, 3);
        }
        QTEST(names.join(u' '), "expected");
    }

    void patternsMatchWholeKeys_data()
    {
        QTest::addColumn<QStringList>("patterns");
        QTest::addColumn<QString>("expected");
        const QString all = ipv4OfEveryService();
        QTest::newRow("of every service") << QStringList{all} << u"eth0:1 wlan0:2"_s;
        QTest::newRow("of one") << QStringList{u"State:/Network/Service/eth0/IPv4"_s}
                                << u"eth0:1"_s;
        QTest::newRow("the front only") << QStringList{u"State:/Network/Service/"_s} << u""_s;
        QTest::newRow("another entity")
            << QStringList{u"State:/Network/Service/[^/]+/IPv6"_s} << u""_s;
        QTest::newRow("either") << QStringList{u".*/eth0/.*|.*/wlan0/.*"_s} << u"eth0:1 wlan0:2"_s;
        QTest::newRow("two patterns") << QStringList{u".*/wlan0/.*"_s, all} << u"eth0:1 wlan0:2"_s;
        QTest::newRow("none") << QStringList() << u""_s;
    }

    void patternsMatchWholeKeys()
    {
        QFETCH(const QStringList, patterns);
        const auto keys = KeyPatterns::from(patterns);
        QVERIFY(keys.has_value());
        const std::vector<Service> services{service(u"eth0"_s, {u"1"_s}),
                                            service(u"wlan0"_s, {u"2"_s})};
        QTEST(told(keys->matching(services)), "expected");
    }

    void aPatternThatIsNoneIsRefused()
    {
        QVERIFY(!KeyPatterns::from({ipv4OfEveryService(), u"State:/("_s}));
    }
};

QTEST_APPLESS_MAIN(ServiceOrderTest)
#include "ServiceOrderTest.moc"
