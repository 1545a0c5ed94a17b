// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/SSMTP.h"

#include "mail/CWInternetAddress.h"
#include "mail/CWMessage.h"
#include "mail/PlainText.h"
#include "platform/Host.h"
#include "platform/Preferences.h"
#include "support/FormatText.h"
#include "support/Log.h"
#include "support/Settings.h"
#include "support/SettingsReading.h"

#include <QJsonValue>
#include <QStringDecoder>

#include <cstdlib>
#include <exception>
#include <typeinfo>
#include <utility>

#include <cxxabi.h>

namespace quillfen::mail {

using namespace Qt::StringLiterals;
using support::formatText;

namespace {

constexpr std::int16_t kUsualPort = 25;

/// The text under @p key; nothing when there is none or another type.
std::optional<QString> storedText(const platform::Preferences &preferences, QLatin1StringView key)
{
    const std::optional<QJsonValue> value = support::storedValue(preferences, key);
    return value && value->isString() ? std::optional(value->toString()) : std::nullopt;
}

/// The number under @p key; nothing when there is none or another type.
std::optional<std::int64_t> storedNumber(const platform::Preferences &preferences,
                                         QLatin1StringView key)
{
    const std::optional<QJsonValue> value = support::storedValue(preferences, key);
    return value && value->isDouble() ? std::optional(support::integerValue(*value)) : std::nullopt;
}

/// Whether @p text switches something off: "NO", "false", "0", "off" and the like.
bool saysNo(const QString &text)
{
    const QString word = text.trimmed().toLower();
    return word.startsWith(u'n') || word.startsWith(u'f') || word.startsWith(u'0')
        || word == "off"_L1;
}

QString className(const std::exception &exception)
{
    const char *mangled = typeid(exception).name();
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(mangled, nullptr, nullptr, &status), &std::free);
    return QString::fromUtf8(name ? name.get() : mangled);
}

CWMessage compose(const QString &recipient)
{
    CWMessage message;
    message.setSubject(u"Quillfen Notification"_s);
    message.setFrom(CWInternetAddress::initWithString(recipient));
    CWInternetAddress to = CWInternetAddress::initWithString(recipient);
    to.setType(CWInternetAddress::Type::To);
    message.addRecipient(to);
    message.setContentType("text/plain");
    message.setContentTransferEncoding(CWMessage::TransferEncoding::None);
    message.setCharset("us-ascii");
    return message;
}

} // namespace

SSMTP::SSMTP(support::Log &log, platform::Preferences &preferences, platform::Host &host,
             ClientMaker makeClient)
    : m_log(log),
      m_preferences(preferences),
      m_host(host),
      m_makeClient(std::move(makeClient))
{ }

SSMTP::~SSMTP() = default;

void SSMTP::sendMessage(const QString &message, const std::optional<QString> &oldAddress,
                        const std::optional<QString> &toRecipient, const QString &usingMessage)
{
    if (!toRecipient || toRecipient->isEmpty()
        || support::readString(m_preferences, support::kMailServer).isEmpty())
        return;
    m_log.LogMessage(formatText(u"Composing message to %@.", plainLine(*toRecipient)));
    m_preferences.synchronize();
    CWMessage mail = compose(*toRecipient);
    mail.setContent(body(message, oldAddress, usingMessage).toUtf8());

    const std::int16_t port = storedPort();
    const auto server = storedText(m_preferences, support::kMailServer.key);
    if (!server)
        return;
    releaseClient();
    _smtp = m_makeClient(*server, port);
    _smtp->setDelegate(this);
    _smtp->setMessage(mail);
    m_log.LogMessage(formatText(u"Connecting to the %@ server...", plainLine(*server)));
    _smtp->connectInBackgroundAndNotify();
}

QString SSMTP::body(const QString &message, const std::optional<QString> &oldAddress,
                    const QString &format)
{
    const std::optional<QString> machineName = m_host.machineName();
    if (!oldAddress) {
        return formatText(u"Quillfen has refreshed. Machine \"%@\" has IP address: %@", machineName,
                          message);
    }
    const QString body = formatText(format, machineName, *oldAddress, message);
    m_log.LogMessage(plainLine(body));
    return body;
}

