// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/World.h"

#include <QObject>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::app {

class AppControllerMenuTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void listsTheAddresses()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s, u"192.0.2.8"_s, u"192.0.2.9"_s});
        QVERIFY(world.start());
        QCOMPARE(world.panel().rows(),
                 QStringList({u"DNS name unavailable"_s, u"-"_s, u"All local Addresses:"_s,
                              u"192.0.2.7"_s, u"192.0.2.8"_s, u"192.0.2.9"_s, u"-"_s,
                              u"Console Log..."_s, u"-"_s, u"Quit"_s}));
        const auto &items = world.panel().menu()->items();
        for (int position = 0; position < 3; ++position)
            QCOMPARE(items.at(3 + static_cast<std::size_t>(position)).tag, position);
        QCOMPARE(items.front().tag, 0);
    }

    void followsTheHeadingWithASeparatorWithoutAddresses()
    {
        world::World world;
        QVERIFY(world.start());
        QCOMPARE(world.panel().rows().mid(2, 2), QStringList({u"All local Addresses:"_s, u"-"_s}));
    }

    void enablesOnlyWhatHasACommand()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        QVERIFY(world.start());
        QStringList enabled;
        for (const platform::MenuItem &item : world.panel().menu()->items()) {
            if (world.controller().validateMenuItem(item))
                enabled += item.title;
        }
        QCOMPARE(enabled, QStringList({u"Console Log..."_s, u"Quit"_s}));
    }

    void refreshesAndRebuildsAtEachOpening()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        world.host.hasName(u"192.0.2.7"_s, u"desk.example"_s);
        QVERIFY(world.start());
        for (int opening = 0; opening < 2; ++opening) {
            world.takeLog();
            const auto installed = world.panel().menu();
            bool opened = false;
            world.panel().open([&opened] { opened = true; });
            QVERIFY(world.rests());
            QVERIFY(opened);
            QCOMPARE(world.takeLog().first(), u"Checking internal IP"_s);
            QCOMPARE(installed->items().front().title, u"desk.example"_s);
            QVERIFY(world.panel().menu() != installed);
            QCOMPARE(world.panel().menu()->items().front().title, u"DNS name unavailable"_s);
        }
    }

    void leavesTheMenuAloneAtOtherRefreshes()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        QVERIFY(world.start());
        world.takeLog();
        const auto installed = world.panel().menu();
        world.network.plugIn(u"eth1", u"198.51.100.4");
        QTRY_VERIFY(world.logHas(u"[2] 198.51.100.4"_s));
        QVERIFY(world.rests());
        QCOMPARE(world.panel().menu(), installed);
    }

    void opensTheLog()
    {
        world::World world;
        QVERIFY(world.start());
        QVERIFY(world.panel().choose(u"Console Log..."_s));
        QCOMPARE(world.workspace.open(), QStringList{world.logPath()});
    }

    void quitsAtOnceWhileATurnWaits()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        QVERIFY(world.start());
        world.host.keepSilent();
        world.panel().open([] {});
        QVERIFY(world.turns().busy());
        QVERIFY(world.panel().choose(u"Quit"_s));
        QVERIFY(world.wantedToEnd());
        world.end();
        QCOMPARE(world.takeLog().last(), u"stop"_s);
    }
};

} // namespace quillfen::app

QTEST_GUILESS_MAIN(quillfen::app::AppControllerMenuTest)
#include "AppControllerMenuTest.moc"
