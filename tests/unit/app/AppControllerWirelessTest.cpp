// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/World.h"

#include <QObject>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::app {

namespace {

const QString kLookup = u"Looking up wireless network name..."_s;

/// A machine with an address that shows the joined network's name.
void desk(world::World &world)
{
    world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
    world.preferences.disk().values[u"IncludeCurrentWirelessNetwork"_s] = true;
}

} // namespace

class AppControllerWirelessTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void composesTheTitle_data()
    {
        struct Row {
            const char *name;
            std::optional<QString> network{};
            std::optional<QString> computer{};
            bool showsComputer = false;
            bool iconOnly = false;
            bool hasAddress = true;
            QString title;
        };
        const Row rows[] = {
            {.name = "the network", .network = u"HomeNet"_s, .title = u"192.0.2.7:HomeNet"_s},
            {.name = "computer and network",
             .network = u"HomeNet"_s,
             .computer = u"desk"_s,
             .showsComputer = true,
             .title = u"192.0.2.7:desk:HomeNet"_s},
            {.name = "no computer's name",
             .network = u"HomeNet"_s,
             .showsComputer = true,
             .title = u"192.0.2.7:HomeNet"_s},
            {.name = "no network", .title = u"192.0.2.7:?"_s},
            {.name = "neither",
             .computer = u"desk"_s,
             .showsComputer = true,
             .title = u"192.0.2.7:desk:?"_s},
            {.name = "an empty name", .network = u""_s, .title = u"192.0.2.7:"_s},
            {.name = "marks in the names",
             .network = u"a_b&c"_s,
             .computer = u"d_e&f"_s,
             .showsComputer = true,
             .title = u"192.0.2.7:d_e&f:a_b&c"_s},
            {.name = "percent signs", .network = u"%@ %d"_s, .title = u"192.0.2.7:%@ %d"_s},
            {.name = "an icon alone", .network = u"HomeNet"_s, .iconOnly = true, .title = u""_s},
            {.name = "no address",
             .network = u"HomeNet"_s,
             .hasAddress = false,
             .title = u"-.-.-.-:HomeNet"_s},
            {.name = "no address, icon or not",
             .network = u"HomeNet"_s,
             .computer = u"desk"_s,
             .showsComputer = true,
             .iconOnly = true,
             .hasAddress = false,
             .title = u"-.-.-.-:desk:HomeNet"_s},
        };
        QTest::addColumn<std::optional<QString>>("network");
        QTest::addColumn<std::optional<QString>>("computer");
        QTest::addColumn<bool>("showsComputer");
        QTest::addColumn<bool>("iconOnly");
        QTest::addColumn<bool>("hasAddress");
        QTest::addColumn<QString>("title");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.network << row.computer << row.showsComputer
                                    << row.iconOnly << row.hasAddress << row.title;
    }
    void composesTheTitle()
    {
        QFETCH(std::optional<QString>, network);
        QFETCH(std::optional<QString>, computer);
        QFETCH(bool, showsComputer);
        QFETCH(bool, iconOnly);
        QFETCH(bool, hasAddress);
        world::World world;
        desk(world);
        if (!hasAddress)
            world.network.unplug(u"eth0");
        if (network)
            world.report.joins(*network);
        world.host.setMachineName(computer);
        world.preferences.disk().values[u"IncludeMachineName"_s] = showsComputer;
        world.preferences.disk().values[u"TitleIconOnly"_s] = iconOnly;
        QVERIFY(world.start());
        QTEST(world.panel().title(), "title");
    }

    void looksUpOnceAndLogsEachTime()
    {
        world::World world;
        desk(world);
        world.report.joins(u"HomeNet"_s);
        QVERIFY(world.start());
        QCOMPARE(world.takeLog().mid(2, 14),
                 QStringList(
                     {u"Checking internal IP"_s, u"Internal IP address:192.0.2.7 (no name)"_s,
                      u"Current internal IP addresses found listed below:"_s, u"[1] 192.0.2.7"_s,
                      kLookup, u"Wireless network: HomeNet"_s,
                      u"(First) Internal IP address changed from:(null) to:192.0.2.7"_s,
                      u"Quillfen 1.0.0 refreshed. (192.0.2.7)"_s, u"Checking internal IP"_s,
                      u"Internal IP address:192.0.2.7 (no name)"_s,
                      u"Current internal IP addresses found listed below:"_s, u"[1] 192.0.2.7"_s,
                      u"Wireless network: HomeNet"_s, u"Last internal IP address: 192.0.2.7"_s}));
    }

    void remembersThatThereWasNone()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        const QStringList lines = world.takeLog();
        QCOMPARE(lines.count(kLookup), 1);
        QCOMPARE(lines.count(u"Wireless network: ?"_s), 2);
        // Joined later: only an address change has the name looked up again.
        world.report.joins(u"HomeNet"_s);
        world.clock.advance(std::chrono::seconds(20));
        QVERIFY(world.rests());
        QCOMPARE(world.panel().title(), u"192.0.2.7:?"_s);
        QVERIFY(!world.takeLog().contains(kLookup));
    }

    void looksUpAgainAtEachChange()
    {
        world::World world;
        desk(world);
        world.report.joins(u"HomeNet"_s);
        QVERIFY(world.start());
        world.takeLog();
        world.report.joins(u"Cafe"_s);
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QVERIFY(world.rests());
        QCOMPARE(world.panel().title(), u"198.51.100.4:Cafe"_s);
        const QStringList lines = world.takeLog();
        QCOMPARE(lines.first(), kLookup);
        QCOMPARE(lines.count(kLookup), 1);
        QVERIFY(lines.contains(u"Wireless network: Cafe"_s));

        world.report.leaves();
        world.network.unplug(u"eth0");
        QVERIFY(world.rests());
        QCOMPARE(world.panel().title(), u"-.-.-.-:?"_s);
    }

    void asksNothingUnlessWanted()
    {
        world::World world;
        desk(world);
        world.preferences.disk().values[u"IncludeCurrentWirelessNetwork"_s] = 1; // no boolean
        world.report.joins(u"HomeNet"_s);
        QVERIFY(world.start());
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QVERIFY(world.rests());
        QCOMPARE(world.panel().title(), u"198.51.100.4"_s);
        QVERIFY(!world.takeLog().contains(kLookup));
    }

    void asksNothingForAnIconAloneBeforeAChange()
    {
        world::World world;
        desk(world);
        world.preferences.disk().values[u"TitleIconOnly"_s] = true;
        QVERIFY(world.start());
        QVERIFY(!world.takeLog().contains(kLookup));
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog().filter(u"ireless"_s), QStringList{kLookup});
    }

    void showsTheAddressWhileTheReportIsAwaited()
    {
        world::World world;
        desk(world);
        world.report.joins(u"HomeNet"_s);
        QVERIFY(world.start());
        world.report.keepsSilent();
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_VERIFY(world.report.isAsked());
        QCOMPARE(world.panel().title(), u"198.51.100.4:HomeNet"_s);
        world.report.joins(u"Cafe"_s);
        world.report.speaks();
        QVERIFY(world.rests());
        QCOMPARE(world.panel().takeShownTitles(),
                 QStringList({u"192.0.2.7"_s, u"192.0.2.7:HomeNet"_s, u"198.51.100.4:HomeNet"_s,
                              u"198.51.100.4:Cafe"_s}));
    }
};

} // namespace quillfen::app

QTEST_GUILESS_MAIN(quillfen::app::AppControllerWirelessTest)
#include "AppControllerWirelessTest.moc"
