// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/Clipboard.h"
#include "unit/desktop/CopyProgram.h"
#include "world/FakeConsole.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

constexpr int kDeadline = 20'000; // milliseconds

} // namespace

/// The choice among the clipboards. Those of real servers are in the system tests.
class ClipboardTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        qputenv("WAYLAND_DISPLAY", "wayland-1");
        m_console.takeLines();
    }

    void aWaylandCompositorGetsTheBytes_data()
    {
        struct Row {
            const char *name;
            QString text;
            QByteArray bytes;
        };
        static const Row rows[] = {
            {.name = "an address", .text = u"192.0.2.7"_s, .bytes = "192.0.2.7"},
            {.name = "nothing", .text = u""_s, .bytes = ""},
            {.name = "no text at all", .text = QString(), .bytes = ""},
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
    void aWaylandCompositorGetsTheBytes()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        const CopyProgram program;
        Clipboard clipboard(m_console);
        clipboard.setText(text);
        QTRY_VERIFY_WITH_TIMEOUT(!program.copied().isNull(), kDeadline);
        QVERIFY2(program.copied() == bytes, program.copied().left(100).toHex());
        QCOMPARE(m_console.lines(), QStringList());
    }

    void withoutADisplayTheConsoleSaysSo()
    {
        qunsetenv("WAYLAND_DISPLAY");
        QCOMPARE(QGuiApplication::platformName(), u"offscreen"_s);
        const CopyProgram program;
        Clipboard clipboard(m_console);
        clipboard.setText(u"192.0.2.7"_s);
        QCOMPARE(m_console.lines(),
                 QStringList(u"The text is not on the clipboard: there is no display."_s));
        QCOMPARE(QGuiApplication::clipboard()->text(), QString());
        QCOMPARE(program.starts(), QByteArrayList());
    }

private:
    world::FakeConsole m_console;
};

} // namespace quillfen::platform

QTEST_MAIN(quillfen::platform::ClipboardTest)
#include "ClipboardTest.moc"
