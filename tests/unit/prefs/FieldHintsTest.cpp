// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/FieldHints.h"

#include <QObject>
#include <QString>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

class FieldHintsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theIntervalIsExplained_data()
    {
        struct Row {
            const char *name;
            QString typed;
            QString hint;
        };
        static const QString usual = u"From 6 to 546 minutes."_s;
        static const QString six = u"Less than 6 counts as 6."_s;
        static const Row rows[] = {
            {.name = "the shortest", .typed = u"6"_s, .hint = usual},
            {.name = "the longest", .typed = u"546"_s, .hint = usual},
            {.name = "blanks before it", .typed = u"  15"_s, .hint = usual},
            {.name = "too short", .typed = u"5"_s, .hint = six},
            {.name = "less than nothing", .typed = u"-3"_s, .hint = six},
            {.name = "nothing", .typed = u""_s, .hint = six},
            {.name = "a word", .typed = u"hourly"_s, .hint = six},
            {.name = "547 wraps to less than nothing",
             .typed = u"547"_s,
             .hint = u"More than 546 wraps round: checked once only."_s},
            {.name = "1100 wraps to 464 s",
             .typed = u"1100"_s,
             .hint = u"More than 546 wraps round: checked every 7 min 44 s."_s},
            {.name = "16384 wraps to nothing",
             .typed = u"16384"_s,
             .hint = u"More than 546 wraps round: checked once only."_s},
            {.name = "more than 16 bits",
             .typed = u"70000"_s,
             .hint = u"Stored as 4464. More than 546 wraps round: checked every 94 min 56 s."_s},
            {.name = "more than 64 bits",
             .typed = u"99999999999999999999"_s,
             .hint = u"Stored as -1. Less than 6 counts as 6."_s},
        };
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("hint");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.typed << row.hint;
    }
    void theIntervalIsExplained()
    {
        QFETCH(QString, typed);
        QTEST(intervalHint(typed), "hint");
    }

    void thePortIsExplained_data()
    {
        struct Row {
            const char *name;
            QString typed;
            bool overTls = true;
            QString hint;
        };
        static const QString nobody = u"Read as port 0, where no server answers."_s;
        static const Row rows[] = {
            {.name = "the usual one", .typed = u"587"_s, .hint = u"Encrypted by STARTTLS."_s},
            {.name = "TLS at once", .typed = u"465"_s, .hint = u"Encrypted from the first byte."_s},
            {.name = "TLS switched off",
             .typed = u"25"_s,
             .overTls = false,
             .hint = u"Not encrypted: useSSL is switched off."_s},
            {.name = "a high one", .typed = u"40000"_s, .hint = u"Encrypted by STARTTLS."_s},
            {.name = "more than 16 bits",
             .typed = u"70000"_s,
             .hint = u"Read as port 4464. Encrypted by STARTTLS."_s},
            {.name = "less than nothing",
             .typed = u"-1"_s,
             .hint = u"Read as port 65535. Encrypted by STARTTLS."_s},
            {.name = "a number and a word",
             .typed = u"25 or so"_s,
             .hint = u"Encrypted by STARTTLS."_s},
            {.name = "nothing", .typed = u""_s, .hint = nobody},
            {.name = "a word", .typed = u"smtp"_s, .hint = nobody},
            {.name = "exactly 16 bits more than nothing", .typed = u"65536"_s, .hint = nobody},
        };
        QTest::addColumn<QString>("typed");
        QTest::addColumn<bool>("overTls");
        QTest::addColumn<QString>("hint");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.typed << row.overTls << row.hint;
    }
    void thePortIsExplained()
    {
        QFETCH(QString, typed);
        QFETCH(bool, overTls);
        QTEST(portHint(typed, overTls), "hint");
    }
};

} // namespace quillfen::prefs

QTEST_GUILESS_MAIN(quillfen::prefs::FieldHintsTest)
#include "FieldHintsTest.moc"
