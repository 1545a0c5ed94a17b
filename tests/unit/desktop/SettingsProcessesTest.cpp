// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/JsonPreferences.h"
#include "unit/desktop/InChild.h"
#include "unit/desktop/SettingsFolder.h"
#include "world/FakeConsole.h"

#include <QDeadlineTimer>
#include <QLockFile>
#include <QRandomGenerator>
#include <QTest>
#include <QThread>

#include <array>
#include <chrono>
#include <cstdlib>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

constexpr int kWritesEach = 1000;
constexpr int kWritesUnderFire = 500;

/// Stores kWritesEach keys that start with @p prefix, one by one.
[[noreturn]] void storeMany(const QString &folder, const QString &prefix)
{
    world::FakeConsole console;
    JsonPreferences settings(console, folder);
    for (int i = 0; i < kWritesEach; ++i) {
        settings.setValue(prefix + QString::number(i), i);
        settings.synchronize(); // where the lock is taken, a later one stores it
    }
    const QDeadlineTimer deadline(20'000);
    while (!settings.synchronize() && !deadline.hasExpired())
        QThread::yieldCurrentThread();
    _exit(deadline.hasExpired() ? EXIT_FAILURE : EXIT_SUCCESS);
}

pid_t inBackground(auto part)
{
    const pid_t child = fork();
    if (child == 0)
        part();
    return child;
}

/// Whether @p child has ended; its status goes to @p status.
bool ended(pid_t child, int *status)
{
    return waitpid(child, status, WNOHANG) == child;
}

} // namespace

/// Several processes on one settings file, some of which die.
class SettingsProcessesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void twoWritersLoseNothing()
    {
        const SettingsFolder folder;
        const QString path = folder.path();
        const pid_t one = inBackground([&] { storeMany(path, u"one "_s); });
        const pid_t two = inBackground([&] { storeMany(path, u"two "_s); });
        bool oneDone = false;
        bool twoDone = false;
        bool appeared = false;
        int looks = 0;
        std::array<int, 2> status = {};
        while (!oneDone || !twoDone) {
            oneDone = oneDone || ended(one, &status[0]);
            twoDone = twoDone || ended(two, &status[1]);
            const QJsonObject seen = folder.object();
            appeared = appeared || !seen.isEmpty();
            if (appeared)
                QVERIFY2(!seen.isEmpty(), "the file was empty or did not parse");
            ++looks;
        }
        QCOMPARE(status[0], 0);
        QCOMPARE(status[1], 0);
        QVERIFY(looks > 10);
        const QJsonObject stored = folder.object();
        QCOMPARE(stored.size(), qsizetype(2) * kWritesEach);
        for (int i = 0; i < kWritesEach; ++i) {
            QCOMPARE(stored.value(u"one "_s + QString::number(i)), QJsonValue(i));
            QCOMPARE(stored.value(u"two "_s + QString::number(i)), QJsonValue(i));
        }
        QCOMPARE(folder.names(), QStringList(u"settings.json"_s));
    }

    void aWriterKilledAtAnyMomentLeavesAFileThatParses()
    {
        const SettingsFolder folder;
        folder.write(R"({"before":true})");
        constexpr int kRounds = 100;
        for (int round = 0; round < kRounds; ++round) {
            std::array<int, 2> progress = {};
            QCOMPARE(pipe(progress.data()), 0);
            const pid_t child = inBackground([&] { storeForEver(folder.path(), progress[1]); });
            close(progress[1]);
            char writing = '\0';
            QCOMPARE(read(progress[0], &writing, 1), 1);
            close(progress[0]);
            const int delay = QRandomGenerator::global()->bounded(30'000'000); // ns
            const QDeadlineTimer moment(std::chrono::nanoseconds(delay), Qt::PreciseTimer);
            while (!moment.hasExpired())
                QThread::yieldCurrentThread();
            kill(child, SIGKILL);
            int status = 0;
            QCOMPARE(waitpid(child, &status, 0), child);
            QVERIFY(WIFSIGNALED(status));
            QCOMPARE(folder.object().value(u"before"_s), QJsonValue(true));
        }
        QVERIFY(folder.object().size() > 1);
        QCOMPARE(folder.aside(), QStringList());

        JsonPreferences settings(m_console, folder.path());
        settings.setValue(u"after"_s, true);
        QTRY_VERIFY(settings.synchronize());
        QCOMPARE(folder.object().value(u"after"_s), QJsonValue(true));
    }

    void aLockWithoutANameIsWaitedForOnce()
    {
        const SettingsFolder folder;
        QFile lock(folder.file() + u".lock"_s);
        QVERIFY(lock.open(QIODevice::WriteOnly));
        lock.close();
        JsonPreferences settings(m_console, folder.path());
        settings.setValue(u"n"_s, 1);
        QVERIFY(settings.synchronize());
        QCOMPARE(folder.names(), QStringList(u"settings.json"_s));
    }

    void aLockThatIsHeldForLongIsNotTakenAway()
    {
        const SettingsFolder folder;
        const QString name = folder.file() + u".lock"_s;
        std::array<int, 2> held = {};
        QCOMPARE(pipe(held.data()), 0);
        const pid_t child = inBackground([&] {
            QLockFile lock(name);
            const bool done = lock.tryLock() && write(held[1], "x", 1) == 1;
            pause();
            _exit(done ? EXIT_SUCCESS : EXIT_FAILURE);
        });
        char holding = '\0';
        QCOMPARE(read(held[0], &holding, 1), 1);
        JsonPreferences settings(m_console, folder.path());
        settings.setValue(u"n"_s, 1);
        const QDeadlineTimer tries(2500);
        while (!tries.hasExpired())
            QVERIFY(!settings.synchronize());
        QVERIFY(!QFile::exists(folder.file()));
        kill(child, SIGKILL);
        QCOMPARE(waitpid(child, nullptr, 0), child);
        QTRY_VERIFY(settings.synchronize());
    }

private:
    /// Tells @p progress once the first of its values is stored.
    [[noreturn]] void storeForEver(const QString &folder, int progress)
    {
        JsonPreferences settings(m_console, folder);
        bool told = false;
        for (int i = 0;; i = (i + 1) % kWritesUnderFire) {
            settings.setValue(u"key %1"_s.arg(i), QRandomGenerator::global()->generateDouble());
            if (settings.synchronize() && !told)
                told = write(progress, "x", 1) == 1;
        }
    }

    world::FakeConsole m_console;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::SettingsProcessesTest)
#include "SettingsProcessesTest.moc"
