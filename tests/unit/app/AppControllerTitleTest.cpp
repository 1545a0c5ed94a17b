// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/World.h"

#include <QObject>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::app {

class AppControllerTitleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void composesTheTitle_data()
    {
        struct Row {
            const char *name;
            bool iconOnly;
            bool machineName;
            QStringList addresses;
            std::optional<QString> computer;
            QString title;
            std::optional<QString> image;
        };
        const std::optional<QString> small = u"QuillfenSmall.tif"_s;
        const Row rows[] = {
            {"address alone", false, false, {u"192.0.2.7"_s}, u"desk"_s, u"192.0.2.7"_s, {}},
            {"with the computer's name",
             false,
             true,
             {u"192.0.2.7"_s},
             u"desk"_s,
             u"192.0.2.7:desk"_s,
             {}},
            {"without a name to show",
             false,
             true,
             {u"192.0.2.7"_s},
             std::nullopt,
             u"192.0.2.7"_s,
             {}},
            {"a name with marks in it",
             false,
             true,
             {u"192.0.2.7"_s},
             u"a_b&c%@"_s,
             u"192.0.2.7:a_b&c%@"_s,
             {}},
            {"icon alone", true, false, {u"192.0.2.7"_s}, u"desk"_s, u""_s, small},
            {"icon alone, name or not", true, true, {u"192.0.2.7"_s}, u"desk"_s, u""_s, small},
            {"no address", false, false, {}, u"desk"_s, u"-.-.-.-"_s, {}},
            {"no address, with the name", false, true, {}, u"desk"_s, u"-.-.-.-:desk"_s, {}},
            {"no address, icon or not", true, false, {}, u"desk"_s, u"-.-.-.-"_s, small},
        };
        QTest::addColumn<bool>("iconOnly");
        QTest::addColumn<bool>("machineName");
        QTest::addColumn<QStringList>("addresses");
        QTest::addColumn<std::optional<QString>>("computer");
        QTest::addColumn<QString>("title");
        QTest::addColumn<std::optional<QString>>("image");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.iconOnly << row.machineName << row.addresses
                                    << row.computer << row.title << row.image;
    }
    void composesTheTitle()
    {
        QFETCH(bool, iconOnly);
        QFETCH(bool, machineName);
        QFETCH(QStringList, addresses);
        QFETCH(std::optional<QString>, computer);
        QFETCH(QString, title);
        QFETCH(std::optional<QString>, image);
        world::World world;
        world.preferences.disk().values.insert(u"TitleIconOnly"_s, iconOnly);
        world.preferences.disk().values.insert(u"IncludeMachineName"_s, machineName);
        world.host.setMachineName(computer);
        if (!addresses.isEmpty())
            world.network.setAddresses(u"eth0", addresses);
        QVERIFY(world.start());
        QCOMPARE(world.panel().title(), title);
        QCOMPARE(world.panel().image(), image);
        QCOMPARE(world.panel().shownTitles(), QStringList{title});
    }

    void marksAChangeUntilTheNextComposition_data()
    {
        QTest::addColumn<bool>("iconOnly");
        QTest::addColumn<QString>("title");
        QTest::addColumn<std::optional<QString>>("imageAfterwards");
        QTest::newRow("text") << false << u"198.51.100.4"_s << std::optional<QString>();
        QTest::newRow("icon") << true << u""_s << std::optional<QString>(u"QuillfenSmall.tif"_s);
    }
    void marksAChangeUntilTheNextComposition()
    {
        QFETCH(bool, iconOnly);
        QFETCH(QString, title);
        QFETCH(std::optional<QString>, imageAfterwards);
        world::World world;
        showsChanges(world, iconOnly);
        QVERIFY(world.start());
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_COMPARE(world.panel().image(), u"QuillfenChange.tif"_s);
        QCOMPARE(world.panel().title(), title);

        world.clock.advance(std::chrono::seconds(20));
        QVERIFY(world.rests());
        QCOMPARE(world.panel().image(), imageAfterwards);
        QCOMPARE(world.panel().title(), title);
    }

    void marksAChangeOfTheSecondAddressToo()
    {
        world::World world;
        showsChanges(world, false);
        QVERIFY(world.start());
        world.network.plugIn(u"eth1", u"198.51.100.4");
        QTRY_COMPARE(world.panel().image(), u"QuillfenChange.tif"_s);
        QCOMPARE(world.panel().title(), u"192.0.2.7"_s);
    }

    void emptiesTheTitleUnderTheChangeIconWithoutAnAddress()
    {
        world::World world;
        showsChanges(world, true);
        QVERIFY(world.start());
        world.network.unplug(u"eth0");
        QTRY_COMPARE(world.panel().image(), u"QuillfenChange.tif"_s);
        QCOMPARE(world.panel().title(), u""_s);
    }

    void keepsTheMarkWhileTheNextChangeWaitsForItsName()
    {
        world::World world;
        showsChanges(world, false);
        QVERIFY(world.start());
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_COMPARE(world.panel().image(), u"QuillfenChange.tif"_s);
        world.host.keepSilent();
        world.network.setAddresses(u"eth0", {u"198.51.100.5"_s});
        QTRY_COMPARE(world.panel().title(), u"198.51.100.5"_s);
        QCOMPARE(world.panel().image(), u"QuillfenChange.tif"_s);
    }

private:
    static void showsChanges(world::World &world, bool iconOnly)
    {
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        auto &values = world.preferences.disk().values;
        values.insert(u"DisplayChangedIconWhenAddressChangeDetected"_s, true);
        values.insert(u"TitleIconOnly"_s, iconOnly);
    }
};

} // namespace quillfen::app

QTEST_GUILESS_MAIN(quillfen::app::AppControllerTitleTest)
#include "AppControllerTitleTest.moc"
