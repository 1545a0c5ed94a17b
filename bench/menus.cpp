// SPDX-License-Identifier: GPL-3.0-or-later

// How long status items take to answer that their menu opens.
//
//   bench_menus TIMES COUNT
//
// Is the session's watcher: writes "ready" when it is, and waits until COUNT items have registered.
// Then it opens the menu of each in turn as a panel does that waits for the answer: AboutToShow of
// the root, and in the end the event "closed", so that the next opening is a new one. Before each
// opening it makes the two least calls to the same process: Ping, which the bus library answers,
// and the menu's property Version, which the thread does that has the menu. Writes lines to
// standard output: an item's number from 0, in the order of registration, the call, and
// microseconds.

#include <chrono>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include <systemd/sd-bus.h>

#include "Die.h"
#include "Watcher.h"

using namespace quillfen::bench;
using namespace std::chrono_literals;
using Clock = Watcher::Clock;

namespace {

constexpr const char *kMenu = "com.canonical.dbusmenu";
constexpr int kWarmUp = 10; ///< Openings of each that are not counted.

std::string menuOf(sd_bus *bus, const Watcher::Item &item)
{
    sd_bus_message *answer = nullptr;
    need(sd_bus_get_property(bus, item.owner.c_str(), item.path.c_str(),
                             "org.kde.StatusNotifierItem", "Menu", nullptr, &answer, "o"),
         "the item's menu");
    const char *path = nullptr;
    need(sd_bus_message_read(answer, "o", &path), "the menu's path");
    const std::string menu = path;
    sd_bus_message_unref(answer);
    return menu;
}

/// A panel as one item's menu sees it.
class Panel {
public:
    Panel(sd_bus *bus, const Watcher::Item &item)
        : m_bus(bus),
          m_owner(item.owner),
          m_menu(menuOf(bus, item))
    { }

    void ping() const { call("org.freedesktop.DBus.Peer", "Ping", nullptr); }
    void askVersion() const
    {
        call("org.freedesktop.DBus.Properties", "Get", "ss", kMenu, "Version");
    }
    void open() const { call(kMenu, "AboutToShow", "i", 0); }
    void close() const { call(kMenu, "Event", "isvu", 0, "closed", "i", 0, 0U); }

private:
    template <typename... Arguments>
    void call(const char *interface, const char *method, const char *types,
              Arguments... arguments) const
    {
        need(sd_bus_call_method(m_bus, m_owner.c_str(), m_menu.c_str(), interface, method, nullptr,
                                nullptr, types, arguments...),
             method);
    }

    sd_bus *m_bus;
    std::string m_owner;
    std::string m_menu; ///< Its object path.
};

template <typename Work>
double microseconds(const Work &work)
{
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

void openOnce(const Panel &panel, std::size_t item, bool counts)
{
    const double ping = microseconds([&] { panel.ping(); });
    const double version = microseconds([&] { panel.askVersion(); });
    const double open = microseconds([&] { panel.open(); });
    panel.close();
    if (counts)
        std::printf("%zu ping %.1f\n%zu version %.1f\n%zu open %.1f\n", item, ping, item, version,
                    item, open);
    std::this_thread::sleep_for(5ms); // what follows the answer is no burden of the next one's
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3)
        die("usage: bench_menus TIMES COUNT");
    const int times = count(argv[1]);
    Watcher watcher;
    std::puts("ready");
    std::fflush(stdout);

    std::vector<Panel> panels;
    for (const Watcher::Item &item : watcher.await(static_cast<std::size_t>(count(argv[2]))))
        panels.emplace_back(watcher.bus(), item);
    for (int round = -kWarmUp; round < times; ++round) {
        for (std::size_t item = 0; item < panels.size(); ++item)
            openOnce(panels[item], item, round >= 0);
    }
    return 0;
}
