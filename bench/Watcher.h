// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <systemd/sd-bus.h>

namespace quillfen::bench {

/// The session's watcher of status items, with a panel behind it: takes their registrations and
/// notes when each came. Ends the program when there is no bus, or another watcher on it.
class Watcher {
public:
    using Clock = std::chrono::steady_clock;
    struct Item {
        std::string owner; ///< Its connection's unique name.
        std::string path;
        Clock::time_point registered;
    };

    Watcher();

    /// Serves the bus until @p count items have registered in all. Ends the program when they have
    /// not after a minute.
    const std::vector<Item> &await(std::size_t count);
    /// Serves what has come up to now.
    void serve();
    sd_bus *bus() const { return m_bus.get(); }

private:
    static int registerItem(sd_bus_message *call, void *self, sd_bus_error *error);
    static int hasPanel(sd_bus *bus, const char *path, const char *interface, const char *property,
                        sd_bus_message *answer, void *self, sd_bus_error *error);

    static const sd_bus_vtable kTable[];

    struct Close {
        void operator()(sd_bus *bus) const { sd_bus_flush_close_unref(bus); }
    };
    std::unique_ptr<sd_bus, Close> m_bus;
    std::vector<Item> m_items;
};

} // namespace quillfen::bench
