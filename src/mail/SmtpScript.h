// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mail/SmtpCapabilities.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QHostAddress>
#include <QString>

#include <optional>
#include <vector>

namespace quillfen::mail {

class CWMessage;

/// How long a step may take; which time that is says SmtpPatience.
enum class SmtpWait { Reply, Delivery, Farewell };

/// One step of a dialogue: what we say, and what we want to hear.
struct SmtpStep {
    QByteArray say; ///< With its line end. Empty: we only listen.
    std::vector<int> hear; ///< With one of these the next step follows.
    int enough = 0; ///< This one ends the whole script well; 0: none does.
    SmtpWait wait = SmtpWait::Reply;
};

/// A dialogue. The last step's wanted reply ends it well, any other reply at any step badly.
using SmtpScript = std::vector<SmtpStep>;

/// Waits for the server's greeting.
SmtpScript greetingScript();
/// Tells who we are: with @p verb "EHLO", or "HELO" for a server that knows only that.
SmtpScript helloScript(QByteArrayView verb, const QByteArray &ownName);
SmtpScript startTlsScript();
SmtpScript quitScript();
/// Hands @p data, a whole mail that CWMessage::wire() made, over with its envelope.
SmtpScript envelopeScript(const CWMessage &message, const QByteArray &data,
                          const SmtpCapabilities &capabilities);

/// Who logs in, in octets as they are sent.
struct SmtpLogin {
    QByteArray userName;
    QByteArray password;
};
/// Logs in. Nothing when @p mechanism is neither PLAIN nor LOGIN.
/// @source RFC 4954 section 4, RFC 4616 (PLAIN). LOGIN is not standardised: two prompts, whose
///         texts say nothing, and two answers.
std::optional<SmtpScript> loginScript(QByteArrayView mechanism, const SmtpLogin &login);
/// The texts in which a server might repeat the password of @p login to us.
QByteArrayList passwordForms(const SmtpLogin &login);
/// The same for the user's name.
QByteArrayList userNameForms(const SmtpLogin &login);
/// @p reply without its texts where one of @p secrets is in them, in whatever letter case and with
/// whatever between its letters that plainLine() leaves out. Had it only lost the secrets, the gaps
/// would tell the letters of a short one.
SmtpReply withoutSecrets(SmtpReply reply, const QByteArrayList &secrets);
/// @p reply with each of @p names blotted out that stands for itself, not amid a word.
SmtpReply withoutNames(SmtpReply reply, const QByteArrayList &names);

/// How this machine calls itself to a server: by @p hostName where that is a full host name, else
/// by the address @p own of its end of the connection.
/// @source RFC 5321 sections 4.1.1.1 and 4.1.3 (address literals).
QByteArray ownSmtpName(const QString &hostName, const QHostAddress &own);

/// @p data with each dot that begins a line doubled, and the lone dot at its end.
/// @source RFC 5321 section 4.5.2.
QByteArray dotStuffed(const QByteArray &data);

} // namespace quillfen::mail
