// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/SSMTP.h"

#include "mail/MailRoom.h"
#include "unit/mail/Certificates.h"
#include "unit/mail/NotifierHome.h"
#include "unit/mail/ScriptedServer.h"
#include "world/FakeTlsTrust.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonValue>
#include <QMap>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTest>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::mail {

namespace {

using Then = ScriptedServer::Turn::Then;
using Opening = SmtpConnection::Opening;
using Settings = QMap<QString, QJsonValue>;

constexpr int kDeadline = 20'000; // ms

const QString kFormat = u"Machine \"%@\": from %@ to %@"_s;

/// A client that only notes what it is told to do, and can fail at it.
class NotingClient : public CWSMTP {
public:
    using CWSMTP::CWSMTP;

    QStringList orders;
    std::function<void()> trouble = [] {};

    void connectInBackgroundAndNotify() override { note(u"connect"_s); }
    void startTLS() override { note(u"startTLS"_s); }
    void authenticate(const QString &username, const QString &password,
                      const QByteArray &mechanism) override
    {
        note(u"authenticate "_s + username + u' ' + password + u' '
             + QString::fromLatin1(mechanism));
    }
    void sendMessage() override { note(u"send"_s); }
    void close() override { note(u"close"_s); }

private:
    void note(const QString &order)
    {
        orders.append(order);
        trouble();
    }
};

/// A notifier with all it needs.
class Desk : public NotifierHome {
public:
    explicit Desk(const TlsPolicy &trusted)
        : m_room{.names = names,
                 .console = console(),
                 .tls = trusted,
                 .hostName = u"desk.example.net"_s,
                 .patience = {},
                 .gate = {}},
          notifier(log(), preferences, host, [this](const QString &name, std::int16_t toPort) {
              return makeClient(name, toPort);
          })
    {
        names.knows(u"mail.test"_s, {u"127.0.0.1"_s});
        stores({{u"MailServer"_s, u"mail.test"_s}, {u"Authentication"_s, 0}});
    }

    void stores(const Settings &settings)
    {
        for (auto setting = settings.begin(); setting != settings.end(); ++setting)
            preferences.setValue(setting.key(), setting.value());
    }
    SmtpPatience &patience() { return m_room.patience; }
    /// From now on clients only take notes.
    void takesNotes() { m_notes = true; }
    NotingClient *noting = nullptr; ///< The last one that was made.
    Opening opening = Opening::Clear;
    std::optional<std::int16_t> port; ///< With which the last client was made.

    void sends(const std::optional<QString> &recipient = u"to@example.org"_s)
    {
        notifier.sendMessage(u"192.0.2.8"_s, u"192.0.2.7"_s, recipient, kFormat);
    }
    CWNotification notification() { return {*noting}; }

private:
    std::unique_ptr<CWSMTP> makeClient(const QString &name, std::int16_t toPort)
    {
        port = toPort;
        if (!m_notes)
            return std::make_unique<CWSMTP>(name, toPort, opening, m_room);
        auto client = std::make_unique<NotingClient>(name, toPort, opening, m_room);
        noting = client.get();
        return client;
    }

    MailRoom m_room;
    bool m_notes = false;

public:
    SSMTP notifier;
};

const QStringList kComposed{u"Composing message to to@example.org."_s,
                            u"Machine \"Büro \"100%\"\": from 192.0.2.7 to 192.0.2.8"_s,
                            u"Connecting to the mail.test server..."_s};
const QStringList kConnected = kComposed + QStringList{u"Connected."_s};
const QStringList kSecured =
    kConnected + QStringList{u"SSL handshaking..."_s, u"SSL handshaking completed."_s};
const QStringList kSent{u"Message sent. Closing the connection."_s, u"Connection terminated."_s};
const QStringList kLost{u"Connection lost."_s, u"Connection terminated."_s};
const QStringList kLoggedIn{u"Authentication completed. Sending the message..."_s};

} // namespace

class SSMTPTest : public QObject {
    Q_OBJECT

