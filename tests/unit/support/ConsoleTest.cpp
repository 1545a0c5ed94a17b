// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Console.h"
#include "world/FakeConsole.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::support {

class ConsoleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void printsAbsentValuesForConversions_data()
    {
        struct Row {
            const char *name;
            QString format;
            QString expected;
        };
        static const Row rows[] = {
            {.name = "empty", .format = u""_s, .expected = u""_s},
            {.name = "no percent sign", .format = u"plain"_s, .expected = u"plain"_s},
            {.name = "object", .format = u"<%@>"_s, .expected = u"<(null)>"_s},
            {.name = "strings",
             .format = u"%s %S %ls %hs"_s,
             .expected = u"(null) (null) (null) (null)"_s},
            {.name = "whole numbers",
             .format = u"%d %i %u %x %X %o"_s,
             .expected = u"0 0 0 0 0 0"_s},
            {.name = "long whole numbers", .format = u"%D %U %O"_s, .expected = u"0 0 0"_s},
            {.name = "fractions",
             .format = u"%f %F %e %E %g %G %a %A"_s,
             .expected = u"0 0 0 0 0 0 0 0"_s},
            {.name = "characters", .format = u"%c %C %lc"_s, .expected = u"0 0 0"_s},
            {.name = "pointer", .format = u"%p"_s, .expected = u"0x0"_s},
            {.name = "count", .format = u"a%nb%hhnc"_s, .expected = u"abc"_s},
            {.name = "percent sign", .format = u"100%%"_s, .expected = u"100%"_s},
            {.name = "percent sign, then a letter", .format = u"%%d"_s, .expected = u"%d"_s},
            {.name = "three percent signs", .format = u"%%%d"_s, .expected = u"%0"_s},
            {.name = "every flag", .format = u"%-+ 0#'d."_s, .expected = u"0."_s},
            {.name = "width", .format = u"%5d"_s, .expected = u"0"_s},
            {.name = "width and precision",
             .format = u"%10.3f|%.2e|%5.s"_s,
             .expected = u"0|0|(null)"_s},
            {.name = "width of arguments",
             .format = u"%*d %.*f %*.*s"_s,
             .expected = u"0 0 (null)"_s},
            {.name = "positions",
             .format = u"%2$@ %1$5d %1$*2$.*3$f"_s,
             .expected = u"(null) 0 0"_s},
            {.name = "every length",
             .format = u"%hhd%hd%ld%lld%qd%Lf%jd%zd%td"_s,
             .expected = u"000000000"_s},
            {.name = "absurd width",
             .format = u"%999999999d|%.999999999s"_s,
             .expected = u"0|(null)"_s},
            {.name = "width beyond any number",
             .format = u"%99999999999999999999999d"_s,
             .expected = u"0"_s},
            {.name = "a blank is a flag", .format = u"50% done"_s, .expected = u"500one"_s},
            {.name = "percent sign at the end", .format = u"100%"_s, .expected = u"100%"_s},
            {.name = "incomplete at the end", .format = u"a %-5.3ll"_s, .expected = u"a %-5.3ll"_s},
            {.name = "unknown letter", .format = u"%y %5k %m"_s, .expected = u"%y %5k %m"_s},
            {.name = "unknown letter outside ASCII",
             .format = u"%é%\U0001F310"_s,
             .expected = u"%é%\U0001F310"_s},
            {.name = "a conversion ends an incomplete one",
             .format = u"%5%d"_s,
             .expected = u"%50"_s},
            {.name = "a position without its sign", .format = u"%1.$d"_s, .expected = u"%1.$d"_s},
            {.name = "a third length letter", .format = u"%llld"_s, .expected = u"%llld"_s},
            {.name = "an escape's percent sign",
             .format = u"http://a/%20b"_s,
             .expected = u"http://a/%20b"_s},
            {.name = "a conversion among escapes",
             .format = u"http://a/%2Fb%20c"_s,
             .expected = u"http://a/0b0"_s},
            {.name = "digits of other scripts are no width",
             .format = u"%\u0663d"_s,
             .expected = u"%\u0663d"_s},
        };
        QTest::addColumn<QString>("format");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.format << row.expected;
    }

    void printsAbsentValuesForConversions()
    {
        QFETCH(QString, format);
        QFETCH(QString, expected);
        QCOMPARE(expandFormat(format), expected);
    }

    void logsAFormat()
    {
        world::FakeConsole system;
        Console(system).log(u"100%% of %d"_s);
        QCOMPARE(system.lines(), QStringList{u"100% of 0"_s});
    }

    void writesALineAsItIs()
    {
        world::FakeConsole system;
        Console(system).write(u"100%% of %d"_s);
        QCOMPARE(system.lines(), QStringList{u"100%% of %d"_s});
    }
};

} // namespace quillfen::support

QTEST_GUILESS_MAIN(quillfen::support::ConsoleTest)
#include "ConsoleTest.moc"
