// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/LogFile.h"
#include "unit/support/DataHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <optional>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace quillfen::support {

namespace {

/// A disk that lets files grow to @p bytes and no further, while this object lives: the kernel
/// writes the part that fits and then refuses, as a full disk does.
class SmallDisk {
public:
    explicit SmallDisk(qint64 bytes)
    {
        ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit small{.rlim_cur = static_cast<rlim_t>(bytes), .rlim_max = m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallDisk() { ::setrlimit(RLIMIT_FSIZE, &m_before); }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;

private:
    rlimit m_before{};
};

} // namespace

class LogFileTest : public QObject {
    Q_OBJECT

    std::optional<DataHome> m_home;

private Q_SLOTS:
    void init()
    {
        m_home.emplace();
        m_home->makeProgramFolder();
    }

    void makesAFileForItsOwnerOnly()
    {
        ::umask(0);
        LogFile file;
        QCOMPARE(file.open(m_home->logPath()), 0);
        const auto owner =
            QFile::ReadOwner | QFile::WriteOwner | QFile::ReadUser | QFile::WriteUser;
        QCOMPARE(QFile::permissions(m_home->logPath()), owner);
    }

    void bracketsARun()
    {
        LogFile file;
        QCOMPARE(file.open(m_home->logPath()), 0);
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s}));
        QCOMPARE(file.append("line\n"), 0);
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s, u"line"_s}));
        QCOMPARE(file.close(), 0);
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s, u"line"_s, u"[date] stop"_s}));
    }

    void endsTheRunWhenItIsDestroyed()
    {
        LogFile().open(m_home->logPath());
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s, u"[date] stop"_s}));
    }

    void appendsToWhatIsThere()
    {
        QFile before(m_home->logPath());
        QVERIFY(before.open(QIODevice::WriteOnly) && before.write("older\n") == 6);
        before.close();
        LogFile().open(m_home->logPath());
        const QStringList expected{u"older"_s, u"[date] start"_s, u"[date] stop"_s};
        QCOMPARE(m_home->logLines(), expected);
    }

    void appendsBehindOtherWriters()
    {
        LogFile ours;
        LogFile theirs;
        QCOMPARE(ours.open(m_home->logPath()), 0);
        QCOMPARE(theirs.open(m_home->logPath()), 0);
        QCOMPARE(ours.append("ours 1\n"), 0);
        QCOMPARE(theirs.append("theirs\n"), 0);
        QCOMPARE(ours.append("ours 2\n"), 0);
        const QStringList expected{u"[date] start"_s, u"[date] start"_s, u"ours 1"_s, u"theirs"_s,
                                   u"ours 2"_s};
        QCOMPARE(m_home->logLines(), expected);
    }

    void takesEverythingWithoutComplaintWhenNotOpen()
    {
        LogFile file;
        QCOMPARE(file.append("lost\n"), 0);
        QCOMPARE(file.close(), 0);
        QCOMPARE(file.open(m_home->path() + u"/missing/Quillfen.log"_s), ENOENT);
        QCOMPARE(file.append("lost\n"), 0);
        QCOMPARE(file.close(), 0);
        QVERIFY(!QFileInfo::exists(m_home->logPath()));
    }

    void refusesAFolder()
    {
        QVERIFY(QDir().mkdir(m_home->logPath()));
        LogFile file;
        QCOMPARE(file.open(m_home->logPath()), EISDIR);
        QCOMPARE(file.append("lost\n"), 0);
    }

    void refusesAPipeAtOnce_data()
    {
        QTest::addColumn<bool>("someoneReads");
        QTest::newRow("that nobody reads") << false;
        QTest::newRow("that someone reads") << true;
    }

    void refusesAPipeAtOnce()
    {
        QFETCH(bool, someoneReads);
        const QByteArray path = QFile::encodeName(m_home->logPath());
        QCOMPARE(::mkfifo(path.constData(), 0600), 0);
        const int reader = someoneReads ? ::open(path.constData(), O_RDONLY | O_NONBLOCK) : -1;
        LogFile file;
        QCOMPARE(file.open(m_home->logPath()), ENXIO);
        QCOMPARE(file.append("lost\n"), 0);
        if (someoneReads)
            QCOMPARE(::close(reader), 0);
    }

    void staysOpenOnADiskThatTakesNothing()
    {
        QVERIFY(QFile::link(u"/dev/full"_s, m_home->logPath()));
        LogFile file;
        QCOMPARE(file.open(m_home->logPath()), ENOSPC);
        QCOMPARE(file.append("lost\n"), ENOSPC);
        QCOMPARE(file.close(), 0);
    }

    void beginsANewLineAfterOneThatFittedInPart()
    {
        LogFile file;
        QCOMPARE(file.open(m_home->logPath()), 0);
        const qint64 start = m_home->log().size();
        {
            const SmallDisk disk(start + 15);
            QCOMPARE(file.append("1234567890\n"), 0);
            QCOMPARE(file.append("abcdefghij\n"), EFBIG);
            QCOMPARE(file.append("nothing fits\n"), EFBIG);
        }
        QCOMPARE(file.append("afterwards\n"), 0);
        QCOMPARE(file.append("and on\n"), 0);
        const QStringList expected{u"[date] start"_s, u"1234567890"_s, u"abcd"_s, u"afterwards"_s,
                                   u"and on"_s};
        QCOMPARE(m_home->logLines(), expected);
    }

    void addsNoEmptyLineWhenOnlyTheLineEndFitted()
    {
        LogFile file;
        QCOMPARE(file.open(m_home->logPath()), 0);
        const qint64 start = m_home->log().size();
        {
            const SmallDisk disk(start + 4);
            QCOMPARE(file.append("abcdefghij\n"), EFBIG);
        }
        {
            const SmallDisk disk(start + 5);
            QCOMPARE(file.append("only its line break fits\n"), EFBIG);
        }
        QCOMPARE(file.append("afterwards\n"), 0);
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s, u"abcd"_s, u"afterwards"_s}));
    }

    void addsNothingAfterALineThatDidNotFitAtAll()
    {
        LogFile file;
        QCOMPARE(file.open(m_home->logPath()), 0);
        {
            const SmallDisk disk(m_home->log().size());
            QCOMPARE(file.append("lost\n"), EFBIG);
        }
        QCOMPARE(file.append("afterwards\n"), 0);
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s, u"afterwards"_s}));
    }

    void endsABrokenLineBeforeTheStopLine()
    {
        {
            LogFile file;
            QCOMPARE(file.open(m_home->logPath()), 0);
            const SmallDisk disk(m_home->log().size() + 3);
            QCOMPARE(file.append("broken\n"), EFBIG);
            // The disk grows again before the file closes: it is made after and so goes first.
        }
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s, u"bro"_s, u"[date] stop"_s}));
    }

    void writesOnIntoAFileThatWasRemoved()
    {
        LogFile file;
        QCOMPARE(file.open(m_home->logPath()), 0);
        QVERIFY(QFile::remove(m_home->logPath()));
        QCOMPARE(file.append("lost\n"), 0);
        QCOMPARE(file.close(), 0);
        QVERIFY(!QFileInfo::exists(m_home->logPath()));
    }
};

} // namespace quillfen::support

QTEST_GUILESS_MAIN(quillfen::support::LogFileTest)
#include "LogFileTest.moc"
