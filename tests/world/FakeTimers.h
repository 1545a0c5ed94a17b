// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Timers.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace quillfen::world {

/// A clock that stands still until the test moves it, and the timers that hang on it.
class FakeTimers : public platform::Timers {
public:
    using seconds = std::chrono::seconds;

    FakeTimers();
    ~FakeTimers() override;

    [[nodiscard]] std::unique_ptr<platform::Timer>
    installOneShot(seconds delay, std::function<void()> fire) override;
    [[nodiscard]] std::unique_ptr<platform::Timer>
    installRepeating(seconds interval, std::function<void()> fire) override;

    /// How long the clock has run.
    seconds now() const { return m_now; }
    /// Lets @p time pass, second by second: every timer fires at its moment, those of one moment
    /// in the order of their installation. What a callback installs is served as well.
    void advance(seconds time);
    /// Lets @p time pass while the machine is suspended: what came due meanwhile fires on waking.
    void suspend(seconds time);

private:
    struct Entry;
    struct Handle;

    std::unique_ptr<platform::Timer> install(seconds delay, std::optional<seconds> interval,
                                             std::function<void()> fire);
    std::shared_ptr<Entry> dueBy(seconds end);
    void fire(Entry &entry) const;

    seconds m_now{0};
    std::vector<std::weak_ptr<Entry>> m_entries;
};

} // namespace quillfen::world
