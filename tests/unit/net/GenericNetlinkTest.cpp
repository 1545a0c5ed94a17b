// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Turns.h"
#include "platform/linux/net/FirstInterface.h"
#include "platform/linux/net/GenericNetlinkLine.h"
#include "platform/linux/net/Nl80211Report.h"
#include "unit/net/Descriptors.h"
#include "unit/net/MessageBuilder.h"
#include "unit/net/PrivateNetwork.h"
#include "unit/net/Recording.h"
#include "world/Settle.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <linux/genetlink.h>
#include <linux/netlink.h>
#include <sys/resource.h>

// The kernel that this runs on, at the other end of real lines. What it has in the way of radios is
// nowhere to be seen from a network of our own.

using namespace quillfen::platform;
using namespace quillfen::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using quillfen::world::comesToRest;
using quillfen::world::note;
using quillfen::world::settle;
using quillfen::world::Settled;

namespace {

using Text = std::optional<QByteArray>;

/// What any kernel answers: its controller's own description.
QByteArray anyQuestion()
{
    const genlmsghdr header{.cmd = CTRL_CMD_GETFAMILY, .version = 1, .reserved = 0};
    const auto controller = attribute(CTRL_ATTR_FAMILY_ID, raw(std::uint16_t{GENL_ID_CTRL}));
    return message(GENL_ID_CTRL, raw(header) + controller, 7, NLM_F_REQUEST);
}

/// Whether the datagram is the answer to anyQuestion().
bool isAnswer(const Datagram &datagram)
{
    Bytes rest = datagram.bytes;
    const auto message = takeMessage(rest);
    return datagram.error == 0 && message && message->type == GENL_ID_CTRL
        && message->sequence == 7;
}

} // namespace

class GenericNetlinkTest : public QObject {
    Q_OBJECT

    std::optional<PrivateNetwork> m_network;

private Q_SLOTS:
    void init() { m_network.emplace(); }

    void answersWithoutWaiting()
    {
        const auto line = GenericNetlinkLine::open();
        QVERIFY(line);
        QCOMPARE(line->send(bytesOf(anyQuestion())), 0);
        Settled<Datagram> answer;
        Turns turns([](const std::exception_ptr &) { qFatal("a turn failed"); });
        turns.take(note(line->receive(QDeadlineTimer(20s)), &answer));
        QVERIFY(!turns.busy());
        QVERIFY(isAnswer(*answer));
    }

    void waitsForAnAnswerInTheEventLoop()
    {
        const auto line = GenericNetlinkLine::open();
        Settled<Datagram> answer;
        Turns turns([](const std::exception_ptr &) { qFatal("a turn failed"); });
        turns.take(note(line->receive(QDeadlineTimer(20s)), &answer));
        QVERIFY(turns.busy());
        QTimer::singleShot(0, this, [&line] { line->send(bytesOf(anyQuestion())); });
        QVERIFY(comesToRest(turns, 20s));
        QVERIFY(isAnswer(*answer));
    }

    void givesUpAtTheDeadline()
    {
        const auto line = GenericNetlinkLine::open();
        QElapsedTimer time;
        time.start();
        const auto answer = settle(line->receive(QDeadlineTimer(50ms)), 20s);
        QCOMPARE(answer.error, ETIMEDOUT);
        QVERIFY(time.elapsed() >= 50);
        QCOMPARE(settle(line->receive(QDeadlineTimer(0ms)), 20s).error, ETIMEDOUT);
    }

    void saysWhySendingFailed()
    {
        const auto line = GenericNetlinkLine::open();
        QCOMPARE(line->send(bytesOf(QByteArray(64 * 1024 * 1024, '\0'))), EMSGSIZE);
    }

    void closesWhatItOpened()
    {
        const auto before = openDescriptors();
        {
            const auto line = GenericNetlinkLine::open();
            const auto now = openDescriptors();
            QCOMPARE(now.size(), before.size() + 1);
            for (const int each : now) {
                const bool older = std::ranges::binary_search(before, each);
                QVERIFY(older || fcntl(each, F_GETFD) & FD_CLOEXEC);
            }
        }
        QCOMPARE(openDescriptors(), before);
    }

    void reportsNothingOfANetworkWithoutRadios()
    {
        const auto before = openDescriptors();
        Nl80211Report report;
        QCOMPARE(settle(report.run()), Text());
        QCOMPARE(openDescriptors(), before);
    }

    void reportsNothingWhereNoLineIsToBeHad()
    {
        rlimit most{};
        getrlimit(RLIMIT_NOFILE, &most);
        const rlimit none{.rlim_cur = 0, .rlim_max = most.rlim_max};
        Nl80211Report report;
        Settled<Text> found;
        Turns turns([](const std::exception_ptr &) { qFatal("a turn failed"); });
        setrlimit(RLIMIT_NOFILE, &none);
        const bool refused = GenericNetlinkLine::open() == nullptr;
        turns.take(note(report.run(), &found));
        setrlimit(RLIMIT_NOFILE, &most);
        QVERIFY(refused);
        QVERIFY(found);
        QCOMPARE(*found, Text());
    }

    void namesTheInterfaceOfTheFirstAddress()
    {
        QCOMPARE(interfaceOfFirstAddress(), QString());
        m_network->addCable(u"ea"_s);
        m_network->addCable(u"eb"_s);
        QCOMPARE(interfaceOfFirstAddress(), QString());
        m_network->addAddress(u"eb"_s, u"192.0.2.7/24"_s);
        QCOMPARE(interfaceOfFirstAddress(), u"eb"_s);
        m_network->addAddress(u"ea"_s, u"198.51.100.7/24"_s);
        m_network->ip(u"route add default via 192.0.2.1 dev eb"_s);
        QCOMPARE(interfaceOfFirstAddress(), u"eb"_s);
        m_network->ip(u"route replace default via 198.51.100.1 dev ea"_s);
        QCOMPARE(interfaceOfFirstAddress(), u"ea"_s);
    }
};

int main(int argc, char **argv)
{
    PrivateNetwork::allow();
    QCoreApplication app(argc, argv);
    GenericNetlinkTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "GenericNetlinkTest.moc"
