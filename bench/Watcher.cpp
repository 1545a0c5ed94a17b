// SPDX-License-Identifier: GPL-3.0-or-later
#include "Watcher.h"

#include "Die.h"

using namespace std::chrono_literals;

namespace quillfen::bench {

namespace {

constexpr const char *kName = "org.kde.StatusNotifierWatcher";
constexpr auto kPatience = 60s;

} // namespace

const sd_bus_vtable Watcher::kTable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("RegisterStatusNotifierItem", "s", "", &Watcher::registerItem,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_PROPERTY("IsStatusNotifierHostRegistered", "b", &Watcher::hasPanel, 0,
                    SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_VTABLE_END,
};

Watcher::Watcher()
{
    sd_bus *bus = nullptr;
    need(sd_bus_open_user(&bus), "the session bus");
    m_bus.reset(bus);
    need(sd_bus_add_object_vtable(bus, nullptr, "/StatusNotifierWatcher", kName, kTable, this),
         "the watcher");
    need(sd_bus_request_name(bus, kName, 0), "the watcher's name");
}

const std::vector<Watcher::Item> &Watcher::await(std::size_t count)
{
    const auto deadline = Clock::now() + kPatience;
    while (m_items.size() < count) {
        if (need(sd_bus_process(bus(), nullptr), "the session bus") > 0)
            continue;
        if (Clock::now() > deadline)
            die("an item never registered");
        need(sd_bus_wait(bus(), 1'000'000), "waiting for the session bus");
    }
    return m_items;
}

void Watcher::serve()
{
    while (need(sd_bus_process(bus(), nullptr), "the session bus") > 0)
        ;
}

int Watcher::registerItem(sd_bus_message *call, void *self, sd_bus_error * /*error*/)
{
    const auto now = Clock::now();
    const char *where = nullptr;
    need(sd_bus_message_read(call, "s", &where), "a registration");
    // Either the item's path, or a name that the sender has as well.
    static_cast<Watcher *>(self)->m_items.push_back(
        {.owner = sd_bus_message_get_sender(call),
         .path = *where == '/' ? where : "/StatusNotifierItem",
         .registered = now});
    return sd_bus_reply_method_return(call, nullptr);
}

int Watcher::hasPanel(sd_bus * /*bus*/, const char * /*path*/, const char * /*interface*/,
                      const char * /*property*/, sd_bus_message *answer, void * /*self*/,
                      sd_bus_error * /*error*/)
{
    return sd_bus_message_append(answer, "b", 1);
}

} // namespace quillfen::bench
