// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Log.h"

#include "platform/Workspace.h"
#include "support/Console.h"
#include "unit/support/DataHome.h"
#include "world/FakeConsole.h"
#include "world/FakePreferences.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonValue>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>

#include <cstdlib>
#include <cstring>
#include <optional>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace quillfen::support {

namespace {

/// A desktop with a viewer for every document.
class Desktop : public platform::Workspace {
public:
    void openFile(const QString &path) override { opened.append(path); }
    void openURL(const QUrl &url) override { opened.append(url.toString()); }

    QStringList opened;
};

/// What stands in front of each line in the file: "[2026-11-21 01:03:37 +0000] ".
constexpr qsizetype kDateBytes = 28;

/// The argument that makes this program leaveTheLogOpen().
constexpr const char *kLeaveTheLogOpen = "--leave-the-log-open";

/// Exits with an open log, which is closed when next to nothing is left of the process.
[[noreturn]] void leaveTheLogOpen()
{
    static Log *log = nullptr;
    std::atexit([] { log->ClosePrivateLog(); });
    auto *const system = new world::FakeConsole;
    log = new Log(*new Console(*system), *new world::FakePreferences);
    log->OpenPrivateLog();
    std::exit(7);
}

} // namespace

class LogTest : public QObject {
    Q_OBJECT

    std::optional<DataHome> m_home;
    world::FakeConsole m_system;
    Console m_console{m_system};
    std::optional<world::FakePreferences> m_preferences;
    std::optional<Log> m_log;

    /// What another process stores.
    void storeElsewhere(const QString &key, const QJsonValue &value)
    {
        m_preferences->disk().values.insert(key, value);
    }

private Q_SLOTS:
    void init()
    {
        m_log.reset();
        m_home.emplace();
        m_preferences.emplace();
        m_log.emplace(m_console, *m_preferences);
        m_system.takeLines();
    }

    // Both sinks

