// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/SupportFolders.h"
#include "unit/support/DataHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QObject>
#include <QString>
#include <QTemporaryDir>
#include <QTest>

#include <cerrno>
#include <csignal>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillfen::support {

namespace {

bool makeFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly);
}

/// The permission bits of the file at @p path; -1 when there is none.
int mode(const QString &path)
{
    struct stat status { };
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return -1;
    return static_cast<int>(status.st_mode & 07777);
}

} // namespace

class SupportFoldersTest : public QObject {
    Q_OBJECT

    QTemporaryDir m_parent;

private Q_SLOTS:
    void initTestCase() { ::umask(022); }

    void cleanup()
    {
        qunsetenv("XDG_DATA_HOME");
        QDir(m_parent.path()).removeRecursively();
        QDir().mkpath(m_parent.path());
    }

    // The lookup

    void onlyANameNotFoundDoesNotExist_data()
    {
        struct Row {
            const char *name;
            QString parent;
            QString child;
            bool exists;
            bool found;
        };
        const QString here = m_parent.path();
        const Row rows[] = {
            {.name = "nothing",
             .parent = here,
             .child = u"nothing"_s,
             .exists = false,
             .found = false},
            {.name = "folder", .parent = here, .child = u"folder"_s, .exists = true, .found = true},
            {.name = "file", .parent = here, .child = u"file"_s, .exists = true, .found = true},
            {.name = "link to a folder",
             .parent = here,
             .child = u"link"_s,
             .exists = true,
             .found = true},
            {.name = "link to nothing",
             .parent = here,
             .child = u"dangling"_s,
             .exists = true,
             .found = true},
            {.name = "link to itself",
             .parent = here,
             .child = u"loop"_s,
             .exists = true,
             .found = true},
            {.name = "other letter case",
             .parent = here,
             .child = u"Folder"_s,
             .exists = false,
             .found = false},
            {.name = "name beyond ASCII",
             .parent = here,
             .child = u"Größe \U0001F310"_s,
             .exists = true,
             .found = true},
            {.name = "name too long",
             .parent = here,
             .child = QString(300, u'x'),
             .exists = true,
             .found = false},
            {.name = "in a file",
             .parent = here + u"/file"_s,
             .child = u"x"_s,
             .exists = true,
             .found = false},
            {.name = "in a link to itself",
             .parent = here + u"/loop"_s,
             .child = u"x"_s,
             .exists = true,
             .found = false},
            {.name = "in a missing folder",
             .parent = here + u"/nothing"_s,
             .child = u"x"_s,
             .exists = false,
             .found = false},
            {.name = "in no folder",
             .parent = u""_s,
             .child = u"etc"_s,
             .exists = true,
             .found = false},
        };
        QTest::addColumn<QString>("parent");
        QTest::addColumn<QString>("child");
        QTest::addColumn<bool>("exists");
        QTest::addColumn<QString>("found");
        for (const Row &row : rows) {
            QTest::newRow(row.name) << row.parent << row.child << row.exists
                                    << (row.found ? row.parent + u'/' + row.child : QString());
        }
    }

    void onlyANameNotFoundDoesNotExist()
    {
        QFETCH(QString, parent);
        QFETCH(QString, child);
        const QDir here(m_parent.path());
        QVERIFY(here.mkdir(u"folder"_s) && here.mkdir(u"Größe \U0001F310"_s));
        QVERIFY(makeFile(here.filePath(u"file"_s)));
        QVERIFY(QFile::link(here.filePath(u"folder"_s), here.filePath(u"link"_s)));
        QVERIFY(QFile::link(here.filePath(u"nothing"_s), here.filePath(u"dangling"_s)));
        QVERIFY(QFile::link(here.filePath(u"loop"_s), here.filePath(u"loop"_s)));

        QString childOut;
        QTEST(FolderChildExists(parent, child, childOut), "exists");
        QTEST(childOut, "found");
    }