    Authority m_authority;
    QSslConfiguration m_good = m_authority.server();
    world::FakeTlsTrust m_machine{m_authority.file()};
    TlsPolicy m_trust{m_machine};

private Q_SLOTS:
    void writesEachStageIntoTheLog_data()
    {
        using Server = ScriptedServer;
        struct Row {
            const char *name;
            Settings settings = {};
            std::function<void(Server &, Desk &)> arrange = [](Server &, Desk &) {};
            QStringList log;
            QByteArrayList wire = {}; ///< Over TLS, without EHLO and the envelope.
        };
        const auto login = [](QJsonValue authentication) {
            return Settings{{u"Authentication"_s, authentication},
                            {u"Username"_s, u"user"_s},
                            {u"UserPassword"_s, u"pass"_s}};
        };
        const auto without = [&](const QString &key) {
            Settings settings = login(1);
            settings[key] = QJsonValue();
            return settings;
        };
        const QByteArrayList plain{"AUTH PLAIN AHVzZXIAcGFzcw==", "QUIT"};
        const QByteArrayList byLogin{"AUTH LOGIN", "dXNlcg==", "cGFzcw==", "QUIT"};
        const auto rests = [](Server &, Desk &desk) { desk.patience().rest = 300ms; };
        const QStringList timedOut{u"Connection timed out."_s};
        const QStringList terminated{u"Connection terminated."_s};
        const Row rows[] = {
            {.name = "no authentication", .log = kSecured + kSent, .wire = {"QUIT"}},
            {.name = "SSL wanted in so many words",
             .settings = {{u"useSSL"_s, true}},
             .log = kSecured + kSent,
             .wire = {"QUIT"}},
            {.name = "no SSL", .settings = {{u"useSSL"_s, false}}, .log = kConnected + kSent},
            {.name = "SSL from the first byte",
             .arrange =
                 [](Server &server, Desk &desk) {
                     server.encryptsAtOnce();
                     desk.opening = Opening::Tls;
                 },
             .log = kConnected + QStringList{u"Starting SSL."_s, u"SSL handshaking completed."_s}
                 + kSent,
             .wire = {"QUIT"}},
            {.name = "authentication 1",
             .settings = login(1),
             .log = kSecured + kLoggedIn + kSent,
             .wire = plain},
            {.name = "authentication 2",
             .settings = login(2),
             .log = kSecured + kLoggedIn + kSent,
             .wire = byLogin},
            {.name = "authentication 7",
             .settings = login(7),
             .log = kSecured + kLoggedIn + kSent,
             .wire = byLogin},
            {.name = "authentication -1",
             .settings = login(-1),
             .log = kSecured + kLoggedIn + kSent,
             .wire = byLogin},
            {.name = "authentication absent",
             .settings = {{u"Authentication"_s, QJsonValue()}},
             .arrange = rests,
             .log = kSecured + timedOut},
            {.name = "authentication of another type",
             .settings = login(u"1"_s),
             .arrange = rests,
             .log = kSecured + timedOut},
            {.name = "no user name",
             .settings = without(u"Username"_s),
             .arrange = rests,
             .log = kSecured + timedOut},
            {.name = "no password",
             .settings = without(u"UserPassword"_s),
             .arrange = rests,
             .log = kSecured + timedOut},
            {.name = "nothing to do until the server closes",
             .settings = without(u"UserPassword"_s),
             .arrange =
                 [](Server &server, Desk &) {
                     server.then("EHLO/2", Then::Closes);
                     server.answers("EHLO/2", "250 hi\r\n");
                 },
             .log = kSecured + kLost},
            {.name = "login refused",
             .settings = login(1),
             .arrange = [](Server &server, Desk &) { server.answers("AUTH", "535 no\r\n"); },
             .log = kSecured + QStringList{u"Authentication failed. Closing the connection..."_s}
                 + terminated,
             .wire = plain},
            {.name = "login not offered",
             .settings = login(1),
             .arrange = [](Server &server, Desk &) { server.offers({"STARTTLS"}, {}); },
             .log = kSecured + QStringList{u"Authentication failed. Closing the connection..."_s}
                 + terminated,
             .wire = {"QUIT"}},
            {.name = "mail refused",
             .arrange = [](Server &server,
                           Desk &) { server.answers("RCPT", "550 5.1.1 kein Büro\r\n"); },
             .log = kSecured + QStringList{u"Message not sent: 550 5.1.1 kein Büro"_s} + terminated,
             .wire = {"QUIT"}},
            {.name = "mail refused in two lines",
             .arrange = [](Server &server,
                           Desk &) { server.answers("RCPT", "550-nobody\r\n550 here\r\n"); },
             .log = kSecured + QStringList{u"Message not sent: 550-nobody 550 here"_s} + terminated,
             .wire = {"QUIT"}},
            {.name = "mail refused with what is no UTF-8",
             .arrange = [](Server &server, Desk &) { server.answers("RCPT", "550 B\xFCro\r\n"); },
             .log = kSecured + terminated,
             .wire = {"QUIT"}},
            {.name = "no STARTTLS",
             .arrange = [](Server &server, Desk &) { server.offers({}, {}); },
             .log = kConnected
                 + QStringList{u"SSL handshaking..."_s,
                               u"Message not sent: 250-mail.test greets you 250 HELP"_s}
                 + terminated},
            {.name = "STARTTLS refused",
             .arrange = [](Server &server, Desk &) { server.answers("STARTTLS", "454 no\r\n"); },
             .log = kConnected + QStringList{u"SSL handshaking..."_s, u"Message not sent: 454 no"_s}
                 + terminated},
            {.name = "a certificate that is not trusted",
             .arrange = [this](Server &server,
                               Desk &) { server.hasCertificate(m_authority.selfSigned()); },
             .log = kConnected + QStringList{u"SSL handshaking..."_s} + kLost},
            {.name = "a server that goes away",
             .arrange = [](Server &server, Desk &) { server.then("MAIL", Then::Closes); },
             .log = kSecured + kLost},
            {.name = "a server that cannot be reached",
             .arrange = [](Server &server, Desk &) { server.close(); },
             .log = kComposed + kLost},
            {.name = "a server that keeps silent",
             .arrange =
                 [](Server &, Desk &desk) {
                     desk.names.keepSilent();
                     desk.patience().connect = 100ms;
                 },
             .log = kComposed + timedOut},
        };
        QTest::addColumn<Settings>("settings");
        QTest::addColumn<std::function<void(Server &, Desk &)>>("arrange");
        QTest::addColumn<QStringList>("log");
        QTest::addColumn<QByteArrayList>("wire");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.settings << row.arrange << row.log << row.wire;
    }
    void writesEachStageIntoTheLog()
    {
        QFETCH(Settings, settings);
        QFETCH(std::function<void(ScriptedServer &, Desk &)>, arrange);
        QFETCH(QStringList, log);
        QFETCH(QByteArrayList, wire);
        ScriptedServer server;
        server.hasCertificate(m_good);
        server.offers({"STARTTLS"}, {"AUTH PLAIN LOGIN"});
        Desk desk(m_trust);
        desk.stores({{u"Port"_s, QString::number(server.serverPort())}});
        desk.stores(settings);
        arrange(server, desk);
        desk.sends();
        QTRY_COMPARE_WITH_TIMEOUT(desk.logged(), log, kDeadline);
        for (int i = 0; i < 10; ++i)
            QCoreApplication::processEvents();
        QCOMPARE(desk.logged(), log);

        QByteArrayList rest;
        for (const QByteArray &line : server.encryptedLines()) {
            if (!line.startsWith("EHLO ") && !line.startsWith("MAIL ") && !line.startsWith("RCPT ")
                && line != "DATA")
                rest.append(line);
        }
        QCOMPARE(rest, wire);
        const QString texts = desk.said().join(u'\n') + log.join(u'\n');
        for (const QString &secret : {u"AHVzZXIAcGFzcw=="_s, u"cGFzcw=="_s, u"\"pass\""_s})
            QVERIFY2(!texts.contains(secret), qPrintable(texts));
    }

