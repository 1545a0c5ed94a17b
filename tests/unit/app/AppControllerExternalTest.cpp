// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/World.h"

#include <QDateTime>
#include <QJsonValue>
#include <QObject>
#include <QRegularExpression>
#include <QTest>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::app {

namespace {

const QString kLoading = u"Loading external IP address...(from http://checkip.dyndns.org/)"_s;
const QString kFromCache = u"Copying external IP address..."_s;
const QString kCleared =
    u"Clearing external IP address. (Allows accessing \"checkip.dyndns.org\" again.)"_s;

const QStringList kRefresh{
    u"Checking internal IP"_s,
    u"Internal IP address:192.0.2.7 (no name)"_s,
    u"Current internal IP addresses found listed below:"_s,
    u"[1] 192.0.2.7"_s,
    u"Last internal IP address: 192.0.2.7"_s,
    u"Quillfen 1.0.0 refreshed. (192.0.2.7)"_s,
};

QByteArray page(const QByteArray &address)
{
    return "<html><head><title>Current IP Check</title></head><body>Current IP Address: " + address
        + "</body></html>\r\n";
}

/// The lines of one poll that asked @p source, without the one that tells of the next.
QStringList poll(const QString &source, const QString &current, const QString &last)
{
    QStringList lines{u"Checking external IP"_s, source,
                      u"Current external IP address: "_s + current,
                      u"Last external IP address: "_s + last};
    if (current.compare(last, Qt::CaseInsensitive) != 0)
        lines.append(u"External IP address changed from:%1 to:%2"_s.arg(last, current));
    return lines;
}

/// @p lines without those that tell of the next poll, which hold a date; @p next counts them.
QStringList withoutNext(QStringList lines, const QString &minutes, int *next)
{
    const QRegularExpression told(
        u"Next external IP address check in: %1 minutes "
        uR"(\(at \d{4}-\d\d-\d\d \d\d:\d\d:\d\d [+-]\d{4}\))"_s.arg(minutes));
    const qsizetype before = lines.size();
    lines.removeIf([&told](const QString &line) { return told.match(line).captured() == line; });
    *next = static_cast<int>(before - lines.size());
    return lines;
}

} // namespace

class AppControllerExternalTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void asksOnceAtStartWhenTheAddressIsNotWatched()
    {
        world::World world;
        desk(world);
        world.service.answers(page("203.0.113.7"));
        QVERIFY(world.start());
        const QStringList lines = world.takeLog();
        QCOMPARE(lines.mid(lines.size() - 3),
                 QStringList({kLoading, u"The current external IP address is:203.0.113.7"_s,
                              u"The current (first) internal IP address is:192.0.2.7"_s}));
        QCOMPARE(lines.count(kLoading), 1);
        QVERIFY(!lines.contains(u"Checking external IP"_s));
        world.clock.advance(24h);
        QVERIFY(world.rests());
        QVERIFY(!world.logHas(u"Checking external IP"_s));
        QVERIFY(remembered(world).isNull());
    }

    void namesTheFailedLookupAtStart()
    {
        world::World world;
        desk(world);
        world.service.refuses();
        QVERIFY(world.start());
        QVERIFY(world.logHas(u"The current external IP address is:-.-.-.-"_s));
    }

    void reportsAChangeAtTheFirstPollAfterInstallation()
    {
        world::World world;
        watch(world);
        world.service.answers(page("203.0.113.7"));
        QVERIFY(world.start());
        int next = 0;
        const QStringList lines = withoutNext(world.takeLog(), u"6"_s, &next);
        QCOMPARE(lines.mid(0, 7),
                 QStringList({u"start"_s, u"Starting up..."_s})
                     + poll(kLoading, u"203.0.113.7"_s, u"0.0.0.0"_s));
        QCOMPARE(next, 1);
        // The lookup of the start-up's end finds what the poll brought.
        QCOMPARE(lines.mid(lines.size() - 3),
                 QStringList({kFromCache, u"The current external IP address is:203.0.113.7"_s,
                              u"The current (first) internal IP address is:192.0.2.7"_s}));
        QCOMPARE(remembered(world), u"203.0.113.7"_s);
    }

    void pollsBeforeItRefreshes()
    {
        world::World world;
        watch(world);
        world.service.answers(page("203.0.113.7"));
        QVERIFY(world.start());
        const QStringList lines = world.takeLog();
        QVERIFY(lines.indexOf(u"Checking external IP"_s)
                < lines.indexOf(u"Checking internal IP"_s));
    }

    void reportsNothingWhenTheAddressIsTheSame_data()
    {
        QTest::addColumn<QString>("last");
        QTest::addColumn<QByteArray>("now");
        QTest::newRow("the very same") << u"203.0.113.7"_s << QByteArray("203.0.113.7");
        QTest::newRow("another case") << u"2001:DB8::a"_s << QByteArray("2001:db8::A");
        QTest::newRow("the failure again") << u"-.-.-.-"_s << QByteArray("-.-.-.-");
    }
    void reportsNothingWhenTheAddressIsTheSame()
    {
        QFETCH(QString, last);
        QFETCH(QByteArray, now);
        world::World world;
        watch(world);
        world.preferences.disk().values[u"DisplayChangedIconWhenAddressChangeDetected"_s] = true;
        remember(world, last);
        world.service.answers(page(now));
        QVERIFY(world.start());
        world.takeLog();
        world.clock.advance(360s);
        QVERIFY(world.rests());
        int next = 0;
        const QStringList lines = withoutNext(world.takeLog(), u"6"_s, &next);
        QVERIFY(endsWith(lines, poll(kLoading, QString::fromLatin1(now), last)));
        QCOMPARE(next, 1);
        QCOMPARE(remembered(world), last);
        QCOMPARE(world.panel().image(), std::nullopt);
    }

    void takesAFailedLookupForAnAddress()
    {
        world::World world;
        watch(world);
        remember(world, u"203.0.113.7"_s);
        world.service.answers(page("203.0.113.7"));
        QVERIFY(world.start());

        world.service.refuses();
        QCOMPARE(pollLines(world), poll(kLoading, u"-.-.-.-"_s, u"203.0.113.7"_s));
        QCOMPARE(remembered(world), u"-.-.-.-"_s);
        QCOMPARE(pollLines(world), poll(kLoading, u"-.-.-.-"_s, u"-.-.-.-"_s));
        world.service.answers(page("203.0.113.7"));
        QCOMPARE(pollLines(world), poll(kLoading, u"203.0.113.7"_s, u"-.-.-.-"_s));
        QCOMPARE(remembered(world), u"203.0.113.7"_s);
    }

    void makesUpForOneTickAtMostWhenAPollIsSlow()
    {
        world::World world;
        watch(world);
        QVERIFY(world.start());
        world.takeLog();
        world.service.keepsSilent();
        world.clock.advance(360s);
        QVERIFY(world.turns().busy());
        world.clock.advance(3600s); // ten more ticks, of which one waits
        world.service.refuses();
        world.service.giveUp();
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog().count(u"Checking external IP"_s), 2);
        world.clock.advance(360s);
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog().count(u"Checking external IP"_s), 1);
    }

    void saysSoWhenNotEvenTheFailureCameBack()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        world.takeLog();
        world.turns().take(world.controller().reportExternalAddress(std::nullopt));
        QCOMPARE(world.takeLog(), QStringList{u"The external IP could not be found"_s});
        QVERIFY(remembered(world).isNull());
    }

    void showsTheChangeIconWhereItIsWanted_data()
    {
        QTest::addColumn<bool>("wanted");
        QTest::addColumn<bool>("iconOnly");
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("image");
        const QString change = u"QuillfenChange.tif"_s;
        const QString small = u"QuillfenSmall.tif"_s;
        QTest::newRow("neither") << false << false << u"192.0.2.7"_s << QString();
        QTest::newRow("wanted") << true << false << u"192.0.2.7"_s << change;
        QTest::newRow("icon only") << false << true << QString() << small;
        QTest::newRow("wanted, icon only") << true << true << QString() << change;
    }
    void showsTheChangeIconWhereItIsWanted()
    {
        QFETCH(bool, wanted);
        QFETCH(bool, iconOnly);
        QFETCH(QString, image);
        world::World world;
        watch(world);
        auto &values = world.preferences.disk().values;
        values[u"DisplayChangedIconWhenAddressChangeDetected"_s] = wanted;
        values[u"TitleIconOnly"_s] = iconOnly;
        world.service.answers(page("203.0.113.7"));
        QVERIFY(world.start());
        world.service.answers(page("203.0.113.8"));
        pollLines(world);
        QTEST(world.panel().title(), "title");
        QCOMPARE(world.panel().image().value_or(QString()), image);
    }

    void leavesTheTitleAloneWithOnlyTheIconOnlySetting()
    {
        world::World world;
        watch(world);
        QVERIFY(world.start());
        // Switched on behind the program's back: the poll reads it, and has no reason to act.
        world.preferences.disk().values[u"TitleIconOnly"_s] = true;
        world.service.answers(page("203.0.113.8"));
        pollLines(world);
        QCOMPARE(world.panel().title(), u"192.0.2.7"_s);
    }

    void pollsEveryStoredInterval_data()
    {
        struct Row {
            const char *name;
            QJsonValue minutes;
            std::chrono::seconds interval;
        };
        static const Row rows[] = {
            {.name = "absent", .minutes = QJsonValue::Undefined, .interval = 360s},
            {.name = "3", .minutes = 3, .interval = 360s},
            {.name = "10", .minutes = 10, .interval = 600s},
            {.name = "546", .minutes = 546, .interval = 32760s},
            {.name = "1200, wrapped to 6464 s", .minutes = 1200, .interval = 6464s},
            {.name = "a text", .minutes = u"10"_s, .interval = 360s},
        };
        QTest::addColumn<QJsonValue>("minutes");
        QTest::addColumn<std::chrono::seconds>("interval");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.minutes << row.interval;
    }
    void pollsEveryStoredInterval()
    {
        QFETCH(QJsonValue, minutes);
        QFETCH(std::chrono::seconds, interval);
        world::World world;
        watch(world);
        if (!minutes.isUndefined())
            world.preferences.disk().values[u"MinutesInterval"_s] = minutes;
        QVERIFY(world.start());
        world.takeLog();
        for (int tick = 0; tick < 2; ++tick) {
            world.clock.advance(interval - 1s);
            QVERIFY(world.rests());
            QVERIFY(!world.logHas(u"Checking external IP"_s));
            world.clock.advance(1s);
            QVERIFY(world.rests());
            QCOMPARE(world.takeLog().count(u"Checking external IP"_s), 1);
        }
    }

    void pollsOnceOnlyWithAnIntervalThatWrappedBelowZero()
    {
        world::World world;
        watch(world);
        world.preferences.disk().values[u"MinutesInterval"_s] = 547;
        QVERIFY(world.start());
        int next = 0;
        const QStringList lines = withoutNext(world.takeLog(), u"547"_s, &next);
        QCOMPARE(lines.count(u"Checking external IP"_s), 1);
        QCOMPARE(next, 1);
        world.clock.advance(72h);
        QVERIFY(world.rests());
        QVERIFY(!world.logHas(u"Checking external IP"_s));
    }

    void tellsWhenTheNextPollIsDue()
    {
        world::World world;
        watch(world);
        world.preferences.disk().values[u"MinutesInterval"_s] = 600;
        const QDateTime before = QDateTime::currentDateTime().addSecs(600 * 60 - 1);
        QVERIFY(world.start());
        const QString line = world.takeLog().filter(u"Next external IP"_s).value(0);
        const QString date = line.section(u"(at "_s, 1).chopped(1);
        const QDateTime next = QDateTime::fromString(date.left(19), u"yyyy-MM-dd HH:mm:ss"_s);
        QVERIFY2(before <= next && next <= before.addSecs(60), qPrintable(line));
    }

    void catchesUpWithOnePollAfterASleep()
    {
        world::World world;
        watch(world);
        QVERIFY(world.start());
        world.takeLog();
        world.clock.suspend(24h);
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog().count(u"Checking external IP"_s), 1);
    }

    void takesChangedSettingsAtOnce()
    {
        world::World world;
        desk(world);
        QVERIFY(world.start());
        auto &values = world.preferences.disk().values;

        values[u"EmailChangesToExternalIPAddress"_s] = true;
        QCOMPARE(pollsAfterAnnouncement(world), 1);
        world.clock.advance(360s);
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog().count(u"Checking external IP"_s), 1);

        values[u"MinutesInterval"_s] = 10;
        QCOMPARE(pollsAfterAnnouncement(world), 1);
        world.clock.advance(599s);
        QVERIFY(world.rests());
        QVERIFY(!world.logHas(u"Checking external IP"_s));
        world.clock.advance(1s);
        QVERIFY(world.rests());
        QCOMPARE(world.takeLog().count(u"Checking external IP"_s), 1);

        values[u"EmailChangesToExternalIPAddress"_s] = false;
        QCOMPARE(pollsAfterAnnouncement(world), 0);
        world.clock.advance(24h);
        QVERIFY(world.rests());
        QVERIFY(!world.logHas(u"Checking external IP"_s));
    }

    void doesNotWatchWithoutABooleanTrue_data()
    {
        QTest::addColumn<QJsonValue>("stored");
        QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("false") << QJsonValue(false);
        QTest::newRow("1") << QJsonValue(1);
        QTest::newRow("a text") << QJsonValue(u"YES"_s);
    }
    void doesNotWatchWithoutABooleanTrue()
    {
        QFETCH(QJsonValue, stored);
        world::World world;
        desk(world);
        auto &values = world.preferences.disk().values;
        if (!stored.isUndefined())
            values[u"EmailChangesToExternalIPAddress"_s] = stored;
        values[u"SendEmailNotifications"_s] = true;
        QVERIFY(world.start());
        world.clock.advance(24h);
        QVERIFY(world.rests());
        QVERIFY(!world.logHas(u"Checking external IP"_s));
    }

    void letsTheAddressGoEveryFiveMinutes()
    {
        world::World world;
        desk(world);
        world.service.answers(page("203.0.113.7"));
        QVERIFY(world.start());
        world.clock.advance(299s);
        QVERIFY(world.rests());
        QVERIFY(!world.logHas(kCleared));
        QCOMPARE(askedFor(world), kFromCache);
        world.clock.advance(1s);
        QVERIFY(world.rests());
        QVERIFY(world.logHas(kCleared));
        QCOMPARE(askedFor(world), kLoading);
        QCOMPARE(askedFor(world), kFromCache);
    }

    void holdsEverythingButTheTitleBackWhileTheServiceIsSilent()
    {
        world::World world;
        watch(world);
        world.service.keepsSilent();
        world.begin();
        QCOMPARE(world.panel().title(), u"192.0.2.7"_s);
        QCOMPARE(
            world.takeLog(),
            QStringList({u"start"_s, u"Starting up..."_s, u"Checking external IP"_s, kLoading}));
        QVERIFY2(world.panel().menu(), "a menu to quit from");

        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s});
        QTRY_COMPARE(world.panel().title(), u"198.51.100.4"_s);
        world.clock.advance(300s);
        QCOMPARE(world.takeLog(), QStringList());
        QVERIFY(world.panel().choose(u"Quit"_s));
        QVERIFY(world.wantedToEnd());
        world.end();
        QCOMPARE(world.takeLog(), QStringList{u"stop"_s});
    }

    void forgetsATickWhoseTimerWasStoppedMeanwhile()
    {
        world::World world;
        watch(world);
        QVERIFY(world.start());
        world.takeLog();
        world.host.keepSilent();
        world.network.setAddresses(u"eth0", {u"198.51.100.4"_s}); // a turn that waits for a name
        QTRY_VERIFY(world.host.isAskedFor(u"198.51.100.4"_s));
        world.preferences.disk().values[u"EmailChangesToExternalIPAddress"_s] = false;
        world.session.post(u"Preferences Changed"_s, u"com.corvane.preference.Quillfen"_s);
        QCoreApplication::processEvents();
        world.clock.advance(360s); // behind the one that stops the timer
        world.host.speakAgain();
        world.host.giveUp();
        QVERIFY(world.rests());
        QVERIFY(!world.logHas(u"Checking external IP"_s));
    }

