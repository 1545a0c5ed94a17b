// SPDX-License-Identifier: GPL-3.0-or-later
//
// What the delegate may ask for, and what is refused before it comes to the wire. CWSMTP.cpp has
// the session itself.
#include "mail/CWSMTP.h"

#include "mail/CWSMTPDelegate.h"
#include "mail/MailRoom.h"
#include "mail/SessionGate.h"

#include <QDateTime>
#include <QMetaObject>

#include <cassert>
#include <utility>

namespace quillfen::mail {

using namespace Qt::StringLiterals;

void CWSMTP::connectInBackgroundAndNotify()
{
    assert(m_stage == Stage::New && "a client has one session");
    if (const QString refusal = m_message ? m_message->refusal() : QString(); !refusal.isEmpty()) {
        refuse(&CWSMTPDelegate::messageNotSent, refusal);
        return;
    }
    m_stage = Stage::Connecting;
    m_place = std::make_unique<SessionPlace>(m_room.gate);
    connect(m_place.get(), &SessionPlace::entered, this, [this] {
        if (m_stage == Stage::Connecting)
            m_connection.open(m_room.patience.connect);
    });
}

void CWSMTP::startTLS()
{
    m_needsTls = true;
    if (m_connection.isEncrypted())
        refuse(&CWSMTPDelegate::messageNotSent, ofServer(u"is connected over TLS already"_s));
    else if (!m_capabilities.offers("STARTTLS"))
        refuse(&CWSMTPDelegate::messageNotSent,
               ofServer(u"offers no STARTTLS; nothing was sent"_s));
    else
        play(Stage::Upgrading, startTlsScript());
}

void CWSMTP::authenticate(const QString &username, const QString &password,
                          const QByteArray &mechanism)
{
    SmtpLogin login{.userName = username.toUtf8(), .password = password.toUtf8()};
    const std::optional<SmtpScript> script = loginScript(mechanism, login);
    if (!script || !m_capabilities.offersMechanism(mechanism)) {
        refuse(&CWSMTPDelegate::authenticationFailed,
               ofServer(u"does not offer to log in by "_s + QString::fromUtf8(mechanism)));
    } else if (isTooOpen()) {
        refuse(&CWSMTPDelegate::authenticationFailed, ofServer(u"is not connected over TLS"_s));
    } else if (login.userName.contains('\0') || login.password.contains('\0')) {
        refuse(&CWSMTPDelegate::authenticationFailed,
               u"A user name or password with a zero byte cannot be sent."_s);
    } else {
        m_login = std::move(login);
        play(Stage::LoggingIn, *script);
    }
}

void CWSMTP::sendMessage()
{
    const QString refusal = m_message ? m_message->refusal() : u"There is no message to send."_s;
    if (!refusal.isEmpty()) {
        refuse(&CWSMTPDelegate::messageNotSent, refusal);
        return;
    }
    if (isTooOpen()) {
        refuse(&CWSMTPDelegate::messageNotSent, ofServer(u"is not connected over TLS"_s));
        return;
    }
    const QByteArray data = m_message->wire(QDateTime::currentDateTime());
    const std::optional<std::uint64_t> limit = m_capabilities.sizeLimit();
    if (limit && static_cast<std::uint64_t>(data.size()) > *limit) {
        const QString most = QString::number(*limit);
        refuse(&CWSMTPDelegate::messageNotSent,
               ofServer(u"takes no message of more than %1 octets"_s.arg(most)));
        return;
    }
    play(Stage::Sending, envelopeScript(*m_message, data, m_capabilities));
}

void CWSMTP::close()
{
    if (m_stage == Stage::Over || m_stage == Stage::Closing || m_stage == Stage::Quitting)
        return;
    if (m_stage == Stage::Ready && m_mayQuit)
        play(Stage::Quitting, quitScript());
    else
        closeAtOnce();
}

/// Answers an order with @p call, because it cannot be carried out.
void CWSMTP::refuse(Call call, const QString &why)
{
    explain(why);
    m_stage = Stage::Answering;
    const auto answerNow = [this, call] {
        if (m_stage == Stage::Answering)
            answer(call);
    };
    QMetaObject::invokeMethod(this, answerNow, Qt::QueuedConnection);
}

/// Ends the session without a word; the delegate hears of it from the run loop.
void CWSMTP::closeAtOnce()
{
    m_stage = Stage::Closing;
    m_script.clear();
    m_connection.cut();
    QMetaObject::invokeMethod(
        this, [this] { end(&CWSMTPDelegate::connectionTerminated); }, Qt::QueuedConnection);
}

} // namespace quillfen::mail
