// SPDX-License-Identifier: GPL-3.0-or-later
//
// Every stage of a session against a server that misbehaves there. A row says what may have come
// to the server in clear and over TLS, and which calls the delegate gets; the last is the one
// ending.
#include "mail/CWSMTP.h"

#include "unit/mail/Certificates.h"
#include "unit/mail/Correspondent.h"
#include "unit/mail/DeafServer.h"
#include "unit/mail/ScriptedServer.h"
#include "unit/net/PrivateNetwork.h"
#include "world/FakeTlsTrust.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QCoreApplication>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <chrono>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::mail {

namespace {

using Then = ScriptedServer::Turn::Then;
using Opening = SmtpConnection::Opening;

constexpr int kDeadline = 20'000; // ms

const QByteArray kEhlo = "EHLO desk.example.net";
const QByteArray kMail = "MAIL FROM:<from@example.org>";
const QByteArray kRcpt = "RCPT TO:<to@example.org>";
const QByteArrayList kEnvelope{kMail, kRcpt, "DATA"};
/// How "user" logs in with "pa ssé€wörd", of which no octet may be lost.
const QByteArray kPlain = "AHVzZXIAcGEgc3PDqeKCrHfDtnJk";
const QByteArray kPassword64 = "cGEgc3PDqeKCrHfDtnJk";

/// A session over TLS with a login, up to one of its stages.
struct Stage {
    QByteArray name;
    QByteArray usual; ///< What a good server answers there.
    QStringList told; ///< What the delegate is told before.
    int clear; ///< How many of kClear came to the server by then.
    int encrypted; ///< The same of kEncrypted.
    QString refused = u"not sent"_s; ///< What the delegate is told when the server says no.
};

const QByteArrayList kClear{kEhlo, "STARTTLS"};
const QByteArrayList kEncrypted =
    QByteArrayList{kEhlo, "AUTH PLAIN " + kPlain} + kEnvelope + QByteArrayList{"QUIT"};
const QStringList kReached{u"established"_s};
const QStringList kGreeted = kReached + QStringList{u"initialized"_s};
const QStringList kSecured = kGreeted + QStringList{u"initialized"_s};
const QStringList kLoggedIn = kSecured + QStringList{u"authenticated"_s};
const QStringList kSent = kLoggedIn + QStringList{u"sent"_s};

const Stage kStages[] = {
    {.name = "connect", .usual = "220 hi\r\n", .told = kReached, .clear = 0, .encrypted = 0},
    {.name = "EHLO",
     .usual = "250-hi\r\n250 STARTTLS\r\n",
     .told = kReached,
     .clear = 1,
     .encrypted = 0},
    {.name = "STARTTLS", .usual = "220 go\r\n", .told = kGreeted, .clear = 2, .encrypted = 0},
    {.name = "EHLO/2",
     .usual = "250-hi\r\n250 AUTH PLAIN\r\n",
     .told = kGreeted,
     .clear = 2,
     .encrypted = 1},
    {.name = "AUTH",
     .usual = "235 ok\r\n",
     .told = kSecured,
     .clear = 2,
     .encrypted = 2,
     .refused = u"not authenticated"_s},
    {.name = "MAIL", .usual = "250 ok\r\n", .told = kLoggedIn, .clear = 2, .encrypted = 3},
    {.name = "RCPT", .usual = "250 ok\r\n", .told = kLoggedIn, .clear = 2, .encrypted = 4},
    {.name = "DATA", .usual = "354 ok\r\n", .told = kLoggedIn, .clear = 2, .encrypted = 5},
    {.name = ".", .usual = "250 ok\r\n", .told = kLoggedIn, .clear = 2, .encrypted = 5},
    {.name = "QUIT", .usual = "221 ok\r\n", .told = kSent, .clear = 2, .encrypted = 6},
};

/// What a server can do to us at any stage.
struct Misdeed {
    const char *name;
    QByteArray answer; ///< Instead of the usual one, or behind it.
    bool behind = false;
    Then then = Then::Goes;
};

const Misdeed kMisdeeds[] = {
    {.name = "closes", .answer = {}, .then = Then::Closes},
    {.name = "resets", .answer = {}, .then = Then::Resets},
    {.name = "closes amid a reply", .answer = "250-so", .then = Then::Closes},
    {.name = "talks garbage", .answer = "hello there\r\n"},
    {.name = "sends zeros", .answer = QByteArray(100, '\0') + "\r\n"},
    {.name = "sends an endless line", .answer = "250 " + QByteArray(100'000, 'x')},
    {.name = "sends an endless reply", .answer = QByteArray("250-x\r\n").repeated(10'000)},
    {.name = "says two codes", .answer = "250-a\r\n354 b\r\n"},
    {.name = "says more than it was asked", .answer = "250 more\r\n", .behind = true},
    {.name = "begins to say more", .answer = "25", .behind = true},
};

} // namespace

class CWSMTPTest : public QObject {
    Q_OBJECT

    Authority m_authority;
    QSslConfiguration m_good = m_authority.server();
    world::FakeTlsTrust m_machine{m_authority.file()};
    TlsPolicy m_trust{m_machine};

    /// A server that offers all there is.
    std::unique_ptr<ScriptedServer> goodServer() const
    {
        auto server = std::make_unique<ScriptedServer>();
        server->hasCertificate(m_good);
        server->offers({"STARTTLS"}, {"AUTH PLAIN LOGIN"});
        return server;
    }
    /// Someone who wants TLS and a login.
    std::unique_ptr<Correspondent> carefulOne() const
    {
        auto someone = std::make_unique<Correspondent>(m_trust);
        someone->wantsTls = true;
        someone->mechanism = "PLAIN";
        return someone;
    }

    /// Waits for the ending, and that nothing comes behind it. No secret may be in any text.
    static void waitForTheEnd(Correspondent &someone)
    {
        QTRY_VERIFY_WITH_TIMEOUT(someone.over(), kDeadline);
        const QStringList told = someone.told();
        for (int i = 0; i < 10; ++i)
            QCoreApplication::processEvents();
        QCOMPARE(someone.told(), told);

        const QString texts = someone.console.lines().join(u'\n')
            + QString::fromUtf8(someone.client().lastResponse()) + someone.client().explanation();
        for (const QString &secret :
             {someone.password, QString::fromLatin1(kPlain), QString::fromLatin1(kPassword64)})
            QVERIFY2(!texts.contains(secret), qPrintable(texts));
    }

private Q_SLOTS:
    void init() { m_machine.speak(); }

    void endsOnceWhateverTheServerDoes_data()
    {
        QTest::addColumn<int>("stage");
        QTest::addColumn<int>("misdeed");
        for (int stage = 0; stage < int(std::size(kStages)); ++stage) {
            for (int misdeed = 0; misdeed < int(std::size(kMisdeeds)); ++misdeed)
                QTest::addRow("%s: %s", kStages[stage].name.constData(), kMisdeeds[misdeed].name)
                    << stage << misdeed;
        }
    }
    void endsOnceWhateverTheServerDoes()
    {
        QFETCH(int, stage);
        QFETCH(int, misdeed);
        const Stage &at = kStages[stage];
        const Misdeed &done = kMisdeeds[misdeed];
        const auto server = goodServer();
        server->answers(at.name, (done.behind ? at.usual : QByteArray()) + done.answer);
        if (done.then != Then::Goes)
            server->then(at.name, done.then);
        const auto someone = carefulOne();
        someone->send(server->serverPort());
        waitForTheEnd(*someone);

        QStringList expected = at.told;
        QStringList told = someone->told();
        if (at.name == "connect" && done.then == Then::Resets) {
            told.removeAll(u"established"_s); // the kernel may tell us of both at once
            expected.removeAll(u"established"_s);
        }
        // Once the mail is taken, nothing that follows can undo that.
        const bool taken = at.name == "QUIT" || (at.name == "." && done.behind);
        if (at.name == "." && done.behind)
            expected.append(u"sent"_s);
        // What comes behind a reply is seen when the next order is given.
        if (done.behind && at.name.startsWith("EHLO"))
            expected.append(u"initialized"_s);
        if (done.behind && at.name == "AUTH")
            expected.append(u"authenticated"_s);
        expected.append(taken ? u"terminated"_s : u"lost"_s);
        QCOMPARE(told, expected);
        QCOMPARE(server->clearLines(), kClear.first(at.clear));
        QCOMPARE(server->encryptedLines(), kEncrypted.first(at.encrypted));
        QCOMPARE(server->stages().count("connect"), 1); // never again by itself
        QCOMPARE(server->mails().size(), at.name == "." || at.name == "QUIT" ? 1 : 0);
    }

    void endsWhereTheServerRefuses_data()
    {
        QTest::addColumn<int>("stage");
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("quits");
        struct Row {
            const char *name;
            QByteArray reply;
            bool quits;
        };
        static const Row rows[] = {
            {.name = "421", .reply = "421 4.3.2 going down\r\n", .quits = false},
            {.name = "451", .reply = "451 4.7.1 later\r\n", .quits = true},
            {.name = "554", .reply = "554-5.7.1 never\r\n554 5.7.1 ever\r\n", .quits = true},
        };
        for (int stage = 0; stage < int(std::size(kStages)) - 1; ++stage) {
            for (const Row &row : rows)
                QTest::addRow("%s: %s", kStages[stage].name.constData(), row.name)
                    << stage << row.reply << row.quits;
        }
    }
    void endsWhereTheServerRefuses()
    {
        QFETCH(int, stage);
        QFETCH(QByteArray, reply);
        QFETCH(bool, quits);
        const Stage &at = kStages[stage];
        const auto server = goodServer();
        server->answers(at.name, reply);
        const auto someone = carefulOne();
        someone->send(server->serverPort());
        waitForTheEnd(*someone);

        QCOMPARE(someone->told(), at.told + QStringList({at.refused, u"terminated"_s}));
        const QByteArrayList farewell = quits ? QByteArrayList{"QUIT"} : QByteArrayList();
        const bool inClear = at.encrypted == 0;
        QCOMPARE(server->clearLines(),
                 kClear.first(at.clear) + (inClear ? farewell : QByteArrayList()));
        QCOMPARE(server->encryptedLines(),
                 kEncrypted.first(at.encrypted) + (inClear ? QByteArrayList() : farewell));
        if (!quits)
            QCOMPARE(someone->client().lastResponse(), reply.chopped(2));
    }

    /// All at once, so that the whole takes as long as one.
    void givesUpOnAServerThatKeepsSilentOrTrickles()
    {
        struct Try {
            QByteArray name;
            QStringList told;
            std::unique_ptr<ScriptedServer> server;
            std::unique_ptr<Correspondent> someone;
        };
        std::vector<Try> tries;
        const auto attempt = [&](const QByteArray &stage, Then then, const QStringList &told) {
            tries.push_back(
                {stage + " " + QByteArray::number(int(then)), told, goodServer(), carefulOne()});
            tries.back().server->then(stage, then);
            // Long enough for the slowest machine to come to the stage.
            tries.back().someone->takesPatience(4s);
        };
        for (const Stage &stage : kStages) {
            for (const Then then : {Then::KeepsSilent, Then::DripsForEver}) {
                const bool taken = stage.name == "QUIT";
                attempt(stage.name, then,
                        stage.told + QStringList{taken ? u"terminated"_s : u"timed out"_s});
            }
        }
        attempt("handshake", Then::KeepsSilent, kGreeted + QStringList{u"timed out"_s});
        for (const Try &one : tries)
            one.someone->send(one.server->serverPort());
        for (const Try &one : tries) {
            waitForTheEnd(*one.someone);
            QVERIFY2(one.someone->told() == one.told,
                     one.name + ": " + one.someone->told().join(u", ").toUtf8());
        }
    }

    void losesAServerThatBreaksOffTheHandshake_data()
    {
        struct Row {
            const char *name;
            std::optional<QByteArray> sends;
            Then then;
        };
        static const Row rows[] = {
            {.name = "closes", .sends = std::nullopt, .then = Then::Closes},
            {.name = "resets", .sends = std::nullopt, .then = Then::Resets},
            {.name = "goes on in clear", .sends = "250 fine\r\n", .then = Then::Goes},
            {.name = "alerts", .sends = QByteArray::fromHex("15030300020228"), .then = Then::Goes},
        };
        QTest::addColumn<QByteArray>("sends");
        QTest::addColumn<Then>("then");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.sends.value_or(QByteArray()) << row.then;
    }
    void losesAServerThatBreaksOffTheHandshake()
    {
        QFETCH(QByteArray, sends);
        QFETCH(Then, then);
        const auto server = goodServer();
        server->answers("handshake", sends);
        server->then("handshake", then);
        const auto someone = carefulOne();
        someone->send(server->serverPort());
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), kGreeted + QStringList{u"lost"_s});
        QCOMPARE(server->clearLines(), kClear);
        QCOMPARE(server->encryptedLines(), QByteArrayList());
    }

    void givesUpOnAServerThatDoesNotEncryptAtOnce()
    {
        ScriptedServer server;
        server.encryptsAtOnce(); // but has no certificate, and so never answers
        const auto someone = carefulOne();
        someone->takesPatience(500ms);
        someone->send(server.serverPort(), Opening::Tls);
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), (QStringList{u"established"_s, u"timed out"_s}));
    }

