// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/Notifiers.h"
#include "prefs/QuillfenPrefPane.h"

#include "unit/mail/Certificates.h"
#include "unit/mail/ScriptedServer.h"
#include "unit/prefs/Desk.h"

#include <QComboBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <utility>

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

/// So many addresses, one different from the other.
QStringList addresses(int count)
{
    QStringList made;
    for (int i = 0; i < count; ++i)
        made += u"user%1@example.org"_s.arg(i);
    return made;
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

    void withNothingChosenItLogsInByLogin()
    {
        mail::ScriptedServer server;
        server.hasCertificate(m_authority.server({.alternativeNames = u"IP:127.0.0.1"_s}));
        server.offers({"STARTTLS"}, {"AUTH PLAIN LOGIN"});
        Desk desk(R"({"MailServer": "127.0.0.1", "Username": "ada", "UserPassword": "pass"})");
        desk.trust.trusts(m_authority.file());
        QVERIFY(desk.open());
        desk.type(u"m_port"_s, QString::number(server.serverPort()));
        desk.type(u"m_emailAddress"_s, u"ada@example.org"_s);
        desk.control<QComboBox>(u"m_authentication"_s).setCurrentIndex(-1);
        pressTest(desk);
        QTRY_COMPARE_WITH_TIMEOUT(server.mails().size(), 1, kDeadline);
        QVERIFY(server.encryptedLines().contains("AUTH LOGIN"));
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

    void manyRecipientsLetTheEventLoopIn()
    {
        const QStringList recipients = addresses(5 * mail::kMailsAtATime);
        Desk desk(R"({"MailServer": "127.0.0.1", "Port": "9"})");
        desk.openLog();
        QVERIFY(desk.open());
        desk.type(u"m_emailAddress"_s, recipients.join(u','));
        qsizetype done = 0;
        qsizetype most = 0; // in one pass of the loop
        const auto look = [&] {
            const qsizetype before = std::exchange(done, recipientsIn(desk).size());
            most = std::max(most, done - before);
        };
        QTimer passes;
        QObject::connect(&passes, &QTimer::timeout, look);
        passes.start(0);
        pressTest(desk);
        QCOMPARE(recipientsIn(desk), recipients.first(mail::kMailsAtATime));
        QCOMPARE(desk.sounds.takeHeard(), QStringList()); // it comes after the last
        QStringList heard;
        QTRY_COMPARE_WITH_TIMEOUT(heard += desk.sounds.takeHeard(), kSent, kDeadline);
        look();
        QCOMPARE(recipientsIn(desk), recipients);
        QCOMPARE(most, mail::kMailsAtATime);
    }

    void asManyAsGoAtATimeDoNotWait()
    {
        Desk desk(R"({"MailServer": "127.0.0.1", "Port": "9"})");
        desk.openLog();
        QVERIFY(desk.open());
        desk.type(u"m_emailAddress"_s, addresses(mail::kMailsAtATime).join(u','));
        pressTest(desk);
        QCOMPARE(desk.sounds.takeHeard(), kSent);
        QCOMPARE(recipientsIn(desk), addresses(mail::kMailsAtATime));
    }

    void eachPressIsATestOfItsOwn()
    {
        const QStringList many = addresses(2 * mail::kMailsAtATime);
        Desk desk(R"({"MailServer": "127.0.0.1", "Port": "9"})");
        desk.openLog();
        QVERIFY(desk.open());
        desk.type(u"m_emailAddress"_s, many.join(u','));
        pressTest(desk);
        desk.type(u"m_emailAddress"_s, u"last@example.org"_s);
        pressTest(desk);
        desk.type(u"m_emailAddress"_s, u""_s);
        pressTest(desk);
        QStringList heard;
        const QStringList all{kSent.first(), kSent.first(), kNotSent.first()};
        QTRY_COMPARE_WITH_TIMEOUT(heard += desk.sounds.takeHeard(), all, kDeadline);
        QCOMPARE(recipientsIn(desk), many + QStringList(u"last@example.org"_s));
    }

    void theEndInTheMiddleOfATestIsTheEndOfIt()
    {
        auto desk = std::make_unique<Desk>(R"({"MailServer": "127.0.0.1", "Port": "9"})");
        QVERIFY(desk->open());
        desk->type(u"m_emailAddress"_s, addresses(2 * mail::kMailsAtATime).join(u','));
        pressTest(*desk);
        QVERIFY(desk->sounds.takeHeard().isEmpty()); // there is a rest to come
        desk.reset();
        for (int pass = 0; pass < 3; ++pass) // what was to go on with it is not there any more
            QCoreApplication::processEvents();
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
