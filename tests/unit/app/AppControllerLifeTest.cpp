// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/StatusItem.h"
#include "world/World.h"

#include <QJsonValue>
#include <QObject>
#include <QTest>

#include <cerrno>
#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::app {

namespace {

const QStringList kRefreshWithoutChange{
    u"Checking internal IP"_s,
    u"Internal IP address:192.0.2.7 (desk.example)"_s,
    u"Current internal IP addresses found listed below:"_s,
    u"[1] 192.0.2.7"_s,
    u"Last internal IP address: 192.0.2.7"_s,
    u"Quillfen 1.0.0 refreshed. (192.0.2.7)"_s,
};

const QStringList kFirstRefreshEver{
    u"Checking internal IP"_s,
    u"Internal IP address:192.0.2.7 (desk.example)"_s,
    u"Current internal IP addresses found listed below:"_s,
    u"[1] 192.0.2.7"_s,
    u"(First) Internal IP address changed from:(null) to:192.0.2.7"_s,
    u"Quillfen 1.0.0 refreshed. (192.0.2.7)"_s,
};

const QStringList kFailedLookup{
    u"Loading external IP address...(from http://checkip.dyndns.org/)"_s,
    u"The current external IP address is:-.-.-.-"_s,
};

} // namespace

class AppControllerLifeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void startsForTheFirstTime()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        QCOMPARE(world.takeLog(),
                 QStringList({u"start"_s, u"Starting up..."_s}) + kFirstRefreshEver
                     + kRefreshWithoutChange + kFailedLookup
                     + QStringList{u"The current (first) internal IP address is:192.0.2.7"_s});
        QCOMPARE(world.statusBar.length(), platform::kVariableStatusItemLength);
        QCOMPARE(world.panel().title(), u"192.0.2.7"_s);
        QCOMPARE(world.preferences.disk().values.value(u"LastIPAddress"_s), u"192.0.2.7"_s);
        QCOMPARE(world.preferences.disk().values.value(u"Initial Refresh"_s), 20);
    }

    void startsForTheSecondTime()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        world.end();
        world.takeLog();
        QVERIFY(world.start());
        QCOMPARE(world.takeLog(),
                 QStringList({u"start"_s, u"Starting up..."_s}) + kRefreshWithoutChange
                     + kRefreshWithoutChange + kFailedLookup
                     + QStringList{u"The current (first) internal IP address is:192.0.2.7"_s});
    }

    void startsWithoutANetwork()
    {
        world::World world;
        QVERIFY(world.start());
        const QStringList refresh{u"Checking internal IP"_s, u"No internal IP could not be found"_s,
                                  u"Quillfen 1.0.0 refreshed. (-.-.-.-)"_s};
        QCOMPARE(world.takeLog(),
                 QStringList({u"start"_s, u"Starting up..."_s}) + refresh + refresh
                     + kFailedLookup);
        QCOMPARE(world.panel().title(), u"-.-.-.-"_s);
    }

    void namesTheOtherProcessesNothingBeforeItsLogIsOpen()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        QCOMPARE(world.console.lines().first(), u"Starting up..."_s);
    }

    void refreshesOnceMoreAfterTheStoredTime_data()
    {
        struct Row {
            const char *name;
            QJsonValue stored;
            std::chrono::seconds after;
        };
        static const Row rows[] = {
            {.name = "absent", .stored = QJsonValue::Undefined, .after = 20s},
            {.name = "20", .stored = 20, .after = 20s},
            {.name = "3", .stored = 3, .after = 3s},
            {.name = "6.9", .stored = 6.9, .after = 6s},
            {.name = "0", .stored = 0, .after = 0s},
            {.name = "-5", .stored = -5, .after = 0s},
            {.name = "the text 7", .stored = u"7"_s, .after = 7s},
            {.name = "the text soon", .stored = u"soon"_s, .after = 0s},
        };
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<std::chrono::seconds>("after");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.stored << row.after;
    }
    void refreshesOnceMoreAfterTheStoredTime()
    {
        QFETCH(QJsonValue, stored);
        QFETCH(std::chrono::seconds, after);
        world::World world;
        desk(world);
        if (!stored.isUndefined())
            world.preferences.disk().values.insert(u"Initial Refresh"_s, stored);
        QVERIFY(world.start());
        world.takeLog();
        if (after > 0s) {
            world.clock.advance(after - 1s);
            QVERIFY(world.rests());
            QCOMPARE(world.takeLog(), QStringList());
            world.clock.advance(1s);
        } else {
            world.clock.advance(0s);
        }
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog(), kRefreshWithoutChange);
        world.clock.advance(120s);
        QCOMPARE(world.takeLog(), QStringList());
        if (!stored.isUndefined())
            QCOMPARE(world.preferences.disk().values.value(u"Initial Refresh"_s), stored);
    }

    void setsUpAnewWhenThePreferencesHaveChanged()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        world.takeLog();
        world.preferences.disk().values.insert(u"TitleIconOnly"_s, true);
        const auto menu = world.panel().menu();
        world.session.post(u"Preferences Changed"_s, u"com.corvane.preference.Quillfen"_s);
        QTRY_COMPARE(world.panel().image(), u"QuillfenSmall.tif"_s);
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog(), kRefreshWithoutChange);
        QCOMPARE(world.panel().title(), u""_s);
        QVERIFY(world.panel().menu() != menu);
    }

    void doesNotHearWhatConcernsOthers()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        world.takeLog();
        world.session.post(u"Preferences Changed"_s, u"com.corvane.preference.Other"_s);
        world.session.post(u"Something Else"_s, u"com.corvane.preference.Quillfen"_s);
        world.session.post(u"Preferences Changed"_s, u"com.corvane.preference.Quillfen"_s);
        QTRY_VERIFY(world.logHas(u"Checking internal IP"_s));
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog(), kRefreshWithoutChange);
    }

    void livesWithoutBeingToldOfChanges()
    {
        world::World world;
        desk(world);
        world.network.failNext(world::FakeStores::Call::SetNotificationKeys, EMFILE);
        QVERIFY(world.start());
        QCOMPARE(world.panel().title(), u"192.0.2.7"_s);
        QCOMPARE(world.takeLog().last(), u"The current (first) internal IP address is:192.0.2.7"_s);
    }

    void writesTheStopLineEvenBeforeAnyRefresh()
    {
        world::World world;
        desk(world);
        world.host.keepSilent();
        world.begin();
        world.end();
        QCOMPARE(
            world.takeLog(),
            QStringList({u"start"_s, u"Starting up..."_s, u"Checking internal IP"_s, u"stop"_s}));
    }

    void bracketsEachRunInTheFile()
    {
        world::World world;
        for (int run = 0; run < 2; ++run) {
            QVERIFY(world.start());
            world.end();
            const QStringList lines = world.takeLog();
            QCOMPARE(lines.first(), u"start"_s);
            QCOMPARE(lines.last(), u"stop"_s);
        }
    }

    void hearsOfChangedPreferencesOnlyAfterItsSetup()
    {
        world::World world;
        world.network.plugIn(u"eth0", u"192.0.2.7");
        world.preferences.disk().values[u"EmailChangesToExternalIPAddress"_s] = true;
        world.service.keepsSilent();
        world.begin();
        QVERIFY(world.turns().busy());
        world.session.post(u"Preferences Changed"_s, u"com.corvane.preference.Quillfen"_s);
        QCoreApplication::processEvents();
        world.service.refuses();
        world.service.giveUp();
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog().count(u"Checking external IP"_s), 1);

        world.session.post(u"Preferences Changed"_s, u"com.corvane.preference.Quillfen"_s);
        QTRY_VERIFY(world.logHas(u"Checking external IP"_s));
        QVERIFY(world.rests());
    }

private:
    /// A machine with one wired address that has a name.
    static void desk(world::World &world)
    {
        world.network.plugIn(u"eth0", u"192.0.2.7");
        world.host.hasName(u"192.0.2.7"_s, u"desk.example"_s);
    }
};

} // namespace quillfen::app

QTEST_GUILESS_MAIN(quillfen::app::AppControllerLifeTest)
#include "AppControllerLifeTest.moc"
