// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/ServiceQuestion.h"
#include "unit/net/PrivateNetwork.h"
#include "unit/net/Watching.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QTest>
#include <QTimer>

#include <cerrno>
#include <chrono>
#include <functional>
#include <optional>

using namespace quillfen::platform;
using namespace quillfen::test;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int kMany = 10'000;

QString manyAddress(int number)
{
    return u"10.%1.%2.1"_s.arg(number / 250).arg(number % 250);
}

/// Lines that give the interface ea addresses, from @p first up to but not including @p end.
QString addMany(int first, int end)
{
    QString lines;
    for (int number = first; number < end; ++number)
        lines += u"address add %1/8 dev ea\n"_s.arg(manyAddress(number));
    return lines;
}

QStringList manyAddresses()
{
    QStringList all;
    for (int number = 0; number < kMany; ++number)
        all << manyAddress(number);
    return all;
}

/// Lets the event loop turn, asleep in between, until @p reached.
bool comesAbout(const std::function<bool()> &reached, std::chrono::milliseconds within)
{
    const QDeadlineTimer end(within);
    QTimer atTheEnd;
    atTheEnd.start(within);
    while (!reached() && !end.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    return reached();
}

/// How many messages the kernel could not deliver to lines that hear of links, addresses and
/// routes. The lines are known by their groups, 1, 5 and 7.
int lostEvents()
{
    QFile table(u"/proc/self/net/netlink"_s);
    int lost = 0;
    if (!table.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> lines = table.readAll().split('\n');
    for (const QByteArray &line : lines) {
        const auto columns = line.simplified().split(' ');
        if (columns.size() > 8 && columns[3].toUInt(nullptr, 16) == 0b1010001)
            lost += columns[8].toInt();
    }
    return lost;
}

} // namespace

/// Every test starts with the plugged cable ea, without an address.
class NetlinkStormTest : public QObject {
    Q_OBJECT

    std::optional<PrivateNetwork> m_network;

    /// Watches while @p lines are carried out, until @p expected is seen.
    void endureStorm(const QString &lines, const QStringList &expected)
    {
        Watching watching;
        QTRY_VERIFY(watching.atRest());
        int wakeUps = 0;
        const QObject life;
        connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &life,
                [&wakeUps] { ++wakeUps; });
        QElapsedTimer time;
        time.start();
        const auto storm = m_network->ipMeanwhile(lines);
        QVERIFY(comesAbout([&] { return storm->state() == QProcess::NotRunning; }, 60s));
        QCOMPARE(storm->exitCode(), 0);
        const auto stormy = time.elapsed();
        QVERIFY(comesAbout([&] { return watching.seen == expected; }, 10s));
        const auto whole = time.elapsed();
        QVERIFY(comesAbout([&] { return watching.atRest(); }, 10s));
        qInfo("storm of %lld ms: %d wake-ups, %d looks with news, %zu batches, right after %lld ms",
              stormy, wakeUps, watching.ahead, watching.told.size(), whole - stormy);
        const auto atMost = whole / 10 + 2;
        QVERIFY(watching.ahead <= atMost);
        QVERIFY(static_cast<qint64>(watching.told.size()) <= atMost);
        QVERIFY(wakeUps <= 4 * atMost);
        QCOMPARE(addressesIn(watching.stores), expected);
    }

private Q_SLOTS:
    void init()
    {
        m_network.emplace();
        m_network->addCable(u"ea"_s);
    }

    void enduresAFlappingAddress()
    {
        QString lines;
        for (int round = 0; round < kMany / 2; ++round)
            lines += u"address add 192.0.2.7/32 dev ea\naddress del 192.0.2.7/32 dev ea\n"_s;
        lines += u"address add 192.0.2.8/32 dev ea\n"_s;
        endureStorm(lines, {u"192.0.2.8"_s});
    }

    void enduresManyNewAddresses() { endureStorm(addMany(0, kMany), manyAddresses()); }

    void enduresTheLossOfManyAddresses()
    {
        m_network->addAddress(u"ea"_s, u"192.0.2.7/24"_s);
        m_network->ip(addMany(0, kMany));
        // With the first address of a network all others of it go.
        endureStorm(u"address del %1/8 dev ea\n"_s.arg(manyAddress(0)), {u"192.0.2.7"_s});
    }

    void recoversEventsThatTheKernelHadToDrop()
    {
        Watching watching;
        QTRY_VERIFY(watching.atRest());
        m_network->ip(addMany(0, kMany)); // nobody reads meanwhile
        QVERIFY(lostEvents() > 0);
        QTRY_COMPARE(watching.seen, manyAddresses());
        QTRY_VERIFY(watching.atRest());
        QVERIFY(watching.told.size() <= 2);

        m_network->ip(u"link set ea down"_s);
        QTRY_COMPARE(watching.seen, QStringList());
    }

    void noticesChangesDuringAnAnswerAndIsRightAfterwards()
    {
        m_network->ip(addMany(0, kMany - 2'000));
        NetlinkStores stores;
        ServiceQuestion question;
        const auto storm = m_network->ipMeanwhile(addMany(kMany - 2'000, kMany));
        std::vector<Service> services;
        int interrupted = 0;
        while (!storm->waitForFinished(1) && storm->state() != QProcess::NotRunning) {
            for (int round = 0; round < 10; ++round) {
                const int error = question.ask(services);
                QVERIFY(error == 0 || error == EINTR);
                interrupted += error == EINTR;
            }
            QVERIFY(addressesIn(stores).size() >= kMany - 2'000);
        }
        qInfo("%d interrupted answers", interrupted);
        QVERIFY(interrupted > 0);
        QCOMPARE(question.ask(services), 0);
        QCOMPARE(services.at(0).addresses, manyAddresses());
    }
};

int main(int argc, char **argv)
{
    PrivateNetwork::allow();
    QCoreApplication app(argc, argv);
    NetlinkStormTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "NetlinkStormTest.moc"
