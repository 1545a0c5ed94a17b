// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/RemoteApplication.h"
#include "unit/desktop/PrivateBus.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QTest>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

const QString kName = u"com.corvane.Quillfen"_s;
const QString kPath = u"/com/corvane/Quillfen"_s;
const QString kInterface = u"org.freedesktop.Application"_s;

} // namespace

class RemoteApplicationTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        qunsetenv("XDG_ACTIVATION_TOKEN");
        qunsetenv("DESKTOP_STARTUP_ID");
        m_bus = std::make_unique<PrivateBus>();
    }

    void comesForwardWhenASecondOneAsks()
    {
        QDBusConnection first = m_bus->connection();
        int activated = 0;
        const RemoteApplication application(first, kName, [&activated] { ++activated; });
        QVERIFY(first.registerService(kName));
        std::optional<bool> comes;
        RemoteApplication::activate(m_bus->connection(), kName,
                                    [&comes](bool does) { comes = does; });
        QTRY_COMPARE(activated, 1);
        QTRY_COMPARE(comes, true);
        QVERIFY(!qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
    }

    void takesTheTokenAlong_data()
    {
        struct Row {
            const char *name;
            QByteArray token;
            QByteArray startup;
            QByteArray taken;
        };
        static const Row rows[] = {
            {.name = "a token", .token = "token-7", .startup = {}, .taken = "token-7"},
            {.name = "as older launchers give it",
             .token = {},
             .startup = "old-8",
             .taken = "old-8"},
            {.name = "both", .token = "token-7", .startup = "old-8", .taken = "token-7"},
        };
        QTest::addColumn<QByteArray>("token");
        QTest::addColumn<QByteArray>("startup");
        QTest::addColumn<QByteArray>("taken");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.token << row.startup << row.taken;
    }
    void takesTheTokenAlong()
    {
        QFETCH(QByteArray, token);
        QFETCH(QByteArray, startup);
        QFETCH(QByteArray, taken);
        QDBusConnection first = m_bus->connection();
        QByteArrayList tokens;
        const RemoteApplication application(
            first, kName, [&tokens] { tokens += qgetenv("XDG_ACTIVATION_TOKEN"); });
        QVERIFY(first.registerService(kName));
        if (!token.isEmpty())
            qputenv("XDG_ACTIVATION_TOKEN", token);
        if (!startup.isEmpty())
            qputenv("DESKTOP_STARTUP_ID", startup);
        RemoteApplication::activate(m_bus->connection(), kName, [](bool) {});
        QVERIFY(!qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
        QVERIFY(!qEnvironmentVariableIsSet("DESKTOP_STARTUP_ID"));
        QTRY_COMPARE(tokens, QByteArrayList{taken});
        QVERIFY(!qEnvironmentVariableIsSet("XDG_ACTIVATION_TOKEN"));
    }

    void findsATokenInTheCallsData_data()
    {
        QTest::addColumn<QVariantMap>("data");
        QTest::newRow("a token") << QVariantMap{{u"activation-token"_s, u"token-7"_s}};
        QTest::newRow("as older launchers give it")
            << QVariantMap{{u"desktop-startup-id"_s, u"token-7"_s}};
        QTest::newRow("both") << QVariantMap{{u"activation-token"_s, u"token-7"_s},
                                             {u"desktop-startup-id"_s, u"old-8"_s}};
    }
    void findsATokenInTheCallsData()
    {
        QFETCH(QVariantMap, data);
        QDBusConnection first = m_bus->connection();
        QByteArrayList tokens;
        RemoteApplication application(first, kName,
                                      [&tokens] { tokens += qgetenv("XDG_ACTIVATION_TOKEN"); });
        application.Activate(data);
        QTRY_COMPARE(tokens, QByteArrayList{"token-7"});
    }

    void dropsWhatIsNoToken_data()
    {
        QTest::addColumn<QVariant>("token");
        QTest::newRow("a number") << QVariant(5);
        QTest::newRow("empty") << QVariant(QString());
        QTest::newRow("a blank in it") << QVariant(u"a b"_s);
        QTest::newRow("a line feed in it") << QVariant(u"x\n=1"_s);
        QTest::newRow("not ASCII") << QVariant(u"é"_s);
        QTest::newRow("long") << QVariant(QString(300'000, u'T'));
    }
    void dropsWhatIsNoToken()
    {
        QFETCH(QVariant, token);
        QDBusConnection first = m_bus->connection();
        QByteArrayList tokens;
        RemoteApplication application(first, kName,
                                      [&tokens] { tokens += qgetenv("XDG_ACTIVATION_TOKEN"); });
        application.Activate({{u"activation-token"_s, token}});
        QTRY_COMPARE(tokens, QByteArrayList{""});
    }

    void answersEachMethodOfTheInterface_data()
    {
        QTest::addColumn<QString>("method");
        QTest::addColumn<QVariantList>("arguments");
        QTest::newRow("Activate") << u"Activate"_s << QVariantList{QVariantMap()};
        QTest::newRow("Open") << u"Open"_s
                              << QVariantList{QStringList{u"file:///x"_s}, QVariantMap()};
        QTest::newRow("ActivateAction")
            << u"ActivateAction"_s << QVariantList{u"new"_s, QVariantList(), QVariantMap()};
        QTest::newRow("a token of another type")
            << u"Activate"_s << QVariantList{QVariantMap{{u"activation-token"_s, 7.5}}};
    }
    void answersEachMethodOfTheInterface()
    {
        QFETCH(QString, method);
        QFETCH(QVariantList, arguments);
        QDBusConnection first = m_bus->connection();
        int activated = 0;
        const RemoteApplication application(first, kName, [&activated] { ++activated; });
        QVERIFY(first.registerService(kName));
        QDBusMessage call = QDBusMessage::createMethodCall(kName, kPath, kInterface, method);
        call.setArguments(arguments);
        QDBusPendingCall answer = m_bus->connection().asyncCall(call);
        QTRY_VERIFY(answer.isFinished());
        QVERIFY2(!answer.isError(), qPrintable(answer.error().message()));
        QTRY_COMPARE(activated, 1);
    }

    void endsWhenSomebodyAsksForThat()
    {
        QDBusConnection first = m_bus->connection();
        int activated = 0;
        int ended = 0;
        const RemoteApplication application(
            first, kName, [&activated] { ++activated; }, [&ended] { ++ended; });
        QVERIFY(first.registerService(kName));
        QDBusMessage call =
            QDBusMessage::createMethodCall(kName, kPath, kInterface, u"ActivateAction"_s);
        call << u"quit"_s << QVariantList() << QVariantMap();
        QDBusPendingCall answer = m_bus->connection().asyncCall(call);
        QTRY_VERIFY(answer.isFinished());
        QVERIFY2(!answer.isError(), qPrintable(answer.error().message()));
        QTRY_COMPARE(ended, 1);
        QCOMPARE(activated, 0);
    }

    void saysThatItHasNoWindow()
    {
        QDBusConnection first = m_bus->connection();
        const RemoteApplication application(first, kName, {});
        QVERIFY(first.registerService(kName));
        std::optional<bool> comes;
        RemoteApplication::activate(m_bus->connection(), kName,
                                    [&comes](bool does) { comes = does; });
        QTRY_COMPARE(comes, false);
    }

    void refusesWrongArguments()
    {
        QDBusConnection first = m_bus->connection();
        int activated = 0;
        const RemoteApplication application(first, kName, [&activated] { ++activated; });
        QVERIFY(first.registerService(kName));
        QDBusMessage call = QDBusMessage::createMethodCall(kName, kPath, kInterface, u"Activate"_s);
        call << 7;
        QDBusPendingCall answer = m_bus->connection().asyncCall(call);
        QTRY_VERIFY(answer.isFinished());
        QVERIFY(answer.isError());
        QCoreApplication::processEvents();
        QCOMPARE(activated, 0);
    }

    void nobodyThereIsKnownAtOnce()
    {
        std::optional<bool> comes;
        RemoteApplication::activate(m_bus->connection(), kName,
                                    [&comes](bool does) { comes = does; });
        QTRY_COMPARE(comes, false);
    }

    void withoutABusThereIsNothingToServe()
    {
        const RemoteApplication application(std::nullopt, kName, [] {});
    }

private:
    std::unique_ptr<PrivateBus> m_bus;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::RemoteApplicationTest)
#include "RemoteApplicationTest.moc"
