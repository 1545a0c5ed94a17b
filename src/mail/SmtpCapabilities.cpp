// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/SmtpCapabilities.h"

#include <algorithm>

namespace quillfen::mail {

SmtpCapabilities::SmtpCapabilities(const SmtpReply &helloReply)
{
    // The first line is the server's greeting of us.
    for (const QByteArray &text : helloReply.texts.mid(1)) {
        const QByteArray words = text.simplified().toUpper();
        if (!words.isEmpty())
            m_lines.append(words.split(' '));
    }
}

bool SmtpCapabilities::offers(QByteArrayView keyword) const
{
    return std::any_of(m_lines.begin(), m_lines.end(),
                       [&](const QByteArrayList &words) { return words.first() == keyword; });
}

bool SmtpCapabilities::offersMechanism(QByteArrayView mechanism) const
{
    const QByteArray name = mechanism.toByteArray().toUpper();
    return std::any_of(m_lines.begin(), m_lines.end(), [&](const QByteArrayList &words) {
        return words.first() == "AUTH" && words.indexOf(name, 1) > 0;
    });
}

std::optional<std::uint64_t> SmtpCapabilities::sizeLimit() const
{
    for (const QByteArrayList &words : m_lines) {
        if (words.first() != "SIZE" || words.size() < 2)
            continue;
        bool isNumber = false;
        const std::uint64_t limit = words.at(1).toULongLong(&isNumber);
        if (isNumber && limit > 0) // 0 stands for no fixed limit
            return limit;
    }
    return {};
}

} // namespace quillfen::mail
