// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/SoundPlayer.h"
#include "unit/desktop/PlayerPrograms.h"
#include "unit/net/Descriptors.h"

#include <QFile>
#include <QProcessEnvironment>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <optional>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

constexpr int kDeadline = 20'000; // milliseconds
constexpr auto kPatience = 60s; // that no machine's load can use up
const QString kName = u"Mail Sent.aiff"_s;

/// Whether this process has children, ended ones that nobody has waited for included.
bool hasChildren()
{
    siginfo_t one = {};
    return waitid(P_ALL, 0, &one, WEXITED | WNOHANG | WNOWAIT) == 0;
}

/// Whether the child @p process has ended and is to be waited for.
bool hasEnded(pid_t process)
{
    siginfo_t how = {};
    const auto id = static_cast<id_t>(process);
    return waitid(P_PID, id, &how, WEXITED | WNOHANG | WNOWAIT) == 0 && how.si_pid == process;
}

QByteArrayList ownEnvironment()
{
    QByteArrayList all;
    for (const QString &each : QProcessEnvironment::systemEnvironment().toStringList())
        all.append(QFile::encodeName(each).replace('\n', ' '));
    std::ranges::sort(all);
    return all;
}

/// While it lives, this process can open no more descriptors than it has.
class NoMoreDescriptors {
public:
    NoMoreDescriptors()
    {
        getrlimit(RLIMIT_NOFILE, &m_before);
        rlimit none = m_before;
        const int lowest = dup(STDIN_FILENO);
        close(lowest);
        none.rlim_cur = static_cast<rlim_t>(lowest);
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &m_before); }
    NoMoreDescriptors(const NoMoreDescriptors &) = delete;
    NoMoreDescriptors &operator=(const NoMoreDescriptors &) = delete;

private:
    rlimit m_before = {};
};

} // namespace

class SoundPlayerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_programs.emplace();
        m_folder = m_programs->folderWithSound(kName);
        m_player.emplace(m_folder, kPatience);
    }
    void cleanup()
    {
        QTRY_VERIFY_WITH_TIMEOUT(!hasChildren(), kDeadline);
        m_player.reset();
        m_programs.reset();
    }

    void onlyAFileIsASound_data()
    {
        struct Row {
            const char *name;
            QString file;
            bool isSound;
        };
        static const Row rows[] = {
            {.name = "a file", .file = kName, .isSound = true},
            {.name = "no file", .file = u"Mail Lost.aiff"_s, .isSound = false},
            {.name = "a folder", .file = u"."_s, .isSound = false},
            {.name = "no name", .file = u""_s, .isSound = false},
        };
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("isSound");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.file << row.isSound;
    }
    void onlyAFileIsASound()
    {
        QFETCH(QString, file);
        QFETCH(bool, isSound);
        QCOMPARE(m_player->load(file) != nullptr, isSound);
    }

    void inAFolderThatIsMissingThereIsNoSound()
    {
        m_player.emplace(m_folder + u"/nowhere"_s, kPatience);
        QVERIFY(!m_player->load(kName));
    }

    void theProgramsOwnSoundsAreBesideItsFolder()
    {
        SoundPlayer ours;
        QVERIFY(ours.load(u"Mail Sent.aiff"_s));
        QVERIFY(ours.load(u"Mail Not Sent.aiff"_s));
    }

    void itIsPlayedEachTimeAndGoesOnWithoutTheSound()
    {
        m_programs->install("paplay", PlayerPrograms::kPlays);
        m_programs->install("pw-play", PlayerPrograms::kPlays);
        for (int count = 1; count <= 3; ++count) {
            m_player->load(kName)->play();
            QTRY_COMPARE_WITH_TIMEOUT(heard(), times(count, "paplay"), kDeadline);
            QTRY_VERIFY_WITH_TIMEOUT(!hasChildren(), kDeadline);
        }
    }

    void thePlayerThatIsLeftPlays_data()
    {
        struct Row {
            const char *name;
            QByteArray first;
        };
        static const Row rows[] = {
            {.name = "the first is missing", .first = {}},
            {.name = "the first fails", .first = PlayerPrograms::kFails},
            {.name = "the first is killed", .first = "kill -KILL $$"},
        };
        QTest::addColumn<QByteArray>("first");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.first;
    }
    void thePlayerThatIsLeftPlays()
    {
        QFETCH(QByteArray, first);
        if (!first.isEmpty())
            m_programs->install("paplay", first);
        m_programs->install("pw-play", PlayerPrograms::kPlays);
        m_player->load(kName)->play();
        QTRY_COMPARE_WITH_TIMEOUT(heard(), times(1, "pw-play"), kDeadline);
    }

    void withoutAPlayerThereIsSilence()
    {
        const std::vector<int> before = test::openDescriptors();
        m_player->load(kName)->play();
        QVERIFY(!hasChildren());
        QCOMPARE(test::openDescriptors(), before);

        m_programs->install("paplay", PlayerPrograms::kPlays);
        m_player->load(kName)->play();
        QTRY_COMPARE_WITH_TIMEOUT(heard(), times(1, "paplay"), kDeadline);
    }

    void withoutASoundServerEveryPlayerIsTriedOnce()
    {
        m_programs->install("paplay", PlayerPrograms::kFails);
        m_programs->install("pw-play", PlayerPrograms::kFails);
        const std::vector<int> before = test::openDescriptors();
        m_player->load(kName)->play();
        QTRY_VERIFY_WITH_TIMEOUT(!hasChildren(), kDeadline);
        QCOMPARE(m_programs->lines("failed"), QByteArrayList({"paplay", "pw-play"}));
        QCOMPARE(test::openDescriptors(), before);
    }

    void aPlayerHoldsNothingOfOurs()
    {
        m_programs->install("paplay",
                            "tr '\\n\\0' ' \\n' </proc/$$/environ >$here/environment\n"
                            "files=$(readlink /proc/$$/fd/*)\n"
                            "echo \"$files\" >$here/part\n"
                            "mv $here/part $here/files");
        const int ours = open("/dev/zero", O_RDONLY); // not O_CLOEXEC: a mistake
        m_player->load(kName)->play();
        QTRY_VERIFY_WITH_TIMEOUT(!m_programs->lines("files").isEmpty(), kDeadline);
        close(ours);

        const QByteArrayList files = m_programs->lines("files");
        QCOMPARE(files.count("/dev/null"), 3);
        // Besides, the shell's own: its script and the other end of readlink's output.
        QVERIFY2(!files.contains("/dev/zero"), files.join(' '));
        QByteArrayList environment = m_programs->lines("environment");
        std::ranges::sort(environment);
        QCOMPARE(environment, ownEnvironment());
    }

    void manyAreHeardAtOnceButNotTooMany()
    {
        m_programs->install("paplay",
                            QByteArray(PlayerPrograms::kWaits) + '\n' + PlayerPrograms::kPlays);
        const std::unique_ptr<Sound> sound = m_player->load(kName);
        for (int count = 0; count < 20; ++count)
            sound->play();
        QTRY_COMPARE_WITH_TIMEOUT(m_programs->lines("waits").size(), 4, kDeadline);
        m_programs->letPass(4);
        QTRY_VERIFY_WITH_TIMEOUT(!hasChildren(), kDeadline);
        QCOMPARE(heard(), times(4, "paplay"));

        m_programs->install("paplay", PlayerPrograms::kPlays);
        sound->play();
        QTRY_COMPARE_WITH_TIMEOUT(heard().size(), 5, kDeadline);
    }

    void aPlayerThatHangsIsKilledAndNoneTriedAfterIt()
    {
        m_programs->install("paplay", PlayerPrograms::kHangs);
        m_programs->install("pw-play", PlayerPrograms::kPlays);
        m_player.emplace(m_folder, 5s);
        const std::vector<int> before = test::openDescriptors();
        m_player->load(kName)->play();
        QTRY_COMPARE_WITH_TIMEOUT(m_programs->lines("waits").size(), 1, kDeadline);
        QVERIFY(!hasEnded(m_programs->lines("waits").constFirst().toInt()));
        QTRY_VERIFY_WITH_TIMEOUT(!hasChildren(), kDeadline);
        QCOMPARE(heard(), QByteArrayList());
        QCOMPARE(test::openDescriptors(), before);

        m_programs->install("paplay", PlayerPrograms::kPlays);
        m_player->load(kName)->play();
        QTRY_COMPARE_WITH_TIMEOUT(heard(), times(1, "paplay"), kDeadline);
    }

    void whatIsBeingPlayedEndsWithThePlayer()
    {
        m_programs->install("paplay", PlayerPrograms::kHangs);
        const std::vector<int> before = test::openDescriptors();
        m_player->load(kName)->play();
        QTRY_COMPARE_WITH_TIMEOUT(m_programs->lines("waits").size(), 1, kDeadline);
        m_player.reset();
        QCOMPARE(test::openDescriptors(), before);
        int status = 0;
        const pid_t process = m_programs->lines("waits").constFirst().toInt();
        QTRY_VERIFY_WITH_TIMEOUT(hasEnded(process), kDeadline);
        QCOMPARE(waitpid(process, &status, 0), process);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), SIGKILL);
    }

    void withoutDescriptorsThereIsSilence()
    {
        m_programs->install("paplay", PlayerPrograms::kHangs);
        m_programs->install("pw-play", PlayerPrograms::kHangs);
        const std::unique_ptr<Sound> sound = m_player->load(kName);
        {
            const NoMoreDescriptors poverty;
            sound->play();
            QVERIFY(!hasChildren());
        }
        m_programs->install("paplay", PlayerPrograms::kPlays);
        sound->play();
        QTRY_COMPARE_WITH_TIMEOUT(heard(), times(1, "paplay"), kDeadline);
    }

private:
    QByteArrayList heard() const { return m_programs->lines("heard"); }

    /// What is heard when the player @p program has played the sound @p count times.
    QByteArrayList times(int count, const QByteArray &program) const
    {
        const QByteArray option =
            program == "paplay" ? "--property=media.role=event" : "--media-role=Notification";
        return {count,
                program + '|' + option + '|' + QFile::encodeName(m_folder) + "/Mail Sent.aiff"};
    }

    std::optional<PlayerPrograms> m_programs;
    QString m_folder;
    std::optional<SoundPlayer> m_player;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::SoundPlayerTest)
#include "SoundPlayerTest.moc"
