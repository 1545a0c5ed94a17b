// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/QtTimers.h"

#include <QTimer>

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

namespace quillfen::platform {

using namespace std::chrono_literals;

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kLongest = std::chrono::years(100);
constexpr std::chrono::milliseconds kLongestStep(std::numeric_limits<int>::max());

/// Qt's own coarse timers align themselves too, but may fire early: by 5 % of their length, and
/// the coarsest by half a second. So each of these aims its precise timer at a moment
/// of its own choosing, and looks at the clock when it goes off.
class DeadlineTimer : public Timer {
public:
    DeadlineTimer(std::chrono::seconds delay, std::optional<std::chrono::seconds> interval,
                  std::function<void()> fire)
        : m_aligned(delay >= 1min),
          m_interval(interval),
          m_due(Clock::now() + delay),
          m_fire(std::make_shared<const std::function<void()>>(std::move(fire)))
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setSingleShot(true);
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { wake(); });
        aim();
    }

private:
    Clock::time_point target() const
    {
        return m_aligned ? Clock::time_point(std::chrono::ceil<std::chrono::seconds>(m_due))
                         : m_due;
    }

    void aim()
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(target() - Clock::now());
        m_timer.start(std::clamp(left, 0ms, kLongestStep));
    }

    void wake()
    {
        const auto now = Clock::now();
        if (now < target()) {
            aim();
            return;
        }
        if (m_interval) {
            m_due += ((now - m_due) / *m_interval + 1) * *m_interval; // skips what was missed
            aim();
        }
        const auto fire = m_fire; // it may destroy us
        (*fire)();
    }

    bool m_aligned;
    std::optional<std::chrono::seconds> m_interval;
    Clock::time_point m_due;
    std::shared_ptr<const std::function<void()>> m_fire;
    QTimer m_timer;
};

} // namespace

std::unique_ptr<Timer> QtTimers::installOneShot(std::chrono::seconds delay,
                                                std::function<void()> fire)
{
    return std::make_unique<DeadlineTimer>(std::clamp(delay, 0s, kLongest), std::nullopt,
                                           std::move(fire));
}

std::unique_ptr<Timer> QtTimers::installRepeating(std::chrono::seconds interval,
                                                  std::function<void()> fire)
{
    // An interval of nothing would leave the event loop no rest; the shortest is a second.
    const std::chrono::seconds length = std::clamp(interval, 1s, kLongest);
    return std::make_unique<DeadlineTimer>(length, length, std::move(fire));
}

} // namespace quillfen::platform
