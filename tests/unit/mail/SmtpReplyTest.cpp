// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/SmtpReply.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTest>

#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::mail {

namespace {

/// What a reader makes of what is fed to it: each reply's code and texts with "|" between them,
/// replies on lines of their own, and at the end whether it waits for more or is broken.
QString drained(SmtpReplyReader &reader)
{
    QString all;
    while (const std::optional<SmtpReply> reply = reader.take())
        all +=
            QString::number(reply->code) + u' ' + QString::fromUtf8(reply->texts.join('|')) + u'\n';
    if (!reader.trouble().isEmpty())
        return all + u"broken: "_s + reader.trouble();
    return all + (reader.atRest() ? u"rest"_s : u"waits"_s);
}

QString spell(const QByteArray &bytes)
{
    SmtpReplyReader reader;
    reader.feed(bytes);
    return drained(reader);
}

/// A line of @p size bytes with its line end.
QByteArray lineOf(qsizetype size, const QByteArray &start = "250 ")
{
    return start.leftJustified(size - 2, 'x') + "\r\n";
}

/// A reply of @p lines lines of @p size bytes each.
QByteArray replyOf(int lines, qsizetype size)
{
    return lineOf(size, "250-").repeated(lines - 1) + lineOf(size);
}

} // namespace

class SmtpReplyTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cutsRepliesOut_data()
    {
        struct Row {
            const char *name;
            QByteArray arrived;
            QString expected;
        };
        static const Row rows[] = {
            {.name = "nothing", .arrived = "", .expected = u"rest"_s},
            {.name = "one line", .arrived = "250 fine\r\n", .expected = u"250 fine\nrest"_s},
            {.name = "a code alone", .arrived = "250\r\n", .expected = u"250 \nrest"_s},
            {.name = "a code and a blank", .arrived = "250 \r\n", .expected = u"250 \nrest"_s},
            {.name = "several lines",
             .arrived = "250-one\r\n250-two\r\n250 three\r\n",
             .expected = u"250 one|two|three\nrest"_s},
            {.name = "the last line without a text",
             .arrived = "250-one\r\n250\r\n",
             .expected = u"250 one|\nrest"_s},
            {.name = "lines without a text",
             .arrived = "250-\r\n250-\r\n250 \r\n",
             .expected = u"250 ||\nrest"_s},
            {.name = "line ends without CR",
             .arrived = "250-one\n250 two\n",
             .expected = u"250 one|two\nrest"_s},
            {.name = "two replies",
             .arrived = "250 one\r\n354 two\r\n",
             .expected = u"250 one\n354 two\nrest"_s},
            {.name = "half a line waits", .arrived = "250 fi", .expected = u"waits"_s},
            {.name = "a line without its LF waits",
             .arrived = "250 fine\r",
             .expected = u"waits"_s},
            {.name = "half a reply waits", .arrived = "250-one\r\n", .expected = u"waits"_s},
            {.name = "a reply and a half",
             .arrived = "220 one\r\n250-two\r\n",
             .expected = u"220 one\nwaits"_s},
            {.name = "the code changes",
             .arrived = "250-one\r\n550 two\r\n",
             .expected = u"broken: sent a reply with two codes"_s},
            {.name = "no code",
             .arrived = "hello\r\n",
             .expected = u"broken: sent something that is no reply"_s},
            {.name = "an empty line",
             .arrived = "\r\n",
             .expected = u"broken: sent something that is no reply"_s},
            {.name = "two digits",
             .arrived = "25 one\r\n",
             .expected = u"broken: sent something that is no reply"_s},
            {.name = "four digits",
             .arrived = "2500 one\r\n",
             .expected = u"broken: sent something that is no reply"_s},
            {.name = "a code too small",
             .arrived = "199 one\r\n",
             .expected = u"broken: sent something that is no reply"_s},
            {.name = "a code too large",
             .arrived = "600 one\r\n",
             .expected = u"broken: sent something that is no reply"_s},
            {.name = "a tab behind the code",
             .arrived = "250\tone\r\n",
             .expected = u"broken: sent something that is no reply"_s},
            {.name = "digits of another script",
             .arrived = "2\xD9\xA3\xD9\xA4 one\r\n",
             .expected = u"broken: sent something that is no reply"_s},
            {.name = "a good reply before a bad one",
             .arrived = "250 one\r\nhello\r\n250 two\r\n",
             .expected = u"250 one\nbroken: sent something that is no reply"_s},
            {.name = "the longest line",
             .arrived = lineOf(SmtpReplyReader::kMostLineBytes),
             .expected = u"250 "_s + QString(4090, u'x') + u"\nrest"_s},
            {.name = "a line too long",
             .arrived = lineOf(SmtpReplyReader::kMostLineBytes + 1),
             .expected = u"broken: sent a line of more than 4096 bytes"_s},
            {.name = "a line too long that has not ended",
             .arrived = QByteArray("250 ").leftJustified(SmtpReplyReader::kMostLineBytes, 'x'),
             .expected = u"broken: sent a line of more than 4096 bytes"_s},
            {.name = "the most lines",
             .arrived = replyOf(SmtpReplyReader::kMostLines, 6),
             .expected = u"250 "_s + QString(99, u'|') + u"\nrest"_s},
            {.name = "a line too many",
             .arrived = replyOf(SmtpReplyReader::kMostLines + 1, 6),
             .expected = u"broken: sent a reply of more than 100 lines"_s},
            {.name = "a reply too long",
             .arrived = replyOf(17, SmtpReplyReader::kMostLineBytes),
             .expected = u"broken: sent a reply of more than 65536 bytes"_s},
        };
        QTest::addColumn<QByteArray>("arrived");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.arrived << row.expected;
    }
    void cutsRepliesOut()
    {
        QFETCH(QByteArray, arrived);
        QFETCH(QString, expected);
        QCOMPARE(spell(arrived), expected);
    }

    void takesTheLongestReply()
    {
        SmtpReplyReader reader;
        reader.feed(replyOf(16, SmtpReplyReader::kMostLineBytes));
        const auto reply = reader.take();
        QVERIFY(reply);
        QCOMPARE(reply->texts.size(), 16);
        QCOMPARE(reply->bytes.size(), SmtpReplyReader::kMostReplyBytes - 2);
    }

    void findsTheSameWhereverTheBytesAreCut()
    {
        const QByteArray arrived = "220 hi\r\n250-one\n250\r\n421-a\r\n421 b\r\n250-c\r\n251 d\r\n";
        const QString whole = spell(arrived);
        QCOMPARE(whole, u"220 hi\n250 one|\n421 a|b\nbroken: sent a reply with two codes"_s);
        for (qsizetype at = 0; at <= arrived.size(); ++at) {
            SmtpReplyReader reader;
            reader.feed(arrived.first(at));
            QString before = drained(reader);
            reader.feed(arrived.sliced(at));
            before.truncate(before.lastIndexOf(u'\n') + 1);
            const QString after = drained(reader); // without what was found before
            QCOMPARE(before + after, whole);
        }
    }

    void findsTheSameByteByByte()
    {
        const QByteArray arrived = "220 hi\r\n250-one\n250\r\n421-a\r\n421 b\r\n25";
        SmtpReplyReader reader;
        QString all;
        for (const char byte : arrived) {
            reader.feed(QByteArrayView(&byte, 1));
            const QString found = drained(reader);
            all += found.first(found.lastIndexOf(u'\n') + 1);
        }
        QCOMPARE(all + u"waits"_s, spell(arrived));
    }

    void keepsTheBytesAsTheyCame()
    {
        SmtpReplyReader reader;
        reader.feed("550-5.1.1 no \xFF\x01\r\n550 user\r\n");
        const auto reply = reader.take();
        QVERIFY(reply);
        QCOMPARE(reply->bytes, "550-5.1.1 no \xFF\x01\r\n550 user");
    }

    void takesNothingMoreOnceItIsBroken()
    {
        SmtpReplyReader reader;
        reader.feed("nonsense\r\n");
        QVERIFY(!reader.take());
        reader.feed("250 fine\r\n");
        QVERIFY(!reader.take());
        QCOMPARE(reader.trouble(), u"sent something that is no reply"_s);
        QVERIFY(reader.atRest());
    }
};

} // namespace quillfen::mail

using quillfen::mail::SmtpReplyTest;
QTEST_APPLESS_MAIN(SmtpReplyTest)
#include "SmtpReplyTest.moc"
