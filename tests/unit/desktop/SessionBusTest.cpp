// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/SessionBus.h"
#include "unit/desktop/PrivateBus.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// A socket at @p path with nobody behind it.
bool makeSocket(const QByteArray &path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::copy(path.cbegin(), path.cend(), address.sun_path);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool made =
        bind(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    close(descriptor);
    return made;
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
            bool expected;
        };
        const QByteArray with = QFile::encodeName(m_with.path());
        const QByteArray file = QFile::encodeName(m_withFile.path());
        const QByteArray without = QFile::encodeName(m_without.path());
        const Row rows[] = {
            {.name = "nothing", .address = {}, .runtime = {}, .expected = false},
            {.name = "an address", .address = "unix:path=/x", .runtime = {}, .expected = true},
            {.name = "an order to start one",
             .address = "autolaunch:",
             .runtime = with,
             .expected = false},
            {.name = "the user's socket", .address = {}, .runtime = with, .expected = true},
            {.name = "no socket there", .address = {}, .runtime = without, .expected = false},
            {.name = "a file there", .address = {}, .runtime = file, .expected = false},
            {.name = "no absolute folder", .address = {}, .runtime = "run", .expected = false},
        };
        QTest::addColumn<QByteArray>("address");
        QTest::addColumn<QByteArray>("runtime");
        QTest::addColumn<bool>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.address << row.runtime << row.expected;
    }
    void isTriedOnlyWhereOneIsToldOf()
    {
        QFETCH(QByteArray, address);
        QFETCH(QByteArray, runtime);
        QFETCH(bool, expected);
        setEnvironment(address, runtime);
        QCOMPARE(sessionBusExists(), expected);
    }

    void isNothingWhereNoneIsToldOf()
    {
        setEnvironment({}, {});
        QVERIFY(!sessionBus());
    }

    void isOneConnectionForAll()
    {
        const PrivateBus bus;
        setEnvironment(bus.address().toLatin1(), {});
        const auto one = sessionBus();
        const auto two = sessionBus();
        QVERIFY(one && two);
        QVERIFY(one->isConnected());
        QCOMPARE(one->baseService(), two->baseService());
    }

    void initTestCase()
    {
        QVERIFY(makeSocket(QFile::encodeName(m_with.path()) + "/bus"));
        QFile file(m_withFile.path() + u"/bus"_s);
        QVERIFY(file.open(QIODevice::WriteOnly));
    }

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

    QTemporaryDir m_with;
    QTemporaryDir m_withFile;
    QTemporaryDir m_without;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::SessionBusTest)
#include "SessionBusTest.moc"
