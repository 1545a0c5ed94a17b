// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Timers.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace quillfen::world {

/// A clock that stands still until the test moves it, and the timers that hang on it.
class FakeTimers : public platform::Timers {
public:
    using seconds = std::chrono::seconds;

    [[nodiscard]] std::unique_ptr<platform::Timer>
    installOneShot(seconds delay, std::function<void()> fire) override
    {
        return install(std::max(delay, seconds(0)), std::nullopt, std::move(fire));
    }
    [[nodiscard]] std::unique_ptr<platform::Timer>
    installRepeating(seconds interval, std::function<void()> fire) override
    {
        const seconds length = std::max(interval, seconds(1));
        return install(length, length, std::move(fire));
    }

    /// How long the clock has run.
    seconds now() const { return m_now; }
    /// Lets @p time pass, second by second: every timer fires at its moment, those of one moment
    /// in the order of their installation. What a callback installs is served as well.
    void advance(seconds time)
    {
        const seconds end = m_now + time;
        while (const std::shared_ptr<Entry> next = dueBy(end)) {
            m_now = std::max(m_now, next->due);
            fire(*next);
        }
        m_now = end;
    }
    /// Lets @p time pass while the machine is suspended: what came due meanwhile fires on waking.
    void suspend(seconds time)
    {
        m_now += time;
        advance(seconds(0));
    }

private:
    struct Entry {
        seconds due;
        std::optional<seconds> interval;
        std::function<void()> fire;
    };
    /// Keeps an entry alive; the clock knows it only as long as this does.
    struct Handle : platform::Timer {
        explicit Handle(std::shared_ptr<Entry> given) : entry(std::move(given)) { }
        std::shared_ptr<Entry> entry;
    };

    std::unique_ptr<platform::Timer> install(seconds delay, std::optional<seconds> interval,
                                             std::function<void()> fire)
    {
        const seconds due = delay < seconds::max() - m_now ? m_now + delay : seconds::max();
        const auto entry = std::make_shared<Entry>(Entry{due, interval, std::move(fire)});
        m_entries.push_back(entry);
        return std::make_unique<Handle>(entry);
    }

    std::shared_ptr<Entry> dueBy(seconds end)
    {
        std::erase_if(m_entries, [](const auto &entry) { return entry.expired(); });
        std::shared_ptr<Entry> first;
        for (const auto &weak : m_entries) {
            const std::shared_ptr<Entry> entry = weak.lock();
            if (entry->due <= end && (!first || entry->due < first->due))
                first = entry;
        }
        return first;
    }

    void fire(Entry &entry) const
    {
        if (entry.interval)
            entry.due += ((m_now - entry.due) / *entry.interval + 1) * *entry.interval;
        else
            entry.due = kNever;
        const std::function<void()> call = entry.fire;
        call();
    }

    static constexpr seconds kNever = seconds::max();

    seconds m_now{0};
    std::vector<std::weak_ptr<Entry>> m_entries;
};

} // namespace quillfen::world
