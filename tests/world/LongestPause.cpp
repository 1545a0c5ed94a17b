// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/LongestPause.h"

#include <algorithm>

namespace quillfen::world {

LongestPause::LongestPause()
{
    m_sinceTick.start();
    QObject::connect(&m_ticks, &QTimer::timeout, &m_ticks, [this] { tick(); });
    m_ticks.start(std::chrono::milliseconds(1));
}

std::chrono::milliseconds LongestPause::length()
{
    tick();
    return std::chrono::milliseconds(m_longest);
}

void LongestPause::tick()
{
    m_longest = std::max(m_longest, m_sinceTick.restart());
}

} // namespace quillfen::world
