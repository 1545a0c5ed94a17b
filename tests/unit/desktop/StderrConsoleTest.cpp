// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/StderrConsole.h"
#include "unit/desktop/InChild.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// Two ends of a pipe or socket. A child's standard error becomes the one, we read the other.
struct Ends {
    int ours = -1;
    int theirs = -1;

    static Ends ofPipe()
    {
        std::array<int, 2> ends = {};
        return pipe2(ends.data(), O_CLOEXEC) == 0 ? Ends{ends[0], ends[1]} : Ends();
    }
    static Ends ofSocket()
    {
        std::array<int, 2> ends = {};
        const int done = socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data());
        return done == 0 ? Ends{ends[0], ends[1]} : Ends();
    }
    void becomeStandardError() const { dup2(theirs, STDERR_FILENO); }
    /// All that was written, once every writer but us has ended.
    QByteArray readToTheEnd()
    {
        close(theirs);
        QByteArray heard;
        std::array<char, 65536> piece = {};
        for (ssize_t got = 0; (got = read(ours, piece.data(), piece.size())) > 0;)
            heard.append(piece.data(), got);
        return heard;
    }
    /// What is there now.
    QByteArray drain() const
    {
        fcntl(ours, F_SETFL, O_NONBLOCK);
        QByteArray heard;
        std::array<char, 65536> piece = {};
        for (ssize_t got = 0; (got = read(ours, piece.data(), piece.size())) > 0;)
            heard.append(piece.data(), got);
        return heard;
    }
};

/// The text behind the stamp of each of @p lines that has one.
QStringList texts(const QByteArray &lines)
{
    static const QRegularExpression form(
        uR"(^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} desktop_stderr[a-z]*\[\d+\] (.*)$)"_s);
    QStringList texts;
    for (const QString &line : QString::fromUtf8(lines).split(u'\n', Qt::SkipEmptyParts))
        texts += form.match(line).captured(1);
    return texts;
}

pid_t startChild(const Ends &ends, const QString &word, int lines)
{
    const pid_t child = fork();
    if (child != 0)
        return child;
    ends.becomeStandardError();
    StderrConsole console;
    for (int i = 0; i < lines; ++i)
        console.write(word.repeated(100) + QString::number(i));
    _exit(EXIT_SUCCESS);
}

} // namespace

class StderrConsoleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // Where summer time ends, an hour's local times come twice.
        qputenv("TZ", "UTC0");
        tzset();
    }

    void controlsBecomeVisible_data()
    {
        struct Row {
            const char *name;
            QString text;
            QString expected;
        };
        static const Row rows[] = {
            {.name = "plain",
             .text = u"a % b %s é 🙂 \\"_s,
             .expected = u"a % b %s é 🙂 \\"_s},
            {.name = "line ends", .text = u"a\nb\r\nc"_s, .expected = u"a\\x0ab\\x0d\\x0ac"_s},
            {.name = "tab", .text = u"\t"_s, .expected = u"\\x09"_s},
            {.name = "escape", .text = u"\x1b[31mred"_s, .expected = u"\\x1b[31mred"_s},
            {.name = "zero", .text = QString(QChar(0)), .expected = u"\\x00"_s},
            {.name = "DEL", .text = u"\x7f"_s, .expected = u"\\x7f"_s},
            {.name = "C1", .text = u"\u0085\u009b"_s, .expected = u"\\x85\\x9b"_s},
            {.name = "separators", .text = u"\u2028\u2029"_s, .expected = u"\\u2028\\u2029"_s},
            {.name = "override", .text = u"\u202eabc\u202c"_s, .expected = u"\\u202eabc\\u202c"_s},
            {.name = "isolates", .text = u"\u2066\u2069"_s, .expected = u"\\u2066\\u2069"_s},
            {.name = "marks",
             .text = u"\u200e\u200f\u061c"_s,
             .expected = u"\\u200e\\u200f\\u061c"_s},
        };
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.text << row.expected;
    }
    void controlsBecomeVisible()
    {
        QFETCH(QString, text);
        QFETCH(QString, expected);
        QCOMPARE(withVisibleControls(text), expected);
    }

    void aLineHasTimeProcessAndText()
    {
        Ends ends = Ends::ofPipe();
        const QDateTime before = QDateTime::currentDateTime();
        QCOMPARE(inChild([&] {
                     ends.becomeStandardError();
                     StderrConsole().write(u"Zoë\n2026-01-01 00:00:00.000 quillfen[1] forged"_s);
                     return QByteArray::number(getpid());
                 }).toInt()
                     > 0,
                 true);
        const QByteArray line = ends.readToTheEnd();
        QCOMPARE(line.count('\n'), 1);
        QCOMPARE(texts(line), QStringList(u"Zoë\\x0a2026-01-01 00:00:00.000 quillfen[1] forged"_s));
        const QDateTime stamp =
            QDateTime::fromString(QString::fromUtf8(line.first(23)), u"yyyy-MM-dd HH:mm:ss.zzz"_s);
        QVERIFY(stamp.isValid());
        QVERIFY(std::abs(stamp.msecsTo(before)) < 60'000);
    }

    void eachLineHasTheTimeOfItsOwn()
    {
        constexpr int kLines = 30;
        constexpr int kBetween = 37; // ms: in all more than a second
        Ends ends = Ends::ofPipe();
        const QByteArray said = inChild([&ends] {
            ends.becomeStandardError();
            StderrConsole console;
            for (int line = 0; line < kLines; ++line) {
                console.write(QString::number(QDateTime::currentMSecsSinceEpoch()));
                poll(nullptr, 0, kBetween);
            }
            return QByteArray();
        });
        QCOMPARE(said, QByteArray());
        const QString lines = QString::fromUtf8(ends.readToTheEnd());
        QCOMPARE(lines.count(u'\n'), kLines);
        qint64 stamp = 0;
        for (const QString &line : lines.split(u'\n', Qt::SkipEmptyParts)) {
            const qint64 written = line.section(u' ', 3).toLongLong();
            QVERIFY2(written >= stamp, qPrintable(lines));
            stamp = QDateTime::fromString(line.first(23), u"yyyy-MM-dd HH:mm:ss.zzz"_s)
                        .toMSecsSinceEpoch();
            QVERIFY2(stamp >= written, qPrintable(lines));
        }
    }

    void linesOfSeveralProcessesNeverMix_data()
    {
        QTest::addColumn<bool>("socket");
        QTest::newRow("pipe") << false;
        QTest::newRow("socket") << true;
    }
    void linesOfSeveralProcessesNeverMix()
    {
        QFETCH(bool, socket);
        constexpr int kLines = 300;
        Ends ends = socket ? Ends::ofSocket() : Ends::ofPipe();
        std::vector<pid_t> children;
        for (const QString &word : {u"a"_s, u"b"_s, u"c"_s})
            children.push_back(startChild(ends, word, kLines));
        const QByteArray heard = ends.readToTheEnd();
        for (const pid_t child : children)
            QCOMPARE(waitpid(child, nullptr, 0), child);
        const QStringList found = texts(heard);
        QVERIFY(found.size() > kLines); // a line may get lost, but none is torn
        static const QRegularExpression whole(u"^(a{100}|b{100}|c{100})\\d+$"_s);
        for (const QString &text : found)
            QVERIFY2(whole.match(text).hasMatch(), qPrintable(text));
    }

    void aLongLineArrivesWhole_data() { linesOfSeveralProcessesNeverMix_data(); }
    void aLongLineArrivesWhole()
    {
        QFETCH(bool, socket);
        Ends ends = socket ? Ends::ofSocket() : Ends::ofPipe();
        const QString text = QString(1'000'000, u'x') + u"end"_s;
        const pid_t child = fork();
        if (child == 0) {
            ends.becomeStandardError();
            StderrConsole().write(text);
            _exit(EXIT_SUCCESS);
        }
        QCOMPARE(texts(ends.readToTheEnd()), QStringList(text));
        QCOMPARE(waitpid(child, nullptr, 0), child);
    }

    void aReaderThatSleepsHoldsNothingUp_data()
    {
        struct Row {
            const char *name;
            bool socket;
            bool foreign;
        };
        static const Row rows[] = {
            {.name = "pipe", .socket = false, .foreign = false},
            {.name = "pipe of another user", .socket = false, .foreign = true},
            {.name = "socket", .socket = true, .foreign = false},
        };
        QTest::addColumn<bool>("socket");
        QTest::addColumn<bool>("foreign");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.socket << row.foreign;
    }
    void aReaderThatSleepsHoldsNothingUp()
    {
        QFETCH(bool, socket);
        QFETCH(bool, foreign);
        Ends ends = socket ? Ends::ofSocket() : Ends::ofPipe();
        QCOMPARE(inChild([&] {
                     if (foreign && geteuid() == 0)
                         HOLDS(setuid(Unprivileged::kNobody) == 0);
                     ends.becomeStandardError();
                     StderrConsole console;
                     QElapsedTimer watch;
                     watch.start();
                     for (int i = 0; i < 5000; ++i) // a pipe takes about a thousand
                         console.write(u"fills"_s);
                     HOLDS(watch.elapsed() < 2000);
                     HOLDS(ends.drain().startsWith("20")); // the reader wakes up
                     console.write(u"again"_s);
                     HOLDS(texts(ends.drain()).contains(u"again"_s));
                     return QByteArray();
                 }),
                 "");
    }

    void aLineThatWasCutOffIsEndedBeforeTheNext()
    {
        Ends ends = Ends::ofPipe();
        QCOMPARE(inChild([&] {
                     ends.becomeStandardError();
                     StderrConsole console;
                     console.write(QString(1'000'000, u'x'));
                     HOLDS(ends.drain().endsWith('x'));
                     console.write(u"next"_s);
                     const QByteArray next = ends.drain();
                     HOLDS(next.startsWith('\n'));
                     HOLDS(texts(next) == QStringList(u"next"_s));
                     return QByteArray();
                 }),
                 "");
    }

    void aReaderThatHasGoneCostsNothing_data() { linesOfSeveralProcessesNeverMix_data(); }
    void aReaderThatHasGoneCostsNothing()
    {
        QFETCH(bool, socket);
        QCOMPARE(inChild([&] {
                     // Made here, or this test's own process would be another reader.
                     const Ends ends = socket ? Ends::ofSocket() : Ends::ofPipe();
                     ends.becomeStandardError();
                     StderrConsole console;
                     close(ends.ours);
                     for (int i = 0; i < 100; ++i)
                         console.write(u"unheard"_s);
                     std::fputs("nor does anybody else's line\n", stderr);
                     return QByteArray();
                 }),
                 "");
    }

    void aClosedStandardErrorNeverBecomesAFileOfOurs()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath(u"log"_s));
        QCOMPARE(inChild([&] {
                     for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
                         close(descriptor);
                     StderrConsole console;
                     HOLDS(file.open(QIODevice::WriteOnly));
                     HOLDS(file.handle() > STDERR_FILENO);
                     console.write(u"unheard"_s);
                     return QByteArray();
                 }),
                 "");
        QCOMPARE(file.size(), 0);
    }

    void aFullDiskCostsNothing()
    {
        QCOMPARE(inChild([] {
                     const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
                     HOLDS(dup2(full, STDERR_FILENO) == STDERR_FILENO);
                     StderrConsole console;
                     console.write(u"unheard"_s);
                     return QByteArray();
                 }),
                 "");
    }
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::StderrConsoleTest)
#include "StderrConsoleTest.moc"
