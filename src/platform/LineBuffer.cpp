// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/LineBuffer.h"

#include <QStringEncoder>

namespace quillfen::platform {

LineBuffer &LineBuffer::append(QStringView text)
{
    QStringEncoder encoder(QStringEncoder::Utf8, QStringEncoder::Flag::Stateless);
    const qsizetype before = m_bytes.size();
    m_bytes.resize(before + encoder.requiredSpace(text.size()));
    const char *const end = encoder.appendToBuffer(m_bytes.data() + before, text);
    m_bytes.resize(end - m_bytes.data());
    return *this;
}

bool LineBuffer::appendPlain(QStringView text)
{
    const qsizetype before = m_bytes.size();
    m_bytes.resize(before + text.size());
    char *byte = m_bytes.data() + before;
    for (const QChar c : text) {
        if (c < u' ' || c > u'~') {
            truncate(before);
            return false;
        }
        *byte++ = static_cast<char>(c.unicode());
    }
    return true;
}

} // namespace quillfen::platform
