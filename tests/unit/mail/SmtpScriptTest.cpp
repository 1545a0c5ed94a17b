// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/SmtpScript.h"

#include "mail/CWMessage.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QHostAddress>
#include <QObject>
#include <QString>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::mail {

namespace {

/// A script as people would tell it: "C: what we say" and "S: what we want to hear".
QByteArrayList told(const SmtpScript &script)
{
    QByteArrayList lines;
    for (const SmtpStep &step : script) {
        if (!step.say.isEmpty())
            lines.append("C: " + QByteArray(step.say).replace("\r\n", "|"));
        QByteArrayList codes;
        for (const int code : step.hear)
            codes.append(QByteArray::number(code));
        if (step.enough != 0)
            codes.append("or the end " + QByteArray::number(step.enough));
        lines.append("S: " + codes.join(' '));
    }
    return lines;
}

SmtpCapabilities offered(const QByteArrayList &lines)
{
    return SmtpCapabilities({.code = 250, .texts = QByteArrayList{"hello"} + lines, .bytes = {}});
}

CWMessage mailTo(const QStringList &recipients, const QByteArray &content)
{
    CWMessage message;
    message.setFrom(CWInternetAddress::initWithString(u"me@here.example"_s));
    for (const QString &recipient : recipients)
        message.addRecipient(CWInternetAddress::initWithString(recipient));
    message.setContent(content);
    return message;
}

} // namespace

class SmtpScriptTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void opensAndCloses()
    {
        QCOMPARE(told(greetingScript()), QByteArrayList{"S: 220"});
        QCOMPARE(told(helloScript("EHLO", "desk.example")),
                 (QByteArrayList{"C: EHLO desk.example|", "S: 250"}));
        QCOMPARE(told(startTlsScript()), (QByteArrayList{"C: STARTTLS|", "S: 220"}));
        QCOMPARE(told(quitScript()), (QByteArrayList{"C: QUIT|", "S: 221"}));
    }

    void handsAMailOver_data()
    {
        struct Row {
            const char *name;
            QByteArrayList offers;
            QByteArray content;
            QByteArray sender;
        };
        static const Row rows[] = {
            {.name = "nothing offered",
             .offers = {},
             .content = "caf\xC3\xA9",
             .sender = "C: MAIL FROM:<me@here.example>|"},
            {.name = "sizes",
             .offers = {"SIZE 1000"},
             .content = "cafe",
             .sender = "C: MAIL FROM:<me@here.example> SIZE=7|"},
            {.name = "eight bits needed",
             .offers = {"8BITMIME"},
             .content = "caf\xC3\xA9",
             .sender = "C: MAIL FROM:<me@here.example> BODY=8BITMIME|"},
            {.name = "eight bits not needed",
             .offers = {"8BITMIME"},
             .content = "cafe",
             .sender = "C: MAIL FROM:<me@here.example>|"},
            {.name = "both",
             .offers = {"8BITMIME", "SIZE"},
             .content = "caf\xC3\xA9",
             .sender = "C: MAIL FROM:<me@here.example> SIZE=7 BODY=8BITMIME|"},
        };
        QTest::addColumn<QByteArrayList>("offers");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("sender");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.offers << row.content << row.sender;
    }
    void handsAMailOver()
    {
        QFETCH(QByteArrayList, offers);
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, sender);
        const CWMessage mail = mailTo({u"a@b.example"_s, u"C <c@bücher.example>"_s}, content);
        const SmtpScript script = envelopeScript(mail, ".ab\r\n\r\n", offered(offers));
        QByteArrayList lines = told(script);
        QCOMPARE(lines,
                 (QByteArrayList{sender, "S: 250", "C: RCPT TO:<a@b.example>|", "S: 250 251 252",
                                 "C: RCPT TO:<c@xn--bcher-kva.example>|", "S: 250 251 252",
                                 "C: DATA|", "S: 354", "C: ..ab||.|", "S: 250"}));
        QCOMPARE(script.back().wait, SmtpWait::Delivery);
    }

    void logsIn_data()
    {
        struct Row {
            const char *name;
            QByteArray mechanism;
            QByteArray userName;
            QByteArray password;
            QByteArrayList expected;
        };
        static const QByteArray longOne(400, 'x');
        static const Row rows[] = {
            {.name = "PLAIN in one step",
             .mechanism = "PLAIN",
             .userName = "user",
             .password = "secret",
             .expected = {"C: AUTH PLAIN AHVzZXIAc2VjcmV0|", "S: 334 or the end 235",
                          "C: AHVzZXIAc2VjcmV0|", "S: 235"}},
            {.name = "PLAIN with a password that is not ASCII",
             .mechanism = "PLAIN",
             .userName = "user",
             .password = "pa ssé€wörd",
             .expected = {"C: AUTH PLAIN AHVzZXIAcGEgc3PDqeKCrHfDtnJk|", "S: 334 or the end 235",
                          "C: AHVzZXIAcGEgc3PDqeKCrHfDtnJk|", "S: 235"}},
            {.name = "PLAIN in two steps, as it is too long for one",
             .mechanism = "PLAIN",
             .userName = "user",
             .password = longOne,
             .expected = {"C: AUTH PLAIN|", "S: 334",
                          "C: " + (QByteArray("\0user\0", 6) + longOne).toBase64() + '|',
                          "S: 235"}},
            {.name = "LOGIN",
             .mechanism = "LOGIN",
             .userName = "user",
             .password = "sécret",
             .expected = {"C: AUTH LOGIN|", "S: 334", "C: dXNlcg==|", "S: 334", "C: c8OpY3JldA==|",
                          "S: 235"}},
            {.name = "LOGIN with an empty password",
             .mechanism = "LOGIN",
             .userName = "user",
             .password = "",
             .expected = {"C: AUTH LOGIN|", "S: 334", "C: dXNlcg==|", "S: 334", "C: |", "S: 235"}},
        };
        QTest::addColumn<QByteArray>("mechanism");
        QTest::addColumn<QByteArray>("userName");
        QTest::addColumn<QByteArray>("password");
        QTest::addColumn<QByteArrayList>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name)
                << row.mechanism << row.userName << row.password << row.expected;
    }
    void logsIn()
    {
        QFETCH(QByteArray, mechanism);
        QFETCH(QByteArray, userName);
        QFETCH(QByteArray, password);
        const auto script = loginScript(mechanism, {.userName = userName, .password = password});
        QVERIFY(script);
        QTEST(told(*script), "expected");
        for (const SmtpStep &step : *script)
            QVERIFY(!step.say.startsWith("AUTH") || step.say.size() <= 512);
    }

    void knowsNoOtherMechanism() { QVERIFY(!loginScript("CRAM-MD5", {})); }

    void showsNoSecret_data()
    {
        struct Row {
            const char *name;
            QByteArray text;
            QByteArrayList shown = {"(not shown)"};
        };
        static const Row rows[] = {
            {.name = "none", .text = "no such luck", .shown = {"first", "no such luck"}},
            {.name = "the password", .text = "not \"pass\"!"},
            {.name = "the password in capitals", .text = "NO PASS"},
            {.name = "the password in a word", .text = "bypassed"},
            {.name = "the password about a control character", .text = "pa\rss"},
            {.name = "the password about a mark of direction", .text = "pa\xE2\x80\x8Ess"},
            {.name = "LOGIN's answer", .text = "cGFzcw=="},
            {.name = "PLAIN's answer", .text = "at 5.7.8 AHVzZXIAcGFzcw=="},
        };
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArrayList>("shown");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.text << row.shown;
    }
    void showsNoSecret()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArrayList, shown);
        const SmtpLogin login{.userName = "user", .password = "pass"};
        const SmtpReply reply = withoutSecrets(
            {.code = 535, .texts = {"first", text}, .bytes = "535-first\r\n535 " + text},
            passwordForms(login));
        QCOMPARE(reply.code, 535);
        QCOMPARE(reply.texts, shown);
        QCOMPARE(reply.bytes,
                 shown.size() == 1 ? "535 (not shown)" : "535-first\r\n535 no such luck");
    }

    void blotsNamesOut_data()
    {
        struct Row {
            const char *name;
            QByteArray text;
            QByteArray shown;
        };
        static const Row rows[] = {
            {.name = "none", .text = "no such luck", .shown = "no such luck"},
            {.name = "first", .text = "ed is unknown", .shown = "* is unknown"},
            {.name = "last, and with marks around it", .text = "<ed>: no ed", .shown = "<*>: no *"},
            {.name = "in a word",
             .text = "refused, edited, bed9",
             .shown = "refused, edited, bed9"},
            {.name = "encoded", .text = "no ZWQ= here", .shown = "no * here"},
        };
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("shown");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.text << row.shown;
    }
    void blotsNamesOut()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, shown);
        const SmtpReply reply = withoutNames(
            {.code = 535, .texts = {"first", text}, .bytes = "535-first\r\n535 " + text},
            userNameForms({.userName = "ed", .password = {}}));
        QCOMPARE(reply.texts, (QByteArrayList{"first", shown}));
        QCOMPARE(reply.bytes, "535-first\r\n535 " + shown);
    }

    void leavesAReplyAloneWhereTheSecretsAreEmpty()
    {
        const SmtpReply reply{.code = 535, .texts = {"no"}, .bytes = "535 no"};
        QCOMPARE(withoutSecrets(reply, passwordForms({})), reply);
        QCOMPARE(withoutNames(reply, userNameForms({})), reply);
    }

    void callsItself_data()
    {
        struct Row {
            const char *name;
            QString hostName;
            QString own;
            QByteArray expected;
        };
        static const Row rows[] = {
            {.name = "a full name",
             .hostName = u"Desk.Example.NET"_s,
             .own = u"192.0.2.7"_s,
             .expected = "desk.example.net"},
            {.name = "an international name",
             .hostName = u"desk.bücher.example"_s,
             .own = u"192.0.2.7"_s,
             .expected = "desk.xn--bcher-kva.example"},
            {.name = "a bare name",
             .hostName = u"desk"_s,
             .own = u"192.0.2.7"_s,
             .expected = "[192.0.2.7]"},
            {.name = "no name", .hostName = {}, .own = u"192.0.2.7"_s, .expected = "[192.0.2.7]"},
            {.name = "localhost",
             .hostName = u"localhost.localdomain"_s,
             .own = u"127.0.0.1"_s,
             .expected = "[127.0.0.1]"},
            {.name = "an underscore",
             .hostName = u"my_desk.example"_s,
             .own = u"192.0.2.7"_s,
             .expected = "[192.0.2.7]"},
            {.name = "a line end",
             .hostName = u"desk.example\r\nQUIT"_s,
             .own = u"192.0.2.7"_s,
             .expected = "[192.0.2.7]"},
            {.name = "an address for a name",
             .hostName = u"192.0.2.9"_s,
             .own = u"192.0.2.7"_s,
             .expected = "[192.0.2.7]"},
            {.name = "IPv6",
             .hostName = u"desk"_s,
             .own = u"2001:db8::7"_s,
             .expected = "[IPv6:2001:db8::7]"},
            {.name = "IPv6 with a zone",
             .hostName = u"desk"_s,
             .own = u"fe80::7%eth0"_s,
             .expected = "[IPv6:fe80::7]"},
            {.name = "IPv4 inside IPv6",
             .hostName = u"desk"_s,
             .own = u"::ffff:192.0.2.7"_s,
             .expected = "[192.0.2.7]"},
        };
        QTest::addColumn<QString>("hostName");
        QTest::addColumn<QString>("own");
        QTest::addColumn<QByteArray>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.hostName << row.own << row.expected;
    }
    void callsItself()
    {
        QFETCH(QString, hostName);
        QFETCH(QString, own);
        QTEST(ownSmtpName(hostName, QHostAddress(own)), "expected");
    }

    void doublesDots_data()
    {
        struct Row {
            const char *name;
            QByteArray data;
            QByteArray expected;
        };
        static const Row rows[] = {
            {.name = "no dots", .data = "a\r\nb\r\n", .expected = "a\r\nb\r\n.\r\n"},
            {.name = "on the first line", .data = ".a\r\n", .expected = "..a\r\n.\r\n"},
            {.name = "on a later line", .data = "a\r\n.b\r\n", .expected = "a\r\n..b\r\n.\r\n"},
            {.name = "several", .data = "...a\r\n..\r\n", .expected = "....a\r\n...\r\n.\r\n"},
            {.name = "alone on a line",
             .data = "a\r\n.\r\nb\r\n",
             .expected = "a\r\n..\r\nb\r\n.\r\n"},
            {.name = "alone on two lines", .data = ".\r\n.\r\n", .expected = "..\r\n..\r\n.\r\n"},
            {.name = "inside a line", .data = "a.b\r\n", .expected = "a.b\r\n.\r\n"},
            {.name = "no line end", .data = "a", .expected = "a\r\n.\r\n"},
            {.name = "nothing", .data = "", .expected = "\r\n.\r\n"},
        };
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QByteArray>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.data << row.expected;
    }
    void doublesDots()
    {
        QFETCH(QByteArray, data);
        QTEST(dotStuffed(data), "expected");
    }
};

} // namespace quillfen::mail

using quillfen::mail::SmtpScriptTest;
QTEST_APPLESS_MAIN(SmtpScriptTest)
#include "SmtpScriptTest.moc"
