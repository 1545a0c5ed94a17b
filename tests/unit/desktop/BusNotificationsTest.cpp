// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/BusNotifications.h"
#include "unit/desktop/PrivateBus.h"

#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

constexpr auto kPath = "/com/corvane/DistributedNotificationCenter"_L1;
constexpr auto kPosted = "com.corvane.DistributedNotificationCenter.Posted"_L1;
const QString kName = u"Preferences Changed"_s;
const QString kObject = u"com.corvane.preference.Quillfen"_s;

} // namespace

/// The centre among other processes on a session bus.
class BusNotificationsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_bus.emplace();
        m_connection.emplace(m_bus->connection());
        m_center.emplace(*m_connection);
        m_told = 0;
        m_center->addObserver(kName, kObject, [this] { ++m_told; });
        settle();
    }

    void anyProcessMayPost()
    {
        send({kPosted, u"string:"_s + kName, u"string:"_s + kObject});
        QTRY_COMPARE(m_told, 1);
        settle();
        QCOMPARE(m_told, 1);
    }

    void anotherProcessHearsWhatWePost()
    {
        BusNotifications other(m_bus->connection());
        int heard = 0;
        other.addObserver(kName, kObject, [&heard] { ++heard; });
        settle();
        m_center->post(kName, kObject);
        QTRY_COMPARE(heard, 1);
        QTRY_COMPARE(m_told, 1);
        other.post(kName, kObject);
        QTRY_COMPARE(m_told, 2);
        QTRY_COMPARE(heard, 2);
        settle();
        QCOMPARE(m_told, 2);
        QCOMPARE(heard, 2);
    }

    void aSignalOfAnotherShapeIsNoneOfOurs_data()
    {
        struct Row {
            const char *name;
            QStringList arguments;
        };
        const QString name = u"string:"_s + kName;
        const QString object = u"string:"_s + kObject;
        const Row rows[] = {
            {.name = "no argument", .arguments = {kPosted}},
            {.name = "one text", .arguments = {kPosted, name}},
            {.name = "three texts", .arguments = {kPosted, name, object, object}},
            {.name = "a number for a text", .arguments = {kPosted, name, u"int32:1"_s}},
            {.name = "a list", .arguments = {kPosted, u"array:string:a,b"_s, object}},
            {.name = "a variant", .arguments = {kPosted, u"variant:"_s + name, object}},
            {.name = "another member",
             .arguments = {u"com.corvane.DistributedNotificationCenter.Post"_s, name, object}},
            {.name = "another interface",
             .arguments = {u"com.corvane.Other.Posted"_s, name, object}},
        };
        QTest::addColumn<QStringList>("arguments");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.arguments;
    }
    void aSignalOfAnotherShapeIsNoneOfOurs()
    {
        QFETCH(QStringList, arguments);
        send(arguments);
        settle();
        QCOMPARE(m_told, 0);
        send({kPosted, u"string:"_s + kName, u"string:"_s + kObject});
        QTRY_COMPARE(m_told, 1);
    }

    void ourOwnObserversOutliveTheBus()
    {
        m_bus->stop();
        QTRY_VERIFY(!m_connection->isConnected());
        m_center->post(kName, kObject);
        QTRY_COMPARE(m_told, 1);
        QCoreApplication::processEvents();
        QCOMPARE(m_told, 1);
    }

    void cleanup()
    {
        m_center.reset();
        m_connection.reset();
        m_bus.reset();
    }

private:
    void send(const QStringList &arguments)
    {
        const QStringList how = {u"--bus="_s + m_bus->address(), u"--type=signal"_s, kPath};
        QCOMPARE(QProcess::execute(u"dbus-send"_s, how + arguments), 0);
    }
    /// Until all that the bus took so far has arrived.
    void settle()
    {
        const QDBusMessage question = QDBusMessage::createMethodCall(
            u"org.freedesktop.DBus"_s, u"/"_s, u"org.freedesktop.DBus"_s, u"GetId"_s);
        QCOMPARE(m_connection->call(question).type(), QDBusMessage::ReplyMessage);
        QCoreApplication::processEvents();
    }

    std::optional<PrivateBus> m_bus;
    std::optional<QDBusConnection> m_connection;
    std::optional<BusNotifications> m_center;
    int m_told = 0;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::BusNotificationsTest)
#include "BusNotificationsTest.moc"
