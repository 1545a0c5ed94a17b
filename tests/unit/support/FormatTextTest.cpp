// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/FormatText.h"

#include <QObject>
#include <QString>
#include <QTest>

#include <cstdint>
#include <limits>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::support {

class FormatTextTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void fillsInTheArguments_data()
    {
        struct Row {
            const char *name;
            QString filled;
            QString expected;
        };
        const std::optional<QString> absent;
        const std::optional<QString> present = u"eth0"_s;
        const Row rows[] = {
            {.name = "no conversion",
             .filled = formatText(u"Starting up..."),
             .expected = u"Starting up..."_s},
            {.name = "empty format", .filled = formatText(u"", u"unused"_s), .expected = u""_s},
            {.name = "two texts",
             .filled = formatText(u"%@ (%@)", u"192.0.2.7"_s, u"host"_s),
             .expected = u"192.0.2.7 (host)"_s},
            {.name = "a view",
             .filled = formatText(u"%@.", QStringView(u"text")),
             .expected = u"text."_s},
            {.name = "a present optional",
             .filled = formatText(u"%@:", present),
             .expected = u"eth0:"_s},
            {.name = "an absent optional",
             .filled = formatText(u"IP:%@ (%@)", u"-.-.-.-"_s, absent),
             .expected = u"IP:-.-.-.- ((null))"_s},
            {.name = "a null text is empty",
             .filled = formatText(u"<%@>", QString()),
             .expected = u"<>"_s},
            {.name = "numbers",
             .filled = formatText(u"%d minute%@", 6, u"s"_s),
             .expected = u"6 minutes"_s},
            {.name = "the lowest number",
             .filled = formatText(u"%d", std::numeric_limits<std::int64_t>::min()),
             .expected = u"-9223372036854775808"_s},
            {.name = "the highest number",
             .filled = formatText(u"%d", std::numeric_limits<std::uint64_t>::max()),
             .expected = u"18446744073709551615"_s},
            {.name = "sixteen bits",
             .filled = formatText(u"%d", std::int16_t{-29536}),
             .expected = u"-29536"_s},
            {.name = "a percent sign",
             .filled = formatText(u"100%% of %@", u"it"_s),
             .expected = u"100% of it"_s},
            {.name = "a percent sign before a letter",
             .filled = formatText(u"%%@ %@", u"a"_s),
             .expected = u"%@ a"_s},
            {.name = "arguments are not read again",
             .filled = formatText(u"%@ %@", u"%@%d%%"_s, u"b"_s),
             .expected = u"%@%d%% b"_s},
            {.name = "too few arguments",
             .filled = formatText(u"%@ %@ %d", u"a"_s),
             .expected = u"a (null) 0"_s},
            {.name = "too many arguments",
             .filled = formatText(u"%@", u"a"_s, u"b"_s, 3),
             .expected = u"a"_s},
            {.name = "another conversion is text",
             .filled = formatText(u"%s %5d %", 1),
             .expected = u"%s %5d %"_s},
            {.name = "beyond the basic plane",
             .filled = formatText(u"\U0001F310%@", u"é"_s),
             .expected = u"\U0001F310é"_s},
        };
        QTest::addColumn<QString>("filled");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.filled << row.expected;
    }

    void fillsInTheArguments()
    {
        QFETCH(QString, filled);
        QFETCH(QString, expected);
        QCOMPARE(filled, expected);
    }
};

} // namespace quillfen::support

QTEST_GUILESS_MAIN(quillfen::support::FormatTextTest)
#include "FormatTextTest.moc"
