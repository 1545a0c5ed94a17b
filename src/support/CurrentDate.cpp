// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/CurrentDate.h"

#include "support/DateDescription.h"

#include <chrono>

namespace quillfen::support {

const QByteArray &CurrentDate::text()
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t second = std::chrono::system_clock::to_time_t(now);
    if (m_text.isEmpty() || second != m_second) {
        m_second = second;
        m_text = dateDescription(now).toLatin1();
    }
    return m_text;
}

} // namespace quillfen::support
