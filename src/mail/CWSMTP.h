// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mail/CWMessage.h"
#include "mail/SmtpCapabilities.h"
#include "mail/SmtpConnection.h"
#include "mail/SmtpScript.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace quillfen::mail {

class CWSMTPDelegate;
class SessionPlace;
struct CWNotification;
struct MailRoom;

/// An SMTP client for one session with one server.
///
/// Every order returns at once; what came of it the delegate is told later (CWSMTPDelegate says
/// in which call). One order at a time: the next one from within that call or after it. A session
/// that is left without an order ends by itself after a while.
///
/// It sends nothing that the server has not offered, and nothing in clear after startTLS() was
/// asked for. A reply 421 ends the session whenever it comes. Why something failed is said on the
/// console, without the user's name and password. To be freed by deleteLater() from within a call
/// to the delegate. Main thread only.
/// @source RFC 5321, RFC 3207 (STARTTLS), RFC 4954 (AUTH), RFC 1870 (SIZE), RFC 6152 (8BITMIME).
class CWSMTP : public QObject {
    Q_OBJECT
public:
    static constexpr std::uint16_t kTlsPort = 465; ///< TLS from the first byte (RFC 8314).

    /// For the server @p name at @p port, of which the bits count: -25536 is port 40000.
    /// @p room must outlive this, unless the session has ended.
    CWSMTP(const QString &name, std::int16_t port, MailRoom &room);
    /// With TLS from the first byte or without, whatever the port.
    CWSMTP(const QString &name, std::int16_t port, SmtpConnection::Opening opening, MailRoom &room);
    ~CWSMTP() override;

    /// @p delegate outlives this, or is replaced by none.
    void setDelegate(CWSMTPDelegate *delegate) { m_delegate = delegate; }
    void setMessage(const CWMessage &message) { m_message = message; }
    SmtpConnection &connection() { return m_connection; }

    /// Connects as soon as there is room among the program's sessions. A message that cannot be
    /// sent is told of at once, as one not sent.
    virtual void connectInBackgroundAndNotify();
    /// Upgrades to TLS; the server's new greeting follows. Without it nothing is ever sent.
    virtual void startTLS();
    /// Logs in by @p mechanism, "PLAIN" or "LOGIN", if the server offers it in its last list.
    virtual void authenticate(const QString &username, const QString &password,
                              const QByteArray &mechanism);
    virtual void sendMessage();
    /// Takes leave of the server if that is possible, and ends the session within 3 s.
    virtual void close();

    /// The server's last whole reply, without its last line end; empty when there is none.
    const QByteArray &lastResponse() const { return m_lastResponse; }
    /// Why the last thing failed that did, as one line for people: the server's reply where that
    /// is the reason.
    const QString &explanation() const { return m_explanation; }

private:
    using Call = void (CWSMTPDelegate::*)(const CWNotification &);
    enum class Stage {
        New,
        Connecting,
        Greeting,
        Hello,
        Ready, ///< Waits for an order.
        Upgrading,
        LoggingIn,
        CancellingLogin,
        Sending,
        Quitting,
        Answering, ///< The answer to an order is on its way to the delegate.
        Closing, ///< The end is.
        Over,
    };

    void onReached();
    void onSecured();
    void onHeard(const SmtpReply &heard);
    void onFailed(SmtpConnection::Failure failure, const QString &why);

    void play(Stage stage, const SmtpScript &script);
    void sayStep();
    void sayHello(QByteArrayView verb);
    void ended(const SmtpReply &reply, bool well);
    void introduced(const SmtpReply &reply, bool well);
    void loggedIn(const SmtpReply &reply, bool well);
    void unasked(const SmtpReply &reply);

    SmtpReply fitToShow(const SmtpReply &reply) const;
    bool isTooOpen() const { return m_needsTls && !m_connection.isEncrypted(); }
    void refuse(Call call, const QString &why);
    void answer(Call call);
    void closeAtOnce();
    void end(Call call);
    void tell(Call call);
    QString ofServer(const QString &what) const;
    void explain(const QString &sentence);

    QString m_name;
    MailRoom &m_room;
    SmtpConnection m_connection;
    CWSMTPDelegate *m_delegate = nullptr;
    std::optional<CWMessage> m_message;
    std::unique_ptr<SessionPlace> m_place; ///< Held while an order is under way.

    Stage m_stage = Stage::New;
    SmtpScript m_script;
    std::size_t m_step = 0;
    bool m_mayQuit = false; ///< Whether the server listens to us.
    bool m_saidEhlo = false; ///< Rather than HELO.
    SmtpCapabilities m_capabilities;
    std::optional<SmtpLogin> m_login; ///< What is to be blotted out of what the server says.
    bool m_needsTls = false; ///< It was asked for.
    QByteArray m_lastResponse;
    QString m_explanation;
};

} // namespace quillfen::mail
