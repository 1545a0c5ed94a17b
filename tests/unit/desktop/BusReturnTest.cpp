// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/BusReturn.h"

#include "platform/linux/bus/LocalSockets.h"

#include <QDBusConnectionInterface>
#include <QFile>
#include <QFileSystemWatcher>
#include <QProcess>
#include <QSignalSpy>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <optional>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

constexpr int kWithin = 20'000; // ms

/// A place where one bus after the other can be started.
class BusStop {
public:
    ~BusStop() { end(); }

    QString address() const { return u"unix:path="_s + path(); }
    QString path() const { return m_folder.filePath(u"bus"_s); }
    QString folder() const { return m_folder.path(); }
    void start()
    {
        m_daemon.start(u"dbus-daemon"_s,
                       {u"--session"_s, u"--nofork"_s, u"--nopidfile"_s, u"--print-address=1"_s,
                        u"--address="_s + address()});
        if (!m_daemon.waitForReadyRead())
            qFatal("no dbus-daemon: %s", qPrintable(m_daemon.errorString()));
        m_daemon.readAll();
    }
    void end()
    {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
};

/// A socket that is no bus: whoever knocks there is counted, and turned away.
class Turnstile {
public:
    /// In the place of what lies there, if anything does.
    explicit Turnstile(const BusStop &stop) : m_descriptor(socket(AF_UNIX, SOCK_STREAM, 0))
    {
        QFile::remove(stop.path());
        const LocalSocket place = localSockets(stop.address().toLatin1())->front();
        if (bind(m_descriptor, reinterpret_cast<const sockaddr *>(&place.address), place.size) != 0
            || listen(m_descriptor, 10) != 0)
            qFatal("no socket: %s", qPrintable(qt_error_string(errno)));
        m_knocks = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
        QObject::connect(m_knocks.get(), &QSocketNotifier::activated, m_knocks.get(), [this] {
            close(accept(m_descriptor, nullptr, nullptr));
            ++m_count;
        });
    }
    ~Turnstile()
    {
        m_knocks.reset();
        close(m_descriptor);
    }
    Turnstile(const Turnstile &) = delete;
    Turnstile &operator=(const Turnstile &) = delete;

    int count() const { return m_count; }

private:
    int m_descriptor;
    int m_count = 0;
    std::unique_ptr<QSocketNotifier> m_knocks;
};

/// Whether the bus answers on @p connection.
bool answers(const QDBusConnection &connection)
{
    return connection.isConnected()
        && connection.interface()->isServiceRegistered(u"org.freedesktop.DBus"_s);
}

} // namespace

class BusReturnTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_stop = std::make_unique<BusStop>();
        m_came.clear();
    }
    void cleanup()
    {
        m_return.reset();
        QDBusConnection::disconnectFromBus(u"first"_s);
        m_stop.reset();
    }

    void tellsOfTheFirstBus()
    {
        follow({});
        QTest::qWait(0);
        QCOMPARE(m_came.size(), 0u);
        m_stop->start();
        QTRY_COMPARE_WITH_TIMEOUT(m_came.size(), 1u, kWithin);
        QVERIFY(answers(m_came.back()));
    }

    void tellsOfOneThatWasOnlyOverlooked()
    {
        m_stop->start();
        follow({});
        QTRY_COMPARE_WITH_TIMEOUT(m_came.size(), 1u, kWithin);
        QVERIFY(answers(m_came.back()));
    }

    void tellsOfEachFurtherBus()
    {
        m_stop->start();
        follow(QDBusConnection::connectToBus(m_stop->address(), u"first"_s));
        QVERIFY(m_came.empty());
        for (std::size_t number = 1; number <= 3; ++number) {
            m_stop->end();
            m_stop->start();
            QTRY_COMPARE_WITH_TIMEOUT(m_came.size(), number, kWithin);
            QVERIFY(answers(m_came.back()));
        }
    }

    void hearsOfABusThatComesLongAfterTheLast()
    {
        m_stop->start();
        follow(QDBusConnection::connectToBus(m_stop->address(), u"first"_s));
        m_stop->end();
        QTest::qWait(2'500); // longer than it looks for one without being told
        QVERIFY(m_came.empty());
        m_stop->start();
        QTRY_COMPARE_WITH_TIMEOUT(m_came.size(), 1u, kWithin);
    }

    void takesNothingElseForABus()
    {
        follow({});
        QFile other(m_stop->path());
        QVERIFY(other.open(QIODevice::WriteOnly));
        other.close();
        QTest::qWait(300);
        QVERIFY(m_came.empty());
        QVERIFY(other.remove());
        m_stop->start();
        QTRY_COMPARE_WITH_TIMEOUT(m_came.size(), 1u, kWithin);
    }

    void knocksAgainOnlyAtAnotherSocket()
    {
        constexpr int kAllTries = 6;
        auto first = std::make_unique<Turnstile>(*m_stop);
        follow({});
        QTRY_COMPARE_WITH_TIMEOUT(first->count(), kAllTries, kWithin);

        // Made later than the one under test, so this hears of a change after it.
        QFileSystemWatcher folder({m_stop->folder()});
        QSignalSpy changed(&folder, &QFileSystemWatcher::directoryChanged);
        QFile other(m_stop->folder() + u"/other"_s);
        QVERIFY(other.open(QIODevice::WriteOnly));
        other.close();
        QTRY_VERIFY_WITH_TIMEOUT(!changed.isEmpty(), kWithin);
        QTest::qWait(100);
        QCOMPARE(first->count(), kAllTries);

        const Turnstile second(*m_stop);
        first.reset();
        QTRY_COMPARE_WITH_TIMEOUT(second.count(), kAllTries, kWithin);
        m_stop->start(); // which takes the place of the socket
        QTRY_COMPARE_WITH_TIMEOUT(m_came.size(), 1u, kWithin);
    }

    void findsNoneAtAnAddressThatIsNone_data()
    {
        QTest::addColumn<QByteArray>("address");
        QTest::newRow("nothing") << QByteArray();
        QTest::newRow("no folder") << QByteArray("unix:path=/nonexistent/bus");
        QTest::newRow("no folder at all") << QByteArray("unix:abstract=quillfen nobody");
        QTest::newRow("rubbish") << QByteArray("\x01;;=,");
    }
    void findsNoneAtAnAddressThatIsNone()
    {
        QFETCH(QByteArray, address);
        const BusReturn none(address, {});
        QSignalSpy returned(&none, &BusReturn::returned);
        QTest::qWait(100);
        QCOMPARE(returned.size(), 0);
    }

private:
    void follow(const std::optional<QDBusConnection> &bus)
    {
        m_return = std::make_unique<BusReturn>(m_stop->address().toLatin1(), bus);
        connect(m_return.get(), &BusReturn::returned, this,
                [this](const QDBusConnection &came) { m_came.push_back(came); });
    }

    std::unique_ptr<BusStop> m_stop;
    std::unique_ptr<BusReturn> m_return;
    std::vector<QDBusConnection> m_came;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::BusReturnTest)
#include "BusReturnTest.moc"
