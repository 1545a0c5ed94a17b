// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/BusKnock.h"
#include "unit/desktop/PrivateBus.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QLocalSocket>
#include <QTemporaryDir>
#include <QTest>

#include <functional>
#include <memory>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(std::function<void(QLocalSocket &)>)

namespace quillfen::platform {

namespace {

constexpr int kWithin = 20'000; // ms; a silence is told of after 2 s

/// What a bus does with a caller who has just said something.
using Manner = std::function<void(QLocalSocket &)>;

/// A bus with strange manners, at a socket of its own whose address has to be spelled out.
class StrangeBus {
public:
    explicit StrangeBus(Manner manner)
    {
        QObject::connect(&m_server, &QLocalServer::newConnection, &m_server,
                         [this, manner = std::move(manner)] {
                             QLocalSocket *caller = m_server.nextPendingConnection();
                             QObject::connect(caller, &QLocalSocket::readyRead, caller,
                                              [caller, manner] { manner(*caller); });
                         });
        if (!m_server.listen(m_folder.filePath(u"bus"_s)))
            qFatal("no socket");
    }
    QByteArray address() const
    {
        const QByteArray path = QFile::encodeName(m_server.fullServerName());
        return "unix:guid=00,path=" + path.toPercentEncoding("/");
    }

private:
    QTemporaryDir m_folder{QDir::tempPath() + u"/a;b,c=d%-XXXXXX"_s};
    QLocalServer m_server;
};

/// The door of a bus: a caller waits there until it is admitted.
class Door {
public:
    Door() : m_descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
    {
        const auto place = localSockets(address()).value_or(std::vector<LocalSocket>()).at(0);
        if (bind(m_descriptor, reinterpret_cast<const sockaddr *>(&place.address), place.size) != 0
            || listen(m_descriptor, 3) != 0)
            qFatal("no socket");
    }
    ~Door() { close(m_descriptor); }
    Door(const Door &) = delete;
    Door &operator=(const Door &) = delete;

    QByteArray address() const
    {
        return "unix:abstract=quillfen%20test%20" + QByteArray::number(getpid());
    }
    /// Lets the first in the queue in and out again. @returns whether there was one.
    bool admit() const
    {
        const int caller = accept4(m_descriptor, nullptr, nullptr, SOCK_CLOEXEC);
        if (caller >= 0)
            close(caller);
        return caller >= 0;
    }

private:
    int m_descriptor;
};

/// Everything that a knock tells, in order.
class Told {
public:
    explicit Told(BusKnock &knock)
    {
        QObject::connect(&knock, &BusKnock::answered, [this] { m_words += u"answered"_s; });
        QObject::connect(&knock, &BusKnock::absent, [this] { m_words += u"absent"_s; });
        QObject::connect(&knock, &BusKnock::silent, [this] { m_words += u"silent"_s; });
    }
    Told(const Told &) = delete;
    Told &operator=(const Told &) = delete;
    QString words() const { return m_words.join(u' '); }

private:
    QStringList m_words;
};

} // namespace

class BusKnockTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aBusAnswers()
    {
        const PrivateBus bus;
        BusKnock knock(bus.address().toLatin1());
        const Told told(knock);
        knock.start();
        QTRY_COMPARE_WITH_TIMEOUT(told.words(), u"answered"_s, kWithin);
    }

    void theFirstThatTakesACallIsAsked()
    {
        const PrivateBus bus;
        BusKnock knock("unix:path=/nonexistent/bus;" + bus.address().toLatin1());
        const Told told(knock);
        knock.start();
        QTRY_COMPARE_WITH_TIMEOUT(told.words(), u"answered"_s, kWithin);
    }

    void whereNobodyIsThatIsToldAtOnce_data()
    {
        QTest::addColumn<QByteArray>("address");
        QTest::newRow("no address") << QByteArray();
        QTest::newRow("no socket") << QByteArray("unix:path=/nonexistent/bus");
        QTest::newRow("no abstract socket") << QByteArray("unix:abstract=quillfen%20test%20none");
        QTest::newRow("no name") << QByteArray("unix:");
        QTest::newRow("a name that is too long") << "unix:path=/" + QByteArray(108, 'x');
        QTest::newRow("no socket to connect to") << QByteArray("unix:tmpdir=/tmp");
    }
    void whereNobodyIsThatIsToldAtOnce()
    {
        QFETCH(QByteArray, address);
        BusKnock knock(address);
        const Told told(knock);
        knock.start();
        QCOMPARE(told.words(), u"absent"_s);
    }