std::int16_t SSMTP::storedPort() const
{
    const auto text = storedText(m_preferences, support::kPort.key);
    return text ? support::sixteenBits(*text) : kUsualPort;
}

bool SSMTP::useSSL() const
{
    m_preferences.synchronize();
    // A text that does not say no in so many words must not lay the password open.
    if (const auto text = storedText(m_preferences, support::kUseSSL.key); text && !saysNo(*text))
        return true;
    return support::readUserDefaultBoolean(m_preferences, support::kUseSSL);
}

void SSMTP::connectionEstablished(const CWNotification &)
{
    m_log.LogMessage(u"Connected."_s);
    guarded([this] {
        if (!useSSL() || !_smtp->connection().isSSL())
            return;
        m_log.LogMessage(u"Starting SSL."_s);
        _smtp->connection().startSSL();
    });
}

void SSMTP::serviceInitialized(const CWNotification &)
{
    if (useSSL()) {
        if (!_smtp->connection().isSSL()) {
            m_log.LogMessage(u"SSL handshaking..."_s);
            _smtp->startTLS();
            return;
        }
        m_log.LogMessage(u"SSL handshaking completed."_s);
    }
    const auto authentication = storedNumber(m_preferences, support::kAuthentication.key);
    if (!authentication)
        return;
    if (*authentication != 0)
        authenticate(*authentication == 1 ? "PLAIN" : "LOGIN");
    else
        _smtp->sendMessage();
}

void SSMTP::authenticate(const QByteArray &mechanism)
{
    const auto username = storedText(m_preferences, support::kUsername.key);
    if (!username)
        return;
    const auto password = storedText(m_preferences, support::kUserPassword.key);
    if (password)
        _smtp->authenticate(*username, *password, mechanism);
}

void SSMTP::authenticationCompleted(const CWNotification &)
{
    m_log.LogMessage(u"Authentication completed. Sending the message..."_s);
    guarded([this] { _smtp->sendMessage(); });
}

void SSMTP::authenticationFailed(const CWNotification &)
{
    m_log.LogMessage(u"Authentication failed. Closing the connection..."_s);
    guarded([this] { _smtp->close(); });
}

void SSMTP::messageSent(const CWNotification &)
{
    m_log.LogMessage(u"Message sent. Closing the connection."_s);
    _smtp->close();
}

void SSMTP::messageNotSent(const CWNotification &)
{
    const QByteArray &reply = _smtp->lastResponse();
    QStringDecoder decode(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decode(reply);
    if (!reply.isEmpty() && !decode.hasError())
        m_log.LogMessage(formatText(u"Message not sent: %@", plainLine(text)));
    _smtp->close();
}

void SSMTP::connectionLost(const CWNotification &notification)
{
    m_log.LogMessage(u"Connection lost."_s);
    connectionTerminated(notification);
}

void SSMTP::connectionTimedOut(const CWNotification &)
{
    m_log.LogMessage(u"Connection timed out."_s);
    releaseClient();
}

void SSMTP::connectionTerminated(const CWNotification &)
{
    m_log.LogMessage(u"Connection terminated."_s);
    releaseClient();
}

/// The calls to the client that may fail by an exception: it is logged, and the session goes on.
void SSMTP::guarded(const std::function<void()> &calls)
{
    try {
        calls();
    } catch (const std::exception &exception) {
        m_log.LogMessage(formatText(u"Error (%@): %@", className(exception),
                                    plainLine(QString::fromUtf8(exception.what()))));
    }
}

/// It may be calling us just now, so it goes when that call is over.
void SSMTP::releaseClient()
{
    if (!_smtp)
        return;
    _smtp->setDelegate(nullptr);
    _smtp.release()->deleteLater();
}

} // namespace quillfen::mail
