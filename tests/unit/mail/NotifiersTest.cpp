// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/Notifiers.h"

#include "mail/SSMTP.h"
#include "mail/SessionGate.h"
#include "unit/mail/Certificates.h"
#include "unit/mail/NotifierHome.h"
#include "unit/mail/ScriptedServer.h"

#include <QByteArrayList>
#include <QCoreApplication>
#include <QObject>
#include <QString>
#include <QTest>

#include <chrono>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::mail {

namespace {

using Then = ScriptedServer::Turn::Then;

constexpr int kDeadline = 60'000; // ms

} // namespace

class NotifiersTest : public QObject {
    Q_OBJECT

    Authority m_authority;
    QSslConfiguration m_good = m_authority.server({.alternativeNames = u"IP:127.0.0.1"_s});

    /// A server that the settings of @p home name.
    std::unique_ptr<ScriptedServer> serverFor(NotifierHome &home) const
    {
        auto server = std::make_unique<ScriptedServer>();
        server->hasCertificate(m_good);
        home.trust.trusts(m_authority.file());
        server->offers({"STARTTLS"}, {});
        home.preferences.setValue(u"MailServer"_s, u"127.0.0.1"_s);
        home.preferences.setValue(u"Port"_s, QString::number(server->serverPort()));
        home.preferences.setValue(u"Authentication"_s, 0);
        return server;
    }
    static void send(Notifiers &notifiers, const QString &recipient)
    {
        notifiers.create().sendMessage(u"192.0.2.8"_s, u"192.0.2.7"_s, recipient, u"%@ %@ %@"_s);
    }

private Q_SLOTS:
    void reachTwoHundredRecipientsAFewAtATime()
    {
        NotifierHome home;
        const auto server = serverFor(home);
        server->takesItsTime(1ms);
        Notifiers notifiers(home.log(), home.console(), home.preferences, home.host, home.names,
                            home.trust);
        for (int i = 0; i < 200; ++i)
            send(notifiers, u"to%1@example.org"_s.arg(i));
        QTRY_COMPARE_WITH_TIMEOUT(home.logged().filter(u"Connection terminated."_s).size(), 200,
                                  kDeadline);
        QCOMPARE(server->mails().size(), 200);
        for (int i = 0; i < 200; ++i)
            QCOMPARE(server->encryptedLines().count("RCPT TO:<to" + QByteArray::number(i)
                                                    + "@example.org>"),
                     1);
        QVERIFY(server->mostOpen() <= SessionGate::kMostSessions);
        QCOMPARE(home.said(), QStringList());
    }

    void letTheOthersInWhereOneIsStuck()
    {
        NotifierHome home;
        const auto server = serverFor(home);
        server->then("QUIT", Then::KeepsSilent); // 3 s each
        Notifiers notifiers(home.log(), home.console(), home.preferences, home.host, home.names,
                            home.trust);
        for (int i = 0; i < SessionGate::kMostSessions + 1; ++i)
            send(notifiers, u"to@example.org"_s);
        QTRY_COMPARE_WITH_TIMEOUT(server->mails().size(), SessionGate::kMostSessions + 1,
                                  kDeadline);
    }

    void endWhileMailsAreUnderWay_data()
    {
        QTest::addColumn<QByteArray>("stage");
        for (const char *stage : {"connect", "handshake", "EHLO/2", "DATA", ".", "QUIT"})
            QTest::newRow(stage) << QByteArray(stage);
    }
    void endWhileMailsAreUnderWay()
    {
        QFETCH(QByteArray, stage);
        NotifierHome home;
        const auto server = serverFor(home);
        server->then(stage, Then::KeepsSilent);
        auto notifiers = std::make_unique<Notifiers>(home.log(), home.console(), home.preferences,
                                                     home.host, home.names, home.trust);
        for (int i = 0; i < 10; ++i) // some of them still wait for their turn
            send(*notifiers, u"to@example.org"_s);
        QTRY_COMPARE_WITH_TIMEOUT(server->stages().count(stage), SessionGate::kMostSessions,
                                  kDeadline);
        const QStringList logged = home.logged();
        notifiers.reset();
        QTRY_COMPARE_WITH_TIMEOUT(server->open(), 0, kDeadline);
        QCOMPARE(home.logged(), logged);
        QCOMPARE(home.said(), QStringList());
    }

    void endWhileNamesAreLookedUp()
    {
        NotifierHome home;
        const auto server = serverFor(home);
        home.names.keepSilent();
        auto notifiers = std::make_unique<Notifiers>(home.log(), home.console(), home.preferences,
                                                     home.host, home.names, home.trust);
        send(*notifiers, u"to@example.org"_s);
        QCoreApplication::processEvents();
        notifiers.reset();
        QCoreApplication::processEvents();
        QCOMPARE(home.logged().last(), u"Connecting to the 127.0.0.1 server..."_s);
    }

    void endBeforeItIsKnownWhomToTrust()
    {
        NotifierHome home;
        const auto server = serverFor(home);
        home.trust.keepSilent();
        auto notifiers = std::make_unique<Notifiers>(home.log(), home.console(), home.preferences,
                                                     home.host, home.names, home.trust);
        for (int i = 0; i < SessionGate::kMostSessions; ++i)
            send(*notifiers, u"to@example.org"_s);
        QTRY_COMPARE_WITH_TIMEOUT(home.trust.waiting(), std::size_t(SessionGate::kMostSessions),
                                  kDeadline);
        const QStringList logged = home.logged();
        notifiers.reset();
        home.trust.speak();
        QTRY_COMPARE_WITH_TIMEOUT(server->open(), 0, kDeadline);
        QCOMPARE(home.logged(), logged);
        QCOMPARE(home.said(), QStringList());
    }

    void endBeforeTheFirstMail()
    {
        NotifierHome home;
        const Notifiers notifiers(home.log(), home.console(), home.preferences, home.host,
                                  home.names, home.trust);
        QCOMPARE(home.logged(), QStringList());
    }
};

} // namespace quillfen::mail

using quillfen::mail::NotifiersTest;
QTEST_GUILESS_MAIN(NotifiersTest)
#include "NotifiersTest.moc"
