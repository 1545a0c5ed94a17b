// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/World.h"

#include <QObject>
#include <QTest>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::app {

using platform::ShownStatus;

namespace {

const QByteArray kPage = "<html><body>Current IP Address: 203.0.113.7</body></html>"_ba;

} // namespace

/// What other programs learn of the program.
class AppControllerStatusTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tellsAllThatIsKnown()
    {
        world::World world;
        desk(world);
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s, u"198.51.100.4"_s});
        world.preferences.disk().values[u"IncludeMachineName"_s] = true;
        world.preferences.disk().values[u"IncludeCurrentWirelessNetwork"_s] = true;
        world.report.joins(u"Home"_s);
        world.service.answers(kPage);
        QVERIFY(world.start());
        const ShownStatus expected{.title = u"192.0.2.7:desk:Home"_s,
                                   .addresses = {u"192.0.2.7"_s, u"198.51.100.4"_s},
                                   .dnsName = u"desk.example"_s,
                                   .computerName = u"desk"_s,
                                   .wirelessNetwork = u"Home"_s,
                                   .externalAddress = u"203.0.113.7"_s};
        QVERIFY(world.otherProgram.asked() == expected);
        QTRY_VERIFY(!world.otherProgram.heard().empty());
        QVERIFY(world.otherProgram.heard().back() == expected);
    }

    void tellsThatThereIsNothing()
    {
        world::World world;
        QVERIFY(world.start());
        ShownStatus expected;
        expected.title = u"-.-.-.-"_s;
        QVERIFY(world.otherProgram.asked() == expected);
    }

    void tellsTheFirstTitleBeforeAnyNameIsKnown()
    {
        world::World world;
        desk(world);
        world.host.keepSilent();
        world.begin();
        QCOMPARE(world.otherProgram.asked().title, u"192.0.2.7"_s);
        QCOMPARE(world.otherProgram.asked().addresses, QStringList{u"192.0.2.7"_s});
        QCOMPARE(world.otherProgram.asked().dnsName, std::nullopt);
    }

    void anotherAddressHasNotTheNameOfTheOneBefore()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        QCOMPARE(world.otherProgram.asked().dnsName, u"desk.example"_s);
        world.host.keepSilent();
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_VERIFY(world.host.isAskedFor(u"198.51.100.4"_s));
        QCOMPARE(world.otherProgram.asked().title, u"198.51.100.4"_s);
        QCOMPARE(world.otherProgram.asked().dnsName, std::nullopt);
        world.host.speakAgain();
        world.host.answer(u"198.51.100.4"_s, u"other.example"_s);
        QVERIFY(world.rests());
        QCOMPARE(world.otherProgram.asked().dnsName, u"other.example"_s);
    }

    void aLateNameOfTheAddressBeforeIsNotTheNewOnes()
    {
        world::World world;
        desk(world);
        world.host.keepSilent();
        world.begin();
        QVERIFY(world.host.isAskedFor(u"192.0.2.7"_s));
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_COMPARE(world.otherProgram.asked().title, u"198.51.100.4"_s);
        world.host.answer(u"192.0.2.7"_s, u"desk.example"_s);
        QCOMPARE(world.otherProgram.asked().addresses, QStringList{u"198.51.100.4"_s});
        QCOMPARE(world.otherProgram.asked().dnsName, std::nullopt);
        world.host.speakAgain();
        world.host.giveUp();
        QVERIFY(world.rests());
    }

    void anAddressThatComesBackAtOnceStillHasItsName()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        world.host.keepSilent();
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_VERIFY(world.host.isAskedFor(u"198.51.100.4"_s));
        QCOMPARE(world.otherProgram.asked().dnsName, std::nullopt);
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        QTRY_COMPARE(world.otherProgram.asked().title, u"192.0.2.7"_s);
        QCOMPARE(world.otherProgram.asked().dnsName, u"desk.example"_s);
        world.host.speakAgain();
        world.host.giveUp();
        QVERIFY(world.rests());
    }

    void aFurtherAddressLeavesTheName()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        world.host.keepSilent();
        world.network.plugIn(u"eth1", u"198.51.100.4");
        QTRY_VERIFY(world.host.isAskedFor(u"192.0.2.7"_s));
        QCOMPARE(world.otherProgram.asked().addresses.size(), 2);
        QCOMPARE(world.otherProgram.asked().dnsName, u"desk.example"_s);
        world.host.speakAgain();
        world.host.giveUp();
        QVERIFY(world.rests());
    }

    void theExternalAddressIsTheKeptOne()
    {
        world::World world;
        desk(world);
        world.service.answers(kPage);
        QVERIFY(world.start());
        QCOMPARE(world.otherProgram.asked().externalAddress, u"203.0.113.7"_s);
        world.clock.advance(300s);
        QVERIFY(world.rests());
        QCOMPARE(world.otherProgram.asked().externalAddress, std::nullopt);
        QVERIFY(world.panel().choose(u"Copy External IP Address"_s));
        QVERIFY(world.rests());
        QCOMPARE(world.otherProgram.asked().externalAddress, u"203.0.113.7"_s);
    }

    void aFailedLookupIsNoAddress()
    {
        world::World world;
        desk(world);
        world.service.refuses();
        QVERIFY(world.start());
        QCOMPARE(world.otherProgram.asked().externalAddress, std::nullopt);
    }

    void anIconAloneHasNoTitle()
    {
        world::World world;
        desk(world);
        world.preferences.disk().values[u"TitleIconOnly"_s] = true;
        world.preferences.disk().values[u"IncludeCurrentWirelessNetwork"_s] = true;
        world.report.joins(u"Home"_s);
        QVERIFY(world.start());
        QCOMPARE(world.otherProgram.asked().title, u""_s);
        QCOMPARE(world.otherProgram.asked().addresses, QStringList{u"192.0.2.7"_s});
        QCOMPARE(world.otherProgram.asked().wirelessNetwork, std::nullopt);
    }

    void theWirelessNetworkGoesWithTheTitles()
    {
        world::World world;
        desk(world);
        world.preferences.disk().values[u"IncludeCurrentWirelessNetwork"_s] = true;
        world.report.joins(u"Home"_s);
        QVERIFY(world.start());
        QCOMPARE(world.otherProgram.asked().wirelessNetwork, u"Home"_s);
        world.preferences.disk().values[u"IncludeCurrentWirelessNetwork"_s] = false;
        world.session.post(u"Preferences Changed"_s, u"com.corvane.preference.Quillfen"_s);
        QTRY_COMPARE(world.otherProgram.asked().title, u"192.0.2.7"_s);
        QCOMPARE(world.otherProgram.asked().wirelessNetwork, std::nullopt);
        QVERIFY(world.rests());
    }

    void aRefreshThatChangesNothingTellsNothing()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        QTRY_VERIFY(!world.otherProgram.heard().empty());
        world.otherProgram.takeHeard();
        world.clock.advance(20s); // the late refresh after the start
        QVERIFY(world.rests());
        QVERIFY(world.logHas(u"Checking internal IP"_s));
        QCoreApplication::processEvents();
        QVERIFY(world.otherProgram.heard().empty());
    }

    void asksNobodyForIt()
    {
        world::World world;
        desk(world);
        world.service.answers(kPage);
        QVERIFY(world.start());
        QCOMPARE(world.service.takeRequests().size(), 1); // the start's own
        world.clock.advance(300s);
        QVERIFY(world.rests());
        QCOMPARE(world.otherProgram.asked().externalAddress, std::nullopt);
        QVERIFY(world.service.takeRequests().isEmpty());
    }

private:
    /// A machine with a name and one wired address that has a name.
    static void desk(world::World &world)
    {
        world.network.plugIn(u"eth0", u"192.0.2.7");
        world.host.hasName(u"192.0.2.7"_s, u"desk.example"_s);
        world.host.setMachineName(u"desk"_s);
    }
};

} // namespace quillfen::app

QTEST_GUILESS_MAIN(quillfen::app::AppControllerStatusTest)
#include "AppControllerStatusTest.moc"
