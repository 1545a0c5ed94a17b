// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/MailHeader.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QDateTime>
#include <QLocale>
#include <QObject>
#include <QRegularExpression>
#include <QString>
#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace quillfen::mail {

namespace {

/// The text of a field as a reader of mail sees it: unfolded, and its encoded words decoded.
QString read(const QByteArray &field)
{
    QString text = QString::fromLatin1(field).remove(u"\r\n"_s);
    text = text.sliced(text.indexOf(u':') + 2);
    static const QRegularExpression between(u"\\?= +=\\?"_s);
    text.replace(between, u"?==?"_s);
    static const QRegularExpression word(u"=\\?UTF-8\\?B\\?([A-Za-z0-9+/=]*)\\?="_s);
    for (auto match = word.match(text); match.hasMatch(); match = word.match(text)) {
        const QByteArray bytes = QByteArray::fromBase64(match.captured(1).toLatin1());
        const QString decoded = QString::fromUtf8(bytes);
        if (decoded.contains(QChar::ReplacementCharacter))
            return u"a word ends inside a character"_s;
        text.replace(match.capturedStart(), match.capturedLength(), decoded);
    }
    return text;
}

bool isAscii(const QByteArray &bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char octet) { return (octet & 0x80) == 0; });
}

qsizetype longestLine(const QByteArray &field)
{
    qsizetype longest = 0;
    for (const QByteArray &line : field.chopped(2).split('\n'))
        longest = qMax(longest, line.size() - (line.endsWith('\r') ? 1 : 0));
    return longest;
}

/// Whether @p field is one field: each further line of it starts with a blank.
bool isOneField(const QByteArray &field)
{
    QByteArray unfolded = field;
    unfolded.replace("\r\n ", " ");
    return field.endsWith("\r\n") && unfolded.count('\r') == 1 && unfolded.count('\n') == 1;
}

CWInternetAddress address(const QString &text)
{
    return CWInternetAddress::initWithString(text);
}

} // namespace

class MailHeaderTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void writesTexts_data()
    {
        struct Row {
            const char *name;
            QString text;
            QByteArray expected;
        };
        static const Row rows[] = {
            {.name = "plain",
             .text = u"Quillfen Notification"_s,
             .expected = "Subject: Quillfen Notification\r\n"},
            {.name = "empty", .text = {}, .expected = "Subject: \r\n"},
            {.name = "not ASCII",
             .text = u"Grüße"_s,
             .expected = "Subject: =?UTF-8?B?R3LDvMOfZQ==?=\r\n"},
            {.name = "what looks encoded",
             .text = u"=?UTF-8?B?YQ==?="_s,
             .expected = "Subject: =?UTF-8?B?PT9VVEYtOD9CP1lRPT0/PQ==?=\r\n"},
            {.name = "two blanks",
             .text = u"a  b"_s,
             .expected = "Subject: =?UTF-8?B?YSAgYg==?=\r\n"},
            {.name = "line ends",
             .text = u"a\r\nBcc: b@c"_s,
             .expected = "Subject: =?UTF-8?B?YSAgQmNjOiBiQGM=?=\r\n"},
            {.name = "a NUL at the end", .text = u"a"_s + QChar(0), .expected = "Subject: a\r\n"},
            {.name = "long",
             .text = u"word "_s.repeated(20).trimmed(),
             .expected =
                 "Subject: word word word word word word word word word word word word word\r\n"
                 " word word word word word word word\r\n"},
        };
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.text << row.expected;
    }
    void writesTexts()
    {
        QFETCH(QString, text);
        QTEST(textField("Subject", text), "expected");
    }

    void encodesAnyTextSoThatItIsReadTheSame_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("long, of two bytes each") << QString(200, u'ü');
        QTest::newRow("long, of three bytes each") << u"a"_s + QString(200, u'€');
        QTest::newRow("long, of four bytes each") << u"ab"_s + u"😀"_s.repeated(100);
        QTest::newRow("one long word") << QString(1200, u'x');
        QTest::newRow("words and more") << u"Müller: 10% “off” =?x?= "_s.repeated(9).trimmed();
    }
    void encodesAnyTextSoThatItIsReadTheSame()
    {
        QFETCH(QString, text);
        const QByteArray field = textField("Subject", text);
        QCOMPARE(read(field), text);
        QVERIFY(isOneField(field));
        QVERIFY(isAscii(field));
        QVERIFY(longestLine(field) <= 76);
    }

    void writesAddresses_data()
    {
        struct Row {
            const char *name;
            QStringList addresses;
            QByteArray expected;
        };
        static const Row rows[] = {
            {.name = "one", .addresses = {u"a@b.example"_s}, .expected = "To: a@b.example\r\n"},
            {.name = "two",
             .addresses = {u"a@b.example"_s, u"c@d.example"_s},
             .expected = "To: a@b.example, c@d.example\r\n"},
            {.name = "a name",
             .addresses = {u"Ann <a@b.example>"_s},
             .expected = "To: \"Ann\" <a@b.example>\r\n"},
            {.name = "a name with a comma and quotes",
             .addresses = {u"B, \"Ann\\ <a@b.example>"_s},
             .expected = "To: \"B, \\\"Ann\\\\\" <a@b.example>\r\n"},
            {.name = "a name that is not ASCII",
             .addresses = {u"Änn <a@b.example>"_s},
             .expected = "To: =?UTF-8?B?w4Rubg==?= <a@b.example>\r\n"},
            {.name = "an international domain",
             .addresses = {u"a@bücher.example"_s},
             .expected = "To: a@xn--bcher-kva.example\r\n"},
        };
        QTest::addColumn<QStringList>("addresses");
        QTest::addColumn<QByteArray>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.addresses << row.expected;
    }
    void writesAddresses()
    {
        QFETCH(QStringList, addresses);
        QList<CWInternetAddress> list;
        for (const QString &text : addresses)
            list.append(address(text));
        QTEST(addressField("To", list), "expected");
    }

    void foldsManyAddresses()
    {
        QList<CWInternetAddress> list;
        for (int i = 0; i < 100; ++i)
            list.append(address(u"Person %1 <person%1@b.example>"_s.arg(i)));
        const QByteArray field = addressField("To", list);
        QVERIFY(isOneField(field));
        QVERIFY(longestLine(field) <= 76);
        QCOMPARE(field.count('@'), 100);
    }

    void dates_data()
    {
        struct Row {
            const char *name;
            QDateTime date;
            QByteArray expected;
        };
        const QDate day(2026, 1, 2);
        const QTime time(3, 4, 5);
        const Row rows[] = {
            {.name = "UTC",
             .date = QDateTime(day, time, Qt::UTC),
             .expected = "Date: Fri, 2 Jan 2026 03:04:05 +0000\r\n"},
            {.name = "east",
             .date = QDateTime(day, time, Qt::OffsetFromUTC, 3600),
             .expected = "Date: Fri, 2 Jan 2026 03:04:05 +0100\r\n"},
            {.name = "west by half an hour",
             .date = QDateTime(day, time, Qt::OffsetFromUTC, -(3 * 60 + 30) * 60),
             .expected = "Date: Fri, 2 Jan 2026 03:04:05 -0330\r\n"},
            {.name = "west by half an hour alone",
             .date = QDateTime(day, time, Qt::OffsetFromUTC, -30 * 60),
             .expected = "Date: Fri, 2 Jan 2026 03:04:05 -0030\r\n"},
            {.name = "winter",
             .date = QDateTime(day, time, QTimeZone("America/New_York")),
             .expected = "Date: Fri, 2 Jan 2026 03:04:05 -0500\r\n"},
            {.name = "summer",
             .date = QDateTime(QDate(2026, 7, 12), time, QTimeZone("America/New_York")),
             .expected = "Date: Sun, 12 Jul 2026 03:04:05 -0400\r\n"},
        };
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QByteArray>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.date << row.expected;
    }
    void dates()
    {
        QFETCH(QDateTime, date);
        const QLocale before;
        QLocale::setDefault(QLocale(QLocale::Japanese)); // mail is dated in English everywhere
        const QByteArray field = dateField(date);
        QLocale::setDefault(before);
        QTEST(field, "expected");
    }

    void givesEachMailAnIdentifierOfItsOwn()
    {
        const QByteArray one = messageIdField("b.example");
        static const QRegularExpression form(u"^Message-ID: <[0-9a-f]{32}@b\\.example>\r\n$"_s);
        QVERIFY2(form.match(QString::fromLatin1(one)).hasMatch(), one.constData());
        QVERIFY(messageIdField("b.example") != one);
    }
};

} // namespace quillfen::mail

using quillfen::mail::MailHeaderTest;
QTEST_APPLESS_MAIN(MailHeaderTest)
#include "MailHeaderTest.moc"
