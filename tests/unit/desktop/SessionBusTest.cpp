// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/SessionBus.h"
#include "unit/desktop/PrivateBus.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

constexpr auto kPatient = "--patient";
constexpr auto kImpatient = "--impatient";

/// A program that is started by the tests: it tells how it finds the session bus.
int beProgram(int argc, char **argv)
{
    const QByteArray before = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const bool patient = std::strcmp(argv[1], kPatient) == 0;
    const SessionBus bus(patient ? 30s : 300ms);
    const QCoreApplication app(argc, argv);
    const auto one = bus.connection();
    const auto two = bus.connection();
    const bool shared =
        one && two && one->isConnected() && one->baseService() == two->baseService();
    std::puts(shared ? "shared" : one || two ? "strange" : bus.isSilent() ? "silent" : "none");
    std::puts(QDBusConnection::sessionBus().isConnected() ? "Qt has it" : "Qt has none");
    if (qgetenv("DBUS_SESSION_BUS_ADDRESS") != before)
        std::puts("the environment is another one");
    return EXIT_SUCCESS;
}

/// Listens at @p path, where nobody ever answers. @returns the descriptor.
int listenAt(const QByteArray &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::copy(path.cbegin(), path.cend(), address.sun_path);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0
        || listen(descriptor, 5) != 0)
        qFatal("no socket at %s", path.constData());
    return descriptor;
}

} // namespace

class SessionBusTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isTriedOnlyWhereOneIsToldOf_data()
    {
        struct Row {
            const char *name;
            QByteArray address;
            QByteArray runtime;
            QByteArray expected;
        };
        const QByteArray with = QFile::encodeName(m_with.path());
        const QByteArray file = QFile::encodeName(m_withFile.path());
        const QByteArray without = QFile::encodeName(m_without.path());
        const Row rows[] = {
            {.name = "nothing", .address = {}, .runtime = {}, .expected = {}},
            {.name = "an address",
             .address = "unix:path=/x",
             .runtime = with,
             .expected = "unix:path=/x"},
            {.name = "an order to start one",
             .address = "autolaunch:",
             .runtime = with,
             .expected = {}},
            {.name = "the user's socket",
             .address = {},
             .runtime = with,
             .expected = "unix:path=" + with + "/bus"},
            {.name = "no socket there", .address = {}, .runtime = without, .expected = {}},
            {.name = "a file there", .address = {}, .runtime = file, .expected = {}},
            {.name = "no absolute folder", .address = {}, .runtime = "run", .expected = {}},
        };
        QTest::addColumn<QByteArray>("address");
        QTest::addColumn<QByteArray>("runtime");
        QTest::addColumn<QByteArray>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.address << row.runtime << row.expected;
    }
    void isTriedOnlyWhereOneIsToldOf()
    {
        QFETCH(QByteArray, address);
        QFETCH(QByteArray, runtime);
        QFETCH(QByteArray, expected);
        setEnvironment(address, runtime);
        QCOMPARE(sessionBusAddress(), expected);
    }

    void isOneConnectionForAll()
    {
        const PrivateBus bus;
        setEnvironment(bus.address().toLatin1(), {});
        QCOMPARE(found(kPatient), "shared\nQt has it\n");
    }

    void isNothingWhereNobodyIs_data()
    {
        QTest::addColumn<QByteArray>("address");
        QTest::newRow("none is told of") << QByteArray();
        QTest::newRow("no socket") << QByteArray("unix:path=/nonexistent/bus");
        QTest::newRow("nobody behind the socket") << "unix:path=" + m_leftOver;
    }
    void isNothingWhereNobodyIs()
    {
        QFETCH(QByteArray, address);
        setEnvironment(address, {});
        QCOMPARE(found(kPatient), "none\nQt has none\n");
    }

    void oneThatNeverAnswersIsKeptAwayFromAll_data()
    {
        const QByteArray with = QFile::encodeName(m_with.path());
        QTest::addColumn<QByteArray>("address");
        QTest::addColumn<QByteArray>("runtime");
        QTest::newRow("by its address") << "unix:path=" + with + "/bus" << QByteArray();
        QTest::newRow("in the user's folder") << QByteArray() << with;
    }
    void oneThatNeverAnswersIsKeptAwayFromAll()
    {
        QFETCH(QByteArray, address);
        QFETCH(QByteArray, runtime);
        setEnvironment(address, runtime);
        QCOMPARE(found(kImpatient), "silent\nQt has none\n");
    }

    void oneThatAnswersLateIsWaitedFor()
    {
        PrivateBus bus;
        setEnvironment(bus.address().toLatin1(), {});
        bus.hang();
        QProcess program;
        program.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(kPatient)});
        QVERIFY(program.waitForStarted());
        QTest::qWait(500);
        bus.resume();
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.readAllStandardOutput(), "shared\nQt has it\n");
    }

    void initTestCase()
    {
        m_descriptor = listenAt(QFile::encodeName(m_with.path()) + "/bus");
        m_leftOver = QFile::encodeName(m_without.path()) + "/left";
        close(listenAt(m_leftOver));
        QFile file(m_withFile.path() + u"/bus"_s);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    void cleanupTestCase() { close(m_descriptor); }

private:
    static void setEnvironment(const QByteArray &address, const QByteArray &runtime)
    {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("XDG_RUNTIME_DIR");
        if (!address.isEmpty())
            qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        if (!runtime.isEmpty())
            qputenv("XDG_RUNTIME_DIR", runtime);
    }
    /// What a new process says of the session bus.
    static QByteArray found(const char *how)
    {
        QProcess program;
        program.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(how)});
        if (!program.waitForFinished()) {
            program.kill();
            program.waitForFinished();
            return "stands still";
        }
        return program.readAllStandardOutput();
    }

    QTemporaryDir m_with;
    QTemporaryDir m_withFile;
    QTemporaryDir m_without;
    QByteArray m_leftOver; ///< A socket with nobody behind it.
    int m_descriptor = -1;
};

} // namespace quillfen::platform

int main(int argc, char **argv)
{
    using namespace quillfen::platform;
    if (argc > 1 && (std::strcmp(argv[1], kPatient) == 0 || std::strcmp(argv[1], kImpatient) == 0))
        return beProgram(argc, argv);
    QCoreApplication app(argc, argv);
    SessionBusTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "SessionBusTest.moc"