    void composesTheMail_data()
    {
        struct Row {
            const char *name;
            std::optional<QString> oldAddress;
            QString format = kFormat;
            QByteArray content;
            QStringList logged;
        };
        static const Row rows[] = {
            {.name = "with an old address",
             .oldAddress = u"192.0.2.7"_s,
             .content = "Machine \"Büro \"100%\"\": from 192.0.2.7 to 192.0.2.8\r\n",
             .logged = {u"Machine \"Büro \"100%\"\": from 192.0.2.7 to 192.0.2.8"_s}},
            {.name = "without one",
             .oldAddress = {},
             .content = "Quillfen has refreshed. Machine \"Büro \"100%\"\" has IP address: "
                        "192.0.2.8\r\n",
             .logged = {}},
            {.name = "a format without places",
             .oldAddress = u"-.-.-.-"_s,
             .format = u"If you are reading this, the test passed."_s,
             .content = "If you are reading this, the test passed.\r\n",
             .logged = {u"If you are reading this, the test passed."_s}},
            {.name = "a format of two lines",
             .oldAddress = u"192.0.2.7"_s,
             .format = u"one\n.two\n"_s,
             .content = "one\r\n..two\r\n",
             .logged = {u"one .two "_s}},
        };
        QTest::addColumn<std::optional<QString>>("oldAddress");
        QTest::addColumn<QString>("format");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("logged");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.oldAddress << row.format << row.content << row.logged;
    }
    void composesTheMail()
    {
        QFETCH(std::optional<QString>, oldAddress);
        QFETCH(QString, format);
        QFETCH(QByteArray, content);
        QFETCH(QStringList, logged);
        ScriptedServer server;
        Desk desk(m_trust);
        desk.stores({{u"Port"_s, QString::number(server.serverPort())}, {u"useSSL"_s, false}});
        desk.notifier.sendMessage(u"192.0.2.8"_s, oldAddress, u" to@example.org"_s, format);
        QCOMPARE(desk.logged(),
                 QStringList{u"Composing message to  to@example.org."_s} + logged
                     + QStringList{u"Connecting to the mail.test server..."_s});
        QTRY_COMPARE_WITH_TIMEOUT(desk.logged().last(), u"Connection terminated."_s, kDeadline);

        QCOMPARE(server.mails().size(), 1);
        const QByteArray mail = server.mails().first();
        QCOMPARE(mail.sliced(mail.indexOf("\r\n\r\n") + 4), content);
        const QByteArrayList headers{"Subject: Quillfen Notification", "From: to@example.org",
                                     "To: to@example.org",
                                     "Content-Type: text/plain; charset=\"us-ascii\""};
        for (const QByteArray &header : headers)
            QCOMPARE(("\r\n" + mail).count("\r\n" + header + "\r\n"), 1);
        QVERIFY(server.clearLines().contains("MAIL FROM:<to@example.org>"));
        QVERIFY(server.clearLines().contains("RCPT TO:<to@example.org>"));
    }

