// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Menu.h"
#include "platform/linux/panel/BusTypes.h"
#include "platform/linux/panel/StatusNotifierBar.h"
#include "unit/desktop/PrivateBus.h"
#include "unit/panel/PanelHost.h"
#include "world/FakeConsole.h"

#include <QDBusConnectionInterface>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QObject>
#include <QTest>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// Has a bus that hangs go on in the end, so that a test that stands still fails and goes on, too.
class ResumeAfter {
public:
    static constexpr int kMilliseconds = 20'000;

    explicit ResumeAfter(PrivateBus &bus)
        : m_thread([this, &bus] {
              std::unique_lock lock(m_mutex);
              if (!m_ended.wait_for(lock, std::chrono::milliseconds(kMilliseconds),
                                    [this] { return m_end; }))
                  bus.resume();
          })
    { }
    ~ResumeAfter()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_end = true;
        }
        m_ended.notify_all();
        m_thread.join();
    }
    ResumeAfter(const ResumeAfter &) = delete;
    ResumeAfter &operator=(const ResumeAfter &) = delete;

private:
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_end = false;
    std::thread m_thread;
};

/// The labels that a panel hears and reads, in the order in which it gets to know of them.
class LabelReader : public QObject {
    Q_OBJECT

public:
    /// Of the item @p item, on the bus @p bus.
    LabelReader(const QDBusConnection &bus, PanelHost::Item item)
        : m_bus(bus),
          m_item(std::move(item))
    {
        m_bus.connect(m_item.service, m_item.path, PanelHost::itemInterface(),
                      u"XAyatanaNewLabel"_s, this, SLOT(hear(QDBusMessage)));
    }
    /// Asks for all properties and does not wait.
    void ask()
    {
        QDBusMessage call = QDBusMessage::createMethodCall(
            m_item.service, m_item.path, u"org.freedesktop.DBus.Properties"_s, u"GetAll"_s);
        call << PanelHost::itemInterface();
        m_bus.callWithCallback(call, this, SLOT(read(QDBusMessage)), SLOT(fail()));
        ++m_open;
    }
    /// How many questions have no answer yet.
    int open() const { return m_open; }
    const QStringList &labels() const { return m_labels; }

public Q_SLOTS:
    void hear(const QDBusMessage &signal) { m_labels += signal.arguments().value(0).toString(); }
    void read(const QDBusMessage &answer)
    {
        --m_open;
        m_labels += qdbus_cast<QVariantMap>(answer.arguments().value(0))
                        .value(u"XAyatanaLabel"_s)
                        .toString();
    }
    void fail() { m_labels += u"no answer"_s; }

private:
    QDBusConnection m_bus;
    PanelHost::Item m_item;
    int m_open = 0;
    QStringList m_labels;
};

} // namespace

