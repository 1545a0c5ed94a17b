// SPDX-License-Identifier: GPL-3.0-or-later
#include "mail/SmtpReply.h"

#include <utility>

namespace quillfen::mail {

using namespace Qt::StringLiterals;

namespace {

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

/// The code that @p line starts with; 0 if it starts with none.
int codeOf(QByteArrayView line)
{
    if (line.size() < 3 || line[0] < '2' || line[0] > '5' || !isDigit(line[1]) || !isDigit(line[2]))
        return 0;
    if (line.size() > 3 && line[3] != ' ' && line[3] != '-')
        return 0;
    return (line[0] - '0') * 100 + (line[1] - '0') * 10 + (line[2] - '0');
}

} // namespace

void SmtpReplyReader::feed(QByteArrayView bytes)
{
    if (m_trouble.isEmpty())
        m_unread.append(bytes);
}

std::optional<SmtpReply> SmtpReplyReader::take()
{
    while (m_trouble.isEmpty()) {
        const qsizetype end =
            QByteArrayView(m_unread).first(qMin(m_unread.size(), kMostLineBytes)).indexOf('\n');
        if (end < 0) {
            if (m_unread.size() >= kMostLineBytes)
                breakOff(u"sent a line of more than %1 bytes"_s.arg(kMostLineBytes));
            return {};
        }
        const QByteArray line = m_unread.first(end + 1);
        m_unread.remove(0, end + 1);
        if (takeLine(line))
            return std::exchange(m_lines, {});
    }
    return {};
}

/// Takes in one line with its end. @returns whether it is the last one of its reply.
bool SmtpReplyReader::takeLine(QByteArrayView line)
{
    const QByteArrayView text = line.chopped(line.endsWith("\r\n") ? 2 : 1);
    const int code = codeOf(text);
    if (code == 0)
        return breakOff(u"sent something that is no reply"_s);
    if (!m_lines.texts.isEmpty() && code != m_lines.code)
        return breakOff(u"sent a reply with two codes"_s);
    if (m_lines.texts.size() == kMostLines)
        return breakOff(u"sent a reply of more than %1 lines"_s.arg(kMostLines));
    if (m_lines.bytes.size() + 2 + line.size() > kMostReplyBytes)
        return breakOff(u"sent a reply of more than %1 bytes"_s.arg(kMostReplyBytes));

    m_lines.code = code;
    m_lines.bytes += m_lines.texts.isEmpty() ? "" : "\r\n";
    m_lines.bytes += text;
    m_lines.texts.append(text.sliced(qMin<qsizetype>(4, text.size())).toByteArray());
    return text.size() == 3 || text[3] == ' ';
}

bool SmtpReplyReader::breakOff(const QString &trouble)
{
    m_trouble = trouble;
    m_unread.clear();
    m_lines = {};
    return false;
}

} // namespace quillfen::mail
