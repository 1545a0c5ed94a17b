// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/CWMessage.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QDateTime>
#include <QObject>
#include <QRegularExpression>
#include <QString>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::mail {

namespace {

const QDateTime kDate(QDate(2026, 1, 2), QTime(3, 4, 5), Qt::OffsetFromUTC, 3600);

CWMessage note()
{
    CWMessage message;
    message.setSubject(u"A note"_s);
    message.setFrom(CWInternetAddress::initWithString(u"from@b.example"_s));
    message.addRecipient(CWInternetAddress::initWithString(u"to@b.example"_s));
    message.setContentType("text/plain");
    message.setContentTransferEncoding(CWMessage::TransferEncoding::None);
    message.setCharset("us-ascii");
    return message;
}

/// What stands behind the headers.
QByteArray contentOf(const QByteArray &wire)
{
    return wire.sliced(wire.indexOf("\r\n\r\n") + 4);
}

} // namespace

class CWMessageTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hasEachHeaderOnce()
    {
        CWMessage message = note();
        message.setContent("Subject: no header\r\n\r\ntext");
        QByteArray wire = message.wire(kDate);
        static const QRegularExpression id(u"<[0-9a-f]{32}@b\\.example>"_s);
        wire = QString::fromLatin1(wire).replace(id, u"<id>"_s).toLatin1();
        QCOMPARE(wire,
                 "Date: Fri, 2 Jan 2026 03:04:05 +0100\r\n"
                 "Subject: A note\r\n"
                 "Message-ID: <id>\r\n"
                 "MIME-Version: 1.0\r\n"
                 "From: from@b.example\r\n"
                 "To: to@b.example\r\n"
                 "Content-Type: text/plain; charset=\"us-ascii\"\r\n"
                 "Auto-Submitted: auto-generated\r\n"
                 "\r\n"
                 "Subject: no header\r\n\r\ntext\r\n");
    }

    void sendsTheContentInLines_data()
    {
        struct Row {
            const char *name;
            QByteArray content;
            QByteArray expected;
        };
        const QByteArray full(998, 'x');
        const QByteArray umlaut = "\xC3\xBC";
        const QByteArray smile = "\xF0\x9F\x98\x80";
        const Row rows[] = {
            {.name = "nothing", .content = "", .expected = "\r\n"},
            {.name = "one line", .content = "a", .expected = "a\r\n"},
            {.name = "with its end", .content = "a\r\n", .expected = "a\r\n"},
            {.name = "LF", .content = "a\nb\n", .expected = "a\r\nb\r\n"},
            {.name = "CR", .content = "a\rb\r", .expected = "a\r\nb\r\n"},
            {.name = "all kinds", .content = "a\r\nb\rc\nd", .expected = "a\r\nb\r\nc\r\nd\r\n"},
            {.name = "LF CR", .content = "a\n\rb", .expected = "a\r\n\r\nb\r\n"},
            {.name = "empty lines", .content = "\n\na\n\n", .expected = "\r\n\r\na\r\n\r\n"},
            {.name = "a zero byte", .content = QByteArray("a\0b", 3), .expected = "ab\r\n"},
            {.name = "a zero byte in a line end",
             .content = QByteArray("a\r\0\nb", 5),
             .expected = "a\r\nb\r\n"},
            {.name = "dots as they are", .content = ".\n..", .expected = ".\r\n..\r\n"},
            {.name = "eight bits",
             .content = "caf\xC3\xA9 \xFF",
             .expected = "caf\xC3\xA9 \xFF\r\n"},
            {.name = "998 octets", .content = full, .expected = full + "\r\n"},
            {.name = "999 octets", .content = full + 'y', .expected = full + "\r\ny\r\n"},
            {.name = "two full lines",
             .content = full + full,
             .expected = full + "\r\n" + full + "\r\n"},
            {.name = "a character of two octets at 998",
             .content = full.chopped(1) + umlaut,
             .expected = full.chopped(1) + "\r\n" + umlaut + "\r\n"},
            {.name = "a character of four octets at 998",
             .content = full.chopped(1) + smile,
             .expected = full.chopped(1) + "\r\n" + smile + "\r\n"},
            {.name = "a character of four octets before 998",
             .content = full.chopped(4) + smile + 'y',
             .expected = full.chopped(4) + smile + "\r\ny\r\n"},
            {.name = "no characters at all",
             .content = QByteArray(999, '\x80'),
             .expected = QByteArray(998, '\x80') + "\r\n\x80\r\n"},
        };
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.content << row.expected;
    }
    void sendsTheContentInLines()
    {
        QFETCH(QByteArray, content);
        CWMessage message = note();
        message.setContent(content);
        QTEST(contentOf(message.wire(kDate)), "expected");
    }

    void knowsWhetherItNeedsEightBits()
    {
        CWMessage message = note();
        message.setContent("cafe");
        QVERIFY(!message.hasEightBitContent());
        message.setContent("caf\xC3\xA9");
        QVERIFY(message.hasEightBitContent());
    }

    void refusesWhatCannotBeSent_data()
    {
        struct Row {
            const char *name;
            QString subject = u"A note"_s;
            QString from = u"from@b.example"_s;
            QStringList to = {u"to@b.example"_s};
            QByteArray type = "text/plain";
            QByteArray charset = "us-ascii";
            QString refusal = u"The mail cannot be sent: a header has a control character in it."_s;
        };
        const Row rows[] = {
            {.name = "nothing wrong", .refusal = {}},
            {.name = "a subject in another language", .subject = u"Grüße 😀"_s, .refusal = {}},
            {.name = "the sender",
             .from = u"nobody"_s,
             .refusal = u"The mail cannot be sent: the address of its sender has no “@” in it."_s},
            {.name = "the second recipient",
             .to = {u"a@b"_s, u"c@d\r\n"_s},
             .refusal = u"The mail cannot be sent: the address of its recipient has a control "
                        u"character in it."_s},
            {.name = "no recipient",
             .to = {},
             .refusal = u"The mail cannot be sent: it has no recipient."_s},
            {.name = "a LF in the subject", .subject = u"a\nBcc: b@c"_s},
            {.name = "a CR in the subject", .subject = u"a\r"_s},
            {.name = "a NUL in the subject", .subject = QString(QChar(0))},
            {.name = "a line separator in the subject", .subject = QString(QChar(0x2028))},
            {.name = "a line end in the type", .type = "text/plain\r\nBcc: b@c"},
            {.name = "a line end in the charset", .charset = "us-ascii\r\n"},
        };
        QTest::addColumn<CWMessage>("message");
        QTest::addColumn<QString>("refusal");
        for (const Row &row : rows) {
            CWMessage message;
            message.setSubject(row.subject);
            message.setFrom(CWInternetAddress::initWithString(row.from));
            for (const QString &recipient : row.to)
                message.addRecipient(CWInternetAddress::initWithString(recipient));
            message.setContentType(row.type);
            message.setCharset(row.charset);
            QTest::newRow(row.name) << message << row.refusal;
        }
    }
    void refusesWhatCannotBeSent()
    {
        QFETCH(CWMessage, message);
        QTEST(message.refusal(), "refusal");
    }
};

} // namespace quillfen::mail

using quillfen::mail::CWMessageTest;
QTEST_APPLESS_MAIN(CWMessageTest)
#include "CWMessageTest.moc"