    void doesNothingWithoutARecipientOrAServer_data()
    {
        struct Row {
            const char *name;
            std::optional<QString> recipient = u"to@example.org"_s;
            QJsonValue server = u"mail.test"_s;
        };
        static const Row rows[] = {
            {.name = "no recipient", .recipient = {}},
            {.name = "an empty one", .recipient = QString()},
            {.name = "no server", .server = {}},
            {.name = "an empty one as server", .server = QString()},
            {.name = "a number as server", .server = 5},
        };
        QTest::addColumn<std::optional<QString>>("recipient");
        QTest::addColumn<QJsonValue>("server");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.recipient << row.server;
    }
    void doesNothingWithoutARecipientOrAServer()
    {
        QFETCH(std::optional<QString>, recipient);
        QFETCH(QJsonValue, server);
        Desk desk(m_trust);
        desk.takesNotes();
        desk.stores({{u"MailServer"_s, server}});
        desk.sends(recipient);
        QVERIFY(!desk.noting);
        QCOMPARE(desk.logged(), QStringList());
        QCOMPARE(desk.said(), QStringList());
    }

    void stopsWhereTheServerIsGoneMeanwhile()
    {
        Desk desk(m_trust);
        desk.takesNotes();
        desk.preferences.synchronize();
        desk.preferences.disk().values.remove(u"MailServer"_s); // by another process
        desk.sends();
        QVERIFY(!desk.noting);
        QCOMPARE(desk.logged(), kComposed.first(2));
    }

