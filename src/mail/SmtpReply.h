// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <optional>

namespace quillfen::mail {

/// One whole reply of an SMTP server.
struct SmtpReply {
    int code = 0; ///< 200 to 599.
    QList<QByteArray> texts; ///< What stands behind the code, line by line; texts may be empty.
    QByteArray bytes; ///< All of it as it came, without its last line end.

    friend bool operator==(const SmtpReply &, const SmtpReply &) = default;
};

/// Cuts what an SMTP server sends into replies.
///
/// A pure parser: bytes in, replies out, in whatever pieces the bytes come. A line ends with LF,
/// with or without a CR before it. Total for any input, and bounded: what breaks the rules or
/// the bounds makes it broken, and then it takes and gives nothing more.
/// @source RFC 5321 sections 4.2 and 4.2.1 (replies of several lines).
class SmtpReplyReader {
public:
    static constexpr qsizetype kMostLineBytes = 4096; ///< With its line end.
    static constexpr qsizetype kMostReplyBytes = 65536; ///< With all line ends.
    static constexpr qsizetype kMostLines = 100;

    void feed(QByteArrayView bytes);
    /// The next whole reply; nothing while its end is still on the way.
    std::optional<SmtpReply> take();
    /// Whether there is nothing that belongs to no reply taken so far.
    bool atRest() const { return m_unread.isEmpty() && m_lines.texts.isEmpty(); }
    /// What the server did wrong, as the end of a sentence; empty unless this is broken.
    const QString &trouble() const { return m_trouble; }

private:
    bool takeLine(QByteArrayView line);
    bool breakOff(const QString &trouble);

    QByteArray m_unread;
    SmtpReply m_lines; ///< The lines so far of a reply that goes on.
    QString m_trouble;
};

} // namespace quillfen::mail