    void refusesAnOutParameterThatIsNotEmpty()
    {
        const pid_t child = ::fork();
        if (child == 0) {
            ::signal(SIGABRT, SIG_DFL);
            ::close(STDERR_FILENO);
            QString childOut = u"left over"_s;
            FolderChildExists(u"/"_s, u"etc"_s, childOut);
            ::_exit(0);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), SIGABRT);
    }

    // Making a folder

    void makesAFolderThatIsMissing()
    {
        QString childOut;
        QCOMPARE(EnsureChildFolder(m_parent.path(), u"quillfen"_s, childOut), 0);
        QCOMPARE(childOut, m_parent.filePath(u"quillfen"_s));
        QCOMPARE(mode(childOut), 0700);
    }

    void leavesAFileInItsPlaceAlone()
    {
        QVERIFY(makeFile(m_parent.filePath(u"quillfen"_s)));
        QString childOut;
        QCOMPARE(EnsureChildFolder(m_parent.path(), u"quillfen"_s, childOut), 0);
        QCOMPARE(childOut, m_parent.filePath(u"quillfen"_s));
        QVERIFY(QFileInfo(childOut).isFile());
    }

    void tellsWhyAFolderCannotBeMade()
    {
        QString childOut;
        QCOMPARE(EnsureChildFolder(m_parent.filePath(u"nothing"_s), u"x"_s, childOut), ENOENT);
        QCOMPARE(childOut, QString());
    }

    // The program's folder

    void makesTheWholeChainOnTheFirstRun()
    {
        const DataHome home(m_parent.path());
        QString folder;
        QVERIFY(GetAppSupportFolder(folder));
        QCOMPARE(folder, home.path() + u"/Corvane Software/Quillfen"_s);
        QCOMPARE(mode(home.makerFolder()), 0700);
        QCOMPARE(mode(home.programFolder()), 0700);
    }

    void makesNothingOnTheSecondRun()
    {
        const DataHome home(m_parent.path());
        home.makeProgramFolder();
        const QDateTime before = QFileInfo(home.makerFolder()).lastModified();
        QString folder;
        QVERIFY(GetAppSupportFolder(folder));
        QCOMPARE(folder, home.programFolder());
        QCOMPARE(QFileInfo(home.makerFolder()).lastModified(), before);
        QCOMPARE(mode(folder), 0755);
    }

    void makesTheProgramFolderAloneInAPresentMakerFolder()
    {
        const DataHome home(m_parent.path());
        QVERIFY(QDir().mkdir(home.makerFolder()));
        QString folder;
        QVERIFY(GetAppSupportFolder(folder));
        QCOMPARE(mode(home.makerFolder()), 0755);
        QCOMPARE(mode(folder), 0700);
    }

    void takesAFileInTheProgramFoldersPlace()
    {
        const DataHome home(m_parent.path());
        QVERIFY(QDir().mkdir(home.makerFolder()) && makeFile(home.programFolder()));
        QString folder;
        QVERIFY(GetAppSupportFolder(folder));
        QCOMPARE(folder, home.programFolder());
        QVERIFY(QFileInfo(folder).isFile());
    }

    void findsNoPathBehindAFileInTheMakerFoldersPlace()
    {
        const DataHome home(m_parent.path());
        QVERIFY(makeFile(home.makerFolder()));
        QString folder;
        QVERIFY(GetAppSupportFolder(folder));
        QCOMPARE(folder, QString());
    }

    void goesThroughALinkInTheMakerFoldersPlace()
    {
        const DataHome home(m_parent.path());
        const QString elsewhere = m_parent.filePath(u"elsewhere"_s);
        QVERIFY(QDir().mkdir(elsewhere) && QFile::link(elsewhere, home.makerFolder()));
        QString folder;
        QVERIFY(GetAppSupportFolder(folder));
        QVERIFY(QFileInfo(elsewhere + u"/Quillfen"_s).isDir());
    }

    void failsWhereALinkInTheMakerFoldersPlaceLeadsNowhere()
    {
        const DataHome home(m_parent.path());
        QVERIFY(QFile::link(m_parent.filePath(u"nowhere"_s), home.makerFolder()));
        QString folder;
        QVERIFY(!GetAppSupportFolder(folder));
    }

    void makesTheDataFolderItselfForItsOwnerOnly()
    {
        const DataHome home(m_parent.filePath(u"a/b/c"_s));
        QString folder;
        QVERIFY(GetAppSupportFolder(folder));
        QCOMPARE(mode(m_parent.filePath(u"a"_s)), 0700);
        QCOMPARE(mode(home.path()), 0700);
    }

    void toleratesASlashAtTheDataFoldersEnd()
    {
        const DataHome home(m_parent.path() + u'/');
        QString folder;
        QVERIFY(GetAppSupportFolder(folder));
        QCOMPARE(folder, m_parent.filePath(u"Corvane Software/Quillfen"_s));
    }

    void fallsBackToTheHomeFolder_data()
    {
        QTest::addColumn<QByteArray>("dataHome");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("relative") << QByteArray("relative/path");
    }

    void fallsBackToTheHomeFolder()
    {
        QFETCH(QByteArray, dataHome);
        const QByteArray before = qgetenv("HOME");
        qputenv("XDG_DATA_HOME", dataHome);
        qputenv("HOME", QFile::encodeName(m_parent.path()));
        QString folder;
        const bool found = GetAppSupportFolder(folder);
        qputenv("HOME", before);
        QVERIFY(found);
        QCOMPARE(folder, m_parent.filePath(u".local/share/Corvane Software/Quillfen"_s));
    }

    void failsWithoutAHome()
    {
        const QByteArray before = qgetenv("HOME");
        qunsetenv("HOME");
        QString folder;
        const bool found = GetAppSupportFolder(folder);
        qputenv("HOME", before);
        QVERIFY(!found);
    }

    void failsWhereTheDataFolderIsAFile()
    {
        QVERIFY(makeFile(m_parent.filePath(u"file"_s)));
        const DataHome home(m_parent.filePath(u"file"_s));
        QString folder;
        QVERIFY(!GetAppSupportFolder(folder));
        QCOMPARE(folder, QString());
    }
};

} // namespace quillfen::support

QTEST_GUILESS_MAIN(quillfen::support::SupportFoldersTest)
#include "SupportFoldersTest.moc"
