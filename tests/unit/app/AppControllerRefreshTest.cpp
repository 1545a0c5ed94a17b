// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/World.h"

#include <QObject>
#include <QTest>

#include <cerrno>
#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::app {

class AppControllerRefreshTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void logsAndRemembersAChange()
    {
        world::World world;
        QVERIFY(started(world));
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_COMPARE(world.panel().title(), u"198.51.100.4"_s);
        QTRY_VERIFY(world.logHas(u"refreshed"_s));
        QCOMPARE(
            world.takeLog(),
            QStringList({u"Checking internal IP"_s, u"Internal IP address:198.51.100.4 (no name)"_s,
                         u"Current internal IP addresses found listed below:"_s,
                         u"[1] 198.51.100.4"_s, u"Last internal IP address: 192.0.2.7"_s,
                         u"(First) Internal IP address changed from:192.0.2.7 "
                         "to:198.51.100.4"_s,
                         u"Quillfen 1.0.0 refreshed. (198.51.100.4)"_s}));
        QCOMPARE(world.preferences.disk().values.value(u"LastIPAddress"_s), u"198.51.100.4"_s);
    }

    void reportsAChangeThatCameWhileItDidNotRun()
    {
        world::World world;
        QVERIFY(started(world));
        world.end();
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        world.takeLog();
        QVERIFY(world.start());
        QCOMPARE(world.takeLog().filter(u"changed from"_s),
                 QStringList{u"(First) Internal IP address changed from:192.0.2.7 "
                             "to:198.51.100.4"_s});
    }

    void followsANetworkThatGoesAndComesBack()
    {
        world::World world;
        QVERIFY(started(world));
        world.network.unplug(u"eth0");
        QTRY_VERIFY(world.logHas(u"refreshed"_s));
        QCOMPARE(world.takeLog(),
                 QStringList({u"Checking internal IP"_s, u"No internal IP could not be found"_s,
                              u"Quillfen 1.0.0 refreshed. (-.-.-.-)"_s}));
        QCOMPARE(world.panel().title(), u"-.-.-.-"_s);
        QCOMPARE(world.panel().rows().first(), u"DNS name unavailable"_s);
        QCOMPARE(world.preferences.disk().values.value(u"LastIPAddress"_s), u"-.-.-.-"_s);

        world.network.plugIn(u"eth0", u"192.0.2.7");
        QTRY_VERIFY(world.logHas(u"refreshed"_s));
        QCOMPARE(world.takeLog().filter(u"changed from"_s),
                 QStringList{u"(First) Internal IP address changed from:-.-.-.- "
                             "to:192.0.2.7"_s});
        QCOMPARE(world.panel().title(), u"192.0.2.7"_s);
    }

    void takesOnlyTheFirstAddressForAChange()
    {
        world::World world;
        QVERIFY(started(world));
        world.network.plugIn(u"eth1", u"198.51.100.4");
        QTRY_VERIFY(world.logHas(u"refreshed"_s));
        QCOMPARE(
            world.takeLog(),
            QStringList({u"Checking internal IP"_s, u"Internal IP address:192.0.2.7 (no name)"_s,
                         u"Current internal IP addresses found listed below:"_s, u"[1] 192.0.2.7"_s,
                         u"[2] 198.51.100.4"_s, u"Last internal IP address: 192.0.2.7"_s,
                         u"Quillfen 1.0.0 refreshed. (192.0.2.7)"_s}));
    }

    void ignoresLetterCase()
    {
        world::World world;
        world.network.plugIn(u"eth0", u"fe80::AB");
        world.preferences.disk().values.insert(u"LastIPAddress"_s, u"FE80::ab"_s);
        QVERIFY(world.start());
        QVERIFY(world.takeLog().filter(u"changed from"_s).isEmpty());
        QCOMPARE(world.preferences.disk().values.value(u"LastIPAddress"_s), u"FE80::ab"_s);
    }

    void takesARememberedAddressOfAnotherTypeForNone()
    {
        world::World world;
        world.network.plugIn(u"eth0", u"192.0.2.7");
        world.preferences.disk().values.insert(u"LastIPAddress"_s, 7);
        QVERIFY(world.start());
        QCOMPARE(world.takeLog().filter(u"changed from"_s),
                 QStringList{u"(First) Internal IP address changed from:(null) to:192.0.2.7"_s});
    }

    void leavesTitleAndListAloneWhenTheListCallFails()
    {
        world::World world;
        QVERIFY(started(world));
        world.network.failNext(world::FakeStores::Call::CopyMultiple, ENOMEM);
        world.clock.advance(20s);
        QVERIFY(world.rests());
        QCOMPARE(
            world.takeLog(),
            QStringList({u"Checking internal IP"_s, u"Quillfen 1.0.0 refreshed. (-.-.-.-)"_s}));
        QCOMPARE(world.panel().title(), u"192.0.2.7"_s);
        QCOMPARE(world.preferences.disk().values.value(u"LastIPAddress"_s), u"192.0.2.7"_s);
    }

    void logsOnlyWhatItKnowsWhenEveryListCallFails()
    {
        world::World world;
        world.network.plugIn(u"eth0", u"192.0.2.7");
        QVERIFY(started(world));
        world.network.failNext(world::FakeStores::Call::Create, EMFILE);
        world.clock.advance(20s);
        QVERIFY(world.rests());
        QCOMPARE(
            world.takeLog(),
            QStringList({u"Checking internal IP"_s, u"Quillfen 1.0.0 refreshed. (-.-.-.-)"_s}));
    }

    void showsQuestionMarksForAnElementThatIsNoText()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {QString()});
        QVERIFY(world.start());
        QCOMPARE(world.panel().title(), u"???"_s);
        QVERIFY(world.takeLog().filter(u"changed from"_s).isEmpty());
        QVERIFY(!world.preferences.disk().values.contains(u"LastIPAddress"_s));
    }

    void showsAChangeAheadOfTheNameAndLogsItAfterwards()
    {
        world::World world;
        QVERIFY(started(world));
        world.host.keepSilent();
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_COMPARE(world.panel().title(), u"198.51.100.4"_s);
        QTRY_VERIFY(world.host.isAskedFor(u"198.51.100.4"_s));
        QCOMPARE(world.takeLog(), QStringList{u"Checking internal IP"_s});
        QCOMPARE(world.preferences.disk().values.value(u"LastIPAddress"_s), u"192.0.2.7"_s);

        world.host.answer(u"198.51.100.4"_s, u"late.example"_s);
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog().first(), u"Internal IP address:198.51.100.4 (late.example)"_s);
        QCOMPARE(world.preferences.disk().values.value(u"LastIPAddress"_s), u"198.51.100.4"_s);
    }

    void showsEveryChangeAtOnceWhileATurnWaitsAndHandlesThemAsOne()
    {
        world::World world;
        QVERIFY(started(world));
        world.host.keepSilent();
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_VERIFY(world.host.isAskedFor(u"198.51.100.4"_s));
        for (const QString &address : {u"198.51.100.5"_s, u"198.51.100.6"_s}) {
            world.network.setAddresses(u"eth0", {address});
            QTRY_COMPARE(world.panel().title(), address);
        }
        world.host.speakAgain();
        world.host.giveUp();
        QVERIFY(world.rests());
        const QStringList changes = world.takeLog().filter(u"changed from"_s);
        QCOMPARE(changes,
                 QStringList({u"(First) Internal IP address changed from:192.0.2.7 "
                              "to:198.51.100.4"_s,
                              u"(First) Internal IP address changed from:198.51.100.4 "
                              "to:198.51.100.6"_s}));
        QCOMPARE(world.panel().title(), u"198.51.100.6"_s);
    }

    void missesNoChangeThatComesDuringItsStart()
    {
        world::World world;
        world.network.plugIn(u"eth0", u"192.0.2.7");
        world.host.keepSilent();
        world.begin();
        QCOMPARE(world.panel().title(), u"192.0.2.7"_s);
        world.host.giveUp();
        QTRY_VERIFY(world.host.isAskedFor(u"192.0.2.7"_s)); // by the second refresh
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_COMPARE(world.panel().title(), u"198.51.100.4"_s);
        world.host.speakAgain();
        world.host.giveUp();
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog().filter(u"changed from"_s).last(),
                 u"(First) Internal IP address changed from:192.0.2.7 to:198.51.100.4"_s);
        QCOMPARE(world.panel().title(), u"198.51.100.4"_s);
    }

    void showsTheNameInTheMenuThatExistsThen()
    {
        world::World world;
        QVERIFY(started(world));
        world.host.hasName(u"198.51.100.4"_s, u"new.example"_s);
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_COMPARE(world.panel().rows().first(), u"new.example"_s);
    }

    void listsTenThousandAddresses()
    {
        world::World world;
        QStringList many;
        for (int number = 0; number < 10'000; ++number)
            many += u"10.0.%1.%2"_s.arg(number / 250).arg(number % 250 + 1);
        world.network.setAddresses(u"eth0", many);
        QVERIFY(world.start());
        QVERIFY(world.takeLog().contains(u"[10000] 10.0.39.250"_s));
        QCOMPARE(world.panel().title(), u"10.0.0.1"_s);
        QVERIFY(world.panel().rows().contains(u"10.0.39.250"_s));
    }

private:
    /// A machine on which the program has started, with one wired address.
    static bool started(world::World &world)
    {
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        const bool rests = world.start();
        world.takeLog();
        return rests;
    }
};

} // namespace quillfen::app

QTEST_GUILESS_MAIN(quillfen::app::AppControllerRefreshTest)
#include "AppControllerRefreshTest.moc"
