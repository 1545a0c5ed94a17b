// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/SmtpConnection.h"

#include "mail/CWInternetAddress.h"
#include "mail/TlsPolicy.h"
#include "platform/NameLookup.h"

#include <QMetaObject>
#include <QSslConfiguration>
#include <QSslError>

#include <exception>
#include <optional>

namespace quillfen::mail {

using namespace Qt::StringLiterals;

namespace {

/// What stands for the server on the wire and in certificates: a name in ASCII, or an address.
QByteArray asciiHost(const QString &host)
{
    QString bare = host.trimmed();
    if (bare.startsWith(u'[') && bare.endsWith(u']'))
        bare = bare.sliced(1, bare.size() - 2);
    const QHostAddress address(bare);
    return address.isNull() ? asciiHostName(bare) : address.toString().toLatin1();
}

/// What a part that we asked says of its own failure.
QString spelled(const std::exception_ptr &failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception &error) {
        return QString::fromUtf8(error.what());
    }
}

} // namespace

SmtpConnection::SmtpConnection(const QString &host, std::uint16_t port, Opening opening,
                               platform::NameLookup &names, const TlsPolicy &tls)
    : m_host(asciiHost(host)),
      m_port(port),
      m_opening(opening),
      m_names(names),
      m_tls(tls),
      m_turns([this](const std::exception_ptr &failure) {
          fail(Failure::Lost, u"cannot be reached: "_s + spelled(failure));
      })
{
    m_deadline.setSingleShot(true);
    m_attempt.setSingleShot(true);
    connect(&m_deadline, &QTimer::timeout, this, [this] {
        fail(Failure::TimedOut,
             m_state == State::Preparing ? u"cannot be trusted: certificates are still being read"_s
                                         : u"did not answer in time"_s);
    });
    connect(&m_attempt, &QTimer::timeout, this, [this] { attemptFailed(u"does not answer"_s); });
    connect(&m_dial, &Dial::connected, this, &SmtpConnection::onConnected);
    connect(&m_dial, &Dial::failed, this,
            [this](const QString &why) { attemptFailed(u"cannot be reached: "_s + why); });
    connect(&m_socket, &QSslSocket::encrypted, this, &SmtpConnection::onEncrypted);
    connect(&m_socket, &QSslSocket::readyRead, this, &SmtpConnection::listen);
    connect(&m_socket, &QSslSocket::errorOccurred, this, &SmtpConnection::onError);
}

SmtpConnection::~SmtpConnection()
{
    m_socket.disconnect(this); // its destructor would still tell us of its end
}

void SmtpConnection::open(milliseconds within)
{
    m_state = State::Searching;
    allow(within);
    m_turns.take(findAddresses());
}

platform::Task<> SmtpConnection::findAddresses()
{
    m_trouble = u"is not the name of a server"_s;
    if (!m_host.isEmpty()) {
        const QString host = QString::fromLatin1(m_host);
        const platform::NameAnswer answer = co_await m_names.addresses(host);
        m_addresses = answer.addresses;
        m_trouble = u"has no address: "_s + answer.trouble;
    }
    // What follows may end us, and a turn must not be ended by itself.
    QMetaObject::invokeMethod(this, &SmtpConnection::tryNextAddress, Qt::QueuedConnection);
}

void SmtpConnection::tryNextAddress()
{
    if (m_state == State::Over)
        return;
    if (m_addresses.isEmpty()) {
        fail(Failure::Lost, m_trouble);
        return;
    }
    m_state = State::Connecting;
    if (m_addresses.size() > 1) // the last one has all the time that is left
        m_attempt.start(m_deadline.remainingTimeAsDuration() / m_addresses.size());
    m_dial.start(m_addresses.takeFirst(), m_port);
}

void SmtpConnection::attemptFailed(const QString &why)
{
    m_state = State::Searching;
    m_trouble = why;
    m_attempt.stop();
    m_dial.giveUp();
    QMetaObject::invokeMethod(this, &SmtpConnection::tryNextAddress, Qt::QueuedConnection);
}