    void readsThePort_data()
    {
        struct Row {
            const char *name;
            QJsonValue stored;
            int port;
        };
        static const Row rows[] = {
            {.name = "absent", .stored = {}, .port = 25},
            {.name = "587", .stored = u"587"_s, .port = 587},
            {.name = "70000", .stored = u"70000"_s, .port = 4464},
            {.name = "40000", .stored = u"40000"_s, .port = -25536},
            {.name = "no number", .stored = u"smtp"_s, .port = 0},
            {.name = "empty", .stored = QString(), .port = 0},
            {.name = "with more behind it", .stored = u" 465 (SSL)"_s, .port = 465},
            {.name = "of another type", .stored = 587, .port = 25},
        };
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<int>("port");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.stored << row.port;
    }
    void readsThePort()
    {
        QFETCH(QJsonValue, stored);
        QFETCH(int, port);
        Desk desk(m_trust);
        desk.takesNotes();
        desk.stores({{u"Port"_s, stored}});
        desk.sends();
        QCOMPARE(int(desk.port.value()), port);
        QCOMPARE(desk.noting->orders, QStringList{u"connect"_s});
    }

    void endsAMailThatCannotBeSent()
    {
        Desk desk(m_trust);
        desk.sends(u"to@example.org\r\nRCPT TO:<c@d>"_s);
        QTRY_COMPARE_WITH_TIMEOUT(
            desk.logged(),
            (QStringList{u"Composing message to to@example.org RCPT TO:<c@d>."_s, kComposed[1],
                         kComposed[2], u"Connection terminated."_s}),
            kDeadline);
        QCOMPARE(desk.said(),
                 QStringList{u"The mail cannot be sent: the address of its sender has a control "
                             u"character in it."_s});
    }

    void logsWhatItsClientThrows_data()
    {
        using Call = void (SSMTP::*)(const CWNotification &);
        QTest::addColumn<Call>("call");
        QTest::addColumn<QString>("line");
        QTest::newRow("login accepted") << &SSMTP::authenticationCompleted
                                        << u"Authentication completed. Sending the message..."_s;
        QTest::newRow("login refused") << &SSMTP::authenticationFailed
                                       << u"Authentication failed. Closing the connection..."_s;
    }
    void logsWhatItsClientThrows()
    {
        using Call = void (SSMTP::*)(const CWNotification &);
        QFETCH(Call, call);
        QFETCH(QString, line);
        Desk desk(m_trust);
        desk.takesNotes();
        desk.sends();
        desk.noting->trouble = [] { throw std::runtime_error("out of paper"); };
        (desk.notifier.*call)(desk.notification());
        QCOMPARE(desk.logged(),
                 kComposed + QStringList({line, u"Error (std::runtime_error): out of paper"_s}));

        desk.noting->trouble = [] { throw 5; }; // of no class: it passes on
        QVERIFY_EXCEPTION_THROWN((desk.notifier.*call)(desk.notification()), int);
    }

