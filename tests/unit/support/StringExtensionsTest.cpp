// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/StringExtensions.h"

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::support {

namespace {

using Cut = std::optional<QString>;

struct Row {
    const char *name;
    QString text;
    QString start;
    QString end;
    Cut forwards;
    Cut backwards;
};

const Cut kNothing;

} // namespace

class StringExtensionsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cutsBetweenMarkers_data()
    {
        const Row rows[] = {
            {.name = "letter case is ignored",
             .text = u"Current IP Address: 1.2.3.4</body></html>"_s,
             .start = u"current ip address: "_s,
             .end = u"</BODY></HTML>"_s,
             .forwards = u"1.2.3.4"_s,
             .backwards = u"1.2.3.4"_s},
            {.name = "first and nearest start marker",
             .text = u"aXbXdc"_s,
             .start = u"X"_s,
             .end = u"c"_s,
             .forwards = u"bXd"_s,
             .backwards = u"d"_s},
            {.name = "end marker only before the start marker",
             .text = u"b...a..."_s,
             .start = u"a"_s,
             .end = u"b"_s,
             .forwards = kNothing,
             .backwards = kNothing},
            {.name = "a start marker before that end marker too",
             .text = u"a1b...a..."_s,
             .start = u"a"_s,
             .end = u"b"_s,
             .forwards = u"1"_s,
             .backwards = u"1"_s},
            {.name = "an end marker on both sides",
             .text = u"b a 1 b"_s,
             .start = u"a"_s,
             .end = u"b"_s,
             .forwards = u" 1 "_s,
             .backwards = kNothing},
            {.name = "markers that touch",
             .text = u"[]"_s,
             .start = u"["_s,
             .end = u"]"_s,
             .forwards = u""_s,
             .backwards = u""_s},
            {.name = "no start marker",
             .text = u"1]"_s,
             .start = u"["_s,
             .end = u"]"_s,
             .forwards = kNothing,
             .backwards = kNothing},
            {.name = "no end marker",
             .text = u"[1"_s,
             .start = u"["_s,
             .end = u"]"_s,
             .forwards = kNothing,
             .backwards = kNothing},
            {.name = "empty text",
             .text = u""_s,
             .start = u"["_s,
             .end = u"]"_s,
             .forwards = kNothing,
             .backwards = kNothing},
            {.name = "empty start marker",
             .text = u"1]"_s,
             .start = u""_s,
             .end = u"]"_s,
             .forwards = kNothing,
             .backwards = kNothing},
            {.name = "empty end marker",
             .text = u"[1"_s,
             .start = u"["_s,
             .end = u""_s,
             .forwards = kNothing,
             .backwards = kNothing},
            {.name = "both markers empty",
             .text = u"1"_s,
             .start = u""_s,
             .end = u""_s,
             .forwards = kNothing,
             .backwards = kNothing},
            {.name = "blanks stay",
             .text = u"[ \n 1 ]"_s,
             .start = u"["_s,
             .end = u"]"_s,
             .forwards = u" \n 1 "_s,
             .backwards = u" \n 1 "_s},
            {.name = "the same marker twice",
             .text = u"\"name\""_s,
             .start = u"\""_s,
             .end = u"\""_s,
             .forwards = u"name"_s,
             .backwards = kNothing},
            {.name = "the end marker is no start marker of its own",
             .text = u"-\"name\""_s,
             .start = u"\""_s,
             .end = u"\""_s,
             .forwards = u"name"_s,
             .backwards = kNothing},
            {.name = "markers never overlap",
             .text = u"aba"_s,
             .start = u"ab"_s,
             .end = u"ba"_s,
             .forwards = kNothing,
             .backwards = kNothing},
            {.name = "a marker longer than the text",
             .text = u"ab"_s,
             .start = u"abc"_s,
             .end = u"b"_s,
             .forwards = kNothing,
             .backwards = kNothing},
            {.name = "the start marker is the whole text",
             .text = u"ab"_s,
             .start = u"ab"_s,
             .end = u"b"_s,
             .forwards = kNothing,
             .backwards = kNothing},
            {.name = "case beyond ASCII",
             .text = u"ÄÖ1ΣÜ"_s,
             .start = u"äö"_s,
             .end = u"ςü"_s,
             .forwards = u"1"_s,
             .backwards = u"1"_s},
            {.name = "case beyond the basic plane",
             .text = u"\U00010400x\U00010401"_s,
             .start = u"\U00010428"_s,
             .end = u"\U00010429"_s,
             .forwards = u"x"_s,
             .backwards = u"x"_s},
            {.name = "a folding of another length does not match",
             .text = u"straße!"_s,
             .start = u"strasse"_s,
             .end = u"!"_s,
             .forwards = kNothing,
             .backwards = kNothing},
            {.name = "indexes count past wide characters",
             .text = u"\U0001F310\U0001F310<\U0001F4BB>\U0001F310"_s,
             .start = u"<"_s,
             .end = u">"_s,
             .forwards = u"\U0001F4BB"_s,
             .backwards = u"\U0001F4BB"_s},
            {.name = "a NUL is a character",
             .text = QString(u"a\0b\0c"_s),
             .start = u"\0"_s,
             .end = u"\0"_s,
             .forwards = u"b"_s,
             .backwards = kNothing},
        };
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("start");
        QTest::addColumn<QString>("end");
        QTest::addColumn<Cut>("forwards");
        QTest::addColumn<Cut>("backwards");
        for (const Row &row : rows) {
            QTest::newRow(row.name)
                << row.text << row.start << row.end << row.forwards << row.backwards;
        }
    }

    void cutsBetweenMarkers()
    {
        QFETCH(QString, text);
        QFETCH(QString, start);
        QFETCH(QString, end);
        QTEST(extractBetweenPattern(text, start, end), "forwards");
        QTEST(reverseExtractBetweenPattern(text, start, end), "backwards");
    }

    void aTextCutAnywhereYieldsNothingOrTheSame()
    {
        const QString page = u"<html>Current IP Address: 1.2.3.4</body></html>"_s;
        const QString end = u"</body></html>"_s;
        for (qsizetype size = 0; size < page.size(); ++size) {
            const QStringView part = QStringView(page).first(size);
            QCOMPARE(extractBetweenPattern(part, u"address: ", end), kNothing);
        }
        QCOMPARE(extractBetweenPattern(page, u"address: ", end), u"1.2.3.4"_s);
    }

    void everyLetterMatchesItsFoldedCase()
    {
        int letters = 0;
        for (char32_t letter = 0; letter <= QChar::LastValidCodePoint; ++letter) {
            const char32_t folded = QChar::toCaseFolded(letter);
            if (folded == letter)
                continue;
            ++letters;
            const QString inText = QString::fromUcs4(&letter, 1);
            const QString inMarker = QString::fromUcs4(&folded, 1);
            const QString text = inText + u"<value>"_s + inText;
            QCOMPARE(extractBetweenPattern(text, inMarker + u'<', u'>' + inMarker), u"value"_s);
            QCOMPARE(reverseExtractBetweenPattern(text, inMarker + u'<', u'>' + inMarker),
                     u"value"_s);
        }
        QVERIFY2(letters > 1000, qPrintable(QString::number(letters)));
    }

    void aHostileMegabyteIsReadAtOnce_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("marker");
        const qsizetype size = 1 << 20;
        QTest::newRow("one letter, differing at the front")
            << QString(size, u'a') << QString(u'b' + QString(40, u'a'));
        QTest::newRow("one letter, differing at the back")
            << QString(size, u'a') << QString(QString(40, u'a') + u'b');
        QTest::newRow("one letter, differing in the middle")
            << QString(size, u'a') << QString(QString(30, u'a') + u'b' + QString(70, u'a'));
        QTest::newRow("wide characters") << QString(u"\U00010400"_s).repeated(size / 2)
                                         << QString(u"\U00010428"_s).repeated(20) + u'b';
    }

    void aHostileMegabyteIsReadAtOnce()
    {
        QFETCH(QString, text);
        QFETCH(QString, marker);
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(extractBetweenPattern(text, marker, u"x"), kNothing);
        QCOMPARE(reverseExtractBetweenPattern(text + u'x', marker, u"x"), kNothing);
        const qint64 took = clock.elapsed();
        QVERIFY2(took < 1000, qPrintable(u"%1 ms"_s.arg(took)));
    }

    void cleansForFilenames_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("expected");
        QTest::newRow("date") << u"10/11/12 10:30"_s << u"10-11-12 10-30"_s;
        QTest::newRow("nothing to do") << u"a b\\c.d\t-"_s << u"a b\\c.d\t-"_s;
        QTest::newRow("empty") << u""_s << u""_s;
        QTest::newRow("nothing but separators") << u"//::"_s << u"----"_s;
        QTest::newRow("lookalikes stay")
            << u"\u2215\uFF1A\U0001F310"_s << u"\u2215\uFF1A\U0001F310"_s;
    }

    void cleansForFilenames()
    {
        QFETCH(QString, text);
        QTEST(cleanForFilename(text), "expected");
    }

    void scriptsGiveNothing_data()
    {
        QTest::addColumn<QString>("source");
        QTest::newRow("does not compile") << u"tell tell tell"_s;
        QTest::newRow("result is a list") << u"{\"a\", \"b\"}"_s;
        QTest::newRow("result is a text") << u"return \"a\""_s;
        QTest::newRow("empty") << u""_s;
    }

    void scriptsGiveNothing()
    {
        QFETCH(QString, source);
        QCOMPARE(runScript(source), kNothing);
    }
};

} // namespace quillfen::support

QTEST_GUILESS_MAIN(quillfen::support::StringExtensionsTest)
#include "StringExtensionsTest.moc"
