// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mail/CWInternetAddress.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

namespace quillfen::mail {

/// One mail: its sender, its recipients, its header texts and its content.
///
/// It is composed field by field, and made into the octets that go over the wire by wire().
class CWMessage {
public:
    /// How the content is encoded for transport. None: the octets go as they are.
    enum class TransferEncoding { None = 0 };

    void setSubject(const QString &subject) { m_subject = subject; }
    void setFrom(const CWInternetAddress &from) { m_from = from; }
    void addRecipient(const CWInternetAddress &recipient) { m_recipients.append(recipient); }
    /// As "text/plain".
    void setContentType(const QByteArray &type) { m_contentType = type; }
    void setContentTransferEncoding(TransferEncoding encoding) { m_encoding = encoding; }
    /// The label that says how to read the content; the content itself is not touched.
    void setCharset(const QByteArray &charset) { m_charset = charset; }
    void setContent(const QByteArray &content) { m_content = content; }

    const CWInternetAddress &from() const { return m_from; }
    const QList<CWInternetAddress> &recipients() const { return m_recipients; }

    /// Why this cannot be sent, as a sentence for people; empty when it can. An address that is
    /// none and a control character in a header text are reasons.
    QString refusal() const;
    /// Whether the content needs a transport that keeps the eighth bit.
    bool hasEightBitContent() const;

    /// The whole mail as RFC 5322 has it, dated @p date: each header once, line ends CRLF, no line
    /// of the content longer than 998 octets. The dots at line starts are not doubled yet.
    ///
    /// Call it only where refusal() is empty. Zero bytes of the content are left out.
    QByteArray wire(const QDateTime &date) const;

private:
    QByteArray headers(const QDateTime &date) const;

    QString m_subject;
    CWInternetAddress m_from;
    QList<CWInternetAddress> m_recipients;
    QByteArray m_contentType = "text/plain";
    QByteArray m_charset = "us-ascii";
    QByteArray m_content;
    TransferEncoding m_encoding = TransferEncoding::None;
};

} // namespace quillfen::mail
