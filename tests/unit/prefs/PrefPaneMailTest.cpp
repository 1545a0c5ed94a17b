// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/QuillfenPrefPane.h"

#include "unit/mail/Certificates.h"
#include "unit/mail/ScriptedServer.h"
#include "unit/prefs/Desk.h"

#include <QComboBox>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

namespace {

const QStringList kSent{u"Mail Sent.aiff"_s};
const QStringList kNotSent{u"Mail Not Sent.aiff"_s};

void pressTest(Desk &desk)
{
    desk.control<QPushButton>(u"m_testButton"_s).click();
}

/// Whom the log says a mail was composed for.
QStringList recipientsIn(const Desk &desk)
{
    QStringList recipients;
    for (const QString &line : desk.logged().filter(u"Composing message to "_s))
        recipients += line.sliced(21).chopped(1);
    return recipients;
}

} // namespace

/// The test mail, from the real window through real notifiers.
class PrefPaneMailTest : public QObject {
    Q_OBJECT

    mail::Authority m_authority;

private Q_SLOTS:
    void everyRecipientGetsTheText()
    {
        mail::ScriptedServer server;
        server.hasCertificate(m_authority.server({.alternativeNames = u"IP:127.0.0.1"_s}));
        server.offers({"STARTTLS"}, {});
        Desk desk;
        desk.trust.trusts(m_authority.file());
        desk.openLog();
        QVERIFY(desk.open());
        desk.type(u"m_mailServer"_s, u"127.0.0.1"_s);
        desk.type(u"m_port"_s, QString::number(server.serverPort()));
        desk.type(u"m_emailAddress"_s, u"ada@example.org,grace@example.org"_s);
        pressTest(desk);
        QCOMPARE(desk.sounds.takeHeard(), kSent);
        QCOMPARE(desk.stored(u"Email"_s), u"ada@example.org,grace@example.org"_s);
        QCOMPARE(desk.takeChangesTold(), 0);
        QTRY_COMPARE_WITH_TIMEOUT(server.mails().size(), 2, kDeadline);
        for (const QByteArray &mail : server.mails()) {
            QVERIFY(mail.contains("\r\nSubject: Quillfen Notification\r\n"));
            QCOMPARE(mail.mid(mail.indexOf("\r\n\r\n")),
                     "\r\n\r\nIf you are reading this, the test passed.\r\n");
        }
        QCOMPARE(recipientsIn(desk), QStringList({u"ada@example.org"_s, u"grace@example.org"_s}));
        QCOMPARE(desk.logged().filter(u"If you are reading this, the test passed."_s).size(), 2);
    }

    void theListIsTakenAsItStands_data()
    {
        struct Row {
            const char *name;
            QString typed;
            QStringList recipients;
        };
        static const Row rows[] = {
            {.name = "one", .typed = u"ada@example.org"_s, .recipients = {u"ada@example.org"_s}},
            {.name = "a blank between two commas",
             .typed = u"ada@example.org, ,grace@example.org"_s,
             .recipients = {u"ada@example.org"_s, u" "_s, u"grace@example.org"_s}},
            {.name = "a blank behind the comma",
             .typed = u"ada@example.org, grace@example.org,"_s,
             .recipients = {u"ada@example.org"_s, u" grace@example.org"_s}},
            {.name = "nothing", .typed = u""_s, .recipients = {}},
            {.name = "commas", .typed = u",,,"_s, .recipients = {}},
        };
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QStringList>("recipients");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.typed << row.recipients;
    }
    void theListIsTakenAsItStands()
    {
        QFETCH(QString, typed);
        QFETCH(QStringList, recipients);
        Desk desk;
        desk.openLog();
        QVERIFY(desk.open());
        desk.type(u"m_mailServer"_s, u"127.0.0.1"_s);
        desk.type(u"m_port"_s, u"9"_s);
        desk.type(u"m_emailAddress"_s, typed);
        pressTest(desk);
        QCOMPARE(recipientsIn(desk), recipients);
        QCOMPARE(desk.sounds.takeHeard(), recipients.isEmpty() ? kNotSent : kSent);
    }

    void withoutAServerItSoundsSentAndIsNot()
    {
        Desk desk(R"({"Email": "ada@example.org"})");
        desk.openLog();
        QVERIFY(desk.open());
        const QStringList before = desk.logged();
        pressTest(desk);
        QCOMPARE(desk.sounds.takeHeard(), kSent);
        QCOMPARE(desk.logged(), before);
    }

    void aMissingSoundIsLeftOut()
    {
        Desk desk;
        desk.sounds.remove(kSent.first());
        desk.sounds.remove(kNotSent.first());
        QVERIFY(desk.open());
        QVERIFY(!desk.pane.completionSound());
        QVERIFY(!desk.pane.incompletionSound());
        pressTest(desk);
        desk.type(u"m_emailAddress"_s, u"ada@example.org"_s);
        pressTest(desk);
        QCOMPARE(desk.sounds.takeHeard(), QStringList());
        QCOMPARE(desk.output.lines(), QStringList());
    }

    void theSoundsAreLoadedOnce()
    {
        Desk desk;
        desk.window();
        desk.sounds.remove(kNotSent.first()); // what is loaded is there
        pressTest(desk);
        QCOMPARE(desk.sounds.takeHeard(), kNotSent);
        desk.pane.completionSound()->play();
        QCOMPARE(desk.sounds.takeHeard(), kSent);
    }
};

} // namespace quillfen::prefs

QTEST_MAIN(quillfen::prefs::PrefPaneMailTest)
#include "PrefPaneMailTest.moc"