private:
    static void desk(world::World &world) { world.network.plugIn(u"eth0", u"192.0.2.7"); }
    /// A desk whose external address is watched, with nothing stored to report of the local one.
    static void watch(world::World &world)
    {
        desk(world);
        auto &values = world.preferences.disk().values;
        values[u"EmailChangesToExternalIPAddress"_s] = true;
        values[u"LastIPAddress"_s] = u"192.0.2.7"_s;
        values[u"Initial Refresh"_s] = 86400;
    }
    static void remember(world::World &world, const QString &address)
    {
        world.preferences.disk().values[u"LastExternalIPAddress"_s] = address;
    }
    static QJsonValue remembered(world::World &world)
    {
        return world.preferences.disk().values.value(u"LastExternalIPAddress"_s);
    }
    static bool endsWith(const QStringList &lines, const QStringList &end)
    {
        return lines.mid(lines.size() - end.size()) == end;
    }
    /// Lets the next poll come, with nothing kept, and gives its lines but the last.
    static QStringList pollLines(world::World &world)
    {
        world.clock.advance(300s);
        world.rests();
        world.takeLog();
        world.clock.advance(60s);
        world.rests();
        int next = 0;
        return withoutNext(world.takeLog(), u"6"_s, &next);
    }
    static qsizetype pollsAfterAnnouncement(world::World &world)
    {
        world.takeLog();
        world.session.post(u"Preferences Changed"_s, u"com.corvane.preference.Quillfen"_s);
        const auto refreshed = [&world] { return world.logHas(u"refreshed."_s); };
        if (!QTest::qWaitFor(refreshed, 10000) || !world.rests())
            return -1;
        return world.takeLog().count(u"Checking external IP"_s);
    }
    /// How the address is come by when it is asked for now.
    static QString askedFor(world::World &world)
    {
        world.takeLog();
        world.turns().take(world.controller().externalIPAddressChangedTimerAction());
        world.rests();
        return world.takeLog().value(1);
    }
};

} // namespace quillfen::app

QTEST_GUILESS_MAIN(quillfen::app::AppControllerExternalTest)
#include "AppControllerExternalTest.moc"
