// SPDX-License-Identifier: GPL-3.0-or-later
#include "netinfo/WirelessNetworkName.h"

#include "platform/Turns.h"
#include "platform/linux/net/Nl80211Report.h"
#include "support/Console.h"
#include "support/Log.h"
#include "unit/net/FakeKernel.h"
#include "world/FakeConsole.h"
#include "world/FakePreferences.h"
#include "world/FakeSystemReport.h"
#include "world/Settle.h"

#include <QTest>

#include <exception>
#include <optional>

using namespace Qt::StringLiterals;
using quillfen::world::settle;

namespace quillfen::netinfo {

namespace {

using Name = std::optional<QString>;

/// A machine with a radio, and a log that goes to the console alone.
struct Desk {
    world::FakeSystemReport radio;
    world::FakeConsole systemConsole;
    world::FakePreferences preferences;
    support::Console console{systemConsole};
    support::Log log{console, preferences};

    Name lookUp() { return settle(LookUpWirelessNetworkName(log, radio)); }
};

/// A name as a test shows it; "(none)" for none, which is not the empty one.
QString spell(const Name &name)
{
    return name ? u'"' + *name + u'"' : u"(none)"_s;
}

} // namespace

class WirelessNetworkNameTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cutsTheNameFromTheReport_data()
    {
        struct Row {
            const char *name;
            QByteArray report;
            Name expected;
        };
        static const Row rows[] = {
            {.name = "a line",
             .report = "Current Wireless Network: HomeNet\n",
             .expected = u"HomeNet"_s},
            {.name = "a line among others",
             .report = "AirPort:\n\n      Status: On\n"
                       "      Current Wireless Network: HomeNet\n      Channel: 6\n",
             .expected = u"HomeNet"_s},
            {.name = "its marker in small letters",
             .report = "current wireless network: HomeNet\n",
             .expected = u"HomeNet"_s},
            {.name = "its marker in capital letters",
             .report = "CURRENT WIRELESS NETWORK: HomeNet\n",
             .expected = u"HomeNet"_s},
            {.name = "a carriage return before the line feed stays",
             .report = "Current Wireless Network: HomeNet\r\n",
             .expected = u"HomeNet\r"_s},
            {.name = "blanks around the name stay",
             .report = "Current Wireless Network:   Home Net \t\n",
             .expected = u"  Home Net \t"_s},
            {.name = "an empty line's rest is an empty name",
             .report = "Current Wireless Network: \n",
             .expected = u""_s},
            {.name = "after an empty name no section is tried",
             .report = "Current Wireless Network: \nCurrent Network Information:\n  HomeNet:\n",
             .expected = u""_s},
            {.name = "the first of two lines",
             .report = "Current Wireless Network: HomeNet\nCurrent Wireless Network: Other\n",
             .expected = u"HomeNet"_s},
            {.name = "a line that does not end",
             .report = "Current Wireless Network: HomeNet",
             .expected = {}},
            {.name = "a line that ends in a carriage return alone",
             .report = "Current Wireless Network: HomeNet\r",
             .expected = {}},
            {.name = "a line feed before the line only",
             .report = "\nCurrent Wireless Network: HomeNet",
             .expected = {}},
            {.name = "no blank behind the marker's colon",
             .report = "Current Wireless Network:HomeNet\n",
             .expected = {}},
            {.name = "a name that is a marker itself",
             .report = "Current Wireless Network: Current Wireless Network: x\n",
             .expected = u"Current Wireless Network: x"_s},
            {.name = "a name that is the section's marker",
             .report = "Current Wireless Network: Current Network Information:\n",
             .expected = u"Current Network Information:"_s},
            {.name = "a name with markup in it",
             .report = "Current Wireless Network: <b>A & B</b>_%@\n",
             .expected = u"<b>A & B</b>_%@"_s},

            {.name = "a section",
             .report = "Current Network Information:\n          HomeNet:\n",
             .expected = u"HomeNet"_s},
            {.name = "a section among others",
             .report = "Status: Connected\n      Current Network Information:\n"
                       "        HomeNet:\n          PHY Mode: 802.11n\n",
             .expected = u"HomeNet"_s},
            {.name = "the section's marker in capital letters",
             .report = "CURRENT NETWORK INFORMATION:\n  HomeNet:\n",
             .expected = u"HomeNet"_s},
            {.name = "white space of all kinds around the section's name goes",
             .report = "Current Network Information:\r\n\t\x0b\x0c\xc2\xa0\xc2\x85\xe2\x80\xa8"
                       "Home  Net\xe3\x80\x80 :\n",
             .expected = u"Home  Net"_s},
            {.name = "a colon inside the section's name",
             .report = "Current Network Information:\n  Home:Net:\n",
             .expected = u"Home:Net"_s},
            {.name = "a colon before a carriage return does not end the section's name",
             .report = "Current Network Information:\n  HomeNet:\r\n  Channel:\n",
             .expected = u"HomeNet:\r\n  Channel"_s},
            {.name = "a section's name of white space alone is an empty name",
             .report = "Current Network Information:\n   :\n",
             .expected = u""_s},
            {.name = "a section without a name",
             .report = "Current Network Information:\n  Channel: 6\n",
             .expected = {}},
            {.name = "a colon at a line's end before the section only",
             .report = "AirPort:\nCurrent Network Information: HomeNet",
             .expected = {}},
            {.name = "a line counts more than a section before it",
             .report =
                 "Current Network Information:\n  Other:\nCurrent Wireless Network: HomeNet\n",
             .expected = u"HomeNet"_s},
            {.name = "a section where the line does not end",
             .report = "Current Network Information:\n  HomeNet:\nCurrent Wireless Network: Other",
             .expected = u"HomeNet"_s},

            {.name = "neither", .report = "AirPort:\n  Status: Off\n", .expected = {}},
            {.name = "an empty report", .report = ""_ba, .expected = {}},
            {.name = "UTF-8",
             .report = "Current Wireless Network: Caf\xc3\xa9 \xf0\x9f\x8d\xb5\n",
             .expected = u"Café 🍵"_s},
            {.name = "not UTF-8: Mac OS Roman",
             .report = "Current Wireless Network: Caf\x8e\n",
             .expected = u"Café"_s},
            {.name = "not UTF-8 anywhere: Mac OS Roman everywhere",
             .report = "Channel: \xff\nCurrent Wireless Network: Caf\xc3\xa9\n",
             .expected = u"Caf√©"_s},
            {.name = "a zero byte",
             .report = "Current Wireless Network: Home\0Net\n"_ba,
             .expected = u"Home\0Net"_s},
        };
        QTest::addColumn<QByteArray>("report");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.report << spell(row.expected);
    }