void SmtpConnection::onConnected(qintptr descriptor)
{
    m_attempt.stop();
    // It refuses what is no open descriptor, and then there is none to close.
    if (!m_socket.setSocketDescriptor(descriptor)) {
        attemptFailed(u"cannot be reached: "_s + m_socket.errorString());
        return;
    }
    m_state = State::Clear;
    Q_EMIT reached();
}

void SmtpConnection::startSSL()
{
    if (m_state != State::Clear || spokeAhead())
        return;
    m_state = State::Preparing;
    m_turns.take(startHandshake());
}

platform::Task<> SmtpConnection::startHandshake()
{
    const QSslConfiguration configuration = co_await m_tls.configuration();
    if (m_state != State::Preparing)
        co_return;
    m_state = State::Handshaking;
    m_socket.setSslConfiguration(configuration);
    m_socket.setPeerVerifyName(QString::fromLatin1(m_host));
    m_socket.startClientEncryption();
}

/// Whether the server said something that nobody heard; that fails the connection. The socket
/// itself would keep such bytes and hand them out as if they had come encrypted.
bool SmtpConnection::spokeAhead()
{
    const bool spoke = !m_reader.atRest() || m_socket.bytesAvailable() > 0;
    if (spoke)
        fail(Failure::Lost, u"sent something ahead of the TLS handshake"_s);
    return spoke;
}

void SmtpConnection::onEncrypted()
{
    if (m_state != State::Handshaking)
        return;
    if (!TlsPolicy::namesServer(m_socket.peerCertificate(), QString::fromLatin1(m_host))) {
        fail(Failure::Lost, u"has a certificate of another name"_s);
        return;
    }
    m_state = State::Encrypted;
    // Later, as Qt has not read yet what came right behind the handshake. Nobody may speak there
    // whom we asked nothing: with some servers, commands that a third party slipped in ahead of TLS
    // are answered now, and each answer would be taken for that to a command of ours.
    const auto go = [this] {
        if (m_state == State::Encrypted)
            Q_EMIT secured();
    };
    QMetaObject::invokeMethod(this, go, Qt::QueuedConnection);
}

void SmtpConnection::onError()
{
    switch (m_state) {
    case State::Clear:
    case State::Preparing:
    case State::Encrypted:
        listen(); // its last words
        fail(Failure::Lost, u"went away"_s);
        return;
    case State::Handshaking:
        fail(Failure::Lost, handshakeTrouble());
        return;
    case State::Closed:
    case State::Searching:
    case State::Connecting:
    case State::Over:
        return;
    }
}

QString SmtpConnection::handshakeTrouble() const
{
    QStringList reasons;
    for (const QSslError &error : m_socket.sslHandshakeErrors())
        reasons.append(error.errorString());
    return reasons.isEmpty() ? u"broke the TLS handshake off: "_s + m_socket.errorString()
                             : u"cannot be trusted: "_s + reasons.join("; "_L1);
}

void SmtpConnection::listen()
{
    if (m_state == State::Preparing)
        spokeAhead();
    if (m_state != State::Clear && m_state != State::Encrypted)
        return;
    m_reader.feed(m_socket.readAll());
    while (m_state == State::Clear || m_state == State::Encrypted) {
        const std::optional<SmtpReply> reply = m_reader.take();
        if (!reply)
            break;
        Q_EMIT heard(*reply);
    }
    if (!m_reader.trouble().isEmpty())
        fail(Failure::Lost, m_reader.trouble());
}

void SmtpConnection::say(const QByteArray &bytes)
{
    if (m_state != State::Clear && m_state != State::Encrypted)
        return;
    if (!m_reader.atRest()) {
        fail(Failure::Lost, u"spoke out of turn"_s);
        return;
    }
    m_socket.write(bytes);
}

void SmtpConnection::cut()
{
    m_state = State::Over;
    m_deadline.stop();
    m_attempt.stop();
    m_socket.disconnect(this);
    m_dial.giveUp();
    m_socket.disconnectFromHost();
}

void SmtpConnection::fail(Failure failure, const QString &why)
{
    if (m_state == State::Over)
        return;
    cut();
    m_socket.abort();
    // Queued, because this may be a call to us by one whom the signal would reach again.
    QMetaObject::invokeMethod(
        this, [this, failure, why] { Q_EMIT failed(failure, why); }, Qt::QueuedConnection);
}

} // namespace quillfen::mail
