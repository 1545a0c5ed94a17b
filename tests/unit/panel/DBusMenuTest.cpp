// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Menu.h"
#include "platform/linux/panel/BusTypes.h"
#include "platform/linux/panel/StatusNotifierBar.h"
#include "unit/desktop/PrivateBus.h"
#include "unit/panel/PanelHost.h"
#include "world/FakeConsole.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTest>

#include <limits>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// Brings menus up to date when it is told to, and notes what was chosen.
class Delegate : public MenuDelegate {
public:
    bool validateMenuItem(const MenuItem &item) const override { return !item.action.empty(); }
    void menuNeedsUpdate(std::shared_ptr<Menu> menu, std::function<void()> done) override
    {
        ++openings;
        lastOpened = menu;
        if (onOpening)
            onOpening(*menu);
        if (answersAtOnce)
            done();
        else
            pending.push_back(std::move(done));
    }
    void sendAction(const MenuItem &item) override
    {
        chosen.append(item.title);
        tokens.append(qEnvironmentVariable("XDG_ACTIVATION_TOKEN"));
        if (showsWindow) // as Qt does when a window asks for the front
            qunsetenv("XDG_ACTIVATION_TOKEN");
    }

    int openings = 0;
    std::shared_ptr<Menu> lastOpened;
    bool answersAtOnce = true;
    std::function<void(Menu &)> onOpening;
    std::vector<std::function<void()>> pending;
    QStringList chosen;
    QStringList tokens; ///< For each that was chosen: the token in the environment.
    bool showsWindow = false; ///< What is chosen brings one to the front.
};

std::vector<MenuItem> someRows()
{
    return {{.title = u"DNS name unavailable"_s, .action = "copyName", .toolTip = u"Copy it"_s},
            {.title = {}, .separator = true},
            {.title = u"All local Addresses:"_s},
            {.title = u"192.0.2.7"_s, .action = "copyAddress"},
            {.title = u"Quit"_s, .action = "quit"}};
}

struct Layout {
    uint revision = 0;
    QList<int> ids{};
    QStringList labels{};
};

} // namespace

