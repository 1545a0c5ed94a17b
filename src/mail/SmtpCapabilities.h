// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mail/SmtpReply.h"

#include <QByteArrayList>
#include <QByteArrayView>

#include <cstdint>
#include <optional>

namespace quillfen::mail {

/// What a server can do, as the last reply to EHLO says. A plain value; names match as whole
/// words, whatever their letter case.
/// @source RFC 5321 section 4.1.1.1, RFC 1870 (SIZE), RFC 4954 section 3 (AUTH).
class SmtpCapabilities {
public:
    /// Of a server that can do nothing special.
    SmtpCapabilities() = default;
    explicit SmtpCapabilities(const SmtpReply &helloReply);

    bool offers(QByteArrayView keyword) const;
    bool offersMechanism(QByteArrayView mechanism) const;
    /// How many octets a message may have; nothing when the server names no limit.
    std::optional<std::uint64_t> sizeLimit() const;

private:
    QList<QByteArrayList> m_lines; ///< Each the words of one line, in capitals; none is empty.
};

} // namespace quillfen::mail
