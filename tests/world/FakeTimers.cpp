// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeTimers.h"

#include <algorithm>
#include <utility>

namespace quillfen::world {

struct FakeTimers::Entry {
    seconds due;
    std::optional<seconds> interval;
    std::function<void()> fire;
};

/// Keeps an entry alive; the clock knows it only as long as this does.
struct FakeTimers::Handle : platform::Timer {
    explicit Handle(std::shared_ptr<Entry> given) : entry(std::move(given)) { }
    std::shared_ptr<Entry> entry;
};

FakeTimers::FakeTimers() = default;

FakeTimers::~FakeTimers() = default;

std::unique_ptr<platform::Timer> FakeTimers::installOneShot(seconds delay,
                                                            std::function<void()> fire)
{
    return install(std::max(delay, seconds(0)), std::nullopt, std::move(fire));
}

std::unique_ptr<platform::Timer> FakeTimers::installRepeating(seconds interval,
                                                              std::function<void()> fire)
{
    const seconds length = std::max(interval, seconds(1));
    return install(length, length, std::move(fire));
}

void FakeTimers::advance(seconds time)
{
    const seconds end = m_now + time;
    while (const std::shared_ptr<Entry> next = dueBy(end)) {
        m_now = std::max(m_now, next->due);
        fire(*next);
    }
    m_now = end;
}

void FakeTimers::suspend(seconds time)
{
    m_now += time;
    advance(seconds(0));
}

std::unique_ptr<platform::Timer> FakeTimers::install(seconds delay, std::optional<seconds> interval,
                                                     std::function<void()> fire)
{
    const seconds due = delay < seconds::max() - m_now ? m_now + delay : seconds::max();
    const auto entry = std::make_shared<Entry>(Entry{due, interval, std::move(fire)});
    m_entries.push_back(entry);
    return std::make_unique<Handle>(entry);
}

std::shared_ptr<FakeTimers::Entry> FakeTimers::dueBy(seconds end)
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

void FakeTimers::fire(Entry &entry) const
{
    if (entry.interval)
        entry.due += ((m_now - entry.due) / *entry.interval + 1) * *entry.interval;
    else
        entry.due = seconds::max(); // never again
    const std::function<void()> call = entry.fire;
    call();
}

} // namespace quillfen::world
