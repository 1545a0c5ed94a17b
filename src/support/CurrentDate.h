// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <ctime>

namespace quillfen::support {

/// The dateDescription() of this moment, put together once for all that happens within a second:
/// it takes longer than writing the line that it stands in front of.
///
/// So a move of the machine into another time zone shows with the next second.
class CurrentDate {
public:
    /// In ASCII; it holds until the next call.
    const QByteArray &text();

private:
    std::time_t m_second = 0;
    QByteArray m_text;
};

} // namespace quillfen::support
