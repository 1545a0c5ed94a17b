// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/RtnetlinkDecode.h"
#include "platform/linux/net/ServiceOrder.h"
#include "unit/net/MessageBuilder.h"
#include "unit/net/Recording.h"

#include <QTest>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <vector>

#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

using namespace quillfen::platform;
using namespace quillfen::test;
using namespace Qt::StringLiterals;

namespace {

QByteArray ipv4(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d)
{
    return raw(std::array{a, b, c, d});
}

NetlinkMessage first(const QByteArray &bytes)
{
    Bytes rest = bytesOf(bytes);
    return takeMessage(rest).value_or(NetlinkMessage());
}

QByteArray linkMessage(const QByteArray &attributes,
                       ifinfomsg header = {.ifi_family = AF_UNSPEC,
                                           .__ifi_pad = 0,
                                           .ifi_type = 1,
                                           .ifi_index = 4,
                                           .ifi_flags = IFF_UP,
                                           .ifi_change = 0})
{
    return message(RTM_NEWLINK, raw(header) + attributes);
}

QByteArray addressMessage(const QByteArray &attributes, std::uint8_t family = AF_INET,
                          std::uint32_t index = 4, std::uint8_t flags = 0)
{
    const ifaddrmsg header{.ifa_family = family,
                           .ifa_prefixlen = 24,
                           .ifa_flags = flags,
                           .ifa_scope = RT_SCOPE_LINK,
                           .ifa_index = index};
    return message(RTM_NEWADDR, raw(header) + attributes);
}

constexpr rtmsg kDefault{.rtm_family = AF_INET,
                         .rtm_dst_len = 0,
                         .rtm_src_len = 0,
                         .rtm_tos = 0,
                         .rtm_table = RT_TABLE_MAIN,
                         .rtm_protocol = RTPROT_BOOT,
                         .rtm_scope = RT_SCOPE_UNIVERSE,
                         .rtm_type = RTN_UNICAST,
                         .rtm_flags = 0};

QByteArray routeMessage(const QByteArray &attributes, const rtmsg &header = kDefault)
{
    return message(RTM_NEWROUTE, raw(header) + attributes);
}

/// As kDefault, but for what @p change does to it.
QByteArray routeBut(void (*change)(rtmsg &))
{
    rtmsg header = kDefault;
    change(header);
    return routeMessage(attribute(RTA_OIF, raw(4)), header);
}

rtnexthop hop(int index)
{
    return {.rtnh_len = sizeof(rtnexthop), .rtnh_flags = 0, .rtnh_hops = 0, .rtnh_ifindex = index};
}

/// Whether each row of @p part is the row of @p whole at the same place.
template <typename T>
bool isFrontOf(const std::vector<T> &part, const std::vector<T> &whole)
{
    return part.size() <= whole.size() && std::equal(part.begin(), part.end(), whole.begin());
}

std::vector<qsizetype> messageStarts(const QByteArray &bytes)
{
    std::vector<qsizetype> starts;
    Bytes rest = bytesOf(bytes);
    while (true) {
        const auto start = bytes.size() - static_cast<qsizetype>(rest.size());
        if (!takeMessage(rest))
            return starts;
        starts.push_back(start);
    }
}

} // namespace

class RtnetlinkDecodeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsTheRecordedNetwork()
    {
        const NetworkTables tables = decodeAll(bytesOf(recording()));
        QStringList links;
        for (const Link &each : tables.links) {
            links << u"%1 %2 %3 %4"_s.arg(each.index).arg(each.name, each.kind).arg(each.master);
        }
        QCOMPARE(links,
                 (QStringList{u"1 lo  0"_s, u"2 far0 veth 0"_s, u"3 eth0 veth 0"_s,
                              u"4 far1 veth 7"_s, u"5 eth1 veth 0"_s, u"6 br0 bridge 0"_s,
                              u"7 br1 bridge 0"_s, u"8 tun0 tun 0"_s}));
        const std::vector<LinkAddress> addresses{
            {.link = 1,
             .address = {127, 0, 0, 1},
             .flags = IFA_F_PERMANENT,
             .scope = RT_SCOPE_HOST},
            {.link = 3,
             .address = {169, 254, 7, 7},
             .flags = IFA_F_PERMANENT,
             .scope = RT_SCOPE_LINK},
            {.link = 3, .address = {192, 0, 2, 7}, .flags = IFA_F_PERMANENT, .scope = 0},
            {.link = 3,
             .address = {192, 0, 2, 8},
             .flags = IFA_F_PERMANENT | IFA_F_SECONDARY | IFA_F_DEPRECATED,
             .scope = 0},
            {.link = 3,
             .address = {192, 0, 2, 9},
             .flags = IFA_F_PERMANENT | IFA_F_SECONDARY,
             .scope = 0},
            {.link = 5, .address = {198, 51, 100, 7}, .flags = IFA_F_PERMANENT, .scope = 0},
            {.link = 6, .address = {203, 0, 113, 1}, .flags = IFA_F_PERMANENT, .scope = 0},
            {.link = 7, .address = {203, 0, 113, 2}, .flags = IFA_F_PERMANENT, .scope = 0},
            {.link = 8, .address = {10, 8, 0, 2}, .flags = IFA_F_PERMANENT, .scope = 0}};
        for (std::size_t row = 0; row < std::min(addresses.size(), tables.addresses.size()); ++row)
            QVERIFY2(addresses[row] == tables.addresses[row], qPrintable(QString::number(row)));
        QCOMPARE(tables.addresses.size(), addresses.size());
        const std::vector<DefaultRoute> routes{{.link = 5, .metric = 100},
                                               {.link = 3, .metric = 200}};
        QVERIFY(tables.routes == routes);
    }

    void ordersTheRecordedNetwork()
    {
        const auto services = orderedServices(decodeAll(bytesOf(recording())));
        const std::vector<Service> expected{
            {.identifier = u"eth1"_s, .addresses = {u"198.51.100.7"_s}},
            {.identifier = u"eth0"_s,
             .addresses = {u"192.0.2.7"_s, u"192.0.2.9"_s, u"169.254.7.7"_s, u"192.0.2.8"_s}},
            {.identifier = u"br1"_s, .addresses = {u"203.0.113.2"_s}}};
        QVERIFY(services == expected);
    }

    void readsALink_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        struct Row {
            const char *name;
            QByteArray bytes;
            QString expected;
        };
        const QByteArray name = attribute(IFLA_IFNAME, QByteArray("eth0\0", 5));
        const QByteArray bridge = attribute(IFLA_INFO_KIND, QByteArray("bridge\0", 7));
        const std::array rows{
            Row{"plain", linkMessage(name), u"4 eth0  0"_s},
            Row{"a bridge", linkMessage(name + attribute(IFLA_LINKINFO, bridge)),
                u"4 eth0 bridge 0"_s},
            Row{"marked as nested",
                linkMessage(name + attribute(IFLA_LINKINFO | NLA_F_NESTED, bridge)),
                u"4 eth0 bridge 0"_s},
            Row{"a port", linkMessage(name + attribute(IFLA_MASTER, raw(9))), u"4 eth0  9"_s},
            Row{"a name without an end", linkMessage(attribute(IFLA_IFNAME, "eth0")),
                u"4 eth0  0"_s},
            Row{"a name that is not UTF-8", linkMessage(attribute(IFLA_IFNAME, "e\xff")),
                u"4 e\xfffd  0"_s},
            Row{"no name", linkMessage({}), u"none"_s},
            Row{"an empty name", linkMessage(attribute(IFLA_IFNAME, {})), u"none"_s},
            Row{"a master cut short", linkMessage(name + attribute(IFLA_MASTER, "x")),
                u"4 eth0  0"_s},
            Row{"index 0", linkMessage(name, ifinfomsg{}), u"none"_s},
            Row{"a bridge's word on its port",
                linkMessage(name,
                            {.ifi_family = AF_BRIDGE,
                             .__ifi_pad = 0,
                             .ifi_type = 1,
                             .ifi_index = 4,
                             .ifi_flags = 0,
                             .ifi_change = 0}),
                u"none"_s},
            Row{"a link that went", message(RTM_DELLINK, linkMessage(name).mid(16)), u"none"_s},
            Row{"no header", message(RTM_NEWLINK, "short"), u"none"_s},
            Row{"nothing", message(RTM_NEWLINK, {}), u"none"_s},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.bytes << row.expected;
    }

    void readsALink()
    {
        QFETCH(const QByteArray, bytes);
        const auto read = decodeLink(first(bytes));
        const QString told = !read
            ? u"none"_s
            : u"%1 %2 %3 %4"_s.arg(read->index).arg(read->name, read->kind).arg(read->master);
        QTEST(told, "expected");
    }

    void readsAnAddress_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        struct Row {
            const char *name;
            QByteArray bytes;
            QString expected;
        };
        const QByteArray own = attribute(IFA_LOCAL, ipv4(10, 8, 0, 2));
        const QByteArray peer = attribute(IFA_ADDRESS, ipv4(10, 8, 0, 1));
        const QByteArray flags = attribute(IFA_FLAGS, raw<std::uint32_t>(0x220));
        const std::array rows{
            Row{"own and peer", addressMessage(peer + own), u"10.8.0.2 0"_s},
            Row{"the other way round", addressMessage(own + peer), u"10.8.0.2 0"_s},
            Row{"no own: the only one", addressMessage(peer), u"10.8.0.1 0"_s},
            Row{"flags of 32 bits", addressMessage(own + flags), u"10.8.0.2 220"_s},
            Row{"flags of 8 bits", addressMessage(own, AF_INET, 4, 0x20), u"10.8.0.2 20"_s},
            Row{"flags cut short",
                addressMessage(own + attribute(IFA_FLAGS, "x"), AF_INET, 4, 0x20),
                u"10.8.0.2 20"_s},
            Row{"neither", addressMessage(flags), u"none"_s},
            Row{"too long", addressMessage(attribute(IFA_LOCAL, "16 bytes of IPv6")), u"none"_s},
            Row{"too short", addressMessage(attribute(IFA_LOCAL, "abc")), u"none"_s},
            Row{"IPv6", addressMessage(own, AF_INET6), u"none"_s},
            Row{"of no link", addressMessage(own, AF_INET, 0), u"none"_s},
            Row{"an address that went", message(RTM_DELADDR, addressMessage(own).mid(16)),
                u"none"_s},
            Row{"no header", message(RTM_NEWADDR, "short"), u"none"_s},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.bytes << row.expected;
    }

    void readsAnAddress()
    {
        QFETCH(const QByteArray, bytes);
        QString told = u"none"_s;
        if (const auto read = decodeAddress(first(bytes))) {
            QStringList parts;
            for (const std::uint8_t part : read->address)
                parts << QString::number(part);
            told = parts.join(u'.') + u' ' + QString::number(read->flags, 16);
            QCOMPARE(read->scope, std::uint8_t{RT_SCOPE_LINK});
            QCOMPARE(read->link, 4);
        }
        QTEST(told, "expected");
    }

    void readsADefaultRoute_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("expected");
        struct Row {
            const char *name;
            QByteArray bytes;
            QString expected;
        };
        const QByteArray out = attribute(RTA_OIF, raw(4));
        const QByteArray hops = attribute(RTA_MULTIPATH, raw(hop(6)) + raw(hop(4)));
        const auto table = [](std::uint32_t number) { return attribute(RTA_TABLE, raw(number)); };
        const std::array rows{
            Row{"no metric is the best metric", routeMessage(out), u"4 0"_s},
            Row{"with a metric", routeMessage(out + attribute(RTA_PRIORITY, raw(600))), u"4 600"_s},
            Row{"the largest metric", routeMessage(out + attribute(RTA_PRIORITY, raw(-1))),
                u"4 4294967295"_s},
            Row{"several ways", routeMessage(hops), u"6 0"_s},
            Row{"several ways, none told", routeMessage(attribute(RTA_MULTIPATH, "x")), u"none"_s},
            Row{"no way", routeMessage({}), u"none"_s},
            Row{"the main table, said at length", routeMessage(out + table(RT_TABLE_MAIN)),
                u"4 0"_s},
            Row{"a table with a long number", routeMessage(out + table(51820)), u"none"_s},
            Row{"a table with a short number", routeBut([](rtmsg &r) { r.rtm_table = 77; }),
                u"none"_s},
            Row{"to one network", routeBut([](rtmsg &r) { r.rtm_dst_len = 24; }), u"none"_s},
            Row{"unreachable", routeBut([](rtmsg &r) { r.rtm_type = RTN_UNREACHABLE; }), u"none"_s},
            Row{"IPv6", routeBut([](rtmsg &r) { r.rtm_family = AF_INET6; }), u"none"_s},
            Row{"remembered only", routeBut([](rtmsg &r) { r.rtm_flags = RTM_F_CLONED; }),
                u"none"_s},
            Row{"a route that went", message(RTM_DELROUTE, routeMessage(out).mid(16)), u"none"_s},
            Row{"no header", message(RTM_NEWROUTE, "short"), u"none"_s},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.bytes << row.expected;
    }

    void readsADefaultRoute()
    {
        QFETCH(const QByteArray, bytes);
        const auto read = decodeDefaultRoute(first(bytes));
        const QString told = read ? u"%1 %2"_s.arg(read->link).arg(read->metric) : u"none"_s;
        QTEST(told, "expected");
    }

    void takesOnlyWholeMessages_data()
    {
        QTest::addColumn<quint32>("length");
        QTest::addColumn<bool>("taken");
        QTest::newRow("as long as the bytes") << 20u << true;
        QTest::newRow("shorter") << 16u << true;
        QTest::newRow("one more than there are") << 21u << false;
        QTest::newRow("less than its header") << 15u << false;
        QTest::newRow("none") << 0u << false;
        QTest::newRow("the largest") << 0xffffffffu << false;
        QTest::newRow("the largest but for padding") << 0xfffffffdu << false;
    }

    void takesOnlyWholeMessages()
    {
        QFETCH(const quint32, length);
        QByteArray bytes = message(RTM_NEWLINK, "four");
        std::memcpy(bytes.data(), &length, sizeof length);
        Bytes rest = bytesOf(bytes);
        QTEST(takeMessage(rest).has_value(), "taken");
    }

    void aCutAtAnyByteLosesOnlyWhatFollows()
    {
        const QByteArray whole = recording();
        QVERIFY(whole.size() > 10'000);
        const NetworkTables all = decodeAll(bytesOf(whole));
        for (qsizetype size = 0; size <= whole.size(); ++size) {
            // On the heap and of exactly this size, so that a byte read too far is seen.
            const std::vector<char> cut(whole.begin(), whole.begin() + size);
            const NetworkTables some = decodeAll(std::as_bytes(std::span(cut)));
            QVERIFY2(isFrontOf(some.links, all.links), qPrintable(QString::number(size)));
            QVERIFY2(isFrontOf(some.addresses, all.addresses), qPrintable(QString::number(size)));
            QVERIFY2(isFrontOf(some.routes, all.routes), qPrintable(QString::number(size)));
        }
    }

    void aMessageCutAtAnyByteStaysReadable()
    {
        const QByteArray whole = recording();
        for (const qsizetype start : messageStarts(whole)) {
            std::uint32_t length = 0;
            std::memcpy(&length, whole.constData() + start, sizeof length);
            for (std::uint32_t size = sizeof(nlmsghdr); size < length; ++size) {
                std::vector<char> cut(whole.begin() + start, whole.begin() + start + size);
                std::memcpy(cut.data(), &size, sizeof size);
                const NetworkTables tables = decodeAll(std::as_bytes(std::span(cut)));
                QVERIFY(tables.links.size() + tables.addresses.size() + tables.routes.size() <= 1);
            }
        }
    }

    void bytesChangedAtRandomNeverMakeNonsense()
    {
        const QByteArray whole = recording();
        std::mt19937 random(20'240'607);
        for (int round = 0; round < 3'000; ++round) {
            QByteArray changed = whole;
            for (int count = 1 + static_cast<int>(random() % 64); count > 0; --count) {
                const auto at = static_cast<qsizetype>(random()) % changed.size();
                changed[at] = static_cast<char>(random());
            }
            const NetworkTables tables = decodeAll(bytesOf(changed));
            for (const Link &each : tables.links)
                QVERIFY(each.index > 0 && !each.name.isEmpty());
            for (const LinkAddress &each : tables.addresses)
                QVERIFY(each.link != 0);
            for (const DefaultRoute &each : tables.routes)
                QVERIFY(each.link > 0);
            for (const Service &each : orderedServices(tables))
                QVERIFY(!each.identifier.isEmpty() && !each.addresses.isEmpty());
        }
    }
};

QTEST_APPLESS_MAIN(RtnetlinkDecodeTest)
#include "RtnetlinkDecodeTest.moc"
