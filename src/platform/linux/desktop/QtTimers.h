// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Timers.h"

namespace quillfen::platform {

/// The run loop's timers on Qt's event loop, by the monotonic clock.
///
/// Timers of a minute and more fire at the first full second of that clock that is not early,
/// so that all of them wake the machine together; shorter ones fire to the millisecond.
/// Lengths beyond a hundred years count as a hundred years.
class QtTimers : public Timers {
public:
    [[nodiscard]] std::unique_ptr<Timer> installOneShot(std::chrono::seconds delay,
                                                        std::function<void()> fire) override;
    [[nodiscard]] std::unique_ptr<Timer> installRepeating(std::chrono::seconds interval,
                                                          std::function<void()> fire) override;
};

} // namespace quillfen::platform