    void cutsTheNameFromTheReport()
    {
        QFETCH(const QByteArray, report);
        Desk desk;
        desk.radio.reports(report);
        QTEST(spell(desk.lookUp()), "expected");
    }

    void findsNoNameWhereThereIsNoReport()
    {
        Desk desk;
        QCOMPARE(desk.lookUp(), Name());
    }

    void readsTheNameInWhatAKernelSaid_data()
    {
        QTest::addColumn<QString>("machine");
        QTest::addColumn<QString>("expected");
        const QString recorded = u"\"CafÈˇ \uF8FFüçµ\""_s; // of bytes that are not UTF-8
        QTest::newRow("joined") << u"joined"_s << recorded;
        QTest::newRow("joined to a hidden network") << u"hidden"_s << recorded;
        QTest::newRow("not joined") << u"apart"_s << u"(none)"_s;
    }

    void readsTheNameInWhatAKernelSaid()
    {
        QFETCH(const QString, machine);
        Desk desk;
        test::FakeKernel kernel;
        kernel.replay(machine);
        platform::Nl80211Report report(kernel.opener(), [] { return QString(); });
        QTEST(spell(settle(LookUpWirelessNetworkName(desk.log, report))), "expected");
    }

    void logsThatItLooksAndNothingElse()
    {
        Desk desk;
        const QString line = u"Looking up wireless network name..."_s;
        desk.lookUp();
        QCOMPARE(desk.systemConsole.takeLines(), QStringList(line));
        desk.radio.joins(u"HomeNet"_s);
        desk.lookUp();
        QCOMPARE(desk.systemConsole.takeLines(), QStringList(line));
    }

    void asksAnewEachTime()
    {
        Desk desk;
        desk.radio.joins(u"HomeNet"_s);
        QCOMPARE(desk.lookUp(), u"HomeNet"_s);
        desk.radio.joins(u"Other"_s);
        QCOMPARE(desk.lookUp(), u"Other"_s);
        desk.radio.leaves();
        QCOMPARE(desk.lookUp(), Name());
    }

    void logsBeforeItWaitsForTheReport()
    {
        Desk desk;
        desk.radio.keepsSilent();
        world::Settled<Name> found;
        platform::Turns turns([](const std::exception_ptr &) { qFatal("a turn failed"); });
        turns.take(world::note(LookUpWirelessNetworkName(desk.log, desk.radio), &found));
        QVERIFY(desk.radio.isAsked());
        QCOMPARE(desk.systemConsole.lines().size(), 1);
        QVERIFY(!found);
        desk.radio.joins(u"HomeNet"_s);
        desk.radio.speaks();
        QVERIFY(world::comesToRest(turns));
        QCOMPARE(*found, u"HomeNet"_s);
    }
};

} // namespace quillfen::netinfo

QTEST_GUILESS_MAIN(quillfen::netinfo::WirelessNetworkNameTest)
#include "WirelessNetworkNameTest.moc"
