// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mail/Dial.h"
#include "mail/SmtpReply.h"
#include "platform/Task.h"
#include "platform/Turns.h"

#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QSslSocket>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <cstdint>

namespace quillfen::platform {
class NameLookup;
}

namespace quillfen::mail {

class TlsPolicy;

/// The connection to one mail server: finds it, secures it, sends commands and hears replies.
///
/// Each stage has one deadline, which nothing that the server sends puts off. The connection
/// fails at most once; after that, and after cut(), nothing comes any more. All signals come from
/// the event loop, one reply at a time.
class SmtpConnection : public QObject {
    Q_OBJECT
public:
    enum class Failure { Lost, TimedOut };
    /// Whether TLS begins with the first byte, or can be upgraded to.
    enum class Opening { Clear, Tls };
    using milliseconds = std::chrono::milliseconds;

    /// For the server @p host, a name (an international one too) or an address, in brackets or
    /// not. Does nothing yet. Both references must outlive this.
    SmtpConnection(const QString &host, std::uint16_t port, Opening opening,
                   platform::NameLookup &names, const TlsPolicy &tls);
    ~SmtpConnection() override;

    /// Whether this is an SSL connection: one from its first byte on, or one that is encrypted.
    bool isSSL() const { return m_opening == Opening::Tls || m_socket.isEncrypted(); }
    bool isEncrypted() const { return m_socket.isEncrypted(); }
    /// Starts the SSL handshake as soon as it is known whom to trust, under the deadline of the
    /// stage; secured() follows. Where one has started before, does nothing. A byte that the server
    /// sent ahead of it fails the connection: whoever put it there would be heard as if it had come
    /// encrypted.
    void startSSL();

    /// Looks the server up and connects to the first of its addresses that answers.
    void open(milliseconds within);
    /// Starts a stage: it has to end within that time, by pause() or the next stage.
    void allow(milliseconds within) { m_deadline.start(within); }
    void pause() { m_deadline.stop(); }
    /// Sends @p bytes. What the server has said unasked before fails the connection instead.
    void say(const QByteArray &bytes);
    /// Ends it at once. What was said is still delivered if the system can.
    void cut();

    QHostAddress localAddress() const { return m_socket.localAddress(); }

Q_SIGNALS:
    void reached();
    void secured();
    void heard(const quillfen::mail::SmtpReply &reply);
    /// @p why is the end of a sentence that starts with the server's name.
    void failed(quillfen::mail::SmtpConnection::Failure failure, const QString &why);

private:
    platform::Task<> findAddresses();
    platform::Task<> startHandshake();
    void tryNextAddress();
    void attemptFailed(const QString &why);
    void onConnected(qintptr descriptor);
    void onEncrypted();
    void onError();
    QString handshakeTrouble() const;
    bool spokeAhead();
    void listen();
    void fail(Failure failure, const QString &why);

    QByteArray m_host; ///< In ASCII, without brackets; empty where the given one is no host name.
    std::uint16_t m_port;
    Opening m_opening;
    platform::NameLookup &m_names;
    const TlsPolicy &m_tls;

    enum class State {
        Closed,
        Searching,
        Connecting,
        Clear,
        Preparing, ///< Wants TLS, and does not know yet whom to trust.
        Handshaking,
        Encrypted,
        Over,
    };
    State m_state = State::Closed;
    QStringList m_addresses; ///< Those not tried yet.
    QString m_trouble; ///< What came of the last address tried.
    QTimer m_deadline; ///< The stage's.
    QTimer m_attempt; ///< One address's, so that a dead one leaves time for the next.
    SmtpReplyReader m_reader;
    Dial m_dial;
    QSslSocket m_socket;
    platform::Turns m_turns; ///< The lookup; later the start of TLS. Destroyed first.
};

} // namespace quillfen::mail
