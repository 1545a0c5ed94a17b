// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/BusNotifications.h"
#include "unit/desktop/PrivateBus.h"
#include "world/FakeNotifications.h"

#include <QTest>
#include <QTimer>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

const QString kName = u"Preferences Changed"_s;
const QString kObject = u"com.example.preference"_s;

} // namespace

/// What DistributedNotificationCenter promises, with a bus, without one, and of the fake.
class NotificationsContract : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<QString>("kind");
        for (const char *kind : {"bus", "no bus", "fake"})
            QTest::newRow(kind) << QString::fromLatin1(kind);
    }
    void init()
    {
        QFETCH_GLOBAL(QString, kind);
        m_connection.reset();
        if (kind == u"bus")
            m_connection = m_bus.connection();
        if (kind == u"fake")
            m_center = std::make_unique<world::FakeNotifications>();
        else
            m_center = std::make_unique<BusNotifications>(m_connection);
        m_heard.clear();
    }

    void everyObserverIsToldOnce()
    {
        observe(kName, kObject, u"one"_s);
        observe(kName, kObject, u"two"_s);
        m_center->post(kName, kObject);
        QTRY_COMPARE(m_heard.join(u' '), u"one two"_s);
        settle();
        QCOMPARE(m_heard.join(u' '), u"one two"_s);
    }

    void eachPostCounts()
    {
        observe(kName, kObject, u"told"_s);
        for (int i = 0; i < 3; ++i)
            m_center->post(kName, kObject);
        settle();
        QCOMPARE(m_heard.size(), 3);
    }

    void nameAndObjectMustBothBeTheSame_data()
    {
        struct Row {
            const char *name;
            QString posted;
            QString about;
        };
        static const Row rows[] = {
            {.name = "another name", .posted = u"Preferences"_s, .about = kObject},
            {.name = "another object", .posted = kName, .about = u"com.example"_s},
            {.name = "letter case", .posted = kName.toLower(), .about = kObject},
            {.name = "swapped", .posted = kObject, .about = kName},
            {.name = "empty", .posted = {}, .about = {}},
        };
        QTest::addColumn<QString>("posted");
        QTest::addColumn<QString>("about");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.posted << row.about;
    }
    void nameAndObjectMustBothBeTheSame()
    {
        QFETCH(QString, posted);
        QFETCH(QString, about);
        observe(kName, kObject, u"told"_s);
        m_center->post(posted, about);
        settle();
        QCOMPARE(m_heard, QStringList());
    }

    void nobodyIsToldFromWithinThePost()
    {
        observe(kName, kObject, u"told"_s);
        m_center->post(kName, kObject);
        QCOMPARE(m_heard, QStringList());
        QTRY_COMPARE(m_heard.size(), 1);
    }

    void anObserverMayAddAnotherAndPost()
    {
        m_center->addObserver(kName, kObject, [this] {
            m_heard += u"first"_s;
            observe(u"other"_s, kObject, u"second"_s);
            m_center->post(u"other"_s, kObject);
        });
        m_center->post(kName, kObject);
        QTRY_COMPARE(m_heard.join(u' '), u"first second"_s);
    }

    void textsArriveLetterForLetter()
    {
        const QString name = u"é 🙂 %@ \"quoted\"\n"_s;
        observe(name, QString(), u"told"_s);
        m_center->post(name, QString());
        QTRY_COMPARE(m_heard.size(), 1);
    }

    void nothingArrivesAfterItsEnd()
    {
        observe(kName, kObject, u"told"_s);
        m_center->post(kName, kObject);
        m_center.reset();
        bool later = false;
        QTimer::singleShot(50, [&later] { later = true; });
        QTRY_VERIFY(later);
        QCOMPARE(m_heard, QStringList());
    }

    void cleanup() { m_center.reset(); }

private:
    void observe(const QString &name, const QString &object, const QString &word)
    {
        m_center->addObserver(name, object, [this, word] { m_heard += word; });
    }
    /// Until all that was posted before has arrived, and any echo of it by way of the bus.
    void settle()
    {
        bool arrived = false;
        m_center->addObserver(u"settled"_s, u"test"_s, [&arrived] { arrived = true; });
        m_center->post(u"settled"_s, u"test"_s);
        QTRY_VERIFY(arrived);
        if (m_connection) { // the bus keeps its order: its answer follows the echoes
            const QDBusMessage question = QDBusMessage::createMethodCall(
                u"org.freedesktop.DBus"_s, u"/"_s, u"org.freedesktop.DBus"_s, u"GetId"_s);
            QCOMPARE(m_connection->call(question).type(), QDBusMessage::ReplyMessage);
        }
        QCoreApplication::processEvents();
    }

    PrivateBus m_bus;
    std::optional<QDBusConnection> m_connection;
    std::unique_ptr<DistributedNotificationCenter> m_center;
    QStringList m_heard;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::NotificationsContract)
#include "NotificationsContract.moc"