    void logsToBothSinksUnlessToldOtherwise()
    {
        m_log->OpenPrivateLog();
        m_log->LogMessage(u"Starting up..."_s);
        QCOMPARE(m_system.lines(), QStringList{u"Starting up..."_s});
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s, u"[date] Starting up..."_s}));
    }

    void obeysItsSwitches_data()
    {
        struct Row {
            const char *name;
            QJsonValue console;
            QJsonValue file;
            QString expected;
        };
        const QJsonValue absent(QJsonValue::Undefined);
        const Row rows[] = {
            {.name = "both absent",
             .console = absent,
             .file = absent,
             .expected = u"console file"_s},
            {.name = "both on", .console = true, .file = true, .expected = u"console file"_s},
            {.name = "console off", .console = false, .file = absent, .expected = u" file"_s},
            {.name = "file off", .console = absent, .file = false, .expected = u"console "_s},
            {.name = "both off", .console = false, .file = false, .expected = u" "_s},
            {.name = "off by number and by text",
             .console = 0,
             .file = u"NO"_s,
             .expected = u" "_s},
            {.name = "neither on nor off",
             .console = QJsonValue::Null,
             .file = QJsonArray{},
             .expected = u"console file"_s},
        };
        QTest::addColumn<QJsonValue>("console");
        QTest::addColumn<QJsonValue>("file");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.console << row.file << row.expected;
    }

    void obeysItsSwitches()
    {
        QFETCH(QJsonValue, console);
        QFETCH(QJsonValue, file);
        if (!console.isUndefined())
            storeElsewhere(u"logToSystemConsole"_s, console);
        if (!file.isUndefined())
            storeElsewhere(u"logToPrivateConsoleLog"_s, file);
        m_log->OpenPrivateLog();
        m_log->LogMessage(u"line"_s);
        const bool onConsole = m_system.lines() == QStringList{u"line"_s};
        const bool inFile = m_home->logLines().contains(u"[date] line"_s);
        const QString seen = (onConsole ? u"console "_s : u" "_s) + (inFile ? u"file"_s : u""_s);
        QTEST(seen, "expected");
    }

    void keepsTheMarkersWhenTheFileIsSwitchedOff()
    {
        storeElsewhere(u"logToPrivateConsoleLog"_s, false);
        m_log->OpenPrivateLog();
        m_log->LogMessage(u"line"_s);
        m_log->ClosePrivateLog();
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s, u"[date] stop"_s}));
    }

    void takesUpASwitchWithTheNextLine()
    {
        m_log->OpenPrivateLog();
        m_log->LogMessage(u"one"_s);
        storeElsewhere(u"logToPrivateConsoleLog"_s, false);
        m_log->LogMessage(u"two"_s);
        storeElsewhere(u"logToPrivateConsoleLog"_s, true);
        storeElsewhere(u"logToSystemConsole"_s, false);
        m_log->LogMessage(u"three"_s);
        QCOMPARE(m_system.lines(), QStringList({u"one"_s, u"two"_s}));
        QCOMPARE(m_home->logLines(),
                 QStringList({u"[date] start"_s, u"[date] one"_s, u"[date] three"_s}));
    }

    void anAbsentMessageDoesNothing()
    {
        m_log->OpenPrivateLog();
        m_log->LogMessage(std::nullopt);
        QCOMPARE(m_system.lines(), QStringList());
        QCOMPARE(m_home->logLines(), QStringList{u"[date] start"_s});
    }

    void anEmptyMessageIsALine()
    {
        m_log->OpenPrivateLog();
        m_log->LogMessage(u""_s);
        QCOMPARE(m_system.lines(), QStringList{u""_s});
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s, u"[date] "_s}));
    }

    void onlyTheConsoleReadsConversions()
    {
        m_log->OpenPrivateLog();
        m_log->LogMessage(u"100% of %d %@ %n%s"_s);
        QCOMPARE(m_system.lines(), QStringList{u"1000f 0 (null) (null)"_s});
        QCOMPARE(m_home->logLines().last(), u"[date] 100% of %d %@ %n%s"_s);
    }

    // Runs

    void logsToTheConsoleOnlyBeforeOpeningAndAfterClosing()
    {
        m_log->LogMessage(u"before"_s);
        m_log->OpenPrivateLog();
        m_log->LogMessage(u"line"_s);
        m_log->ClosePrivateLog();
        m_log->LogMessage(u"after"_s);
        m_log->ClosePrivateLog();
        QCOMPARE(m_system.lines(), QStringList({u"before"_s, u"line"_s, u"after"_s}));
        const QStringList expected{u"[date] start"_s, u"[date] line"_s, u"[date] stop"_s};
        QCOMPARE(m_home->logLines(), expected);
    }

    void chainsTwoRuns()
    {
        for (const QString &line : {u"first"_s, u"second"_s}) {
            Log log(m_console, *m_preferences);
            log.OpenPrivateLog();
            log.LogMessage(line);
        }
        const QStringList expected{u"[date] start"_s, u"[date] first"_s,  u"[date] stop"_s,
                                   u"[date] start"_s, u"[date] second"_s, u"[date] stop"_s};
        QCOMPARE(m_home->logLines(), expected);
    }

    void closesWhileTheProcessExits()
    {
        const int code = QProcess::execute(QCoreApplication::applicationFilePath(),
                                           {QString::fromLatin1(kLeaveTheLogOpen)});
        QCOMPARE(code, 7);
        QCOMPARE(m_home->logLines(), QStringList({u"[date] start"_s, u"[date] stop"_s}));
    }

    // The line buffer

    void putsALineThroughItsBuffer_data()
    {
        struct Row {
            const char *name;
            QString message;
            QByteArray written;
        };
        const auto letters = [](qsizetype count) { return QByteArray(count, 'a'); };
        const auto text = [&](qsizetype count) { return QString::fromLatin1(letters(count)); };
        const qsizetype room = 255 - kDateBytes;
        const Row rows[] = {
            {.name = "room for the line end",
             .message = text(room - 1),
             .written = "D" + letters(room - 1) + '\n'},
            {.name = "full, no line end", .message = text(room), .written = "D" + letters(room)},
            {.name = "one byte too long", .message = text(room + 1), .written = "\n"},
            {.name = "300 characters", .message = text(300), .written = "\n"},
            {.name = "a megabyte", .message = text(1 << 20), .written = "\n"},
            {.name = "full, in bytes rather than letters",
             .message = text(room - 2) + u'é',
             .written = "D" + letters(room - 2) + "\xC3\xA9"},
            {.name = "too long, in bytes rather than letters",
             .message = text(room - 1) + u'é',
             .written = "\n"},
            {.name = "four bytes to the end",
             .message = text(room - 4) + u"\U0001F310"_s,
             .written = "D" + letters(room - 4) + "\xF0\x9F\x8C\x90"},
            {.name = "a NUL ends it", .message = u"a\0b"_s, .written = "Da\n"},
            {.name = "a NUL makes it no shorter",
             .message = u"a\0"_s + text(room),
             .written = "\n"},
            {.name = "a NUL in a full one",
             .message = u"a\0"_s + text(room - 2),
             .written = "Da\n"},
            {.name = "line breaks", .message = u"a\nb\r\n"_s, .written = "Da b  \n"},
            {.name = "a forged line",
             .message = u"1\n[2026-01-01 00:00:00 +0000] stop"_s,
             .written = "D1 [2026-01-01 00:00:00 +0000] stop\n"},
            {.name = "line breaks of Unicode",
             .message = u"a\u0085b\u2028c\u2029d"_s,
             .written = "Da b c d\n"},
            {.name = "what steers a terminal",
             .message = u"\u001b[2Ja\u009b\u007f\b"_s,
             .written = "D [2Ja   \n"},
            {.name = "a tab", .message = u"a\tb"_s, .written = "Da\tb\n"},
            {.name = "markup and marks",
             .message = u"<b>&amp;\u202e</b>"_s,
             .written = "D<b>&amp;\u202e</b>\n"},
        };
        QTest::addColumn<QString>("message");
        QTest::addColumn<QByteArray>("written");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.message << row.written;
    }

    void putsALineThroughItsBuffer()
    {
        QFETCH(QString, message);
        m_log->OpenPrivateLog();
        const qsizetype before = m_home->log().size();
        m_log->LogMessage(message);
        QByteArray written = m_home->log().sliced(before);
        if (written.startsWith('['))
            written.replace(0, kDateBytes, "D");
        QTEST(written, "written");
        QCOMPARE(m_system.lines(), QStringList{message});
    }

    // Trouble with the file

    void livesWithoutAFile_data()
    {
        QTest::addColumn<QString>("blocked");
        QTest::newRow("data folder is a file") << u"data"_s;
        QTest::newRow("maker folder is a file") << u"maker"_s;
        QTest::newRow("program folder is a file") << u"program"_s;
        QTest::newRow("log is a folder") << u"folder"_s;
        QTest::newRow("log is a pipe") << u"pipe"_s;
        QTest::newRow("log is a link into nowhere") << u"link"_s;
        QTest::newRow("log is a full device") << u"full"_s;
    }

    void livesWithoutAFile()
    {
        QFETCH(QString, blocked);
        const QTemporaryDir elsewhere;
        const auto makeFile = [](const QString &path) {
            QFile file(path);
            return file.open(QIODevice::WriteOnly) && file.write("theirs") == 6;
        };
        if (blocked == u"data") {
            QVERIFY(makeFile(elsewhere.filePath(u"file"_s)));
            m_home.emplace(elsewhere.filePath(u"file"_s));
        } else if (blocked == u"maker") {
            QVERIFY(makeFile(m_home->makerFolder()));
        } else if (blocked == u"program") {
            QVERIFY(QDir().mkdir(m_home->makerFolder()) && makeFile(m_home->programFolder()));
        } else {
            m_home->makeProgramFolder();
            if (blocked == u"folder")
                QVERIFY(QDir().mkdir(m_home->logPath()));
            if (blocked == u"pipe")
                QCOMPARE(::mkfifo(QFile::encodeName(m_home->logPath()).constData(), 0600), 0);
            if (blocked == u"link")
                QVERIFY(QFile::link(u"/nowhere/at/all"_s, m_home->logPath()));
            if (blocked == u"full")
                QVERIFY(QFile::link(u"/dev/full"_s, m_home->logPath()));
        }
        m_log->OpenPrivateLog();
        m_log->LogMessage(u"line"_s);
        m_log->ClosePrivateLog();
        m_log->LogMessage(u"after"_s);
        QCOMPARE(m_system.lines(), QStringList({u"line"_s, u"after"_s}));
        QVERIFY(!QFileInfo(m_home->logPath()).isFile());
    }

    void doesNotMakeTheFileAgainWhenItIsRemoved()
    {
        m_log->OpenPrivateLog();
        QVERIFY(QFile::remove(m_home->logPath()));
        m_log->LogMessage(u"line"_s);
        m_log->ClosePrivateLog();
        QCOMPARE(m_system.lines(), QStringList{u"line"_s});
        QVERIFY(!QFileInfo::exists(m_home->logPath()));
    }

    void livesOnWhenSettingsCannotBeStored()
    {
        m_preferences->disk().refusesWrites = true;
        m_preferences->setValue(u"logToSystemConsole"_s, false);
        m_log->OpenPrivateLog();
        m_log->LogMessage(u"line"_s);
        QCOMPARE(m_system.lines(), QStringList());
        QCOMPARE(m_home->logLines().last(), u"[date] line"_s);
    }

    // The viewer

    void showsTheFileInTheViewer()
    {
        Desktop desktop;
        m_log->OpenPrivateLog();
        m_log->ShowPrivateLogInViewer(desktop);
        QCOMPARE(desktop.opened, QStringList{m_home->logPath()});
    }

    void showsTheFileOfAnEarlierRun()
    {
        Desktop desktop;
        m_log->OpenPrivateLog();
        m_log->ClosePrivateLog();
        m_log->ShowPrivateLogInViewer(desktop);
        QCOMPARE(desktop.opened, QStringList{m_home->logPath()});
    }

    void showsNothingButMakesTheFoldersBeforeAnyFileExists()
    {
        Desktop desktop;
        m_log->ShowPrivateLogInViewer(desktop);
        QCOMPARE(desktop.opened, QStringList());
        QVERIFY(QFileInfo(m_home->programFolder()).isDir());
        QVERIFY(!QFileInfo::exists(m_home->logPath()));
    }

    void showsNothingBehindAFileInAFoldersPlace()
    {
        Desktop desktop;
        QFile file(m_home->makerFolder());
        QVERIFY(file.open(QIODevice::WriteOnly));
        m_log->ShowPrivateLogInViewer(desktop);
        QCOMPARE(desktop.opened, QStringList());
    }

    void showsNothingWhereNoFolderCanBeMade()
    {
        Desktop desktop;
        m_home.emplace(u"/proc/nothing"_s);
        m_log->ShowPrivateLogInViewer(desktop);
        QCOMPARE(desktop.opened, QStringList());
    }
};

} // namespace quillfen::support

int main(int argc, char **argv)
{
    if (argc == 2 && std::strcmp(argv[1], quillfen::support::kLeaveTheLogOpen) == 0)
        quillfen::support::leaveTheLogOpen();
    QCoreApplication application(argc, argv);
    quillfen::support::LogTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "LogTest.moc"