/// The item on a session bus, as a panel sees it.
class StatusNotifierItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().toLatin1());
        m_host.emplace(m_bus.connection());
    }
    void cleanup()
    {
        m_item.reset();
        m_host.reset();
        m_console.takeLines();
    }

    void registersByPathWithAllThatAPanelAsksFor()
    {
        m_host->appear();
        makeItem();
        m_item->setTitle(u"192.0.2.7:attic"_s);
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        QCOMPARE(m_host->items()[0].path, u"/org/ayatana/NotificationItem/quillfen"_s);
        const QVariantMap all = m_host->readAll();
        QCOMPARE(all[u"Category"_s], u"SystemServices"_s);
        QCOMPARE(all[u"Id"_s], u"quillfen"_s);
        QCOMPARE(all[u"Title"_s], u"Quillfen"_s);
        QCOMPARE(all[u"Status"_s], u"Active"_s);
        QCOMPARE(all[u"WindowId"_s], QVariant(0));
        QCOMPARE(all[u"ItemIsMenu"_s], QVariant(true));
        QCOMPARE(qvariant_cast<QDBusObjectPath>(all[u"Menu"_s]).path(),
                 u"/org/ayatana/NotificationItem/quillfen/Menu"_s);
        QCOMPARE(all[u"XAyatanaLabel"_s], u"192.0.2.7:attic"_s);
        QCOMPARE(all[u"XAyatanaLabelGuide"_s], u"255.255.255.255:attic"_s);
        QCOMPARE(all[u"IconName"_s], u"com.corvane.Quillfen-symbolic"_s);
        QCOMPARE(qdbus_cast<ToolTip>(all[u"ToolTip"_s]).title, u"192.0.2.7:attic"_s);
        const auto pixmaps = qdbus_cast<QList<Pixmap>>(all[u"IconPixmap"_s]);
        QCOMPARE(pixmaps.size(), 7);
        QCOMPARE(pixmaps[6].width, 96);
        QCOMPARE(pixmaps[6].pixels.size(), 4 * 96 * 96);
        QVERIFY(m_console.lines().isEmpty());
    }

    void introspectionIsWhatPanelsExpect()
    {
        m_host->appear();
        makeItem();
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        const QString xml =
            m_host->call({}, u"org.freedesktop.DBus.Introspectable"_s, u"Introspect"_s, {})
                .arguments()
                .value(0)
                .toString();
        QVERIFY(xml.contains(u"<interface name=\"org.kde.StatusNotifierItem\">"_s));
        QVERIFY(
            xml.contains(u"<property name=\"IconPixmap\" type=\"a(iiay)\" access=\"read\"/>"_s));
        QVERIFY(xml.contains(u"<node name=\"Menu\"/>"_s));
        QVERIFY(!xml.contains(u"<method name=\"Activate\""_s)); // a left click opens the menu
    }

    void theLabelIsAbsentWhileThereIsNone()
    {
        m_host->appear();
        makeItem();
        m_item->setImage(u"QuillfenSmall.tif"_s);
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        QVERIFY(!m_host->readAll().contains(u"XAyatanaLabel"_s));
        QCOMPARE(m_host->read(u"XAyatanaLabel"_s).type(), QDBusMessage::ErrorMessage);
        QCOMPARE(m_host->readAll()[u"IconName"_s], u"quillfen-small-symbolic"_s);

        m_item->setTitle(u"192.0.2.7"_s);
        QTRY_VERIFY(m_host->signalNames().contains(u"XAyatanaNewLabel"_s));
        QCOMPARE(m_host->readAll()[u"XAyatanaLabel"_s], u"192.0.2.7"_s);
    }

    void itComesBackAsAnotherItemWhenItsLabelGoes()
    {
        m_host->appear();
        makeItem();
        m_item->setTitle(u"-.-.-.-"_s);
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        const QString former = m_host->items()[0].service;
        m_item->setTitle({});
        m_item->setImage(u"QuillfenSmall.tif"_s);
        QTRY_COMPARE(m_host->items().size(), std::size_t(2));
        QVERIFY(m_host->items()[1].service != former);
        QVERIFY(!m_host->readAll().contains(u"XAyatanaLabel"_s));
        QTRY_VERIFY(!isOnTheBus(former));
    }

    void eachChangeIsToldOnceTheLabelFirst()
    {
        m_host->appear();
        makeItem();
        m_item->setTitle(u"192.0.2.7"_s);
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        m_host->catchUp();
        m_host->takeSignals();

        m_item->setImage(u"QuillfenChange.tif"_s);
        m_item->setTitle(u"198.51.100.1"_s);
        m_item->setTitle(u"192.0.2.8"_s);
        QTRY_COMPARE(m_host->signalNames(),
                     (QStringList{u"XAyatanaNewLabel"_s, u"NewIcon"_s, u"NewToolTip"_s}));
        QCOMPARE(m_host->takeSignals()[0].arguments,
                 (QVariantList{u"192.0.2.8"_s, u"255.255.255.255"_s}));

        m_item->setTitle(u"10.0.0.7:attic"_s);
        QTRY_COMPARE(m_host->signalNames(), (QStringList{u"XAyatanaNewLabel"_s, u"NewToolTip"_s}));
        QCOMPARE(m_host->takeSignals()[0].arguments,
                 (QVariantList{u"10.0.0.7:attic"_s, u"255.255.255.255:attic"_s}));
    }

    void whatIsWantedNowIsToldWithoutThePassThatGathers()
    {
        m_host->appear();
        makeItem();
        m_item->setTitle(u"192.0.2.7"_s);
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        m_host->catchUp();
        m_host->takeSignals();

        m_item->setTitle(u"192.0.2.8"_s);
        m_item->displayIfNeeded();
        m_item->displayIfNeeded();
        m_item->setTitle(u"192.0.2.9"_s);
        const QString label = u"XAyatanaNewLabel"_s;
        const QString tip = u"NewToolTip"_s;
        QTRY_COMPARE(m_host->signalNames(), (QStringList{label, tip, label, tip}));
    }

    void whatDoesNotDifferIsNotSent()
    {
        m_host->appear();
        makeItem();
        m_item->setTitle(u"192.0.2.7"_s);
        m_item->setImage(u"QuillfenChange.tif"_s);
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        m_host->catchUp();
        m_host->takeSignals();
        m_item->setTitle(u"192.0.2.7"_s);
        m_item->setImage(u"QuillfenChange.tif"_s);
        QCoreApplication::processEvents();
        m_item->setTitle(u"192.0.2.8"_s);
        m_item->setTitle(u"192.0.2.7"_s);
        m_item->setImage({});
        m_item->setImage(u"QuillfenChange.tif"_s);
        QCoreApplication::processEvents();
        m_host->catchUp();
        QCOMPARE(m_host->signalNames(), QStringList());
    }

    void noOlderLabelComesAfterANewerOne()
    {
        constexpr int kLabels = 2000;
        constexpr int kOpenAtMost = 5;
        const auto label = [](int number) {
            return u"10.0.0.1:%1"_s.arg(number, 4, 10, QLatin1Char('0'));
        };
        m_host->appear();
        makeItem();
        m_item->setTitle(label(0));
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        LabelReader reader(m_bus.connection(), m_host->items()[0]);
        for (int number = 1; number <= kLabels; ++number) {
            if (number % 3 != 0 && reader.open() < kOpenAtMost)
                reader.ask();
            QCoreApplication::processEvents();
            m_item->setTitle(label(number));
        }
        QTRY_COMPARE(reader.labels().value(reader.labels().size() - 1), label(kLabels));
        QTRY_COMPARE(reader.open(), 0);
        QCOMPARE(reader.labels().constLast(), label(kLabels));
        QStringList inOrder = reader.labels();
        inOrder.sort();
        QCOMPARE(reader.labels(), inOrder);
    }

    void waitsForAWatcherAndForEachOneAfterIt()
    {
        makeItem();
        m_item->setTitle(u"192.0.2.7"_s);
        QTRY_COMPARE(m_console.lines().size(), 1);
        m_host->appear();
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        m_host->disappear();
        m_host->appear();
        QTRY_COMPARE(m_host->items().size(), std::size_t(2));
        PanelHost other(m_bus.connection());
        m_host->disappear();
        other.appear();
        QTRY_COMPARE(other.items().size(), std::size_t(1));
        QCOMPARE(other.readAll()[u"XAyatanaLabel"_s], u"192.0.2.7"_s);
        QCOMPARE(m_console.lines().size(), 1);
    }

    void remembersEverythingWithoutABus()
    {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qputenv("XDG_RUNTIME_DIR", "/nonexistent");
        makeItem();
        m_item->setTitle(u"192.0.2.7"_s);
        m_item->setImage(u"QuillfenChange.tif"_s);
        QTRY_COMPARE(m_console.lines().size(), 1);
        QVERIFY2(m_console.lines()[0].contains(u"no session bus"_s),
                 qPrintable(m_console.lines()[0]));
        m_item->setTitle({});
        QCoreApplication::processEvents();
        QCOMPARE(m_item->title(), QString());
        QCOMPARE(m_item->image(), std::optional(u"QuillfenChange.tif"_s));
        QCOMPARE(m_console.lines().size(), 1);
    }

    void aTitleFromOutsideStaysSmallAndPlain()
    {
        m_host->appear();
        makeItem();
        const QString title = u"192.0.2.7:<b>\n\u202e&"_s + QString(900'000, u'x');
        m_item->setTitle(title);
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        const QVariantMap all = m_host->readAll();
        const QString label = all[u"XAyatanaLabel"_s].toString();
        QVERIFY(label.startsWith(u"192.0.2.7:<b> &xxx"_s));
        QVERIFY(label.size() <= 1000);
        const QString tip = qdbus_cast<ToolTip>(all[u"ToolTip"_s]).title;
        QVERIFY(tip.startsWith(u"192.0.2.7:＜b＞ ＆xxx"_s));
        QCOMPARE(m_item->title(), title);
    }

    void callsThatDoNotFitGetAnErrorEach_data()
    {
        struct Row {
            const char *name;
            QString interface;
            QString method;
            QVariantList arguments;
        };
        const QString properties = u"org.freedesktop.DBus.Properties"_s;
        const QString item = PanelHost::itemInterface();
        const Row rows[] = {
            {.name = "activate", .interface = item, .method = u"Activate"_s, .arguments = {1, 2}},
            {.name = "scroll by text",
             .interface = item,
             .method = u"Scroll"_s,
             .arguments = {u"x"_s, 1}},
            {.name = "too few arguments",
             .interface = item,
             .method = u"ContextMenu"_s,
             .arguments = {1}},
            {.name = "a property nobody has",
             .interface = properties,
             .method = u"Get"_s,
             .arguments = {item, u"Colour"_s}},
            {.name = "an interface nobody has",
             .interface = properties,
             .method = u"GetAll"_s,
             .arguments = {u"org.example.Elsewhere"_s}},
            {.name = "a property set",
             .interface = properties,
             .method = u"Set"_s,
             .arguments = {item, u"Title"_s, QVariant::fromValue(QDBusVariant(u"x"_s))}},
            {.name = "a get of numbers",
             .interface = properties,
             .method = u"Get"_s,
             .arguments = {1, 2}},
            {.name = "another interface",
             .interface = u"org.example.Elsewhere"_s,
             .method = u"Scroll"_s,
             .arguments = {1, u"vertical"_s}},
        };
        QTest::addColumn<QString>("interface");
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantList>("arguments");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.interface << row.method << row.arguments;
    }
    void callsThatDoNotFitGetAnErrorEach()
    {
        QFETCH(QString, interface);
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);
        m_host->appear();
        makeItem();
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        const QDBusMessage answer = m_host->call({}, interface, method, arguments);
        QCOMPARE(answer.type(), QDBusMessage::ErrorMessage);
        QVERIFY2(answer.errorName() != u"org.freedesktop.DBus.Error.NoReply"_s,
                 qPrintable(answer.errorName()));
        QCOMPARE(m_host->readAll()[u"Id"_s], u"quillfen"_s);
    }

    void otherClicksAndTheWheelAreAccepted()
    {
        m_host->appear();
        makeItem();
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        const QString item = PanelHost::itemInterface();
        const std::pair<QString, QVariantList> calls[] = {
            {u"ContextMenu"_s, {1, 2}},
            {u"SecondaryActivate"_s, {1, 2}},
            {u"XAyatanaSecondaryActivate"_s, {7u}},
            {u"Scroll"_s, {-1, u"vertical"_s}},
            {u"ProvideXdgActivationToken"_s, {u""_s}},
        };
        for (const auto &[method, arguments] : calls)
            QCOMPARE(m_host->call({}, item, method, arguments).type(), QDBusMessage::ReplyMessage);
    }

    void aBusThatHangsAtTheStartHoldsNothingUp()
    {
        m_host->appear(); // waits until the bus has it
        QElapsedTimer watch;
        watch.start();
        const ResumeAfter safety(m_bus);
        m_bus.hang();
        makeItem();
        m_item->setTitle(u"192.0.2.7"_s);
        QTRY_COMPARE(m_console.lines().size(), 1);
        QVERIFY(watch.elapsed() < ResumeAfter::kMilliseconds);
        QVERIFY2(m_console.lines()[0].contains(u"does not answer"_s),
                 qPrintable(m_console.lines()[0]));
        m_bus.resume();
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        QCOMPARE(m_host->readAll()[u"XAyatanaLabel"_s], u"192.0.2.7"_s);
        QCOMPARE(m_console.lines().size(), 1);
    }

    void aBusThatHangsWhenTheLabelGoesHoldsNothingUp_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<int>("items");
        QTest::newRow("the label stays away") << QString() << 2;
        QTest::newRow("the label comes back") << u"192.0.2.8"_s << 1;
    }
    void aBusThatHangsWhenTheLabelGoesHoldsNothingUp()
    {
        QFETCH(QString, title);
        QFETCH(int, items);
        m_host->appear();
        makeItem();
        m_item->setTitle(u"192.0.2.7"_s);
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        QElapsedTimer watch;
        watch.start();
        const ResumeAfter safety(m_bus);
        m_bus.hang();
        m_item->setTitle({});
        QTRY_COMPARE(m_console.lines().size(), 1);
        m_item->setTitle(title);
        QCoreApplication::processEvents();
        QVERIFY(watch.elapsed() < ResumeAfter::kMilliseconds);
        m_bus.resume();
        QTRY_COMPARE(m_host->items().size(), std::size_t(items));
        QTRY_COMPARE(m_host->readAll()[u"XAyatanaLabel"_s].toString(), title);
        QCOMPARE(m_host->items().size(), std::size_t(items));
    }

    // The last one, as it takes the bus with it.
    void survivesTheEndOfTheBus()
    {
        m_host->appear();
        makeItem();
        m_item->setTitle(u"192.0.2.7"_s);
        QTRY_COMPARE(m_host->items().size(), std::size_t(1));
        m_bus.stop();
        m_item->setTitle(u"192.0.2.8"_s);
        QCoreApplication::processEvents();
        m_item->setTitle({});
        QCoreApplication::processEvents();
        QCOMPARE(m_item->title(), QString());
    }

private:
    void makeItem()
    {
        m_item = StatusNotifierBar(m_console).statusItemWithLength(kVariableStatusItemLength);
    }
    bool isOnTheBus(const QString &name)
    {
        QDBusMessage question = QDBusMessage::createMethodCall(
            u"org.freedesktop.DBus"_s, u"/"_s, u"org.freedesktop.DBus"_s, u"NameHasOwner"_s);
        question << name;
        const QDBusMessage answer = PanelHost::await(m_bus.connection().asyncCall(question));
        return answer.arguments().value(0).toBool();
    }

    world::FakeConsole m_console;
    PrivateBus m_bus;
    std::optional<PanelHost> m_host;
    std::unique_ptr<StatusItem> m_item;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::StatusNotifierItemTest)
#include "StatusNotifierItemTest.moc"
