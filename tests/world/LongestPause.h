// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <chrono>

namespace quillfen::world {

/// Watches for how long at most the event loop of this thread stood still.
class LongestPause {
public:
    LongestPause();

    /// Since this was made, the time up to now included.
    std::chrono::milliseconds length();

private:
    void tick();

    QTimer m_ticks;
    QElapsedTimer m_sinceTick;
    qint64 m_longest = 0; ///< In ms.
};

} // namespace quillfen::world
