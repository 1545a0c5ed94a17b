// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mail/CWSMTP.h"
#include "mail/CWSMTPDelegate.h"
#include "mail/MailRoom.h"
#include "support/Console.h"
#include "world/FakeConsole.h"
#include "world/FakeNames.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <chrono>
#include <memory>

namespace quillfen::mail {

/// Someone who has one mail to send, and notes what the client tells.
class Correspondent : public CWSMTPDelegate {
public:
    world::FakeConsole console;
    world::FakeNames names;

    bool wantsTls = false;
    QByteArray mechanism; ///< Empty: no login.
    QString userName = QStringLiteral("user");
    QString password = QStringLiteral("pa ssé€wörd");
    QString host = QStringLiteral("mail.test");
    CWMessage message = note(QStringLiteral("to@example.org"));

    explicit Correspondent(const TlsPolicy &trusted)
        : m_console(console),
          m_room{.names = names,
                 .console = m_console,
                 .tls = trusted,
                 .hostName = QStringLiteral("desk.example.net"),
                 .patience = {},
                 .gate = {}}
    {
        names.knows(host, {QStringLiteral("127.0.0.1")});
        // Long enough for the slowest machine: a test that wants to see it end sets its own.
        takesPatience(std::chrono::seconds(60));
    }
    void takesPatience(std::chrono::milliseconds stage)
    {
        m_room.patience = {.connect = stage,
                           .reply = stage,
                           .delivery = stage,
                           .farewell = m_room.patience.farewell,
                           .rest = stage};
    }
    SmtpPatience &patience() { return m_room.patience; }
    MailRoom &room() { return m_room; }

    static CWMessage note(const QString &recipient)
    {
        CWMessage message;
        message.setSubject(QStringLiteral("A note"));
        message.setFrom(CWInternetAddress::initWithString(QStringLiteral("from@example.org")));
        message.addRecipient(CWInternetAddress::initWithString(recipient));
        message.setContent("text");
        return message;
    }

    void send(quint16 port, SmtpConnection::Opening opening = SmtpConnection::Opening::Clear)
    {
        m_client = std::make_unique<CWSMTP>(host, static_cast<std::int16_t>(port), opening, m_room);
        m_client->setDelegate(this);
        m_client->setMessage(message);
        m_client->connectInBackgroundAndNotify();
    }
    CWSMTP &client() { return *m_client; }
    void drop() { m_client.reset(); }

    /// What the client told, in the order of telling.
    const QStringList &told() const { return m_told; }
    bool over() const { return m_over; }

    void connectionEstablished(const CWNotification &) override { note("established"); }
    void serviceInitialized(const CWNotification &from) override
    {
        note("initialized");
        if (wantsTls && !from.object.connection().isSSL())
            from.object.startTLS();
        else if (mechanism.isEmpty())
            from.object.sendMessage();
        else
            from.object.authenticate(userName, password, mechanism);
    }
    void authenticationCompleted(const CWNotification &from) override
    {
        note("authenticated");
        from.object.sendMessage();
    }
    void authenticationFailed(const CWNotification &from) override
    {
        note("not authenticated");
        from.object.close();
    }
    void messageSent(const CWNotification &from) override
    {
        note("sent");
        from.object.close();
    }
    void messageNotSent(const CWNotification &from) override
    {
        note("not sent");
        from.object.close();
    }
    void connectionLost(const CWNotification &) override { finish("lost"); }
    void connectionTimedOut(const CWNotification &) override { finish("timed out"); }
    void connectionTerminated(const CWNotification &) override { finish("terminated"); }

private:
    void note(const char *call) { m_told.append(QString::fromLatin1(call)); }
    void finish(const char *call)
    {
        note(call);
        m_over = true;
    }

    support::Console m_console;
    MailRoom m_room;
    QStringList m_told;
    bool m_over = false;
    std::unique_ptr<CWSMTP> m_client;
};

} // namespace quillfen::mail
