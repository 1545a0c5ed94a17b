// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include <systemd/sd-bus.h>

namespace quillfen::bench {

/// Hears the labels that one status item announces on the session bus, and when.
///
/// Ends the program when there is no bus.
class LabelListener {
public:
    using Clock = std::chrono::steady_clock;

    /// Hears from now on the XAyatanaNewLabel signals of the item on object path @p item.
    explicit LabelListener(const char *item);

    /// Listens until a label holds @p text.
    ///
    /// @returns the moment at which its signal was taken off the bus; nothing when the last
    ///          labels so far do not hold it and none comes within @p patience.
    std::optional<Clock::time_point> waitFor(const std::string &text,
                                             std::chrono::milliseconds patience);

    /// How many labels have come so far.
    int heard() const { return m_heard; }

private:
    static int labelled(sd_bus_message *message, void *self, sd_bus_error *error);

    struct Close {
        void operator()(sd_bus *bus) const { sd_bus_flush_close_unref(bus); }
    };
    std::unique_ptr<sd_bus, Close> m_bus;
    std::string m_label;
    Clock::time_point m_moment;
    int m_heard = 0;
};

} // namespace quillfen::bench
