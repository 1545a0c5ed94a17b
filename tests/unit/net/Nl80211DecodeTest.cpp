// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/Nl80211Decode.h"
#include "unit/net/WirelessRecording.h"

#include <QTest>

#include <optional>
#include <vector>

using namespace quillfen::platform;
using namespace quillfen::test;
using namespace Qt::StringLiterals;

namespace {

using Name = std::optional<QByteArray>;

constexpr std::uint16_t kAnswered = NL80211_BSS_INFORMATION_ELEMENTS;
constexpr std::uint16_t kAnnounced = NL80211_BSS_BEACON_IES;

/// What @p decode finds in the messages.
template <typename T>
std::vector<T> decodeAll(const QList<QByteArray> &messages,
                         std::optional<T> (*decode)(const NetlinkMessage &))
{
    std::vector<T> found;
    for (const QByteArray &bytes : messages) {
        Bytes rest = bytesOf(bytes);
        const auto message = takeMessage(rest);
        if (auto value = message ? decode(*message) : std::nullopt)
            found.push_back(*value);
    }
    return found;
}

template <typename T>
std::optional<T> decodeOne(const QByteArray &message,
                           std::optional<T> (*decode)(const NetlinkMessage &))
{
    const auto found = decodeAll({message}, decode);
    return found.empty() ? std::nullopt : std::optional(found.front());
}

/// A description of a family, as one of the controller's messages.
QByteArray family(const QByteArray &attributes, std::uint8_t command = CTRL_CMD_NEWFAMILY,
                  std::uint16_t type = GENL_ID_CTRL)
{
    const genlmsghdr header{.cmd = command, .version = 2, .reserved = 0};
    return message(type, raw(header) + attributes);
}

QByteArray familyName(const QByteArray &name)
{
    return attribute(CTRL_ATTR_FAMILY_NAME, name);
}

QByteArray familyNumber(std::uint16_t number)
{
    return attribute(CTRL_ATTR_FAMILY_ID, raw(number));
}

/// Whether @p decode finds in each beginning of @p message what it finds in the whole, or nothing.
template <typename T>
bool findsItOrNothingInEachBeginning(const QByteArray &whole,
                                     std::optional<T> (*decode)(const NetlinkMessage &))
{
    Bytes rest = bytesOf(whole);
    const auto message = takeMessage(rest);
    const auto expected = decode(*message);
    for (std::size_t size = 0; size < message->payload.size(); ++size) {
        // A copy of exactly that size, so that a sanitizer sees a step beyond its end.
        const std::vector<std::byte> part(
            message->payload.begin(), message->payload.begin() + static_cast<std::ptrdiff_t>(size));
        const NetlinkMessage cut{.type = message->type, .payload = part};
        if (const auto found = decode(cut); found && found != expected)
            return false;
    }
    return true;
}

} // namespace

