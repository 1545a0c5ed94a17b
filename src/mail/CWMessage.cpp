// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/CWMessage.h"

#include "mail/MailHeader.h"
#include "mail/PlainText.h"

#include <algorithm>

namespace quillfen::mail {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kMostLineOctets = 998; // RFC 5322 section 2.1.1, without the line end

bool isContinuation(char octet)
{
    return (static_cast<unsigned char>(octet) & 0xC0) == 0x80;
}

/// How much of @p line fits into one line, if possible without cutting a UTF-8 character.
qsizetype fittingOctets(QByteArrayView line)
{
    if (line.size() <= kMostLineOctets)
        return line.size();
    qsizetype end = kMostLineOctets;
    while (end > kMostLineOctets - 3 && isContinuation(line[end]))
        --end;
    return isContinuation(line[end]) ? kMostLineOctets : end;
}

/// @p content in lines that end with CRLF, none of them too long.
QByteArray inLines(QByteArray content)
{
    content.replace('\0', "").replace("\r\n", "\n").replace('\r', '\n');
    if (content.endsWith('\n'))
        content.chop(1);
    QByteArray lines;
    for (const QByteArray &line : content.split('\n')) {
        QByteArrayView left = line;
        do {
            const qsizetype size = fittingOctets(left);
            lines += left.first(size);
            lines += "\r\n";
            left = left.sliced(size);
        } while (!left.isEmpty());
    }
    return lines;
}

QString refusalOf(const CWInternetAddress &address, const QString &whose)
{
    return u"The mail cannot be sent: the address of its %1 %2."_s.arg(whose, address.refusal());
}

} // namespace

QString CWMessage::refusal() const
{
    if (!m_from.valid())
        return refusalOf(m_from, u"sender"_s);
    for (const CWInternetAddress &recipient : m_recipients) {
        if (!recipient.valid())
            return refusalOf(recipient, u"recipient"_s);
    }
    if (m_recipients.isEmpty())
        return u"The mail cannot be sent: it has no recipient."_s;
    for (const QString &text :
         {m_subject, QString::fromUtf8(m_contentType), QString::fromUtf8(m_charset)}) {
        if (hasControl(text))
            return u"The mail cannot be sent: a header has a control character in it."_s;
    }
    return {};
}

bool CWMessage::hasEightBitContent() const
{
    return std::any_of(m_content.begin(), m_content.end(),
                       [](char octet) { return (static_cast<unsigned char>(octet) & 0x80) != 0; });
}

QByteArray CWMessage::wire(const QDateTime &date) const
{
    return headers(date) + "\r\n" + inLines(m_content);
}

QByteArray CWMessage::headers(const QDateTime &date) const
{
    return dateField(date) + textField("Subject", m_subject) + messageIdField(m_from.domain())
        + "MIME-Version: 1.0\r\n" + addressField("From", {m_from})
        + addressField("To", m_recipients) + "Content-Type: " + m_contentType + "; charset=\""
        + m_charset + "\"\r\nAuto-Submitted: auto-generated\r\n";
}

} // namespace quillfen::mail