    void guardsNothingElse()
    {
        Desk desk(m_trust);
        desk.takesNotes();
        desk.sends();
        desk.noting->trouble = [] { throw std::runtime_error("out of paper"); };
        QVERIFY_EXCEPTION_THROWN(desk.notifier.messageSent(desk.notification()),
                                 std::runtime_error);
        QVERIFY_EXCEPTION_THROWN(desk.notifier.messageNotSent(desk.notification()),
                                 std::runtime_error);
    }

    void staysWithTlsUnlessToldNo_data()
    {
        struct Row {
            const char *name;
            QJsonValue stored;
            bool tls;
        };
        static const Row rows[] = {
            {.name = "absent", .stored = QJsonValue::Undefined, .tls = true},
            {.name = "true", .stored = true, .tls = true},
            {.name = "false", .stored = false, .tls = false},
            {.name = "1", .stored = 1, .tls = true},
            {.name = "0", .stored = 0, .tls = false},
            {.name = "yes", .stored = u"YES"_s, .tls = true},
            {.name = "no", .stored = u" No"_s, .tls = false},
            {.name = "the text false", .stored = u"false"_s, .tls = false},
            {.name = "the text 0", .stored = u"0"_s, .tls = false},
            {.name = "off", .stored = u"Off"_s, .tls = false},
            {.name = "on", .stored = u"on"_s, .tls = true},
            {.name = "enabled", .stored = u"enabled"_s, .tls = true},
            {.name = "an empty text", .stored = u""_s, .tls = true},
            {.name = "a list", .stored = QJsonArray{false}, .tls = true},
        };
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<bool>("tls");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.stored << row.tls;
    }
    void staysWithTlsUnlessToldNo()
    {
        QFETCH(QJsonValue, stored);
        Desk desk(m_trust);
        if (!stored.isUndefined())
            desk.preferences.disk().values[u"useSSL"_s] = stored;
        QTEST(desk.notifier.useSSL(), "tls");
    }

    void readsTheSettingsAfreshAtEachStage()
    {
        Desk desk(m_trust);
        desk.takesNotes();
        desk.sends();
        desk.preferences.disk().values[u"useSSL"_s] = false; // by another process
        desk.notifier.serviceInitialized(desk.notification());
        desk.stores(
            {{u"Authentication"_s, 3}, {u"Username"_s, u"user"_s}, {u"UserPassword"_s, u"pass"_s}});
        desk.notifier.serviceInitialized(desk.notification());
        desk.preferences.disk().values[u"useSSL"_s] = true;
        desk.notifier.serviceInitialized(desk.notification());
        QCOMPARE(desk.noting->orders,
                 (QStringList{u"connect"_s, u"send"_s, u"authenticate user pass LOGIN"_s,
                              u"startTLS"_s}));
        QCOMPARE(desk.logged(), kComposed + QStringList{u"SSL handshaking..."_s});
    }

    void givesItsClientBack_data()
    {
        using Call = void (SSMTP::*)(const CWNotification &);
        QTest::addColumn<Call>("call");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("lost") << &SSMTP::connectionLost << kLost;
        QTest::newRow("timed out")
            << &SSMTP::connectionTimedOut << QStringList{u"Connection timed out."_s};
        QTest::newRow("terminated")
            << &SSMTP::connectionTerminated << QStringList{u"Connection terminated."_s};
    }
    void givesItsClientBack()
    {
        using Call = void (SSMTP::*)(const CWNotification &);
        QFETCH(Call, call);
        QFETCH(QStringList, lines);
        Desk desk(m_trust);
        desk.takesNotes();
        desk.sends();
        int gone = 0;
        connect(desk.noting, &QObject::destroyed, this, [&gone] { ++gone; });
        (desk.notifier.*call)(desk.notification());
        QCOMPARE(gone, 0); // the client is the caller
        QTRY_COMPARE_WITH_TIMEOUT(gone, 1, kDeadline);
        QCOMPARE(desk.logged(), kComposed + lines);
    }
};

} // namespace quillfen::mail

using quillfen::mail::SSMTPTest;
QTEST_GUILESS_MAIN(SSMTPTest)
#include "SSMTPTest.moc"
