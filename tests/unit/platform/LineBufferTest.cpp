// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/LineBuffer.h"

#include <QByteArray>
#include <QString>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

class LineBufferTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void takesBytesAndTextInTurn()
    {
        LineBuffer line;
        line.append('[').append("date"_ba).append("] ").append(u"é 🙂"_s).append('\n');
        QCOMPARE(line.bytes().toByteArray(), "[date] é 🙂\n"_ba);
        QCOMPARE(line.size(), line.bytes().size());
        line.truncate(5);
        QCOMPARE(line.bytes().toByteArray(), "[date"_ba);
        line.append("!");
        QCOMPARE(line.bytes().toByteArray(), "[date!"_ba);
    }

    void takesPrintableAsciiAndNothingElseForPlain()
    {
        for (char16_t c = 0; c < 0xffff; ++c) {
            LineBuffer line;
            line.append("before ");
            const bool plain = line.appendPlain(QString(u"a%1b"_s).replace(1, 2, QChar(c)));
            QCOMPARE(plain, c >= 0x20 && c <= 0x7e);
            const QByteArray expected = plain ? "before a"_ba + char(c) + 'b' : "before "_ba;
            QCOMPARE(line.bytes().toByteArray(), expected);
        }
        const QString many(40, u'x');
        for (qsizetype at = 0; at < many.size(); ++at) {
            LineBuffer line;
            QVERIFY(!line.appendPlain(QString(many).replace(at, 1, u'\n')));
            QCOMPARE(line.size(), 0);
            QVERIFY(line.appendPlain(many.first(at)));
            QCOMPARE(line.bytes().toByteArray(), many.first(at).toLatin1());
        }
        LineBuffer line;
        QVERIFY(line.appendPlain(QString(2000, u'x')));
        QVERIFY(line.appendPlain(u""_s));
        QCOMPARE(line.bytes().toByteArray(), QByteArray(2000, 'x'));
    }

    void writesAnyTextInUtf8_data()
    {
        struct Row {
            const char *name;
            QString text;
            QByteArray bytes;
        };
        const QString high(QChar(0xd83d));
        const QString low(QChar(0xde42));
        const QString many(2000, u'€');
        const Row rows[] = {
            {.name = "nothing", .text = u""_s, .bytes = ""},
            {.name = "zero", .text = u"a\0b"_s, .bytes = "a\0b"_ba},
            {.name = "two bytes", .text = u"é"_s, .bytes = "\xc3\xa9"},
            {.name = "three bytes", .text = u"€"_s, .bytes = "\xe2\x82\xac"},
            {.name = "a pair", .text = high + low, .bytes = "\xf0\x9f\x99\x82"},
            {.name = "a lone high half",
             .text = high + u'a',
             .bytes = "\xef\xbf\xbd"
                      "a"},
            {.name = "a lone low half", .text = u'a' + low, .bytes = "a\xef\xbf\xbd"},
            {.name = "half a pair at the end", .text = u'a' + high, .bytes = "a\xef\xbf\xbd"},
            {.name = "longer than the usual room",
             .text = many,
             .bytes = QByteArray("\xe2\x82\xac").repeated(2000)},
        };
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.text << row.bytes;
    }
    void writesAnyTextInUtf8()
    {
        QFETCH(QString, text);
        LineBuffer line;
        line.append("before ").append(text).append(" behind");
        QTEST(line.bytes().sliced(7, line.size() - 14).toByteArray(), "bytes");
    }
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::LineBufferTest)
#include "LineBufferTest.moc"
