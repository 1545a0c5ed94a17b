// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <chrono>

namespace quillfen::world {

/// Watches for how long at most the event loop of this thread stood still.
class LongestPause {
public:
    LongestPause()
    {
        m_sinceTick.start();
        QObject::connect(&m_ticks, &QTimer::timeout, &m_ticks, [this] { tick(); });
        m_ticks.start(std::chrono::milliseconds(1));
    }

    /// Since this was made, the time up to now included.
    std::chrono::milliseconds length()
    {
        tick();
        return std::chrono::milliseconds(m_longest);
    }

private:
    void tick() { m_longest = std::max(m_longest, m_sinceTick.restart()); }

    QTimer m_ticks;
    QElapsedTimer m_sinceTick;
    qint64 m_longest = 0; ///< In ms.
};

} // namespace quillfen::world
