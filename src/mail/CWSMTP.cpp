// SPDX-License-Identifier: GPL-3.0-or-later
//
// A session is a row of scripts (SmtpScript.h): greeting, EHLO, then what the delegate orders, and
// QUIT. play() starts one, onHeard() steps through it, and ended() decides by the stage what its
// end means: which of the delegate's calls it is, or which script follows.
#include "mail/CWSMTP.h"

#include "mail/CWSMTPDelegate.h"
#include "mail/MailRoom.h"
#include "mail/PlainText.h"
#include "mail/SessionGate.h"
#include "support/Console.h"

#include <algorithm>

namespace quillfen::mail {

using namespace Qt::StringLiterals;

namespace {

constexpr int kServiceCloses = 421; // RFC 5321 section 3.8: whenever the server must shut down

SmtpConnection::Opening usualOpening(std::int16_t port)
{
    return static_cast<std::uint16_t>(port) == CWSMTP::kTlsPort ? SmtpConnection::Opening::Tls
                                                                : SmtpConnection::Opening::Clear;
}

} // namespace

CWSMTP::CWSMTP(const QString &name, std::int16_t port, MailRoom &room)
    : CWSMTP(name, port, usualOpening(port), room)
{ }

CWSMTP::CWSMTP(const QString &name, std::int16_t port, SmtpConnection::Opening opening,
               MailRoom &room)
    : m_name(name),
      m_room(room),
      m_connection(name, static_cast<std::uint16_t>(port), opening, room.names, room.tls)
{
    connect(&m_connection, &SmtpConnection::reached, this, &CWSMTP::onReached);
    connect(&m_connection, &SmtpConnection::secured, this, &CWSMTP::onSecured);
    connect(&m_connection, &SmtpConnection::heard, this, &CWSMTP::onHeard);
    connect(&m_connection, &SmtpConnection::failed, this, &CWSMTP::onFailed);
}

CWSMTP::~CWSMTP() = default;

void CWSMTP::onReached()
{
    play(Stage::Greeting, greetingScript());
    tell(&CWSMTPDelegate::connectionEstablished);
    // Such a server says nothing before the handshake, so there is nothing else to wait for.
    if (m_stage == Stage::Greeting && m_connection.isSSL())
        m_connection.startSSL();
}

void CWSMTP::onSecured()
{
    if (m_stage == Stage::Upgrading)
        sayHello("EHLO");
}

void CWSMTP::play(Stage stage, const SmtpScript &script)
{
    m_stage = stage;
    m_script = script;
    m_step = 0;
    sayStep();
}

void CWSMTP::sayStep()
{
    const SmtpStep &step = m_script.at(m_step);
    const SmtpPatience &patience = m_room.patience;
    switch (step.wait) {
    case SmtpWait::Reply:
        m_connection.allow(patience.reply);
        break;
    case SmtpWait::Delivery:
        m_connection.allow(patience.delivery);
        break;
    case SmtpWait::Farewell:
        m_connection.allow(patience.farewell);
        break;
    }
    if (!step.say.isEmpty())
        m_connection.say(step.say);
}

void CWSMTP::sayHello(QByteArrayView verb)
{
    // What the server said in clear counts no more once there is TLS (RFC 3207 section 4.2).
    m_capabilities = {};
    m_saidEhlo = verb == "EHLO";
    play(Stage::Hello,
         helloScript(verb, ownSmtpName(m_room.hostName, m_connection.localAddress())));
}

void CWSMTP::onHeard(const SmtpReply &heard)
{
    if (m_stage == Stage::Over)
        return;
    const SmtpReply reply = fitToShow(heard);
    m_lastResponse = reply.bytes;
    m_mayQuit = reply.code != kServiceCloses;
    if (m_script.empty()) {
        unasked(reply);
        return;
    }
    const SmtpStep &step = m_script.at(m_step);
    const bool wanted =
        std::find(step.hear.begin(), step.hear.end(), reply.code) != step.hear.end();
    if (wanted && m_step + 1 < m_script.size()) {
        ++m_step;
        sayStep();
        return;
    }
    const bool well = wanted || reply.code == step.enough;
    m_script.clear();
    if (!well)
        m_explanation = plainLine(QString::fromUtf8(reply.bytes));
    ended(reply, well);
}

void CWSMTP::ended(const SmtpReply &reply, bool well)
{
    switch (m_stage) {
    case Stage::Greeting:
        well ? sayHello("EHLO") : answer(&CWSMTPDelegate::messageNotSent);
        return;
    case Stage::Hello:
        introduced(reply, well);
        return;
    case Stage::Upgrading: // the deadline of this stage goes on over the handshake
        well ? m_connection.startSSL() : answer(&CWSMTPDelegate::messageNotSent);
        return;
    case Stage::LoggingIn:
    case Stage::CancellingLogin:
        loggedIn(reply, well);
        return;
    case Stage::Sending:
        answer(well ? &CWSMTPDelegate::messageSent : &CWSMTPDelegate::messageNotSent);
        return;
    case Stage::Quitting:
        end(&CWSMTPDelegate::connectionTerminated);
        return;
    case Stage::New:
    case Stage::Connecting:
    case Stage::Ready:
    case Stage::Answering:
    case Stage::Closing:
    case Stage::Over:
        return;
    }
}

/// @p reply without what nobody is to read: the password, and the user's name where the server
/// speaks of nothing else. (Later the name is often a recipient's too.)
SmtpReply CWSMTP::fitToShow(const SmtpReply &reply) const
{
    if (!m_login)
        return reply;
    const SmtpReply shown = withoutSecrets(reply, passwordForms(*m_login));
    const bool loggingIn = m_stage == Stage::LoggingIn || m_stage == Stage::CancellingLogin;
    return loggingIn ? withoutNames(shown, userNameForms(*m_login)) : shown;
}

void CWSMTP::introduced(const SmtpReply &reply, bool well)
{
    const bool knowsNoEhlo = reply.code == 500 || reply.code == 502;
    if (m_saidEhlo && knowsNoEhlo) {
        sayHello("HELO");
        return;
    }
    if (m_saidEhlo && well)
        m_capabilities = SmtpCapabilities(reply);
    answer(well ? &CWSMTPDelegate::serviceInitialized : &CWSMTPDelegate::messageNotSent);
}

void CWSMTP::loggedIn(const SmtpReply &reply, bool well)
{
    if (reply.code == 334 && m_stage == Stage::LoggingIn) { // it asks for more than there is
        play(Stage::CancellingLogin, {{.say = "*\r\n", .hear = {}}});
        return;
    }
    if (!well) {
        const QString soFar =
            reply.code < 500 ? u"cannot log anybody in now: "_s : u"refused the login: "_s;
        m_room.console.write(ofServer(soFar + m_explanation));
    }
    answer(well ? &CWSMTPDelegate::authenticationCompleted : &CWSMTPDelegate::authenticationFailed);
}

void CWSMTP::unasked(const SmtpReply &reply)
{
    if (!m_mayQuit) {
        explain(ofServer(u"closed the session: "_s + QString::fromUtf8(reply.bytes)));
        end(&CWSMTPDelegate::connectionTerminated);
        return;
    }
    explain(ofServer(u"spoke out of turn"_s));
    end(&CWSMTPDelegate::connectionLost);
}

void CWSMTP::onFailed(SmtpConnection::Failure failure, const QString &why)
{
    if (m_stage == Stage::Closing || m_stage == Stage::Over)
        return;
    if (m_stage == Stage::Quitting) {
        end(&CWSMTPDelegate::connectionTerminated);
        return;
    }
    const bool saidAll = m_stage == Stage::Sending && m_step + 1 == m_script.size();
    explain(ofServer(saidAll ? why + u"; the message may have arrived or not"_s : why));
    end(failure == SmtpConnection::Failure::TimedOut ? &CWSMTPDelegate::connectionTimedOut
                                                     : &CWSMTPDelegate::connectionLost);
}

/// Answers an order with @p call and waits for the next one, if the server does too.
void CWSMTP::answer(Call call)
{
    m_stage = Stage::Ready;
    m_connection.pause();
    tell(call);
    if (m_stage != Stage::Ready)
        return;
    if (!m_mayQuit) {
        end(&CWSMTPDelegate::connectionTerminated);
        return;
    }
    m_place.reset();
    m_connection.allow(m_room.patience.rest);
}

void CWSMTP::end(Call call)
{
    m_stage = Stage::Over;
    m_place.reset();
    m_login.reset();
    m_script.clear();
    m_connection.cut();
    tell(call);
}

void CWSMTP::tell(Call call)
{
    if (m_delegate)
        (m_delegate->*call)(CWNotification{*this});
}

QString CWSMTP::ofServer(const QString &what) const
{
    return u"The mail server %1 "_s.arg(m_name) + what + u'.';
}

void CWSMTP::explain(const QString &sentence)
{
    m_explanation = plainLine(sentence);
    m_room.console.write(m_explanation);
}

} // namespace quillfen::mail