    void aBusThatIsNoLocalSocketIsTakenAtItsWord()
    {
        BusKnock knock("tcp:host=192.0.2.1,port=1");
        const Told told(knock);
        knock.start();
        QCOMPARE(told.words(), u"answered"_s);
    }

    void strangeBusesAreSeenThrough_data()
    {
        struct Row {
            const char *name;
            Manner manner;
            QString expected;
        };
        const Row rows[] = {
            {.name = "it says nothing", .manner = [](QLocalSocket &) {}, .expected = u"silent"_s},
            {.name = "it lets us in and falls silent",
             .manner =
                 [](QLocalSocket &caller) {
                     if (caller.readAll().contains("AUTH EXTERNAL"))
                         caller.write("OK 0123456789abcdef0123456789abcdef\r\n");
                 },
             .expected = u"silent"_s},
            {.name = "it stops amid a word",
             .manner = [](QLocalSocket &caller) { caller.write("OK 01"); },
             .expected = u"silent"_s},
            {.name = "it turns us away",
             .manner = [](QLocalSocket &caller) { caller.write("REJECTED ANONYMOUS\r\n"); },
             .expected = u"answered"_s},
            {.name = "it hangs up",
             .manner = [](QLocalSocket &caller) { caller.disconnectFromServer(); },
             .expected = u"absent"_s},
            {.name = "it lets us in and hangs up",
             .manner =
                 [](QLocalSocket &caller) {
                     if (caller.readAll().contains("AUTH EXTERNAL"))
                         caller.write("OK 0123456789abcdef0123456789abcdef\r\n");
                     else
                         caller.disconnectFromServer();
                 },
             .expected = u"absent"_s},
            {.name = "it talks without an end",
             .manner = [](QLocalSocket &caller) { caller.write(QByteArray(100'000, 'x')); },
             .expected = u"absent"_s},
        };
        QTest::addColumn<Manner>("manner");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.manner << row.expected;
    }
    void strangeBusesAreSeenThrough()
    {
        QFETCH(Manner, manner);
        QFETCH(QString, expected);
        const StrangeBus bus(manner);
        BusKnock knock(bus.address());
        const Told told(knock);
        knock.start();
        QTRY_COMPARE_WITH_TIMEOUT(told.words(), expected, kWithin);
    }

    void aBusThatHangsIsWaitedForAsLongAsItTakes()
    {
        PrivateBus bus;
        bus.hang();
        BusKnock knock(bus.address().toLatin1());
        const Told told(knock);
        knock.start();
        QTRY_COMPARE_WITH_TIMEOUT(told.words(), u"silent"_s, kWithin);
        bus.resume();
        QTRY_COMPARE_WITH_TIMEOUT(told.words(), u"silent answered"_s, kWithin);
    }

    void aBusWithoutAPlaceForAnotherCallerIsGivenUp()
    {
        PrivateBus bus;
        bus.hang();
        const std::vector<std::unique_ptr<BusHandshake>> queue = crowd(bus.address().toLatin1());
        BusKnock knock(bus.address().toLatin1());
        const Told told(knock);
        knock.start();
        QTRY_COMPARE_WITH_TIMEOUT(told.words(), u"silent absent"_s, kWithin);
    }

    void aPlaceThatBecomesFreeIsTaken()
    {
        const Door door;
        const std::vector<std::unique_ptr<BusHandshake>> queue = crowd(door.address());
        BusKnock knock(door.address());
        const Told told(knock);
        knock.start();
        QCOMPARE(told.words(), QString());
        for (std::size_t i = 1; i < queue.size(); ++i) // the last one of them did not get in
            QVERIFY(door.admit());
        QVERIFY(!door.admit());
        bool admitted = false;
        QTRY_VERIFY_WITH_TIMEOUT(admitted || (admitted = door.admit()), kWithin);
    }

private:
    /// So many callers at the door of a bus that admits none that there is no place for another.
    static std::vector<std::unique_ptr<BusHandshake>> crowd(const QByteArray &address)
    {
        std::vector<std::unique_ptr<BusHandshake>> callers;
        do
            callers.push_back(std::make_unique<BusHandshake>(address));
        while (callers.back()->go() == BusHandshake::State::Waiting);
        return callers;
    }
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::BusKnockTest)
#include "BusKnockTest.moc"