    void givesUpOnALookupThatHangs()
    {
        const auto someone = carefulOne();
        someone->names.keepSilent();
        someone->takesPatience(100ms);
        someone->send(25);
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), QStringList{u"timed out"_s});
        QCOMPARE(someone->console.lines(),
                 QStringList{u"The mail server mail.test did not answer in time."_s});
    }

    void waitsUntilItIsKnownWhomToTrust()
    {
        const auto server = goodServer();
        const auto someone = carefulOne();
        m_machine.keepSilent();
        someone->send(server->serverPort());
        QTRY_COMPARE_WITH_TIMEOUT(m_machine.waiting(), 1U, kDeadline);
        QTest::qWait(50); // time for a mistake
        QCOMPARE(server->encryptedLines(), QByteArrayList());
        m_machine.speak();
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), kSent + QStringList{u"terminated"_s});
        QCOMPARE(server->clearLines(), kClear);
        QCOMPARE(server->encryptedLines(), kEncrypted);
    }

    void givesUpWhereItDoesNotComeToKnowWhomToTrust()
    {
        const auto server = goodServer();
        const auto someone = carefulOne();
        m_machine.keepSilent();
        someone->send(server->serverPort());
        QTRY_COMPARE_WITH_TIMEOUT(m_machine.waiting(), 1U, kDeadline);
        someone->client().connection().allow(100ms);
        waitForTheEnd(*someone);
        m_machine.speak();
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), kGreeted + QStringList{u"timed out"_s});
        QCOMPARE(someone->console.lines(),
                 QStringList{u"The mail server mail.test cannot be trusted: certificates are "
                             u"still being read."_s});
        QCOMPARE(server->clearLines(), kClear);
        QCOMPARE(server->encryptedLines(), QByteArrayList());
    }

    void canBeDestroyedBeforeItIsKnownWhomToTrust()
    {
        const auto server = goodServer();
        const auto someone = carefulOne();
        m_machine.keepSilent();
        someone->send(server->serverPort());
        QTRY_COMPARE_WITH_TIMEOUT(m_machine.waiting(), 1U, kDeadline);
        someone->drop();
        m_machine.speak();
        QTRY_VERIFY_WITH_TIMEOUT(server->sawItsEnd(), kDeadline);
        QCOMPARE(someone->told(), kGreeted);
    }

    void endsOnceWhateverComesBeforeItIsKnownWhomToTrust_data()
    {
        QTest::addColumn<bool>("speaks");
        QTest::addColumn<QString>("said");
        QTest::newRow("a word in clear")
            << true << u"The mail server mail.test sent something ahead of the TLS handshake."_s;
        QTest::newRow("the end") << false << u"The mail server mail.test went away."_s;
    }
    void endsOnceWhateverComesBeforeItIsKnownWhomToTrust()
    {
        QFETCH(bool, speaks);
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const auto someone = carefulOne();
        m_machine.keepSilent();
        someone->send(server.serverPort(), Opening::Tls);
        QTRY_COMPARE_WITH_TIMEOUT(m_machine.waiting(), 1U, kDeadline);
        QTRY_VERIFY_WITH_TIMEOUT(server.hasPendingConnections(), kDeadline);
        const std::unique_ptr<QTcpSocket> peer(server.nextPendingConnection());
        if (speaks)
            peer->write("220 mail.test ESMTP\r\n");
        else
            peer->disconnectFromHost();
        waitForTheEnd(*someone);
        m_machine.speak();
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), (QStringList{u"established"_s, u"lost"_s}));
        QTEST(someone->console.lines().join(u'\n'), "said");
    }

    void givesUpOnAServerThatDoesNotTakeTheConnection()
    {
        const DeafServer server;
        const auto someone = carefulOne();
        someone->takesPatience(500ms);
        someone->names.knows(someone->host, {server.address()});
        someone->send(server.port());
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), QStringList{u"timed out"_s});
    }

    void triesTheNextAddress_data()
    {
        QTest::addColumn<bool>("deaf");
        QTest::newRow("the first refuses") << false;
        QTest::newRow("the first does not answer") << true;
    }
    void triesTheNextAddress()
    {
        QFETCH(bool, deaf);
        const auto server = goodServer();
        std::unique_ptr<DeafServer> first;
        if (deaf)
            first = std::make_unique<DeafServer>(server->serverPort());
        const auto someone = carefulOne();
        someone->patience().connect = deaf ? 4s : 60s; // half of it for the first
        someone->names.knows(someone->host, {DeafServer::kAddress, u"127.0.0.1"_s});
        someone->send(server->serverPort());
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), kSent + QStringList{u"terminated"_s});
    }

    void leavesAServerThatNeverAnswersQuit()
    {
        const auto server = goodServer();
        server->then("QUIT", Then::KeepsSilent);
        const auto someone = carefulOne();
        someone->patience().farewell = 100ms; // all others last a minute
        someone->send(server->serverPort());
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), kSent + QStringList{u"terminated"_s});
        QTRY_VERIFY_WITH_TIMEOUT(server->sawItsEnd(), kDeadline);
        const SmtpPatience usual;
        QCOMPARE(usual.farewell, std::chrono::milliseconds(3s));
        QCOMPARE(usual.connect, std::chrono::milliseconds(60s));
        QCOMPARE(usual.reply, std::chrono::milliseconds(60s));
        QCOMPARE(usual.delivery, std::chrono::milliseconds(10min));
    }

    void understandsAServerThatSpeaksByteByByte()
    {
        const auto server = goodServer();
        server->sendsByteByByte();
        const auto someone = carefulOne();
        someone->send(server->serverPort());
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), kSent + QStringList{u"terminated"_s});
    }

    void trustsNoBadCertificate_data()
    {
        struct Row {
            const char *name;
            QSslConfiguration server;
            QString why;
        };
        const QString untrusted = u"The mail server mail.test cannot be trusted: "_s;
        Authority other;
        const Row rows[] = {
            {.name = "self-signed",
             .server = m_authority.selfSigned(),
             .why = untrusted + u"The certificate is self-signed, and untrusted."_s},
            {.name = "of an unknown authority",
             .server = other.server(),
             .why = untrusted
                 + u"The issuer certificate of a locally looked up certificate could not "_s},
            {.name = "expired",
             .server = m_authority.server({.until = u"20210101000000Z"_s}),
             .why = untrusted + u"The certificate has expired."_s},
            {.name = "not in force yet",
             .server = m_authority.server({.from = u"20980101000000Z"_s}),
             .why = untrusted + u"The certificate is not yet valid."_s},
            {.name = "of another host",
             .server = m_authority.server(
                 {.commonName = u"other.test"_s, .alternativeNames = u"DNS:other.test"_s}),
             .why = untrusted + u"The host name did not match"_s},
            {.name = "of another host but for its common name",
             .server = m_authority.server({.alternativeNames = u"DNS:other.test"_s}),
             .why = u"The mail server mail.test has a certificate of another name."_s},
            {.name = "for clients",
             .server = m_authority.server({.purpose = u"clientAuth"_s}),
             .why = untrusted + u"The supplied certificate is unsuitable for this purpose."_s},
        };
        QTest::addColumn<QSslConfiguration>("server");
        QTest::addColumn<QString>("why");
        QTest::addColumn<bool>("atOnce");
        for (const Row &row : rows) {
            QTest::addRow("%s, STARTTLS", row.name) << row.server << row.why << false;
            QTest::addRow("%s, TLS at once", row.name) << row.server << row.why << true;
        }
    }
    void trustsNoBadCertificate()
    {
        QFETCH(QSslConfiguration, server);
        QFETCH(QString, why);
        QFETCH(bool, atOnce);
        const auto liar = goodServer();
        liar->hasCertificate(server);
        if (atOnce)
            liar->encryptsAtOnce();
        const auto someone = carefulOne();
        someone->send(liar->serverPort(), atOnce ? Opening::Tls : Opening::Clear);
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), (atOnce ? kReached : kGreeted) + QStringList{u"lost"_s});
        QCOMPARE(liar->clearLines(), atOnce ? QByteArrayList() : kClear);
        QCOMPARE(liar->encryptedLines(), QByteArrayList());
        QCOMPARE(someone->console.lines().size(), 1);
        QVERIFY2(someone->console.lines().first().startsWith(why),
                 qPrintable(someone->console.lines().first()));
    }

    void trustsNoOldTls()
    {
        QSslConfiguration old = m_good;
        old.setProtocol(QSsl::AnyProtocol);
        old.setBackendConfigurationOption("MaxProtocol", QByteArray("TLSv1.1"));
        old.setBackendConfigurationOption("CipherString", QByteArray("DEFAULT@SECLEVEL=0"));
        const auto server = goodServer();
        server->hasCertificate(old);
        server->encryptsAtOnce();

        QSslSocket careless; // shows that this server can be spoken to
        QSslConfiguration open = m_good;
        open.setProtocol(QSsl::AnyProtocol);
        open.setBackendConfigurationOption("CipherString", QByteArray("DEFAULT@SECLEVEL=0"));
        careless.setSslConfiguration(open);
        careless.connectToHostEncrypted(u"127.0.0.1"_s, server->serverPort());
        QTRY_VERIFY_WITH_TIMEOUT(careless.isEncrypted(), kDeadline);

        const auto someone = carefulOne();
        someone->send(server->serverPort(), Opening::Tls);
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), (QStringList{u"established"_s, u"lost"_s}));
        QCOMPARE(server->encryptedLines(), QByteArrayList());
    }

    void goesTheWayThatTheServerAllows_data()
    {
        using Server = ScriptedServer;
        struct Row {
            const char *name;
            std::function<void(Server &, Correspondent &)> arrange = [](Server &, Correspondent &) {
            };
            QStringList told;
            QByteArrayList clear = {};
            QByteArrayList encrypted = {};
            QString said = {}; ///< On the console.
        };
        const auto inClear = [](Server &, Correspondent &someone) {
            someone.wantsTls = false;
            someone.mechanism.clear();
        };
        const QByteArrayList quit{"QUIT"};
        const QByteArrayList hello{kEhlo};
        const QStringList end{u"terminated"_s};
        const QStringList notSent{u"not sent"_s, u"terminated"_s};
        const QStringList noLogin{u"not authenticated"_s, u"terminated"_s};
        const QStringList lost{u"lost"_s};
        const Row rows[] = {
            {.name = "TLS and PLAIN",
             .told = kSent + end,
             .clear = kClear,
             .encrypted = kEncrypted},
            {.name = "TLS and LOGIN",
             .arrange = [](Server &, Correspondent &someone) { someone.mechanism = "LOGIN"; },
             .told = kSent + end,
             .clear = kClear,
             .encrypted =
                 QByteArrayList{kEhlo, "AUTH LOGIN", "dXNlcg==", kPassword64} + kEnvelope + quit},
            {.name = "TLS without a login",
             .arrange = [](Server &, Correspondent &someone) { someone.mechanism.clear(); },
             .told = kSecured + QStringList{u"sent"_s} + end,
             .clear = kClear,
             .encrypted = hello + kEnvelope + quit},
            {.name = "nothing",
             .arrange = inClear,
             .told = kGreeted + QStringList{u"sent"_s} + end,
             .clear = hello + kEnvelope + quit},
            {.name = "a login in clear, as the user wants it",
             .arrange =
                 [](Server &server, Correspondent &someone) {
                     server.offers({"AUTH PLAIN"}, {});
                     someone.wantsTls = false;
                 },
             .told = kGreeted + QStringList{u"authenticated"_s, u"sent"_s} + end,
             .clear = hello + QByteArrayList{"AUTH PLAIN " + kPlain} + kEnvelope + quit},
            {.name = "no STARTTLS",
             .arrange = [](Server &server, Correspondent &) { server.offers({"AUTH PLAIN"}, {}); },
             .told = kGreeted + notSent,
             .clear = hello + quit,
             .said = u"The mail server mail.test offers no STARTTLS; nothing was sent."_s},
            {.name = "text behind the 220 that answers STARTTLS",
             .arrange =
                 [](Server &server, Correspondent &) {
                     server.answers("STARTTLS", "220 go\r\n250-evil\r\n250 AUTH PLAIN\r\n");
                 },
             .told = kGreeted + lost,
             .clear = kClear,
             .said = u"The mail server mail.test sent something ahead of the TLS handshake."_s},
            {.name = "part of a line behind the 220 that answers STARTTLS",
             .arrange = [](Server &server,
                           Correspondent &) { server.answers("STARTTLS", "220 go\r\n250-"); },
             .told = kGreeted + lost,
             .clear = kClear,
             .said = u"The mail server mail.test sent something ahead of the TLS handshake."_s},
            {.name = "AUTH only before TLS",
             .arrange =
                 [](Server &server, Correspondent &) {
                     server.offers({"STARTTLS", "AUTH PLAIN LOGIN"}, {});
                 },
             .told = kSecured + noLogin,
             .clear = kClear,
             .encrypted = hello + quit,
             .said = u"The mail server mail.test does not offer to log in by PLAIN."_s},
            {.name = "another mechanism",
             .arrange =
                 [](Server &server, Correspondent &) {
                     server.offers({"STARTTLS"}, {"AUTH CRAM-MD5 LOGIN XPLAIN"});
                 },
             .told = kSecured + noLogin,
             .clear = kClear,
             .encrypted = hello + quit,
             .said = u"The mail server mail.test does not offer to log in by PLAIN."_s},
            {.name = "a mechanism that we do not know",
             .arrange =
                 [](Server &server, Correspondent &someone) {
                     server.offers({"STARTTLS"}, {"AUTH CRAM-MD5"});
                     someone.mechanism = "CRAM-MD5";
                 },
             .told = kSecured + noLogin,
             .clear = kClear,
             .encrypted = hello + quit,
             .said = u"The mail server mail.test does not offer to log in by CRAM-MD5."_s},
            {.name = "a wrong password",
             .arrange = [](Server &server,
                           Correspondent &) { server.answers("AUTH", "535 5.7.8 wrong\r\n"); },
             .told = kSecured + noLogin,
             .clear = kClear,
             .encrypted = kEncrypted.first(2) + quit,
             .said = u"The mail server mail.test refused the login: 535 5.7.8 wrong."_s},
            {.name = "a wrong password that the server repeats",
             .arrange =
                 [](Server &server, Correspondent &) {
                     server.answers("AUTH", "535 user has no pa ssé€wörd (" + kPlain + ")\r\n");
                 },
             .told = kSecured + noLogin,
             .clear = kClear,
             .encrypted = kEncrypted.first(2) + quit,
             .said = u"The mail server mail.test refused the login: 535 (not shown)."_s},
            {.name = "a wrong name that the server repeats",
             .arrange =
                 [](Server &server, Correspondent &) {
                     server.answers("AUTH", "535 no user <user> (dXNlcg==), superuser\r\n");
                 },
             .told = kSecured + noLogin,
             .clear = kClear,
             .encrypted = kEncrypted.first(2) + quit,
             .said =
                 u"The mail server mail.test refused the login: 535 no * <*> (*), superuser."_s},
            {.name = "a short password, of letters that are in every text",
             .arrange =
                 [](Server &server, Correspondent &someone) {
                     server.answers("AUTH", "535 5.7.8 no such luck today\r\n");
                     someone.password = u"k"_s;
                 },
             .told = kSecured + noLogin,
             .clear = kClear,
             .encrypted = {kEhlo, "AUTH PLAIN AHVzZXIAaw==", "QUIT"},
             .said = u"The mail server mail.test refused the login: 535 (not shown)."_s},
            {.name = "a word over TLS that nobody asked for",
             .arrange =
                 [](Server &server, Correspondent &) {
                     // TLS 1.3 would have the server's word wait for our first one.
                     server.speaksTls12();
                     server.answers("secured", "250-evil\r\n250 AUTH PLAIN\r\n");
                 },
             .told = kGreeted + lost,
             .clear = kClear,
             .said = u"The mail server mail.test spoke out of turn."_s},
            {.name = "a name service that breaks down",
             .arrange = [](Server &, Correspondent &someone) { someone.names.breakDown(); },
             .told = lost,
             .said = u"The mail server mail.test cannot be reached: no memory for names."_s},
            {.name = "a login that cannot be checked now",
             .arrange = [](Server &server,
                           Correspondent &) { server.answers("AUTH", "454 4.7.0 later\r\n"); },
             .told = kSecured + noLogin,
             .clear = kClear,
             .encrypted = kEncrypted.first(2) + quit,
             .said = u"The mail server mail.test cannot log anybody in now: 454 4.7.0 later."_s},
            {.name = "LOGIN that breaks off at the name",
             .arrange =
                 [](Server &server, Correspondent &someone) {
                     server.answers("answer", "535 no\r\n");
                     someone.mechanism = "LOGIN";
                 },
             .told = kSecured + noLogin,
             .clear = kClear,
             .encrypted = {kEhlo, "AUTH LOGIN", "dXNlcg==", "QUIT"},
             .said = u"The mail server mail.test refused the login: 535 no."_s},
            {.name = "a password with a zero byte",
             .arrange =
                 [](Server &, Correspondent &someone) {
                     someone.password = u"a"_s + QChar(0) + u"b"_s;
                 },
             .told = kSecured + noLogin,
             .clear = kClear,
             .encrypted = hello + quit,
             .said = u"A user name or password with a zero byte cannot be sent."_s},
            {.name = "only HELO",
             .arrange =
                 [inClear](Server &server, Correspondent &someone) {
                     inClear(server, someone);
                     server.answers("EHLO", "502 what?\r\n");
                 },
             .told = kGreeted + QStringList{u"sent"_s} + end,
             .clear = QByteArrayList{kEhlo, "HELO desk.example.net"} + kEnvelope + quit},
            {.name = "only HELO, where TLS is wanted",
             .arrange = [](Server &server,
                           Correspondent &) { server.answers("EHLO", "500 what?\r\n"); },
             .told = kGreeted + notSent,
             .clear = {kEhlo, "HELO desk.example.net", "QUIT"},
             .said = u"The mail server mail.test offers no STARTTLS; nothing was sent."_s},
            {.name = "a size limit that the mail keeps",
             .arrange =
                 [inClear](Server &server, Correspondent &someone) {
                     inClear(server, someone);
                     server.offers({"SIZE 100000", "8BITMIME"}, {});
                     someone.message.setContent("caf\xC3\xA9");
                 },
             .told = kGreeted + QStringList{u"sent"_s} + end,
             .clear = QByteArrayList{kEhlo, kMail + " SIZE=* BODY=8BITMIME", kRcpt, "DATA"} + quit},
            {.name = "a size limit that the mail breaks",
             .arrange =
                 [inClear](Server &server, Correspondent &someone) {
                     inClear(server, someone);
                     server.offers({"SIZE 10"}, {});
                 },
             .told = kGreeted + notSent,
             .clear = hello + quit,
             .said = u"The mail server mail.test takes no message of more than 10 octets."_s},
            {.name = "forwards the mail",
             .arrange =
                 [inClear](Server &server, Correspondent &someone) {
                     inClear(server, someone);
                     server.answers("RCPT", "251 goes on to <c@d>\r\n");
                 },
             .told = kGreeted + QStringList{u"sent"_s} + end,
             .clear = hello + kEnvelope + quit},
            {.name = "250 in place of 354",
             .arrange =
                 [inClear](Server &server, Correspondent &someone) {
                     inClear(server, someone);
                     server.answers("DATA", "250 ok\r\n");
                 },
             .told = kGreeted + notSent,
             .clear = hello + kEnvelope + quit},
            {.name = "an answer to the mail before it came",
             .arrange =
                 [inClear](Server &server, Correspondent &someone) {
                     inClear(server, someone);
                     server.answers("DATA", "354 go on\r\n250 taken\r\n");
                 },
             .told = kGreeted + lost,
             .clear = hello + kEnvelope,
             .said =
                 u"The mail server mail.test spoke out of turn; the message may have arrived or "
                 u"not."_s},
            {.name = "a recipient with a line end in it",
             .arrange =
                 [](Server &, Correspondent &someone) {
                     someone.message = Correspondent::note(u"to@example.org\r\nDATA"_s);
                 },
             .told = notSent,
             .said = u"The mail cannot be sent: the address of its recipient has a control "
                     u"character in it."_s},
            {.name = "a subject with a line end in it",
             .arrange =
                 [](Server &, Correspondent &someone) {
                     someone.message.setSubject(u"a\r\nBcc: b@c"_s);
                 },
             .told = notSent,
             .said = u"The mail cannot be sent: a header has a control character in it."_s},
            {.name = "a server without an address",
             .arrange = [](Server &, Correspondent &someone) { someone.host = u"none.test"_s; },
             .told = lost,
             .said = u"The mail server none.test has no address: Name or service not known."_s},
            {.name = "a server that is no name",
             .arrange = [](Server &, Correspondent &someone) { someone.host = u"mail.test:25"_s; },
             .told = lost,
             .said = u"The mail server mail.test:25 is not the name of a server."_s},
            {.name = "an empty name",
             .arrange = [](Server &, Correspondent &someone) { someone.host.clear(); },
             .told = lost,
             .said = u"The mail server  is not the name of a server."_s},
            {.name = "nobody at the port",
             .arrange = [](Server &server, Correspondent &) { server.close(); },
             .told = lost,
             .said = u"The mail server mail.test cannot be reached: Connection refused."_s},
            {.name = "a server by its address",
             .arrange =
                 [inClear](Server &server, Correspondent &someone) {
                     inClear(server, someone);
                     someone.host = u"[127.0.0.1]"_s;
                 },
             .told = kGreeted + QStringList{u"sent"_s} + end,
             .clear = hello + kEnvelope + quit},
            {.name = "a machine without a full name",
             .arrange =
                 [inClear](Server &server, Correspondent &someone) {
                     inClear(server, someone);
                     someone.room().hostName = u"desk"_s;
                 },
             .told = kGreeted + QStringList{u"sent"_s} + end,
             .clear = QByteArrayList{"EHLO [127.0.0.1]"} + kEnvelope + quit},
        };
        QTest::addColumn<std::function<void(Server &, Correspondent &)>>("arrange");
        QTest::addColumn<QStringList>("told");
        QTest::addColumn<QByteArrayList>("clear");
        QTest::addColumn<QByteArrayList>("encrypted");
        QTest::addColumn<QString>("said");
        for (const Row &row : rows)
            QTest::newRow(row.name)
                << row.arrange << row.told << row.clear << row.encrypted << row.said;
    }
    void goesTheWayThatTheServerAllows()
    {
        QFETCH(std::function<void(ScriptedServer &, Correspondent &)>, arrange);
        QFETCH(QString, said);
        const auto server = goodServer();
        const quint16 port = server->serverPort();
        const auto someone = carefulOne();
        arrange(*server, *someone);
        someone->send(port);
        waitForTheEnd(*someone);
        QTEST(someone->told(), "told");
        QByteArrayList clear = server->clearLines();
        for (QByteArray &line : clear) { // the size depends on the date
            if (const qsizetype size = line.indexOf(" SIZE="); size >= 0)
                line.replace(size + 6, 3, "*");
        }
        QTEST(clear, "clear");
        QTEST(server->encryptedLines(), "encrypted");
        QCOMPARE(someone->console.lines(), said.isEmpty() ? QStringList() : QStringList{said});
    }

    void stopsAChallengeThatGoesOn()
    {
        const auto server = goodServer();
        server->answers("AUTH", "334 \r\n"); // and takes what follows for commands
        server->answers(kPlain.toUpper(), "334 \r\n");
        const auto someone = carefulOne();
        someone->send(server->serverPort());
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(),
                 kSecured + QStringList({u"not authenticated"_s, u"terminated"_s}));
        QVERIFY(!server->encryptedLines().contains(kMail));
    }

    void encryptsFromTheFirstByte()
    {
        const auto server = goodServer();
        server->encryptsAtOnce();
        const auto someone = carefulOne();
        someone->send(server->serverPort(), Opening::Tls);
        QVERIFY(someone->client().connection().isSSL());
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(),
                 kGreeted + QStringList({u"authenticated"_s, u"sent"_s, u"terminated"_s}));
        QCOMPARE(server->clearLines(), QByteArrayList());
        QCOMPARE(server->encryptedLines(), kEncrypted);
    }

    void encryptsFromTheFirstByteAtItsPort()
    {
        const auto someone = carefulOne();
        CWSMTP secure(u"mail.test"_s, 465, someone->room());
        QVERIFY(secure.connection().isSSL());
        CWSMTP usual(u"mail.test"_s, 587, someone->room());
        QVERIFY(!usual.connection().isSSL());
    }

    void meetsAPlainServerWhereItWantsTlsAtOnce()
    {
        ScriptedServer server;
        const auto someone = carefulOne();
        someone->send(server.serverPort(), Opening::Tls);
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), (QStringList{u"established"_s, u"lost"_s}));
        QCOMPARE(server.mails(), QByteArrayList());
    }

    void speaksToAServerAtAnIPv6Address_data()
    {
        QTest::addColumn<QString>("host");
        QTest::newRow("bare") << u"::1"_s;
        QTest::newRow("in brackets") << u"[::1]"_s;
    }
    void speaksToAServerAtAnIPv6Address()
    {
        QFETCH(QString, host);
        const auto server = goodServer();
        server->close();
        QVERIFY2(server->listen(QHostAddress::LocalHostIPv6), qPrintable(server->errorString()));
        server->hasCertificate(m_authority.server({.alternativeNames = u"IP:::1"_s}));
        const auto someone = carefulOne();
        someone->room().hostName = u"desk"_s;
        someone->host = host;
        someone->send(server->serverPort());
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), kSent + QStringList{u"terminated"_s});
        QCOMPARE(server->clearLines().first(), "EHLO [IPv6:::1]");
    }

    void trustsAServerByTheAddressInItsCertificate()
    {
        const auto server = goodServer();
        server->hasCertificate(m_authority.server({.alternativeNames = u"IP:127.0.0.1"_s}));
        const auto someone = carefulOne();
        someone->host = u"127.0.0.1"_s;
        someone->send(server->serverPort());
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), kSent + QStringList{u"terminated"_s});
    }

    void sendsEachDotAndOctet()
    {
        const auto server = goodServer();
        const auto someone = carefulOne();
        someone->message.setContent(".one\n..two\n.\nthr\xC3\xA9\xC3\xA9\n");
        someone->send(server->serverPort());
        waitForTheEnd(*someone);
        QCOMPARE(server->mails().size(), 1);
        QVERIFY2(server->mails().first().endsWith(
                     "\r\n\r\n..one\r\n...two\r\n..\r\nthr\xC3\xA9\xC3\xA9\r\n"),
                 server->mails().first());
    }

    void closesAtAnyStage_data()
    {
        QTest::addColumn<int>("stage");
        for (int stage = 0; stage < int(std::size(kStages)); ++stage)
            QTest::addRow("%s", kStages[stage].name.constData()) << stage;
    }
    void closesAtAnyStage()
    {
        QFETCH(int, stage);
        const Stage &at = kStages[stage];
        const auto server = goodServer();
        server->then(at.name, Then::KeepsSilent);
        const auto someone = carefulOne();
        someone->patience().farewell = 1s;
        someone->send(server->serverPort());
        QTRY_VERIFY_WITH_TIMEOUT(server->stages().contains(at.name), kDeadline);
        someone->client().close();
        someone->client().close();
        QVERIFY(!someone->over()); // it is told from the run loop
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), at.told + QStringList{u"terminated"_s});
        QTRY_VERIFY_WITH_TIMEOUT(server->sawItsEnd(), kDeadline);
    }

    void closesBeforeItIsConnected()
    {
        const DeafServer server;
        const auto someone = carefulOne();
        someone->names.knows(someone->host, {server.address()});
        someone->send(server.port());
        someone->client().close();
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), QStringList{u"terminated"_s});
    }

    void closesInsteadOfAnsweringARefusal()
    {
        const auto someone = carefulOne();
        someone->message = Correspondent::note(u"nobody"_s);
        someone->send(25);
        someone->client().close();
        waitForTheEnd(*someone);
        QCOMPARE(someone->told(), QStringList{u"terminated"_s});
    }

    void canBeDestroyedAtAnyStage_data() { closesAtAnyStage_data(); }
    void canBeDestroyedAtAnyStage()
    {
        QFETCH(int, stage);
        const Stage &at = kStages[stage];
        const auto server = goodServer();
        server->then(at.name, Then::KeepsSilent);
        const auto someone = carefulOne();
        someone->send(server->serverPort());
        QTRY_VERIFY_WITH_TIMEOUT(server->stages().contains(at.name), kDeadline);
        someone->drop();
        QTRY_VERIFY_WITH_TIMEOUT(server->sawItsEnd(), kDeadline);
        QCOMPARE(someone->told(), at.told);
    }

    void sendsNothingInClearOnceTlsWasAskedFor()
    {
        struct Stubborn : Correspondent {
            using Correspondent::Correspondent;
            void messageNotSent(const CWNotification &from) override
            {
                if (std::exchange(m_triedAgain, true))
                    Correspondent::messageNotSent(from);
                else
                    from.object.sendMessage();
            }
            bool m_triedAgain = false;
        };
        const auto server = goodServer();
        server->answers("STARTTLS", "454 not now\r\n");
        Stubborn someone(m_trust);
        someone.wantsTls = true;
        someone.send(server->serverPort());
        waitForTheEnd(someone);
        QCOMPARE(someone.told(), kGreeted + QStringList({u"not sent"_s, u"terminated"_s}));
        QCOMPARE(server->clearLines(), kClear + QByteArrayList{"QUIT"});
    }
};

} // namespace quillfen::mail

/// In a network of its own, which has IPv6 whether or not this machine has.
int main(int argc, char **argv)
{
    quillfen::test::PrivateNetwork::allow();
    QCoreApplication app(argc, argv);
    const quillfen::test::PrivateNetwork network;
    quillfen::mail::CWSMTPTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "CWSMTPTest.moc"
