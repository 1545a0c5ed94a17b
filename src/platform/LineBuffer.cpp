// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/LineBuffer.h"

#include <QStringEncoder>

namespace quillfen::platform {

namespace {

/// Characters that are looked at together. Their number is fixed and their copy lies elsewhere, so
/// the compiler makes a few vector instructions of them.
constexpr qsizetype kBlock = 16;

/// Copies @p Count characters. @returns whether all are printable ASCII; the copy is of use only
/// then.
template <qsizetype Count>
bool takePlain(const char16_t *__restrict from, char *__restrict to)
{
    char16_t odd = 0;
    for (qsizetype at = 0; at < Count; ++at) {
        odd |= static_cast<char16_t>(from[at] - u' ') > u'~' - u' ' ? 1 : 0;
        to[at] = static_cast<char>(from[at]);
    }
    return odd == 0;
}

} // namespace

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
    const char16_t *const from = text.utf16();
    char *const to = m_bytes.data() + before;
    bool plain = true;
    qsizetype at = 0;
    for (; text.size() - at >= kBlock; at += kBlock)
        plain &= takePlain<kBlock>(from + at, to + at);
    for (; at < text.size(); ++at)
        plain &= takePlain<1>(from + at, to + at);
    if (!plain)
        truncate(before);
    return plain;
}

} // namespace quillfen::platform