/// The menu on a session bus, as a panel sees it.
class DBusMenuTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().toLatin1()); }
    void init()
    {
        m_host.emplace(m_bus.connection());
        m_host->appear();
        m_delegate.emplace();
        m_item = StatusNotifierBar(m_console).statusItemWithLength(kVariableStatusItemLength);
        m_item->setTitle(u"192.0.2.7"_s);
        install(someRows());
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        m_host->catchUp();
        m_host->takeSignals();
    }
    void cleanup()
    {
        m_item.reset();
        m_host.reset();
        m_menu.reset();
        QCoreApplication::processEvents();
    }

    void showsTheInstalledMenuWithEveryProperty()
    {
        const QDBusMessage answer = call(u"GetLayout"_s, {0, -1, QStringList()});
        QCOMPARE(answer.signature(), u"u(ia{sv}av)"_s);
        const auto root = qdbus_cast<MenuNode>(answer.arguments()[1]);
        QCOMPARE(root.id, 0);
        QCOMPARE(root.properties, (QVariantMap{{u"children-display"_s, u"submenu"_s}}));
        QCOMPARE(root.children.size(), 5);
        QCOMPARE(root.children[0].properties,
                 (QVariantMap{{u"type"_s, u"standard"_s},
                              {u"label"_s, u"DNS name unavailable"_s},
                              {u"enabled"_s, true},
                              {u"visible"_s, true},
                              {u"accessible-desc"_s, u"Copy it"_s},
                              {u"x-tooltip"_s, u"Copy it"_s}}));
        QCOMPARE(root.children[1].properties[u"type"_s], u"separator"_s);
        QCOMPARE(root.children[2].properties[u"enabled"_s], QVariant(false));
    }

    void goesAsDeepAsItIsAsked()
    {
        const auto children = [this](int parent, int depth) {
            const QDBusMessage answer =
                call(u"GetLayout"_s, {parent, depth, QStringList{u"type"_s}});
            return qdbus_cast<MenuNode>(answer.arguments().value(1)).children.size();
        };
        QCOMPARE(children(0, 0), 0);
        QCOMPARE(children(0, 1), 5);
        QCOMPARE(children(0, std::numeric_limits<int>::max()), 5);
        QCOMPARE(children(0, std::numeric_limits<int>::min()), 5);
        QCOMPARE(children(layout().ids[0], -1), 0);
    }

    void givesOnlyThePropertiesAskedFor()
    {
        const int id = layout().ids[0];
        const auto asked = qdbus_cast<QList<MenuProperties>>(
            call(u"GetGroupProperties"_s, {ids({id, id, 4711}), QStringList{u"label"_s}})
                .arguments()[0]);
        QCOMPARE(asked.size(), 1);
        QCOMPARE(asked[0].id, id);
        QCOMPARE(asked[0].properties, (QVariantMap{{u"label"_s, u"DNS name unavailable"_s}}));
        const auto all = qdbus_cast<QList<MenuProperties>>(
            call(u"GetGroupProperties"_s, {ids({}), QStringList()}).arguments()[0]);
        QCOMPARE(all.size(), 6); // the root too
        const QDBusMessage one = call(u"GetProperty"_s, {id, u"enabled"_s});
        QCOMPARE(qvariant_cast<QDBusVariant>(one.arguments()[0]).variant(), QVariant(true));
    }

    void refusesWhatIsNotThere_data()
    {
        struct Row {
            const char *name;
            QString method;
            QVariantList arguments;
        };
        const QVariant data = QVariant::fromValue(QDBusVariant(0));
        const Row rows[] = {
            {.name = "layout", .method = u"GetLayout"_s, .arguments = {4711, -1, QStringList()}},
            {.name = "negative id", .method = u"GetLayout"_s, .arguments = {-1, -1, QStringList()}},
            {.name = "property of no row",
             .method = u"GetProperty"_s,
             .arguments = {4711, u"label"_s}},
            {.name = "property of no name",
             .method = u"GetProperty"_s,
             .arguments = {0, u"colour"_s}},
            {.name = "event", .method = u"Event"_s, .arguments = {4711, u"clicked"_s, data, 0u}},
            {.name = "about to show", .method = u"AboutToShow"_s, .arguments = {4711}},
            {.name = "wrong types",
             .method = u"GetLayout"_s,
             .arguments = {u"0"_s, -1, QStringList()}},
            {.name = "an event without its data",
             .method = u"Event"_s,
             .arguments = {0, u"clicked"_s, 0, 0u}},
            {.name = "events that are numbers", .method = u"EventGroup"_s, .arguments = {ids({1})}},
            {.name = "nothing at all", .method = u"AboutToShowGroup"_s, .arguments = {}},
            {.name = "no such method", .method = u"Explode"_s, .arguments = {}},
        };
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantList>("arguments");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.method << row.arguments;
    }
    void refusesWhatIsNotThere()
    {
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);
        const QDBusMessage answer = call(method, arguments);
        QCOMPARE(answer.type(), QDBusMessage::ErrorMessage);
        QVERIFY2(answer.errorName() != u"org.freedesktop.DBus.Error.NoReply"_s,
                 qPrintable(answer.errorName()));
        QCOMPARE(layout().ids.size(), 5);
    }

    void tellsOfATitleInPlace()
    {
        const Layout before = layout();
        m_menu->setTitle(0, u"x"_s);
        m_menu->setTitle(0, u"host_1.example"_s);
        m_menu->setTitle(3, u"elsewhere"_s);
        m_menu->setTitle(3, u"192.0.2.7"_s);
        QTRY_COMPARE(m_host->signalNames(), QStringList{u"ItemsPropertiesUpdated"_s});
        const QVariantList told = m_host->takeSignals()[0].arguments;
        const auto updated = qdbus_cast<QList<MenuProperties>>(told[0]);
        QCOMPARE(updated.size(), 1);
        QCOMPARE(updated[0].id, before.ids[0]);
        QCOMPARE(updated[0].properties, (QVariantMap{{u"label"_s, u"host__1.example"_s}}));
        QCOMPARE(qdbus_cast<QList<MenuRemovedProperties>>(told[1]).size(), 0);
        QCOMPARE(layout().revision, before.revision);
    }

    void aPanelThatNeverAnnouncesGetsEachMenuAtOnce()
    {
        const Layout before = layout();
        std::vector<MenuItem> rows = someRows();
        rows[0].toolTip.clear();
        rows.insert(rows.begin() + 4, {.title = u"192.0.2.8"_s, .action = "copyAddress", .tag = 1});
        install(rows);
        QTRY_COMPARE(m_host->signalNames(),
                     (QStringList{u"LayoutUpdated"_s, u"ItemsPropertiesUpdated"_s}));
        const auto heard = m_host->takeSignals();
        QCOMPARE(heard[0].arguments, (QVariantList{before.revision + 1, 0}));
        const auto removed = qdbus_cast<QList<MenuRemovedProperties>>(heard[1].arguments[1]);
        QCOMPARE(removed.size(), 1);
        QCOMPARE(removed[0].names, (QStringList{u"accessible-desc"_s, u"x-tooltip"_s}));
        const Layout after = layout();
        QCOMPARE(after.revision, before.revision + 1);
        QCOMPARE(after.ids.first(4), before.ids.first(4));
        QCOMPARE(after.ids.last(), before.ids.last());
        QVERIFY(!before.ids.contains(after.ids[4]));
    }

    void anOpeningBringsTheInstalledMenuUpToDate()
    {
        const auto opened = m_menu;
        m_delegate->onOpening = [this](Menu &menu) {
            menu.setTitle(0, u"host.example"_s);
            std::vector<MenuItem> next = someRows();
            next.pop_back();
            install(next); // for the next opening
        };
        QCOMPARE(call(u"AboutToShow"_s, {0}).arguments(), QVariantList{false});
        QCOMPARE(m_delegate->lastOpened.get(), opened.get());
        QTRY_COMPARE(m_host->signalNames(), QStringList{u"ItemsPropertiesUpdated"_s});
        QCOMPARE(layout().labels.first(), u"host.example"_s);
        QCOMPARE(layout().ids.size(), 5);

        m_delegate->onOpening = {};
        QCOMPARE(call(u"AboutToShow"_s, {0}).arguments(), QVariantList{true});
        QCOMPARE(layout().ids.size(), 4);
        QCOMPARE(layout().labels.first(), u"DNS name unavailable"_s);
        QCOMPARE(m_delegate->openings, 2);
    }

    void askingAndTellingAreOneOpening_data()
    {
        QTest::addColumn<bool>("tellsFirst");
        QTest::addColumn<bool>("answersAtOnce");
        for (bool tellsFirst : {true, false})
            for (bool answersAtOnce : {true, false})
                QTest::addRow("%s, %s", tellsFirst ? "opened first" : "asked first",
                              answersAtOnce ? "at once" : "later")
                    << tellsFirst << answersAtOnce;
    }
    void askingAndTellingAreOneOpening()
    {
        QFETCH(bool, tellsFirst);
        QFETCH(bool, answersAtOnce);
        m_delegate->answersAtOnce = answersAtOnce;
        const auto open = [this, tellsFirst] {
            if (tellsFirst)
                QCOMPARE(event(0, u"opened"_s).type(), QDBusMessage::ReplyMessage);
            QCOMPARE(call(u"AboutToShow"_s, {0}).arguments(), QVariantList{false});
            if (!tellsFirst)
                QCOMPARE(event(0, u"opened"_s).type(), QDBusMessage::ReplyMessage);
        };
        open();
        QCOMPARE(m_delegate->openings, 1);
        event(0, u"closed"_s);
        open();
        QCOMPARE(m_delegate->openings, 2);
    }

    void aGroupOpensTheMenuToo()
    {
        const int row = layout().ids[0];
        const QDBusMessage answer = call(u"AboutToShowGroup"_s, {ids({0, row, 4711})});
        QCOMPARE(answer.signature(), u"aiai"_s);
        QCOMPARE(qdbus_cast<QList<int>>(answer.arguments()[0]), QList<int>());
        QCOMPARE(qdbus_cast<QList<int>>(answer.arguments()[1]), QList<int>{4711});
        QCOMPARE(m_delegate->openings, 1);
        call(u"AboutToShowGroup"_s, {ids({row})});
        call(u"AboutToShow"_s, {row});
        QCOMPARE(m_delegate->openings, 1);
    }

    void answersBeforeAHostLosesPatience()
    {
        m_delegate->answersAtOnce = false;
        QElapsedTimer since;
        since.start();
        const QDBusPendingCall first =
            m_host->send(menuPath(), PanelHost::menuInterface(), u"AboutToShow"_s, {0});
        const QDBusPendingCall second =
            m_host->send(menuPath(), PanelHost::menuInterface(), u"AboutToShow"_s, {0});
        PanelHost::await(first);
        PanelHost::await(second);
        const qint64 waited = since.elapsed();
        QVERIFY2(waited >= 100 && waited <= 150, qPrintable(QString::number(waited)));
        QCOMPARE(m_delegate->openings, 1);

        // What the work finds out later reaches the open menu, whose rows stay.
        const auto opened = m_menu;
        install({{.title = u"Quit"_s, .action = "quit"}});
        opened->setTitle(0, u"late.example"_s);
        QTRY_COMPARE(m_host->signalNames(), QStringList{u"ItemsPropertiesUpdated"_s});
        QCOMPARE(layout().labels.first(), u"late.example"_s);
        m_delegate->pending.front()();
        QCOMPARE(layout().ids.size(), 5);
    }

    void answersAsSoonAsTheTitlesAreThere()
    {
        m_delegate->answersAtOnce = false;
        QElapsedTimer since;
        since.start();
        const QDBusPendingCall asked =
            m_host->send(menuPath(), PanelHost::menuInterface(), u"AboutToShow"_s, {0});
        QTRY_COMPARE(m_delegate->pending.size(), std::size_t(1));
        m_delegate->pending.front()();
        PanelHost::await(asked);
        QVERIFY2(since.elapsed() < 100, qPrintable(QString::number(since.elapsed())));
    }

    void workThatOutlivesItsItemDoesNoHarm()
    {
        m_delegate->answersAtOnce = false;
        m_host->send(menuPath(), PanelHost::menuInterface(), u"AboutToShow"_s, {0});
        QTRY_COMPARE(m_delegate->pending.size(), std::size_t(1));
        m_item.reset();
        m_menu.reset();
        m_delegate->lastOpened->setTitle(0, u"host.example"_s); // the work holds its menu
        m_delegate->pending.front()();
    }

    void aClickIsACommandAfterTheAnswer()
    {
        const QList<int> rows = layout().ids;
        QCOMPARE(event(rows[3], u"clicked"_s).type(), QDBusMessage::ReplyMessage);
        QTRY_COMPARE(m_delegate->chosen, QStringList{u"192.0.2.7"_s});
        for (int id : {0, rows[1], rows[2]}) // root, separator and heading cannot be chosen
            QCOMPARE(event(id, u"clicked"_s).type(), QDBusMessage::ReplyMessage);
        for (const QString &type : {u"hovered"_s, u"x-unknown"_s, QString()})
            QCOMPARE(event(rows[3], type).type(), QDBusMessage::ReplyMessage);
        event(0, u"closed"_s);
        event(rows[4], u"clicked"_s); // Plasma's order
        QTRY_COMPARE(m_delegate->chosen, (QStringList{u"192.0.2.7"_s, u"Quit"_s}));
    }

    void aPanelsActivationTokenIsGoodForOneRow()
    {
        const QList<int> rows = layout().ids;
        m_host->send({}, PanelHost::itemInterface(), u"ProvideXdgActivationToken"_s, {u"leave"_s});
        for (int click = 0; click < 2; ++click)
            event(rows[3], u"clicked"_s);
        QTRY_COMPARE(m_delegate->tokens, (QStringList{u"leave"_s, QString()}));
        for (const QString &token :
             {u"two words"_s, u"a\nline"_s, QString(u"\u00e4"_s), QString(5000, u'x')}) {
            m_host->send({}, PanelHost::itemInterface(), u"ProvideXdgActivationToken"_s, {token});
            event(rows[3], u"clicked"_s);
        }
        QTRY_COMPARE(m_delegate->chosen.size(), 6);
        QCOMPARE(m_delegate->tokens.mid(2), QStringList(4));
    }

    void aPanelLearnsWhatBecameOfItsToken_data()
    {
        QTest::addColumn<bool>("chooses");
        QTest::addColumn<bool>("showsWindow");
        QTest::addColumn<QDBusMessage::MessageType>("answer");
        QTest::newRow("a window") << true << true << QDBusMessage::ReplyMessage;
        QTest::newRow("no window") << true << false << QDBusMessage::ErrorMessage;
        QTest::newRow("nothing chosen") << false << false << QDBusMessage::ReplyMessage;
    }
    void aPanelLearnsWhatBecameOfItsToken()
    {
        QFETCH(bool, chooses);
        QFETCH(QDBusMessage::MessageType, answer);
        QFETCH(bool, showsWindow);
        m_delegate->showsWindow = showsWindow;
        const int row = layout().ids[3];
        const QDBusPendingCall given = m_host->send({}, PanelHost::itemInterface(),
                                                    u"ProvideXdgActivationToken"_s, {u"leave"_s});
        if (chooses)
            event(row, u"clicked"_s);
        QTRY_VERIFY(given.isFinished());
        QCOMPARE(given.reply().type(), answer);
    }

    void aGroupOfEventsTellsTheUnknownIds()
    {
        const QList<int> rows = layout().ids;
        QList<MenuEvent> events;
        for (int i = 0; i < 2000; ++i)
            events.append({.id = rows[3], .type = u"clicked"_s, .data = QDBusVariant(u""_s)});
        events.append({.id = 4711, .type = u"clicked"_s, .data = QDBusVariant(0)});
        const QDBusMessage answer = call(u"EventGroup"_s, {QVariant::fromValue(events)});
        QCOMPARE(qdbus_cast<QList<int>>(answer.arguments()[0]), QList<int>{4711});
        QTRY_COMPARE(m_delegate->chosen.size(), 2000);
    }

    void tenThousandRowsAreQuick()
    {
        std::vector<MenuItem> rows = someRows();
        for (int i = 1; i < 10'000; ++i)
            rows.push_back({.title = u"10.0.%1.%2"_s.arg(i / 256).arg(i % 256),
                            .action = "copyAddress",
                            .toolTip = u"Copy addres %1 to the clipboard"_s.arg(i),
                            .tag = i});
        QElapsedTimer since;
        since.start();
        install(rows);
        QVERIFY2(since.elapsed() < 500, qPrintable(QString::number(since.elapsed())));
        since.restart();
        QCOMPARE(layout().ids.size(), 10'004);
        QVERIFY2(since.elapsed() < 3000, qPrintable(QString::number(since.elapsed())));
        install(someRows());
        QCOMPARE(layout().ids.size(), 5);
    }

    void isNeverEmpty()
    {
        install({});
        QCOMPARE(layout().labels, QStringList{u"Quillfen"_s});
        m_item->setMenu(nullptr);
        QCOMPARE(layout().labels, QStringList{u"Quillfen"_s});
        QCOMPARE(call(u"AboutToShow"_s, {0}).type(), QDBusMessage::ReplyMessage);
        QCOMPARE(event(layout().ids[0], u"clicked"_s).type(), QDBusMessage::ReplyMessage);
    }

    void anotherPanelIsNotBlamedForTheHabitsOfTheOneBefore()
    {
        call(u"AboutToShow"_s, {0});
        install({{.title = u"Quit"_s, .action = "quit"}});
        QCOMPARE(layout().ids.size(), 5);
        m_host->disappear();
        m_host->appear();
        QTRY_COMPARE(m_host->items().size(), std::size_t(2));
        QCOMPARE(layout().ids.size(), 1);
    }

    void theMenusOwnPropertiesAreThere()
    {
        const QDBusMessage answer = m_host->call(menuPath(), u"org.freedesktop.DBus.Properties"_s,
                                                 u"GetAll"_s, {PanelHost::menuInterface()});
        const auto all = qdbus_cast<QVariantMap>(answer.arguments()[0]);
        QCOMPARE(all[u"Version"_s], QVariant(3u));
        QCOMPARE(all[u"TextDirection"_s], u"ltr"_s);
        QCOMPARE(all[u"Status"_s], u"normal"_s);
        QCOMPARE(all[u"IconThemePath"_s].toStringList(), QStringList());
    }

private:
    void install(std::vector<MenuItem> rows)
    {
        m_menu = std::make_shared<Menu>(*m_delegate, std::move(rows));
        m_item->setMenu(m_menu);
    }
    QString menuPath() const { return m_host->items().back().path + u"/Menu"_s; }
    QDBusMessage call(const QString &method, const QVariantList &arguments) const
    {
        return m_host->call(menuPath(), PanelHost::menuInterface(), method, arguments);
    }
    QDBusMessage event(int id, const QString &type) const
    {
        return call(u"Event"_s, {id, type, QVariant::fromValue(QDBusVariant(u""_s)), 0u});
    }
    static QVariant ids(const QList<int> &list) { return QVariant::fromValue(list); }
    Layout layout() const
    {
        const QDBusMessage answer = call(u"GetLayout"_s, {0, -1, QStringList()});
        Layout found{.revision = answer.arguments().value(0).toUInt()};
        for (const MenuNode &row : qdbus_cast<MenuNode>(answer.arguments().value(1)).children) {
            found.ids.append(row.id);
            found.labels.append(row.properties[u"label"_s].toString());
        }
        return found;
    }

    PrivateBus m_bus;
    world::FakeConsole m_console;
    std::optional<PanelHost> m_host;
    std::optional<Delegate> m_delegate;
    std::shared_ptr<Menu> m_menu;
    std::unique_ptr<StatusItem> m_item;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::DBusMenuTest)
#include "DBusMenuTest.moc"
