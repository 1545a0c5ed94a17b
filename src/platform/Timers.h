// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace quillfen::platform {

/// A timer that is set. Destroying it stops it.
class Timer {
public:
    virtual ~Timer() = default;
};

/// The run loop's timers.
///
/// What every implementation promises:
///   1. A callback runs on the main thread, from the event loop, never inside install….
///   2. A timer never fires early. Timers of a minute and more may be up to a second late.
///   3. A repeating timer of a late or resumed machine fires once, not once per missed interval.
///   4. The timer may be destroyed in its own callback.
class Timers {
public:
    virtual ~Timers() = default;

    /// Calls @p fire once, @p delay from now; zero and less mean at once. Any length goes.
    [[nodiscard]] virtual std::unique_ptr<Timer> installOneShot(std::chrono::seconds delay,
                                                                std::function<void()> fire) = 0;
    /// Calls @p fire every @p interval, which is longer than zero, from now on.
    [[nodiscard]] virtual std::unique_ptr<Timer> installRepeating(std::chrono::seconds interval,
                                                                  std::function<void()> fire) = 0;
};

} // namespace quillfen::platform
