// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/Nl80211Report.h"

#include "platform/Turns.h"
#include "unit/net/FakeKernel.h"
#include "world/Settle.h"

#include <QTest>

#include <array>
#include <cerrno>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

using namespace quillfen::platform;
using namespace quillfen::test;
using namespace Qt::StringLiterals;
using quillfen::world::comesToRest;
using quillfen::world::note;
using quillfen::world::settle;
using quillfen::world::Settled;

namespace {

using Text = std::optional<QByteArray>;

constexpr std::uint8_t kInterfaces = NL80211_CMD_GET_INTERFACE;
constexpr std::uint8_t kNetworks = NL80211_CMD_GET_SCAN;
constexpr int kMostTries = 4;

/// A machine, and a report on it.
struct Machine {
    FakeKernel kernel;
    QString firstInterface;
    Nl80211Report report{kernel.opener(), [this] { return firstInterface; }};

    /// Where all goes well.
    void joinHome()
    {
        kernel.addWireless();
        kernel.addStation(3, "wlan0", "HomeNet");
    }
    Text run() { return settle(report.run()); }
};

Text line(const QByteArray &name)
{
    return "Current Wireless Network: " + name + '\n';
}

} // namespace

class Nl80211ReportTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void reportsWhatTheKernelSaid_data()
    {
        QTest::addColumn<QString>("machine");
        QTest::addColumn<bool>("singly");
        QTest::addColumn<bool>("joined");
        struct Row {
            const char *name;
            QString machine;
            bool singly;
            bool joined;
        };
        const std::array rows{
            Row{"joined", u"joined"_s, false, true},
            Row{"joined, message by message", u"joined"_s, true, true},
            Row{"joined to a hidden network", u"hidden"_s, false, true},
            Row{"joined to a hidden network, message by message", u"hidden"_s, true, true},
            Row{"not joined", u"apart"_s, false, false},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.machine << row.singly << row.joined;
    }

    void reportsWhatTheKernelSaid()
    {
        QFETCH(const QString, machine);
        QFETCH(const bool, singly);
        QFETCH(const bool, joined);
        Machine tested;
        tested.kernel.replay(machine);
        if (singly)
            tested.kernel.sendSingly();
        QCOMPARE(tested.run(), joined ? line(kRecordedName) : Text());
        QVERIFY(!tested.kernel.hasLine());
    }

    void asksForWhatIsKnownAndNothingElse()
    {
        using Question = FakeKernel::Question;
        Machine machine;
        QCOMPARE(machine.run(), Text());
        QCOMPARE(machine.kernel.questions(), QList{Question{.command = CTRL_CMD_GETFAMILY}});
        machine.joinHome();
        QCOMPARE(machine.run(), line("HomeNet"));
        QCOMPARE(machine.kernel.questions().sliced(1),
                 (QList{Question{.command = CTRL_CMD_GETFAMILY}, Question{.command = kInterfaces},
                        Question{.command = kNetworks, .index = 3}}));
    }

    void choosesAmongSeveralStations_data()
    {
        QTest::addColumn<QString>("first");
        QTest::addColumn<Text>("of3");
        QTest::addColumn<Text>("of4");
        QTest::addColumn<Text>("of7");
        QTest::addColumn<QByteArray>("expected");
        struct Row {
            const char *name;
            QString first;
            std::array<Text, 3> names;
            QByteArray expected;
        };
        const std::array rows{
            Row{"no address: the lowest number", {}, {"three", "four", "seven"}, "three"},
            Row{"the first address at a cable: the lowest number",
                u"eth0"_s,
                {"three", "four", "seven"},
                "three"},
            Row{"the first address at the highest number",
                u"wlan7"_s,
                {"three", "four", "seven"},
                "seven"},
            Row{"the first address at the lowest number",
                u"wlan3"_s,
                {"three", "four", "seven"},
                "three"},
            Row{"no address, and the lowest number not joined",
                {},
                {Text(), "four", "seven"},
                "four"},
            Row{"the first address at one that is not joined any more",
                u"wlan7"_s,
                {Text(), "four", Text()},
                "four"},
            Row{"the first address at one that hides its name",
                u"wlan7"_s,
                {Text(), "four", "\0\0"_ba},
                "four"},
        };
        for (const Row &row : rows)
            QTest::newRow(row.name)
                << row.first << row.names[0] << row.names[1] << row.names[2] << row.expected;
    }

    void choosesAmongSeveralStations()
    {
        QFETCH(const QString, first);
        QFETCH(const Text, of3);
        QFETCH(const Text, of4);
        QFETCH(const Text, of7);
        QFETCH(const QByteArray, expected);
        Machine machine;
        machine.firstInterface = first;
        machine.kernel.addWireless();
        machine.kernel.addStation(7, "wlan7", of7);
        machine.kernel.addStation(3, "wlan3", of3);
        machine.kernel.addStation(4, "wlan4", of4);
        QCOMPARE(machine.run(), line(expected));
    }

    void asksForTheFirstAddressOnlyWhereItMatters()
    {
        Machine machine;
        Nl80211Report report(machine.kernel.opener(), []() -> QString {
            throw std::logic_error("asked for the first address");
        });
        machine.joinHome();
        QCOMPARE(settle(report.run()), line("HomeNet"));
        machine.kernel.addStation(4, "wlan1", "Other");
        QVERIFY_EXCEPTION_THROWN(settle(report.run()), std::logic_error);
        QVERIFY(!machine.kernel.hasLine());
    }

    void reportsNothing_data()
    {
        struct Row {
            const char *name;
            std::function<void(FakeKernel &)> trouble;
        };
        const auto sets = [](std::uint8_t command, std::uint32_t index, auto member, auto value) {
            return [=](FakeKernel &kernel) { kernel.table(command, index).*member = value; };
        };
        using Table = FakeKernel::Table;
        const Row rows[] = {
            {.name = "no line", .trouble = [](FakeKernel &kernel) { kernel.refuseLines(); }},
            {.name = "a line that may not be used",
             .trouble = [](FakeKernel &kernel) { kernel.failToSend(EPERM); }},
            {.name = "no wireless part",
             .trouble = [](FakeKernel &kernel) { kernel.table(CTRL_CMD_GETFAMILY).lines.clear(); }},
            {.name = "families may not be asked for",
             .trouble = sets(CTRL_CMD_GETFAMILY, 0, &Table::error, EPERM)},
            {.name = "no answer on families",
             .trouble = sets(CTRL_CMD_GETFAMILY, 0, &Table::silent, true)},
            {.name = "no interface",
             .trouble = [](FakeKernel &kernel) { kernel.table(kInterfaces).lines.clear(); }},
            {.name = "interfaces may not be asked for",
             .trouble = sets(kInterfaces, 0, &Table::error, EPERM)},
            {.name = "interfaces end in an error",
             .trouble = sets(kInterfaces, 0, &Table::errorAtEnd, ENOMEM)},
            {.name = "no answer on interfaces",
             .trouble = sets(kInterfaces, 0, &Table::silent, true)},
            {.name = "no network within reach",
             .trouble = [](FakeKernel &kernel) { kernel.table(kNetworks, 3).lines.clear(); }},
            {.name = "networks may not be asked for",
             .trouble = sets(kNetworks, 3, &Table::error, EPERM)},
            {.name = "the interface went meanwhile",
             .trouble = sets(kNetworks, 3, &Table::error, ENODEV)},
            {.name = "networks end in an error",
             .trouble = sets(kNetworks, 3, &Table::errorAtEnd, ENOMEM)},
            {.name = "no answer on networks", .trouble = sets(kNetworks, 3, &Table::silent, true)},
        };
        QTest::addColumn<std::function<void(FakeKernel &)>>("trouble");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.trouble;
    }

    void reportsNothing()
    {
        QFETCH(const std::function<void(FakeKernel &)>, trouble);
        Machine machine;
        machine.joinHome();
        QCOMPARE(machine.run(), line("HomeNet"));
        trouble(machine.kernel);
        QCOMPARE(machine.run(), Text());
        QVERIFY(!machine.kernel.hasLine());
    }

    void passesOverMessagesOfOtherFamilies()
    {
        Machine machine;
        machine.joinHome();
        QByteArray foreign = network("Other", true);
        const std::uint16_t type = kWireless + 1;
        foreign.replace(offsetof(nlmsghdr, nlmsg_type), sizeof type, raw(type));
        machine.kernel.table(kNetworks, 3).lines.prepend(foreign);
        QCOMPARE(machine.run(), line("HomeNet"));
    }

    void goesOnToTheNextStationAfterAFailure()
    {
        Machine machine;
        machine.joinHome();
        machine.kernel.addStation(4, "wlan1", "Other");
        machine.kernel.table(kNetworks, 3).error = ENODEV;
        QCOMPARE(machine.run(), line("Other"));
    }

    void reportsNothingOfAnAnswerCutShort()
    {
        using Question = FakeKernel::Question;
        const QList questions{Question{.command = CTRL_CMD_GETFAMILY},
                              Question{.command = kInterfaces},
                              Question{.command = kNetworks, .index = 4}};
        for (const auto &[command, index] : questions) {
            Machine machine;
            machine.kernel.replay(u"joined"_s);
            auto &table = machine.kernel.table(command, index);
            const auto end = static_cast<qsizetype>(NLMSG_LENGTH(sizeof(int)));
            qsizetype size = end;
            for (const QByteArray &each : table.lines)
                size += each.size();
            for (table.cutAt = 0; table.cutAt < size; ++table.cutAt)
                QCOMPARE(machine.run(), Text());
            QCOMPARE(machine.run(), line(kRecordedName));
        }
    }

    void asksAgainWhenAChangeBreaksIn_data()
    {
        QTest::addColumn<int>("command");
        QTest::addColumn<int>("index");
        QTest::addColumn<QList<QByteArray>>("meanwhile");
        QTest::newRow("families") << int{CTRL_CMD_GETFAMILY} << 0 << QList<QByteArray>();
        QTest::newRow("interfaces") << int{kInterfaces} << 0 << QList<QByteArray>();
        QTest::newRow("interfaces, doubly")
            << int{kInterfaces} << 0 << QList{interface(2, "wlanx"), interface(3, "wlan0")};
        QTest::newRow("networks") << int{kNetworks} << 3 << QList<QByteArray>();
        QTest::newRow("networks, the one before")
            << int{kNetworks} << 3 << QList{network("Former", true)};
    }

    void asksAgainWhenAChangeBreaksIn()
    {
        QFETCH(const int, command);
        QFETCH(const int, index);
        QFETCH(const QList<QByteArray>, meanwhile);
        Machine machine;
        machine.joinHome();
        auto &table = machine.kernel.table(static_cast<std::uint8_t>(command),
                                           static_cast<std::uint32_t>(index));
        table.meanwhile = meanwhile;
        for (int times = 1; times < kMostTries; ++times) {
            table.interruptions = times;
            QCOMPARE(machine.run(), line("HomeNet"));
            QCOMPARE(table.interruptions, 0);
        }
    }

    void takesTheLastAnswerWhereChangesDoNotEnd()
    {
        Machine machine;
        machine.joinHome();
        auto &table = machine.kernel.table(kNetworks, 3);
        table.interruptions = 1000;
        table.meanwhile = {network("Meanwhile", true)};
        QCOMPARE(machine.run(), line("Meanwhile"));
        QCOMPARE(table.interruptions, 1000 - kMostTries);
    }

    void waitsInTheEventLoop()
    {
        Machine machine;
        machine.joinHome();
        machine.kernel.letWait();
        machine.kernel.table(kNetworks, 3).silent = true;
        Settled<Text> found;
        Turns turns([](const std::exception_ptr &) { qFatal("a turn failed"); });
        turns.take(note(machine.report.run(), &found));
        QVERIFY(turns.busy());
        machine.kernel.giveUp();
        QVERIFY(comesToRest(turns));
        QCOMPARE(*found, Text());
        QVERIFY(!machine.kernel.hasLine());
    }

    void closesItsLineWhenItIsDestroyedWhileItWaits()
    {
        Machine machine;
        machine.joinHome();
        machine.kernel.letWait();
        machine.kernel.table(kInterfaces).silent = true;
        Settled<Text> found;
        auto turns =
            std::make_unique<Turns>([](const std::exception_ptr &) { qFatal("a turn failed"); });
        turns->take(note(machine.report.run(), &found));
        QVERIFY(machine.kernel.hasLine());
        turns.reset();
        QVERIFY(!machine.kernel.hasLine());
        machine.kernel.giveUp();
        QVERIFY(!found);
    }

    void putsTheNameOnOneLine_data()
    {
        struct Row {
            const char *name;
            QByteArray network;
            QByteArray expected;
        };
        static const Row rows[] = {
            {.name = "plain", .network = "HomeNet", .expected = "HomeNet"},
            {.name = "blanks around it", .network = "  a  b ", .expected = "  a  b "},
            {.name = "a line feed", .network = "a\nb", .expected = "a b"},
            {.name = "line feeds alone", .network = "\n\r\n", .expected = "   "},
            {.name = "a second line forged",
             .network = "x\nCurrent Wireless Network: y",
             .expected = "x Current Wireless Network: y"},
            {.name = "the marker",
             .network = "Current Wireless Network: x",
             .expected = "Current Wireless Network: x"},
            {.name = "the other marker",
             .network = "Current Network Information:\n:\n",
             .expected = "Current Network Information: : "},
            {.name = "markup", .network = "<b>&amp;</b>_%@:", .expected = "<b>&amp;</b>_%@:"},
            {.name = "zeros", .network = "\0a\0"_ba, .expected = " a "},
            {.name = "an escape sequence", .network = "\x1b[2J\x07\x7f", .expected = " [2J  "},
            {.name = "UTF-8",
             .network = "Caf\xc3\xa9 \xf0\x9f\x8d\xb5",
             .expected = "Caf\xc3\xa9 \xf0\x9f\x8d\xb5"},
            {.name = "a byte order mark stays",
             .network = "\xef\xbb\xbf"
                        "a",
             .expected = "\xef\xbb\xbf"
                         "a"},
            {.name = "Unicode's control characters",
             .network = "a\xc2\x80\xc2\x85\xc2\x9b\xc2\xa0",
             .expected = "a   \xc2\xa0"},
            {.name = "Unicode's separators",
             .network = "a\xe2\x80\xa8\xe2\x80\xa9"
                        "b",
             .expected = "a  b"},
            {.name = "not UTF-8: bytes that look like Unicode's control characters stay",
             .network = "\xff\xc2\x85\xe2\x80\xa8\x80\x9f",
             .expected = "\xff\xc2\x85\xe2\x80\xa8\x80\x9f"},
            {.name = "not UTF-8: ASCII's control characters go",
             .network = "Caf\xe9\n\x01\xff",
             .expected = "Caf\xe9  \xff"},
            {.name = "UTF-8 cut short", .network = "Caf\n\xc3", .expected = "Caf \xc3"},
            {.name = "32 bytes", .network = QByteArray(32, 'n'), .expected = QByteArray(32, 'n')},
        };
        QTest::addColumn<QByteArray>("network");
        QTest::addColumn<QByteArray>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.network << row.expected;
    }

    void putsTheNameOnOneLine()
    {
        QFETCH(const QByteArray, network);
        QFETCH(const QByteArray, expected);
        Machine machine;
        machine.kernel.addWireless();
        machine.kernel.addStation(3, "wlan0", network);
        QCOMPARE(machine.run(), line(expected));
    }
};

QTEST_GUILESS_MAIN(Nl80211ReportTest)
#include "Nl80211ReportTest.moc"
