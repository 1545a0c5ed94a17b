// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/status/StatusWatch.h"
#include "platform/linux/status/StatusProperties.h"
#include "platform/linux/status/StatusService.h"
#include "unit/desktop/PrivateBus.h"

#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QElapsedTimer>
#include <QObject>
#include <QStringList>
#include <QTest>

#include <chrono>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

const QString kName = u"com.corvane.Quillfen"_s;

/// The running program, as far as others see it.
struct Running {
    explicit Running(PrivateBus &bus) : connection(bus.connection()), service(connection)
    {
        connection.registerService(kName);
    }
    void shows(const QString &title)
    {
        ShownStatus status;
        status.title = title;
        service.publish(status);
    }
    void leaves() { connection.unregisterService(kName); }

    QDBusConnection connection;
    StatusService service;
};

/// Watches, and notes down what it is told.
struct Watcher {
    explicit Watcher(const QDBusConnection &bus, std::chrono::milliseconds patience = 10s)
        : watch(bus, kName, patience)
    {
        QObject::connect(&watch, &StatusWatch::shown, &watch,
                         [this](const ShownStatus &status) { told += status.title; });
        QObject::connect(&watch, &StatusWatch::absent, &watch, [this] { told += u"absent"_s; });
        QObject::connect(&watch, &StatusWatch::silent, &watch, [this] { told += u"silent"_s; });
        QObject::connect(&watch, &StatusWatch::ended, &watch, [this] { told += u"ended"_s; });
        watch.start();
    }
    QStringList told;
    StatusWatch watch;
};

} // namespace

class StatusWatchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_bus = std::make_unique<PrivateBus>(); }

    void tellsWhatIsShownAtOnceAndEachChange()
    {
        Running program(*m_bus);
        program.shows(u"one"_s);
        Watcher watcher(m_bus->connection());
        QTRY_COMPARE(watcher.told, QStringList{u"one"_s});
        program.shows(u"two"_s);
        QTRY_COMPARE(watcher.told, (QStringList{u"one"_s, u"two"_s}));
        program.shows(u"three"_s);
        QTRY_COMPARE(watcher.told, (QStringList{u"one"_s, u"two"_s, u"three"_s}));
    }

    void aStormOfChangesEndsWithTheLast()
    {
        Running program(*m_bus);
        Watcher watcher(m_bus->connection());
        QTRY_COMPARE(watcher.told, QStringList{u""_s});
        for (int i = 1; i <= 200; ++i) {
            program.shows(QString::number(i));
            QCoreApplication::processEvents();
        }
        QTRY_COMPARE(watcher.told.last(), u"200"_s);
        program.shows(u"the end"_s);
        QTRY_COMPARE(watcher.told.last(), u"the end"_s);
    }

    void nobodyOfThatNameIsKnownAtOnce()
    {
        const Watcher watcher(m_bus->connection());
        QTRY_COMPARE(watcher.told, QStringList{u"absent"_s});
    }

    void theProgramsEndIsTheEnd()
    {
        Running program(*m_bus);
        program.shows(u"one"_s);
        const Watcher watcher(m_bus->connection());
        QTRY_COMPARE(watcher.told, QStringList{u"one"_s});
        program.leaves();
        QTRY_COMPARE(watcher.told, (QStringList{u"one"_s, u"ended"_s}));
    }

    void theBussEndIsTheEnd()
    {
        Running program(*m_bus);
        program.shows(u"one"_s);
        const Watcher watcher(m_bus->connection());
        QTRY_COMPARE(watcher.told, QStringList{u"one"_s});
        m_bus->stop();
        QTRY_COMPARE(watcher.told, (QStringList{u"one"_s, u"ended"_s}));
    }

    void anotherNamesEndIsNot()
    {
        Running program(*m_bus);
        program.shows(u"one"_s);
        Watcher watcher(m_bus->connection());
        QTRY_COMPARE(watcher.told, QStringList{u"one"_s});
        QDBusConnection other = m_bus->connection();
        QVERIFY(other.registerService(u"com.corvane.Other"_s));
        QVERIFY(other.unregisterService(u"com.corvane.Other"_s));
        program.shows(u"two"_s);
        QTRY_COMPARE(watcher.told, (QStringList{u"one"_s, u"two"_s}));
    }

    void aProgramThatTellsNoStatusIsSilent()
    {
        QDBusConnection other = m_bus->connection();
        QVERIFY(other.registerService(kName));
        const Watcher watcher(m_bus->connection());
        QTRY_COMPARE(watcher.told, QStringList{u"silent"_s});
    }

    void aProgramThatHangsIsSilentInTime()
    {
        const QDBusConnection connection = m_bus->connection();
        m_bus->hang();
        QElapsedTimer clock;
        clock.start();
        const Watcher watcher(connection, 200ms);
        QTRY_COMPARE(watcher.told, QStringList{u"silent"_s});
        QVERIFY(clock.elapsed() >= 190);
        m_bus->resume();
        // What it answers then comes too late.
        const QDBusMessage question = QDBusMessage::createMethodCall(
            u"org.freedesktop.DBus"_s, u"/"_s, u"org.freedesktop.DBus"_s, u"GetId"_s);
        const QDBusPendingCall answer = connection.asyncCall(question);
        QTRY_VERIFY(answer.isFinished());
        QCoreApplication::processEvents();
        QCOMPARE(watcher.told, QStringList{u"silent"_s});
    }

    void aProgramThatHangsLaterIsWaitedFor()
    {
        Running program(*m_bus);
        program.shows(u"one"_s);
        const Watcher watcher(m_bus->connection(), 200ms);
        QTRY_COMPARE(watcher.told, QStringList{u"one"_s});
        m_bus->hang();
        program.shows(u"two"_s);
        QElapsedTimer clock;
        clock.start();
        QTRY_VERIFY(clock.elapsed() >= 400); // longer than the first answer may take
        QCOMPARE(watcher.told, QStringList{u"one"_s});
        m_bus->resume();
        QTRY_COMPARE(watcher.told, (QStringList{u"one"_s, u"two"_s}));
    }

    void withALostBusItIsSilent()
    {
        const QDBusConnection connection = m_bus->connection();
        m_bus->stop();
        QTRY_VERIFY(!connection.isConnected());
        const Watcher watcher(connection, 200ms);
        QTRY_COMPARE(watcher.told, QStringList{u"silent"_s});
    }

    void whatIsNoStatusReadsAsNothing_data()
    {
        QTest::addColumn<QVariantMap>("properties");
        QTest::newRow("nothing") << QVariantMap();
        QTest::newRow("other names") << QVariantMap{{u"title"_s, u"x"_s}};
        QTest::newRow("other types") << QVariantMap{{u"Title"_s, 7},
                                                    {u"Addresses"_s, u"192.0.2.7"_s},
                                                    {u"DNSName"_s, QStringList{u"x"_s}},
                                                    {u"ComputerName"_s, true},
                                                    {u"WirelessNetwork"_s, QVariantMap()},
                                                    {u"ExternalAddress"_s, 0.5}};
        QTest::newRow("empty texts") << toProperties(ShownStatus());
    }
    void whatIsNoStatusReadsAsNothing()
    {
        QFETCH(QVariantMap, properties);
        QVERIFY(fromProperties(properties) == ShownStatus());
    }

    void theInterfaceIsDescribed()
    {
        Running program(*m_bus);
        const QDBusMessage call = QDBusMessage::createMethodCall(
            kName, kStatusPath, u"org.freedesktop.DBus.Introspectable"_s, u"Introspect"_s);
        QDBusPendingCall answer = m_bus->connection().asyncCall(call);
        QTRY_VERIFY(answer.isFinished());
        const QString xml = answer.reply().arguments().value(0).toString();
        for (const QString &name : toProperties(ShownStatus()).keys())
            QVERIFY2(xml.contains(u"<property name=\"%1\""_s.arg(name)), qPrintable(xml));
    }

    void nobodyCanSetIt()
    {
        Running program(*m_bus);
        program.shows(u"one"_s);
        QDBusMessage call =
            QDBusMessage::createMethodCall(kName, kStatusPath, kPropertiesInterface, u"Set"_s);
        call << QString(kStatusInterface) << u"Title"_s
             << QVariant::fromValue(QDBusVariant(u"two"_s));
        QDBusPendingCall answer = m_bus->connection().asyncCall(call);
        QTRY_VERIFY(answer.isFinished());
        QVERIFY(answer.isError());
        QCOMPARE(program.service.title(), u"one"_s);
    }

private:
    std::unique_ptr<PrivateBus> m_bus;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::StatusWatchTest)
#include "StatusWatchTest.moc"
