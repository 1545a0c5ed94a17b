// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/Clipboard.h"
#include "unit/desktop/PrivateDisplay.h"
#include "world/FakeConsole.h"

#include <QGuiApplication>
#include <QProcess>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

constexpr int kDeadline = 20'000; // milliseconds
const QStringList kPaste{u"-selection"_s, u"clipboard"_s, u"-out"_s};

/// What xclip, another program on this display, prints; null when it is not done in time.
QByteArray printed(const QStringList &arguments)
{
    QProcess program;
    program.start(u"xclip"_s, arguments);
    // We are the ones who give it the text, so our event loop has to go on.
    if (!QTest::qWaitFor([&program] { return program.state() == QProcess::NotRunning; }, kDeadline))
        return {};
    return program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0
        ? program.readAllStandardOutput()
        : program.readAllStandardError();
}

QByteArray pasted(const QString &target)
{
    return printed(kPaste + QStringList{u"-target"_s, target});
}

/// Another program has the clipboard until the process ends.
std::unique_ptr<QProcess> otherOwner(const QByteArray &text)
{
    auto program = std::make_unique<QProcess>();
    program->start(u"xclip"_s, {u"-selection"_s, u"clipboard"_s, u"-in"_s, u"-quiet"_s});
    program->write(text);
    program->closeWriteChannel();
    return program;
}

void end(QProcess &program)
{
    program.kill();
    program.waitForFinished();
}

} // namespace

class ClipboardOnX11Test : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QCOMPARE(QGuiApplication::platformName(), u"xcb"_s); }
    void cleanup() { QCOMPARE(m_console.takeLines(), QStringList()); }

    void otherProgramsGetTheBytes_data()
    {
        struct Row {
            const char *name;
            QString text;
            QByteArray bytes;
        };
        static const Row rows[] = {
            {.name = "an address", .text = u"192.0.2.7"_s, .bytes = "192.0.2.7"},
            {.name = "nothing", .text = u""_s, .bytes = ""},
            {.name = "white space", .text = u" \t a \r\n\n"_s, .bytes = " \t a \r\n\n"},
            {.name = "any Unicode",
             .text = u"Zürich ไทย עברית e\u0301 \U0001F30D\U0010FFFF"_s,
             .bytes = "Zürich ไทย עברית e\xCC\x81 \xF0\x9F\x8C\x8D\xF4\x8F\xBF\xBF"},
            {.name = "cut at the NUL",
             .text = u"192.0.2.7"_s + QChar() + u"8"_s,
             .bytes = "192.0.2.7"},
            {.name = "a megabyte",
             .text = QString(1'000'000, u'é'),
             .bytes = QByteArray("é").repeated(1'000'000)},
        };
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.text << row.bytes;
    }
    void otherProgramsGetTheBytes()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        Clipboard clipboard(m_console);
        clipboard.setText(u"before"_s);
        QCOMPARE(pasted(u"UTF8_STRING"_s), "before"_ba);
        clipboard.setText(text);
        for (const QString &target : {u"UTF8_STRING"_s, u"text/plain;charset=utf-8"_s}) {
            const QByteArray got = pasted(target);
            QVERIFY2(got == bytes, got.left(100).constData());
        }
    }

    void thePrimarySelectionStaysAsItIs()
    {
        Clipboard clipboard(m_console);
        clipboard.setText(u"192.0.2.7"_s);
        const QByteArray got = printed({u"-selection"_s, u"primary"_s, u"-out"_s});
        QVERIFY2(got.contains("not available"), got.constData());
    }

    void itIsOursAgainAfterOthersHadIt()
    {
        Clipboard clipboard(m_console);
        clipboard.setText(u"192.0.2.7"_s);
        QList<QByteArray> texts{"theirs"_ba, "somebody else's"_ba, "a third one's"_ba};
        std::vector<std::unique_ptr<QProcess>> others;
        for (const QByteArray &text : texts) {
            others.push_back(otherOwner(text));
            QTRY_COMPARE_WITH_TIMEOUT(pasted(u"UTF8_STRING"_s), text, kDeadline);
        }
        clipboard.setText(u"2001:db8::7"_s);
        QCOMPARE(pasted(u"UTF8_STRING"_s), "2001:db8::7"_ba);
        for (const auto &other : others)
            end(*other);
    }

private:
    world::FakeConsole m_console;
};

} // namespace quillfen::platform

int main(int argc, char **argv)
{
    const quillfen::platform::PrivateDisplay display;
    QGuiApplication application(argc, argv);
    quillfen::platform::ClipboardOnX11Test test;
    return QTest::qExec(&test, argc, argv);
}

#include "ClipboardOnX11Test.moc"
