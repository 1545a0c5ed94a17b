// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/World.h"

#include <QJsonValue>
#include <QObject>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::app {

namespace {

/// A row as a user meets it; the tool tip is left out where the row has none.
QString described(const platform::MenuItem &item, bool enabled)
{
    if (item.separator)
        return u"-"_s;
    QString text = enabled ? item.title : u"("_s + item.title + u")"_s;
    if (!item.toolTip.isEmpty())
        text += u" | "_s + item.toolTip;
    return text;
}

QStringList described(world::World &world, const platform::Menu &menu)
{
    QStringList rows;
    for (const platform::MenuItem &item : menu.items())
        rows.append(described(item, world.controller().validateMenuItem(item)));
    return rows;
}

const QString kCopyName = u"Copy this machines DNS (domain name system) name to the clipboard"_s;
const QString kCopyExternal = u"Copy the external IP address to the clipboard"_s;
const QString kCopyExternalName =
    u"Copy this machines external DNS (domain name system) name to the clipboard"_s;

const QStringList kBeforeTheAddresses{
    u"DNS name unavailable | "_s + kCopyName,
    u"External IP unavailable | "_s + kCopyExternal,
    u"External DNS name unavailable | "_s + kCopyExternalName,
    u"-"_s,
    u"Copy IP Address | Copy this machines IP address to the clipboard"_s,
    u"Copy External IP Address | "_s + kCopyExternal,
    u"Copy DNS Name | "_s + kCopyName,
    u"Copy External DNS Name | "_s + kCopyExternalName,
    u"-"_s,
    u"(All local Addresses:)"_s,
};
const QStringList kBehindTheAddresses{
    u"-"_s,
    u"View in Corvane Website..."_s,
    u"View in Mac App Store..."_s,
    u"-"_s,
    u"Preferences..."_s,
    u"Console Log..."_s,
    u"-"_s,
    u"About Quillfen"_s,
    u"Quit"_s,
};

QByteArray page(const QByteArray &address)
{
    return "Current IP Address: " + address + "</body></html>";
}

/// Opens the menu and waits until its titles are there. @returns the first three of them.
QStringList openedTitles(world::World &world)
{
    bool opened = false;
    world.panel().open([&opened] { opened = true; });
    return world.rests() && opened ? world.panel().rows().first(3) : QStringList();
}

} // namespace

class AppControllerMenuTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hasItsRows()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s, u"192.0.2.8"_s, u"192.0.2.7"_s});
        QVERIFY(world.start());
        const platform::Menu &menu = *world.panel().menu();
        const QStringList addresses{
            u"192.0.2.7 | Copy addres 1 (192.0.2.7) to the clipboard"_s,
            u"192.0.2.8 | Copy addres 2 (192.0.2.8) to the clipboard"_s,
            u"192.0.2.7 | Copy addres 3 (192.0.2.7) to the clipboard"_s,
        };
        QCOMPARE(described(world, menu), kBeforeTheAddresses + addresses + kBehindTheAddresses);
        for (std::size_t row = 0; row < menu.items().size(); ++row)
            QCOMPARE(menu.items()[row].tag, row >= 10 && row < 13 ? static_cast<int>(row) - 10 : 0);
    }

    void followsTheHeadingWithASeparatorWithoutAddresses()
    {
        world::World world;
        QVERIFY(world.start());
        QCOMPARE(described(world, *world.panel().menu()),
                 kBeforeTheAddresses + kBehindTheAddresses);
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
            QCOMPARE(openedTitles(world).first(), u"desk.example"_s);
            QCOMPARE(world.takeLog().first(), u"Checking internal IP"_s);
            QVERIFY(world.panel().menu() != installed);
            QCOMPARE(world.panel().menu()->items().front().title, u"DNS name unavailable"_s);
        }
    }

    void namesTheMenuThatOpensAndNotTheOneBuiltBeforeItsTurn()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        world.host.hasName(u"192.0.2.7"_s, u"desk.example"_s);
        QVERIFY(world.start());
        world.host.keepSilent();
        // A rebuild is under way when the menu opens, and over before the opening's turn comes.
        world.session.post(u"Preferences Changed"_s, u"com.corvane.preference.Quillfen"_s);
        QTRY_VERIFY(world.host.isAskedFor(u"192.0.2.7"_s));
        const auto opening = world.panel().menu();
        world.panel().open([] {});
        world.host.speakAgain();
        world.host.giveUp();
        QVERIFY(world.rests());
        QCOMPARE(opening->items().front().title, u"desk.example"_s);
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

    void showsTheExternalAddressWhereThatIsWanted_data()
    {
        struct Row {
            const char *name;
            QJsonValue include;
            QByteArray answer{}; ///< Empty: nobody answers.
            QString dnsName{}; ///< Of the answer; empty: it has none.
            QStringList titles; ///< Of the second and the third row.
            QString line{}; ///< Empty: none is logged.
        };
        const QString off = u"Include external IP is off"_s;
        const QString noName = u"External DNS name unavailable"_s;
        const Row rows[] = {
            {.name = "off", .include = false, .titles = {off, noName}},
            {.name = "absent", .include = QJsonValue::Undefined, .titles = {off, noName}},
            {.name = "a number", .include = 1, .titles = {off, noName}},
            {.name = "a text", .include = u"YES"_s, .titles = {off, noName}},
            {.name = "on, with a name",
             .include = true,
             .answer = "203.0.113.7",
             .dnsName = u"door.example"_s,
             .titles = {u"203.0.113.7"_s, u"door.example"_s},
             .line = u"External IP address:203.0.113.7 (door.example)"_s},
            {.name = "on, without a name",
             .include = true,
             .answer = "203.0.113.7",
             .titles = {u"203.0.113.7"_s, noName},
             .line = u"External IP address:203.0.113.7 (no name)"_s},
            {.name = "on, and nobody answers",
             .include = true,
             .titles = {u"-.-.-.-"_s, noName},
             .line = u"External IP address:-.-.-.- (no name)"_s},
        };
        QTest::addColumn<QJsonValue>("include");
        QTest::addColumn<QByteArray>("answer");
        QTest::addColumn<QString>("dnsName");
        QTest::addColumn<QStringList>("titles");
        QTest::addColumn<QString>("line");
        for (const Row &row : rows)
            QTest::newRow(row.name)
                << row.include << row.answer << row.dnsName << row.titles << row.line;
    }
    void showsTheExternalAddressWhereThatIsWanted()
    {
        QFETCH(QJsonValue, include);
        QFETCH(QByteArray, answer);
        QFETCH(QString, dnsName);
        QFETCH(QString, line);
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        if (!include.isUndefined())
            world.preferences.disk().values[u"IncludeExternalIP"_s] = include;
        if (!answer.isEmpty())
            world.service.answers(page(answer));
        if (!dnsName.isEmpty())
            world.host.hasName(QString::fromLatin1(answer), dnsName);
        QVERIFY(world.start());
        world.takeLog();
        QTEST(openedTitles(world).sliced(1), "titles");
        const QStringList lines = world.takeLog();
        QCOMPARE(lines.filter(u"External IP address:"_s),
                 line.isEmpty() ? QStringList() : QStringList{line});
        if (!line.isEmpty())
            QVERIFY(lines.indexOf(line) < lines.indexOf(u"Checking internal IP"_s));
    }

    void opensWhileTheServiceIsSilent()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        world.preferences.disk().values[u"IncludeExternalIP"_s] = true;
        QVERIFY(world.start());
        world.service.keepsSilent();
        int opened = 0;
        world.panel().open([&opened] { ++opened; });
        world.panel().open([&opened] { ++opened; });
        QVERIFY(world.turns().busy());
        QVERIFY(world.panel().choose(u"Copy IP Address"_s));
        QCOMPARE(world.pasteboard.take(), u"192.0.2.7"_s);
        world.service.refuses();
        world.service.giveUp();
        QVERIFY(world.rests());
        QCOMPARE(opened, 2);
        QCOMPARE(world.panel().rows().value(1), u"-.-.-.-"_s);
    }

    void copiesTheTitleInThePanel_data()
    {
        QTest::addColumn<bool>("iconOnly");
        QTest::addColumn<QString>("copied");
        QTest::newRow("text") << false << u"192.0.2.7:desk"_s;
        QTest::newRow("an icon alone") << true << u""_s;
    }
    void copiesTheTitleInThePanel()
    {
        QFETCH(bool, iconOnly);
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        world.host.setMachineName(u"desk"_s);
        world.preferences.disk().values[u"IncludeMachineName"_s] = true;
        world.preferences.disk().values[u"TitleIconOnly"_s] = iconOnly;
        QVERIFY(world.start());
        QVERIFY(world.panel().choose(u"Copy IP Address"_s));
        QTEST(world.pasteboard.take().value_or(u"nothing"_s), "copied");
    }

    void copiesNamesFromTheFreshMenu()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        world.host.hasName(u"192.0.2.7"_s, u"desk.example"_s);
        world.host.hasName(u"203.0.113.7"_s, u"door.example"_s);
        world.preferences.disk().values[u"IncludeExternalIP"_s] = true;
        world.service.answers(page("203.0.113.7"));
        QVERIFY(world.start());
        QCOMPARE(openedTitles(world),
                 QStringList({u"desk.example"_s, u"203.0.113.7"_s, u"door.example"_s}));
        for (const QString &row : {u"desk.example"_s, u"Copy DNS Name"_s}) {
            QVERIFY(world.panel().choose(row));
            QCOMPARE(world.pasteboard.take(), u"DNS name unavailable"_s);
        }
        for (const QString &row : {u"door.example"_s, u"Copy External DNS Name"_s}) {
            QVERIFY(world.panel().choose(row));
            QCOMPARE(world.pasteboard.take(), u"External DNS name unavailable"_s);
        }
        // A refresh that builds no menu names the fresh one.
        world.network.plugIn(u"eth1", u"198.51.100.4");
        QVERIFY(world.rests());
        QVERIFY(world.panel().choose(u"Copy DNS Name"_s));
        QCOMPARE(world.pasteboard.take(), u"desk.example"_s);
    }

    void copiesTheExternalAddress_data()
    {
        QTest::addColumn<QString>("row");
        QTest::addColumn<bool>("answers");
        QTest::addColumn<QString>("copied");
        QTest::newRow("by its command")
            << u"Copy External IP Address"_s << true << u"203.0.113.7"_s;
        QTest::newRow("by the row that shows it")
            << u"Include external IP is off"_s << true << u"203.0.113.7"_s;
        QTest::newRow("offline") << u"Copy External IP Address"_s << false << u"-.-.-.-"_s;
    }
    void copiesTheExternalAddress()
    {
        QFETCH(QString, row);
        QFETCH(bool, answers);
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        if (answers)
            world.service.answers(page("203.0.113.7"));
        QVERIFY(world.start());
        openedTitles(world);
        QVERIFY(world.panel().choose(row));
        QVERIFY(world.rests());
        QTEST(world.pasteboard.take().value_or(u"nothing"_s), "copied");
    }

    void copiesTheExternalAddressInItsTurn()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        QVERIFY(world.start());
        world.service.keepsSilent();
        QVERIFY(world.panel().choose(u"Copy External IP Address"_s));
        QVERIFY(world.turns().busy());
        QCOMPARE(world.pasteboard.take(), std::nullopt);
        world.service.answers(page("203.0.113.7"));
        world.service.giveUp(); // the first attempt; the second one is answered
        QVERIFY(world.rests());
        QCOMPARE(world.pasteboard.take(), u"203.0.113.7"_s);
    }

    void copiesTheChosenAddressAsTheListIsNow()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s, u"192.0.2.8"_s});
        QVERIFY(world.start());
        openedTitles(world);
        QVERIFY(world.panel().choose(u"192.0.2.8"_s));
        QCOMPARE(world.pasteboard.take(), u"192.0.2.8"_s);

        world.network.setAddresses(u"eth0", {u"192.0.2.9"_s});
        QVERIFY(world.rests());
        QVERIFY(world.panel().choose(u"192.0.2.7"_s));
        QCOMPARE(world.pasteboard.take(), u"192.0.2.9"_s);
        QVERIFY(world.panel().choose(u"192.0.2.8"_s));
        QCOMPARE(world.pasteboard.take(), std::nullopt);
    }

    void copiesNothingForATagThatIsNone()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        QVERIFY(world.start());
        for (const int tag : {-1, 1}) {
            world.controller().selItemCopySelectedAddress({.title = u"192.0.2.7"_s, .tag = tag});
            QCOMPARE(world.pasteboard.take(), std::nullopt);
        }
    }

    void opensPagesLogAndAboutPanel()
    {
        world::World world;
        QVERIFY(world.start());
        QVERIFY(world.panel().choose(u"View in Corvane Website..."_s));
        QVERIFY(world.panel().choose(u"View in Mac App Store..."_s));
        QCOMPARE(world.workspace.pages(),
                 QStringList({u"http://www.corvane.com/quillfen/"_s,
                              u"https://store.corvane.com/quillfen/"_s}));
        QVERIFY(world.panel().choose(u"Console Log..."_s));
        QCOMPARE(world.workspace.open(), QStringList{world.logPath()});
        QVERIFY(world.panel().choose(u"About Quillfen"_s));
        QVERIFY(world.aboutPanel.isInFront());
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
