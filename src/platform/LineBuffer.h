// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QStringView>
#include <QVarLengthArray>

namespace quillfen::platform {

/// The bytes of one line while it is put together: in memory of its own only if it is a long one.
class LineBuffer {
public:
    LineBuffer &append(char byte)
    {
        m_bytes.append(byte);
        return *this;
    }
    LineBuffer &append(QByteArrayView bytes)
    {
        m_bytes.append(bytes.data(), bytes.size());
        return *this;
    }
    /// Appends @p text in UTF-8; a half of a surrogate pair becomes U+FFFD.
    LineBuffer &append(QStringView text);
    /// Appends @p text if it is printable ASCII throughout, as most lines are: then there is
    /// nothing in it that could end the line or steer a terminal. @returns whether it was.
    bool appendPlain(QStringView text);
    /// Takes all from @p size on away; there must be so much.
    void truncate(qsizetype size) { m_bytes.resize(size); }

    /// They hold until the next change.
    QByteArrayView bytes() const { return {m_bytes.data(), m_bytes.size()}; }
    qsizetype size() const { return m_bytes.size(); }

private:
    static constexpr qsizetype kUsualRoom = 512; ///< Bytes; few lines are longer.
    QVarLengthArray<char, kUsualRoom> m_bytes;
};

} // namespace quillfen::platform
