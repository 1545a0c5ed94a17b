// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/SystemNameLookup.h"

#include "platform/Turns.h"
#include "unit/desktop/SilentNameServer.h"
#include "unit/desktop/SlowService.h"
#include "world/Settle.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using quillfen::world::settle;

namespace quillfen::platform {

namespace {

SystemNameLookup::Resolver resolverOf(const std::shared_ptr<SlowService> &service)
{
    return [service](const QString &name) -> NameAnswer {
        service->wait();
        return {.addresses = {u"address of "_s + name}, .trouble = {}};
    };
}

Task<> keep(SystemNameLookup *names, QString name, QStringList *answers)
{
    const NameAnswer answer = co_await names->addresses(name);
    answers->append(answer.addresses.value(0, answer.trouble));
}

/// Asks such a server and goes away without the answer.
int askASilentNameServer()
{
    const SilentNameServer server;
    QStringList answers;
    SystemNameLookup names;
    Turns turns([](const std::exception_ptr &) {});
    turns.take(keep(&names, u"service.example"_s, &answers));
    const bool asked = QTest::qWaitFor([&server] { return server.wasAsked(); }, 10'000);
    std::puts(asked ? "asked" : "not asked");
    return EXIT_SUCCESS;
}

} // namespace

class SystemNameLookupTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSystemKnowsItself_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("address");
        QTest::newRow("IPv4") << u"127.0.0.1"_s << u"127.0.0.1"_s;
        QTest::newRow("IPv6") << u"::1"_s << u"::1"_s;
    }
    void theSystemKnowsItself()
    {
        QFETCH(QString, name);
        QFETCH(QString, address);
        SystemNameLookup names;
        const NameAnswer answer = settle(names.addresses(name));
        QCOMPARE(answer.addresses, QStringList(address));
        QCOMPARE(answer.trouble, QString());
    }

    void theSystemKnowsLocalhost()
    {
        SystemNameLookup names;
        QVERIFY(settle(names.addresses(u"localhost"_s)).addresses.contains(u"127.0.0.1"_s));
    }

    void saysWhyThereIsNone_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("empty") << QString();
        QTest::newRow("a zero in it") << QString(u"local\0host"_s);
        QTest::newRow("a name that cannot be") << u"-..-"_s;
    }
    void saysWhyThereIsNone()
    {
        QFETCH(QString, name);
        SystemNameLookup names;
        const NameAnswer answer = settle(names.addresses(name));
        QCOMPARE(answer.addresses, QStringList());
        QVERIFY(!answer.trouble.isEmpty());
    }

    void whoeverAsksForTheSameNameSharesTheLookup()
    {
        const auto service = std::make_shared<SlowService>();
        SystemNameLookup names(resolverOf(service));
        QStringList answers;
        Turns one([](const std::exception_ptr &) {});
        Turns two([](const std::exception_ptr &) {});
        one.take(keep(&names, u"a.example"_s, &answers));
        two.take(keep(&names, u"a.example"_s, &answers));
        QTRY_COMPARE(service->asked(), 1);
        service->open();
        QTRY_COMPARE(answers, QStringList(2, u"address of a.example"_s));
        QCOMPARE(service->asked(), 1);
    }

    void whileEightAreOutAFurtherNameGetsNothingAtOnce()
    {
        const auto service = std::make_shared<SlowService>();
        SystemNameLookup names(resolverOf(service));
        QStringList answers;
        std::vector<std::unique_ptr<Turns>> flows;
        for (int i = 0; i <= SystemNameLookup::kMostNames; ++i) {
            flows.push_back(std::make_unique<Turns>([](const std::exception_ptr &) {}));
            flows.back()->take(keep(&names, u"%1.example"_s.arg(i), &answers));
        }
        QCOMPARE(answers, QStringList(u"too many lookups are under way"_s));
        service->open();
        QTRY_COMPARE(answers.size(), SystemNameLookup::kMostNames + 1);
    }

    void aCancelledQuestionAndAnEndMeanwhileAreHarmless()
    {
        const auto service = std::make_shared<SlowService>();
        auto names = std::make_unique<SystemNameLookup>(resolverOf(service));
        QStringList answers;
        {
            Turns turns([](const std::exception_ptr &) {});
            turns.take(keep(names.get(), u"a.example"_s, &answers));
            QTRY_COMPARE(service->asked(), 1);
        }
        Turns turns([](const std::exception_ptr &) {});
        turns.take(keep(names.get(), u"b.example"_s, &answers));
        QTRY_COMPARE(service->asked(), 2);
        names.reset();
        service->open();
        QTRY_COMPARE(service.use_count(), 1L); // both lookups have ended
        QCoreApplication::processEvents();
        QCOMPARE(answers, QStringList());
    }

    void deadNameServersDoNotHoldUpTheEnd()
    {
        QProcess child;
        QElapsedTimer watch;
        watch.start();
        child.start(QCoreApplication::applicationFilePath(), {kWithSilentNameServer});
        QVERIFY(child.waitForFinished(20'000));
        QCOMPARE(child.readAllStandardOutput().trimmed(), "asked");
        QCOMPARE(child.exitCode(), 0);
        QVERIFY2(watch.elapsed() < 4000, "the end waited for the resolver");
    }
};

} // namespace quillfen::platform

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (app.arguments().contains(quillfen::platform::kWithSilentNameServer))
        return quillfen::platform::askASilentNameServer();
    quillfen::platform::SystemNameLookupTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "SystemNameLookupTest.moc"
