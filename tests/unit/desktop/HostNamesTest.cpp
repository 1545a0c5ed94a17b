// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/HostNames.h"
#include "platform/Turns.h"
#include "unit/desktop/SilentNameServer.h"
#include "unit/desktop/SlowService.h"
#include "world/Settle.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using quillfen::world::settle;

namespace quillfen::platform {

namespace {

using Answer = std::optional<QString>;

HostNames::Resolver resolverOf(const std::shared_ptr<SlowService> &service)
{
    return [service](const QString &address) {
        service->wait();
        return u"host-"_s + address;
    };
}

Task<void> keep(HostNames *host, QString address, std::vector<Answer> *answers)
{
    Answer answer = co_await host->name(address);
    answers->push_back(std::move(answer));
}

const QString kNoFile = u"/nonexistent"_s;

/// Asks the system's resolver with such a server for a name and prints what came of it.
int askASilentNameServer()
{
    const SilentNameServer server;
    HostNames host;
    QElapsedTimer watch;
    watch.start();
    const Answer name = settle(host.name(u"192.0.2.7"_s));
    std::printf("%s, %s after %lld s\n", server.wasAsked() ? "asked" : "not asked",
                name ? "a name" : "nothing", (watch.elapsed() + 100) / 1000);
    return EXIT_SUCCESS;
}

} // namespace

class HostNamesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSystemKnowsThisMachine()
    {
        HostNames host;
        QCOMPARE(settle(host.name(u"127.0.0.1"_s)), u"localhost"_s);
    }

    void whatIsNoIPv4AddressIsNotLookedUp_data()
    {
        struct Row {
            const char *name;
            QString address;
        };
        static const Row rows[] = {
            {.name = "empty", .address = {}},
            {.name = "shown without a network", .address = u"-.-.-.-"_s},
            {.name = "shown without a list", .address = u"???"_s},
            {.name = "a name", .address = u"localhost"_s},
            {.name = "IPv6", .address = u"::1"_s},
            {.name = "three numbers", .address = u"192.0.2"_s},
            {.name = "one number", .address = u"3221225991"_s},
            {.name = "more than a byte", .address = u"192.0.2.256"_s},
            {.name = "blank behind", .address = u"192.0.2.7 "_s},
            {.name = "line end behind", .address = u"192.0.2.7\n"_s},
            {.name = "zero behind", .address = QString(u"192.0.2.7"_s + QChar(0))},
            {.name = "Arabic digits", .address = u"١.١.١.١"_s},
        };
        QTest::addColumn<QString>("address");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.address;
    }
    void whatIsNoIPv4AddressIsNotLookedUp()
    {
        QFETCH(QString, address);
        HostNames host([](const QString &) { return u"found"_s; }, kNoFile);
        QCOMPARE(settle(host.name(u"192.0.2.7"_s)), u"found"_s);
        QCOMPARE(settle(host.name(address)), std::nullopt);
    }

    void whatHasNoNameGetsNothing()
    {
        HostNames host([](const QString &) { return std::nullopt; }, kNoFile);
        QCOMPARE(settle(host.name(u"192.0.2.7"_s)), std::nullopt);
    }

    void silenceIsEndedAfterTwoSecondsWithTheLoopRunning()
    {
        const auto service = std::make_shared<SlowService>();
        HostNames host(resolverOf(service), kNoFile);
        std::vector<Answer> answers;
        Turns turns([](std::exception_ptr) {});
        QElapsedTimer watch;
        watch.start();
        turns.take(keep(&host, u"192.0.2.7"_s, &answers));
        qint64 longestGap = 0;
        QElapsedTimer gap;
        gap.start();
        while (answers.empty() && watch.elapsed() < 5000) {
            QTest::qWait(1);
            longestGap = std::max(longestGap, gap.restart());
        }
        QCOMPARE(answers, std::vector<Answer>{std::nullopt});
        QVERIFY(watch.elapsed() >= 1990 && watch.elapsed() < 2500);
        QVERIFY2(longestGap < 500, "the event loop stood still");
        service->open(); // what comes too late is dropped
        QCOMPARE(settle(host.name(u"192.0.2.8"_s)), u"host-192.0.2.8"_s);
        QCOMPARE(answers.size(), std::size_t(1));
    }

    void whileEightAreOutAFurtherOneGetsNothingAtOnce()
    {
        const auto service = std::make_shared<SlowService>();
        HostNames host(resolverOf(service), kNoFile);
        std::vector<Answer> answers;
        std::vector<std::unique_ptr<Turns>> flows;
        const auto start = [&](int number) {
            flows.push_back(std::make_unique<Turns>([](std::exception_ptr) {}));
            flows.back()->take(keep(&host, u"192.0.2.%1"_s.arg(number), &answers));
        };
        for (int i = 0; i < HostNames::kMostLookups; ++i)
            start(i);
        QTRY_COMPARE(service->asked(), HostNames::kMostLookups);
        QVERIFY(answers.empty());
        start(100);
        QCOMPARE(answers, std::vector<Answer>{std::nullopt});
        service->open();
        QTRY_COMPARE(answers.size(), std::size_t(HostNames::kMostLookups + 1));
        QCOMPARE(std::count(answers.begin(), answers.end(), std::nullopt), 1);
        QCOMPARE(settle(host.name(u"192.0.2.9"_s)), u"host-192.0.2.9"_s);
    }

    void aCancelledQuestionAndAnEndMeanwhileAreHarmless()
    {
        const auto service = std::make_shared<SlowService>();
        auto host = std::make_unique<HostNames>(resolverOf(service), kNoFile);
        std::vector<Answer> answers;
        {
            Turns turns([](std::exception_ptr) {});
            turns.take(keep(host.get(), u"192.0.2.7"_s, &answers));
            QTRY_COMPARE(service->asked(), 1);
        }
        Turns turns([](std::exception_ptr) {});
        turns.take(keep(host.get(), u"192.0.2.8"_s, &answers));
        QTRY_COMPARE(service->asked(), 2);
        host.reset();
        service->open();
        QTRY_VERIFY_WITH_TIMEOUT(!turns.busy(), 3000);
        QCOMPARE(answers, std::vector<Answer>{std::nullopt});
    }

    void deadNameServersHoldUpNeitherTheCallerNorTheEnd()
    {
        QProcess child;
        QElapsedTimer watch;
        watch.start();
        child.start(QCoreApplication::applicationFilePath(), {kWithSilentNameServer});
        QVERIFY(child.waitForFinished(20'000));
        QCOMPARE(child.readAllStandardOutput().trimmed(), "asked, nothing after 2 s");
        QCOMPARE(child.exitCode(), 0);
        QVERIFY2(watch.elapsed() < 4000, "the end waited for the resolver");
    }

    void thisMachineIsCalledWhatItsOwnerCallsIt()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(u"machine-info"_s);
        const HostNames host(systemResolver, path);
        QCOMPARE(host.machineName(), QSysInfo::machineHostName());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        QVERIFY(file.write("PRETTY_HOSTNAME=\"Zoë's Desk\"\n") > 0);
        QCOMPARE(host.machineName(), u"Zoë's Desk"_s);
        QVERIFY(file.resize(0));
        QCOMPARE(host.machineName(), QSysInfo::machineHostName());
    }
};

} // namespace quillfen::platform

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (app.arguments().contains(quillfen::platform::kWithSilentNameServer))
        return quillfen::platform::askASilentNameServer();
    quillfen::platform::HostNamesTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "HostNamesTest.moc"
