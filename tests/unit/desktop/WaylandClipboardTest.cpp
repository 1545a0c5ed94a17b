// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/WaylandClipboard.h"
#include "unit/desktop/CopyProgram.h"
#include "world/FakeConsole.h"

#include <QTest>

#include <csignal>
#include <optional>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

constexpr int kDeadline = 20'000; // milliseconds
constexpr auto kHangs = "exec tail -f /dev/null";

bool runs(const QByteArray &process)
{
    return kill(process.toInt(), 0) == 0;
}

} // namespace

class WaylandClipboardTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_program.emplace();
        m_console.takeLines();
    }

    void theTextIsStandardInputAndNoArgument()
    {
        m_program->behave(QByteArray("printf '%s|' \"$@\" >$here/arguments; ")
                          + CopyProgram::kCopies);
        WaylandClipboard clipboard(m_console);
        clipboard.setText("192.0.2.7");
        QTRY_COMPARE_WITH_TIMEOUT(m_program->copied(), "192.0.2.7"_ba, kDeadline);
        QCOMPARE(m_program->contents("arguments"), "-t|text/plain;charset=utf-8|"_ba);
        QCOMPARE(m_console.lines(), QStringList());
    }

    void theProgramHoldsNeitherOurOutputsNorOurTerminal()
    {
        m_program->behave("outputs=$(readlink /proc/$$/fd/1 /proc/$$/fd/2); "
                          "echo \"$outputs\" >$here/outputs; "
                          "cut -d' ' -f6 /proc/$$/stat >$here/session; cat >$here/copied");
        WaylandClipboard clipboard(m_console);
        clipboard.setText("192.0.2.7");
        QTRY_COMPARE_WITH_TIMEOUT(m_program->copied(), "192.0.2.7"_ba, kDeadline);
        QCOMPARE(m_program->contents("outputs"), "/dev/null\n/dev/null\n"_ba);
        QCOMPARE(m_program->contents("session"), m_program->starts().constFirst() + '\n');
    }

    void oneTextAfterTheOther()
    {
        WaylandClipboard clipboard(m_console);
        for (const QByteArray &text : {"192.0.2.7"_ba, "2001:db8::7"_ba, ""_ba}) {
            clipboard.setText(text);
            QTRY_COMPARE_WITH_TIMEOUT(m_program->copied(), text, kDeadline);
        }
        QCOMPARE(m_console.lines(), QStringList());
    }

    void ofTextsThatComeMeanwhileTheLastOneWins()
    {
        m_program->behave(CopyProgram::kWaits);
        WaylandClipboard clipboard(m_console);
        for (const QByteArray &text : {"one"_ba, "two"_ba, "three"_ba, "four"_ba})
            clipboard.setText(text);
        QTRY_COMPARE_WITH_TIMEOUT(m_program->waits().size(), 1, kDeadline);
        m_program->letPass();
        QTRY_COMPARE_WITH_TIMEOUT(m_program->copied(), "one"_ba, kDeadline);
        QTRY_COMPARE_WITH_TIMEOUT(m_program->waits().size(), 2, kDeadline);
        m_program->letPass();
        QTRY_COMPARE_WITH_TIMEOUT(m_program->copied(), "four"_ba, kDeadline);
        QCOMPARE(m_program->starts().size(), 2);
        QCOMPARE(m_console.lines(), QStringList());
    }

    void aProgramThatHangsIsKilledAndTheNextTextCopied()
    {
        m_program->behave(QByteArray("mkdir $here/hung 2>/dev/null && ") + kHangs + '\n'
                          + CopyProgram::kCopies);
        WaylandClipboard clipboard(m_console, 2s);
        clipboard.setText(QByteArray(1'000'000, 'a')); // more than any pipe holds
        clipboard.setText("192.0.2.7");
        QTRY_COMPARE_WITH_TIMEOUT(m_program->copied(), "192.0.2.7"_ba, kDeadline);
        QCOMPARE(m_program->starts().size(), 2);
        QVERIFY(!runs(m_program->starts().constFirst()));
        QCOMPARE(m_console.lines(),
                 QStringList(u"The text is not on the clipboard: wl-copy took too long."_s));
    }

    void aProgramThatHangsDoesNotHoldUpTheEnd()
    {
        m_program->behave(kHangs);
        std::optional<WaylandClipboard> clipboard(std::in_place, m_console);
        clipboard->setText("192.0.2.7");
        QTRY_COMPARE_WITH_TIMEOUT(m_program->starts().size(), 1, kDeadline);
        clipboard.reset();
        const QByteArray process = m_program->starts().constFirst();
        QVERIFY(runs(process));
        kill(process.toInt(), SIGKILL);
    }

    void aCopyUnderWayIsFinishedAfterOurEnd()
    {
        m_program->behave(CopyProgram::kWaits);
        {
            WaylandClipboard clipboard(m_console);
            clipboard.setText("192.0.2.7");
        }
        QTRY_COMPARE_WITH_TIMEOUT(m_program->waits().size(), 1, kDeadline);
        m_program->letPass();
        QTRY_COMPARE_WITH_TIMEOUT(m_program->copied(), "192.0.2.7"_ba, kDeadline);
    }

    void theConsoleSaysWhyNothingWasCopied_data()
    {
        struct Row {
            const char *name;
            QByteArray commands;
            QString why;
        };
        static const Row rows[] = {
            {.name = "no compositor",
             .commands = "cat; cat >&2; exit 1",
             .why = u"wl-copy failed with status 1"_s},
            {.name = "killed", .commands = "kill -9 $$", .why = u"wl-copy failed with status 9"_s},
        };
        QTest::addColumn<QByteArray>("commands");
        QTest::addColumn<QString>("why");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.commands << row.why;
    }
    void theConsoleSaysWhyNothingWasCopied()
    {
        QFETCH(QByteArray, commands);
        QFETCH(QString, why);
        m_program->behave(commands);
        WaylandClipboard clipboard(m_console);
        clipboard.setText("192.0.2.7");
        QTRY_COMPARE_WITH_TIMEOUT(m_console.lines(),
                                  QStringList(u"The text is not on the clipboard: %1."_s.arg(why)),
                                  kDeadline);
    }

    void withoutTheProgramTheConsoleSaysSo()
    {
        m_program->uninstall();
        WaylandClipboard clipboard(m_console);
        clipboard.setText("192.0.2.7");
        QCOMPARE(m_console.lines(),
                 QStringList(u"The text is not on the clipboard: wl-copy cannot be started: "
                             "No such file or directory."_s));
    }

private:
    std::optional<CopyProgram> m_program;
    world::FakeConsole m_console;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::WaylandClipboardTest)
#include "WaylandClipboardTest.moc"
