// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/UnixSignals.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <signal.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

const QString kOrderly = u"--orderly"_s;
const QString kStubborn = u"--stubborn"_s;
const QString kStuck = u"--stuck"_s;
const QString kBrokenPipe = u"--broken-pipe"_s;
const QString kParent = u"--parent"_s;
const QString kLeaving = u"--leaving"_s;
const QString kLingering = u"--lingering"_s;

void say(const char *word)
{
    std::puts(word);
    std::fflush(stdout);
}

/// A program that has ended in order and gets @p again once more, right before its very end.
int beLeaving(QCoreApplication &app, int again, std::chrono::milliseconds after)
{
    {
        const UnixSignals watch(&QCoreApplication::quit);
        say("ready");
        app.exec();
    }
    say("leaving");
    QTest::qWait(static_cast<int>(after.count()));
    raise(again);
    say("left");
    return EXIT_SUCCESS;
}

/// A program that is started by the tests, as @p what.
int beProgram(QCoreApplication &app, const QString &what)
{
    if (what == kLeaving)
        return beLeaving(app, SIGINT, 0ms);
    if (what == kLingering)
        return beLeaving(app, SIGINT, 1100ms);
    ignoreSignalsOfFailedWrites();
    const UnixSignals watch([&] {
        say("asked");
        if (what == kOrderly)
            app.quit();
    });
    if (what == kBrokenPipe) {
        std::array<int, 2> ends = {};
        if (pipe(ends.data()) != 0 || close(ends[0]) != 0 || write(ends[1], "x", 1) != -1)
            return EXIT_FAILURE;
        say("alive");
        return EXIT_SUCCESS;
    }
    if (what == kParent)
        return QProcess::execute(u"cat"_s, {u"/proc/self/status"_s});
    say("ready");
    while (what == kStuck)
        pause();
    app.exec();
    say("ended in order");
    return EXIT_SUCCESS;
}

class Program {
public:
    explicit Program(const QString &what, const QStringList &before = {})
    {
        const QStringList line = before + QStringList{app(), what};
        m_process.start(line.constFirst(), line.sliced(1));
        if (!m_process.waitForReadyRead() || nextLine() != "ready")
            qFatal("the program did not start");
    }
    void send(int number) const { ::kill(pid_t(m_process.processId()), number); }
    QByteArray nextLine()
    {
        while (!m_process.canReadLine()) {
            if (!m_process.waitForReadyRead(5000))
                return "silence";
        }
        return m_process.readLine().trimmed();
    }
    bool runs() const { return m_process.state() == QProcess::Running; }
    /// How it ended: its exit status, or minus the signal that it died of.
    int end()
    {
        if (!m_process.waitForFinished(5000))
            return 1000;
        return m_process.exitStatus() == QProcess::CrashExit ? -m_process.exitCode()
                                                             : m_process.exitCode();
    }
    static QString app() { return QCoreApplication::applicationFilePath(); }

private:
    QProcess m_process;
};

} // namespace

class UnixSignalsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachOfThreeSignalsEndsTheProgramInOrder_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }
    void eachOfThreeSignalsEndsTheProgramInOrder()
    {
        QFETCH(int, number);
        Program program(kOrderly);
        program.send(number);
        QCOMPARE(program.nextLine(), "asked");
        QCOMPARE(program.nextLine(), "ended in order");
        QCOMPARE(program.end(), 0);
    }

    void severalAtOnceAreOneRequest()
    {
        Program program(kOrderly);
        for (const int number : {SIGTERM, SIGHUP, SIGTERM, SIGINT})
            program.send(number);
        QCOMPARE(program.nextLine(), "asked");
        QCOMPARE(program.nextLine(), "ended in order");
        QCOMPARE(program.end(), 0);
    }

    void aSecondOneALittleLaterEndsAProgramThatWillNot_data()
    {
        QTest::addColumn<QString>("what");
        QTest::newRow("it does not quit") << kStubborn;
        QTest::newRow("its event loop stands still") << kStuck;
    }
    void aSecondOneALittleLaterEndsAProgramThatWillNot()
    {
        QFETCH(QString, what);
        Program program(what);
        program.send(SIGTERM);
        QTest::qWait(300);
        program.send(SIGINT); // the same request still
        QTest::qWait(300);
        QVERIFY(program.runs());
        QTest::qWait(900);
        program.send(SIGINT);
        QCOMPARE(program.end(), -SIGINT);
    }

    void whatIgnoredHangUpsGoesOnIgnoringThem()
    {
        Program program(kOrderly, {u"nohup"_s});
        program.send(SIGHUP);
        QTest::qWait(200);
        QVERIFY(program.runs());
        program.send(SIGTERM);
        QCOMPARE(program.nextLine(), "asked");
        QCOMPARE(program.nextLine(), "ended in order");
        QCOMPARE(program.end(), 0);
    }

    void aBrokenPipeIsNoEvent()
    {
        QProcess program;
        program.start(Program::app(), {kBrokenPipe});
        QVERIFY(program.waitForFinished());
        QCOMPARE(program.readAllStandardOutput().trimmed(), "alive");
    }

    void childrenStartWithDefaults()
    {
        QProcess program;
        program.start(Program::app(), {kParent});
        QVERIFY(program.waitForFinished());
        const QString status = QString::fromLatin1(program.readAllStandardOutput());
        for (const auto set : {"SigBlk:"_L1, "SigIgn:"_L1, "SigCgt:"_L1})
            QVERIFY2(status.contains(set + "\t0000000000000000"_L1), qPrintable(status));
    }

    void afterItsEndTheSameRequestIsStillTheSame()
    {
        Program program(kLeaving);
        program.send(SIGTERM);
        QCOMPARE(program.nextLine(), "leaving");
        QCOMPARE(program.nextLine(), "left");
        QCOMPARE(program.end(), 0);
    }

    void afterItsEndALaterRequestEndsTheProcess()
    {
        Program program(kLingering);
        program.send(SIGTERM);
        QCOMPARE(program.nextLine(), "leaving");
        QCOMPARE(program.end(), -SIGINT);
    }

    void afterItsEndWithoutARequestSignalsEndTheProcessAsEver()
    {
        {
            const UnixSignals ours([] {});
        }
        struct sigaction action = {};
        for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
            QCOMPARE(sigaction(number, nullptr, &action), 0);
            QVERIFY(action.sa_handler == SIG_DFL);
        }
    }
};

} // namespace quillfen::platform

int main(int argc, char **argv)
{
    using namespace quillfen::platform;
    QCoreApplication app(argc, argv);
    for (const QString &what :
         {kOrderly, kStubborn, kStuck, kBrokenPipe, kParent, kLeaving, kLingering}) {
        if (app.arguments().contains(what))
            return beProgram(app, what);
    }
    UnixSignalsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "UnixSignalsTest.moc"
