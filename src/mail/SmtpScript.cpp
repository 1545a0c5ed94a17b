// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/SmtpScript.h"

#include "mail/CWInternetAddress.h"
#include "mail/CWMessage.h"
#include "mail/PlainText.h"

#include <algorithm>
#include <utility>

namespace quillfen::mail {

namespace {

constexpr qsizetype kMostCommandBytes = 512; // RFC 5321 section 4.5.3.1.4, with the line end

QByteArray plainSecret(const SmtpLogin &login)
{
    return ('\0' + login.userName + '\0' + login.password).toBase64();
}

SmtpScript plainScript(const SmtpLogin &login)
{
    const QByteArray secret = plainSecret(login);
    const SmtpStep answer{.say = secret + "\r\n", .hear = {235}};
    const QByteArray atOnce = "AUTH PLAIN " + secret + "\r\n";
    if (atOnce.size() > kMostCommandBytes)
        return {{.say = "AUTH PLAIN\r\n", .hear = {334}}, answer};
    // Some servers overlook what comes with the command, and ask.
    return {{.say = atOnce, .hear = {334}, .enough = 235}, answer};
}

/// @p reply with other texts.
SmtpReply withTexts(const SmtpReply &reply, const QByteArrayList &texts)
{
    SmtpReply other{.code = reply.code, .texts = texts, .bytes = {}};
    const QByteArray code = QByteArray::number(reply.code);
    for (qsizetype i = 0; i < texts.size(); ++i) {
        const bool last = i + 1 == texts.size();
        other.bytes += code + (last ? ' ' : '-') + texts.at(i) + (last ? "" : "\r\n");
    }
    return other;
}

/// Whether @p octet may be a part of a word.
bool isOfWord(char octet)
{
    const char small = static_cast<char>(octet | 0x20);
    return (octet & 0x80) != 0 || (octet >= '0' && octet <= '9') || (small >= 'a' && small <= 'z');
}

QByteArray withoutName(QByteArray text, const QByteArray &name)
{
    if (name.isEmpty())
        return text;
    for (qsizetype at = text.indexOf(name); at >= 0; at = text.indexOf(name, at + 1)) {
        const qsizetype end = at + name.size();
        const bool begins = at == 0 || !isOfWord(text[at - 1]) || !isOfWord(name.front());
        const bool ends = end == text.size() || !isOfWord(text[end]) || !isOfWord(name.back());
        if (begins && ends)
            text.replace(at, name.size(), "*");
    }
    return text;
}

/// Whether @p secret can be read in @p text, as it came or as it is shown.
bool holds(const QByteArray &text, const QByteArray &secret)
{
    if (secret.isEmpty())
        return false;
    const QString shown = plainLine(QString::fromUtf8(secret));
    return text.toLower().contains(secret.toLower())
        || (!shown.isEmpty()
            && plainLine(QString::fromUtf8(text)).contains(shown, Qt::CaseInsensitive));
}

} // namespace

SmtpScript greetingScript()
{
    return {{.say = {}, .hear = {220}}};
}

SmtpScript helloScript(QByteArrayView verb, const QByteArray &ownName)
{
    return {{.say = verb.toByteArray() + ' ' + ownName + "\r\n", .hear = {250}}};
}

SmtpScript startTlsScript()
{
    return {{.say = "STARTTLS\r\n", .hear = {220}}};
}

SmtpScript quitScript()
{
    return {{.say = "QUIT\r\n", .hear = {221}, .wait = SmtpWait::Farewell}};
}

SmtpScript envelopeScript(const CWMessage &message, const QByteArray &data,
                          const SmtpCapabilities &capabilities)
{
    QByteArray sender = "MAIL FROM:<" + message.from().wire() + '>';
    if (capabilities.offers("SIZE"))
        sender += " SIZE=" + QByteArray::number(data.size());
    if (message.hasEightBitContent() && capabilities.offers("8BITMIME"))
        sender += " BODY=8BITMIME";

    SmtpScript script{{.say = sender + "\r\n", .hear = {250}}};
    for (const CWInternetAddress &recipient : message.recipients()) {
        script.push_back(
            {.say = "RCPT TO:<" + recipient.wire() + ">\r\n", .hear = {250, 251, 252}});
    }
    script.push_back({.say = "DATA\r\n", .hear = {354}});
    script.push_back({.say = dotStuffed(data), .hear = {250}, .wait = SmtpWait::Delivery});
    return script;
}

std::optional<SmtpScript> loginScript(QByteArrayView mechanism, const SmtpLogin &login)
{
    if (mechanism == "PLAIN")
        return plainScript(login);
    if (mechanism != "LOGIN")
        return {};
    return SmtpScript{{.say = "AUTH LOGIN\r\n", .hear = {334}},
                      {.say = login.userName.toBase64() + "\r\n", .hear = {334}},
                      {.say = login.password.toBase64() + "\r\n", .hear = {235}}};
}

QByteArrayList passwordForms(const SmtpLogin &login)
{
    return {plainSecret(login), login.password.toBase64(), login.password};
}

QByteArrayList userNameForms(const SmtpLogin &login)
{
    return {login.userName.toBase64(), login.userName};
}

SmtpReply withoutSecrets(SmtpReply reply, const QByteArrayList &secrets)
{
    const QByteArray all = reply.texts.join('\n');
    const bool tells = std::any_of(secrets.begin(), secrets.end(),
                                   [&all](const QByteArray &secret) { return holds(all, secret); });
    return tells ? withTexts(reply, {"(not shown)"}) : std::move(reply);
}

SmtpReply withoutNames(SmtpReply reply, const QByteArrayList &names)
{
    QByteArrayList texts = reply.texts;
    for (const QByteArray &name : names) {
        for (QByteArray &text : texts)
            text = withoutName(text, name);
    }
    return texts == reply.texts ? std::move(reply) : withTexts(reply, texts);
}

QByteArray ownSmtpName(const QString &hostName, const QHostAddress &own)
{
    const QByteArray name = asciiHostName(hostName).toLower();
    if (name.contains('.') && !name.contains('_') && !name.startsWith("localhost.")
        && QHostAddress(QString::fromLatin1(name)).isNull())
        return name;
    bool isIPv4 = false;
    const QHostAddress inIPv4(own.toIPv4Address(&isIPv4)); // the mapped form in IPv6 too
    if (isIPv4)
        return '[' + inIPv4.toString().toLatin1() + ']';
    QHostAddress inIPv6 = own;
    inIPv6.setScopeId({});
    return "[IPv6:" + inIPv6.toString().toLatin1() + ']';
}

QByteArray dotStuffed(const QByteArray &data)
{
    QByteArray stuffed = data;
    stuffed.replace("\r\n.", "\r\n..");
    if (stuffed.startsWith('.'))
        stuffed.prepend('.');
    if (!stuffed.endsWith("\r\n"))
        stuffed += "\r\n";
    return stuffed + ".\r\n";
}

} // namespace quillfen::mail
