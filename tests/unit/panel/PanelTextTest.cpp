// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/PanelText.h"

#include <QObject>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

class PanelTextTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void keepsATextOnOneLineInItsPlace_data()
    {
        struct Row {
            const char *name;
            QString text;
            QString expected;
        };
        const Row rows[] = {
            {.name = "an address", .text = u"192.168.1.23"_s, .expected = u"192.168.1.23"_s},
            {.name = "markup and underscores stay",
             .text = u"a_b <&> c"_s,
             .expected = u"a_b <&> c"_s},
            {.name = "a line break", .text = u"a\nb\r\tc"_s, .expected = u"a b  c"_s},
            {.name = "Unicode's own line breaks",
             .text = u"a\u2028b\u2029c\u0085d"_s,
             .expected = u"a b c d"_s},
            {.name = "a zero and an escape",
             .text = QString(u"a\0b\x1b[31m"_s),
             .expected = u"a b [31m"_s},
            {.name = "marks that turn the direction",
             .text = u"\u202ea\u200f\u2066b\u2069\u061c\u202c"_s,
             .expected = u"ab"_s},
            {.name = "letters of a right-to-left script", .text = u"שלום"_s, .expected = u"שלום"_s},
            {.name = "joiners inside words",
             .text = u"می\u200cخواهم"_s,
             .expected = u"می\u200cخواهم"_s},
            {.name = "exactly as long as goes",
             .text = QString(1000, u'x'),
             .expected = QString(1000, u'x')},
            {.name = "one too long",
             .text = QString(1001, u'x'),
             .expected = QString(999, u'x') + u'…'},
            {.name = "never half a letter",
             .text = QString(998, u'x') + u"😀😀"_s,
             .expected = QString(998, u'x') + u'…'},
        };
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.text << row.expected;
    }
    void keepsATextOnOneLineInItsPlace()
    {
        QFETCH(QString, text);
        QTEST(onePanelLine(text), "expected");
    }

    void keepsRoomForTheWidestAddress_data()
    {
        struct Row {
            const char *name;
            QString label;
            QString expected;
        };
        const Row rows[] = {
            {.name = "an address", .label = u"10.0.0.7"_s, .expected = u"255.255.255.255"_s},
            {.name = "the widest", .label = u"255.255.255.255"_s, .expected = u"255.255.255.255"_s},
            {.name = "a machine's name behind it",
             .label = u"10.0.0.7:attic"_s,
             .expected = u"255.255.255.255:attic"_s},
            {.name = "two names",
             .label = u"10.0.0.7:attic:Home 10.0.0.1"_s,
             .expected = u"255.255.255.255:attic:Home 10.0.0.1"_s},
            {.name = "no address", .label = u"-.-.-.-"_s, .expected = u"255.255.255.255"_s},
            {.name = "no address but a name",
             .label = u"-.-.-.-:attic"_s,
             .expected = u"255.255.255.255:attic"_s},
            {.name = "something short", .label = u"???"_s, .expected = u"255.255.255.255"_s},
            {.name = "nothing", .label = u""_s, .expected = u"255.255.255.255"_s},
            {.name = "something long",
             .label = u"a text of more letters"_s,
             .expected = u"a text of more letters"_s},
            {.name = "a byte too large",
             .label = u"10.0.0.256:a long name"_s,
             .expected = u"10.0.0.256:a long name"_s},
            {.name = "a byte too many",
             .label = u"10.0.0.1.2:a long name"_s,
             .expected = u"10.0.0.1.2:a long name"_s},
            {.name = "a byte missing",
             .label = u"10.0..1:a long name"_s,
             .expected = u"10.0..1:a long name"_s},
            {.name = "a sign",
             .label = u"10.0.0.+1:a long name"_s,
             .expected = u"10.0.0.+1:a long name"_s},
        };
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.label << row.expected;
    }
    void keepsRoomForTheWidestAddress()
    {
        QFETCH(QString, label);
        QTEST(labelGuide(label), "expected");
    }

    void keepsMarkupOutOfToolTips()
    {
        QCOMPARE(toolTipTitle(u"10.0.0.7:<b>R&D_lab</b>\n"_s), u"10.0.0.7:＜b＞R＆D_lab＜/b＞ "_s);
    }

    void doublesUnderscoresInMenus()
    {
        QCOMPARE(menuLabel(u"_host_1__\n"_s), u"__host__1____ "_s);
        QCOMPARE(menuLabel(QString(900'000, u'_')).size(), 2 * kMaxPanelText - 1);
    }
};

} // namespace quillfen::platform

QTEST_APPLESS_MAIN(quillfen::platform::PanelTextTest)
#include "PanelTextTest.moc"