class Nl80211DecodeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsTheRecordedFamily()
    {
        QCOMPARE(decodeAll(wirelessRecording(u"family"_s), decodeWirelessFamily),
                 std::vector{kWireless});
    }

    void readsTheFamilysNumber_data()
    {
        struct Row {
            const char *name;
            QByteArray message;
            std::optional<std::uint16_t> expected;
        };
        const QByteArray name = familyName("nl80211\0"_ba);
        const QByteArray number = familyNumber(35);
        const Row rows[] = {
            {.name = "name and number", .message = family(name + number), .expected = 35},
            {.name = "number and name", .message = family(number + name), .expected = 35},
            {.name = "a name without its zero",
             .message = family(familyName("nl80211") + number),
             .expected = 35},
            {.name = "the least number",
             .message = family(name + familyNumber(16)),
             .expected = 16},
            {.name = "a number that no family has",
             .message = family(name + familyNumber(15)),
             .expected = {}},
            {.name = "another family",
             .message = family(familyName("nl80211x\0"_ba) + number),
             .expected = {}},
            {.name = "no name", .message = family(number), .expected = {}},
            {.name = "no number", .message = family(name), .expected = {}},
            {.name = "half a number",
             .message = family(name + attribute(CTRL_ATTR_FAMILY_ID, "\x23")),
             .expected = {}},
            {.name = "a family that goes",
             .message = family(name + number, CTRL_CMD_DELFAMILY),
             .expected = {}},
            {.name = "somebody else's message",
             .message = family(name + number, CTRL_CMD_NEWFAMILY, GENL_ID_CTRL + 1),
             .expected = {}},
            {.name = "no header", .message = message(GENL_ID_CTRL, "\x01"), .expected = {}},
        };
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<int>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.message << int{row.expected.value_or(0)};
    }

    void readsTheFamilysNumber()
    {
        QFETCH(const QByteArray, message);
        QTEST(int{decodeOne(message, decodeWirelessFamily).value_or(0)}, "expected");
    }

    void readsTheRecordedStations()
    {
        const Station wlan0{.index = 3, .name = u"wlan0"_s};
        const Station wlan1{.index = 4, .name = u"wlan1"_s};
        const Station wlan2{.index = 5, .name = u"wlan2"_s};
        QCOMPARE(decodeAll(wirelessRecording(u"apart-interfaces"_s), decodeStation),
                 (std::vector{wlan2, wlan1, wlan0}));
        QCOMPARE(decodeAll(wirelessRecording(u"joined-interfaces"_s), decodeStation),
                 (std::vector{wlan2, wlan1}));
        QCOMPARE(decodeAll(wirelessRecording(u"hidden-interfaces"_s), decodeStation),
                 (std::vector{wlan2, wlan1}));
    }

    void readsNoStation_data()
    {
        const QByteArray number = attribute(NL80211_ATTR_IFINDEX, raw(std::uint32_t{3}));
        const QByteArray type =
            attribute(NL80211_ATTR_IFTYPE, raw(std::uint32_t{NL80211_IFTYPE_STATION}));
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("an access point") << interface(3, "wlan0", NL80211_IFTYPE_AP);
        QTest::newRow("a monitor") << interface(3, "wlan0", NL80211_IFTYPE_MONITOR);
        QTest::newRow("a device for direct links") << interface(3, "", NL80211_IFTYPE_P2P_DEVICE);
        QTest::newRow("a client on a direct link") << interface(3, "p", NL80211_IFTYPE_P2P_CLIENT);
        QTest::newRow("number 0") << interface(0, "wlan0");
        QTest::newRow("no number") << wirelessMessage(NL80211_CMD_NEW_INTERFACE, type);
        QTest::newRow("no type") << wirelessMessage(NL80211_CMD_NEW_INTERFACE, number);
        QTest::newRow("an interface that goes")
            << wirelessMessage(NL80211_CMD_DEL_INTERFACE, number + type);
        QTest::newRow("half a number") << wirelessMessage(
            NL80211_CMD_NEW_INTERFACE, attribute(NL80211_ATTR_IFINDEX, "\x03\x00"_ba) + type);
        QTest::newRow("no header") << message(kWireless, "\x07");
    }

    void readsNoStation()
    {
        QFETCH(const QByteArray, message);
        QCOMPARE(decodeOne(message, decodeStation), std::optional<Station>());
    }

    void readsTheRecordedNames()
    {
        for (const QString &machine : {u"joined"_s, u"hidden"_s}) {
            const auto networks = wirelessRecording(machine + u"-networks-4"_s);
            QCOMPARE(networks.size(), machine == u"hidden"_s ? 2 : 1);
            QCOMPARE(decodeAll(networks, decodeJoinedNetwork), std::vector{kRecordedName});
        }
    }

    void readsTheJoinedNetworksName_data()
    {
        struct Row {
            const char *name;
            QByteArray message;
            Name expected;
        };
        const QByteArray joined = status(NL80211_BSS_STATUS_ASSOCIATED);
        const QByteArray home = element(0, "HomeNet");
        const QByteArray rates = element(1, "\x82\x84");
        const QByteArray longest(32, 'n');
        const auto with = [&joined](const QByteArray &elements) {
            return network(attribute(kAnswered, elements) + joined);
        };
        const Row rows[] = {
            {.name = "joined", .message = network("HomeNet", true), .expected = "HomeNet"},
            {.name = "within reach", .message = network("HomeNet", false), .expected = {}},
            {.name = "status before the elements",
             .message = network(joined + attribute(kAnswered, home)),
             .expected = "HomeNet"},
            {.name = "only authenticated",
             .message =
                 network(attribute(kAnswered, home) + status(NL80211_BSS_STATUS_AUTHENTICATED)),
             .expected = {}},
            {.name = "machines among themselves",
             .message =
                 network(attribute(kAnswered, home) + status(NL80211_BSS_STATUS_IBSS_JOINED)),
             .expected = {}},
            {.name = "half a status",
             .message =
                 network(attribute(kAnswered, home) + attribute(NL80211_BSS_STATUS, "\x01\x00"_ba)),
             .expected = {}},
            {.name = "32 bytes", .message = with(element(0, longest)), .expected = longest},
            {.name = "33 bytes", .message = with(element(0, longest + 'n')), .expected = {}},
            {.name = "one byte", .message = with(element(0, "n")), .expected = "n"},
            {.name = "not UTF-8", .message = with(element(0, "\xff\x80")), .expected = "\xff\x80"},
            {.name = "a line feed", .message = with(element(0, "a\nb")), .expected = "a\nb"},
            {.name = "a zero inside",
             .message = with(element(0, "a\0b"_ba)),
             .expected = "a\0b"_ba},
            {.name = "hidden, no bytes", .message = with(element(0, "")), .expected = {}},
            {.name = "hidden, zeros", .message = with(element(0, "\0\0\0"_ba)), .expected = {}},
            {.name = "the name behind other elements",
             .message = with(rates + home),
             .expected = "HomeNet"},
            {.name = "the first of two names",
             .message = with(home + element(0, "Other")),
             .expected = "HomeNet"},
            {.name = "no name", .message = with(rates), .expected = {}},
            {.name = "a name cut short", .message = with(home.chopped(1)), .expected = {}},
            {.name = "a name behind an element cut short",
             .message = with("\x01\xff"_ba + home),
             .expected = {}},
            {.name = "half an element's head", .message = with("\0"_ba), .expected = {}},
            {.name = "no elements", .message = with(""), .expected = {}},
            {.name = "hidden in public, named when asked",
             .message = network(attribute(kAnswered, home)
                                + attribute(kAnnounced, element(0, "\0"_ba)) + joined),
             .expected = "HomeNet"},
            {.name = "named in public, hidden when asked",
             .message = network(attribute(kAnswered, element(0, "")) + attribute(kAnnounced, home)
                                + joined),
             .expected = "HomeNet"},
            {.name = "what is public alone",
             .message = network(attribute(kAnnounced, home) + joined),
             .expected = "HomeNet"},
            {.name = "no network in the message",
             .message = wirelessMessage(NL80211_CMD_NEW_SCAN_RESULTS, ""),
             .expected = {}},
            {.name = "a message of another kind",
             .message =
                 wirelessMessage(NL80211_CMD_SCAN_ABORTED,
                                 attribute(NL80211_ATTR_BSS, attribute(kAnswered, home) + joined)),
             .expected = {}},
        };
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<bool>("named");
        QTest::addColumn<QByteArray>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name)
                << row.message << row.expected.has_value() << row.expected.value_or(QByteArray());
    }

    void readsTheJoinedNetworksName()
    {
        QFETCH(const QByteArray, message);
        const Name found = decodeOne(message, decodeJoinedNetwork);
        QTEST(found.has_value(), "named");
        QTEST(found.value_or(QByteArray()), "expected");
    }

    void readsNoFurtherThanItsMessage()
    {
        QVERIFY(findsItOrNothingInEachBeginning(wirelessRecording(u"family"_s).front(),
                                                decodeWirelessFamily));
        for (const QByteArray &message : wirelessRecording(u"hidden-interfaces"_s))
            QVERIFY(findsItOrNothingInEachBeginning(message, decodeStation));
        for (const QByteArray &message : wirelessRecording(u"hidden-networks-4"_s))
            QVERIFY(findsItOrNothingInEachBeginning(message, decodeJoinedNetwork));
    }
};

QTEST_APPLESS_MAIN(Nl80211DecodeTest)
#include "Nl80211DecodeTest.moc"
