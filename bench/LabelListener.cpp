// SPDX-License-Identifier: GPL-3.0-or-later
#include "LabelListener.h"

#include "Die.h"

using namespace std::chrono_literals;

namespace quillfen::bench {

LabelListener::LabelListener(const char *item)
{
    sd_bus *bus = nullptr;
    need(sd_bus_open_user(&bus), "the session bus");
    m_bus.reset(bus);
    need(sd_bus_match_signal(bus, nullptr, nullptr, item, "org.kde.StatusNotifierItem",
                             "XAyatanaNewLabel", &LabelListener::labelled, this),
         "listening on the session bus");
}

std::optional<LabelListener::Clock::time_point>
LabelListener::waitFor(const std::string &text, std::chrono::milliseconds patience)
{
    const Clock::time_point deadline = Clock::now() + patience;
    while (m_label.find(text) == std::string::npos) {
        if (need(sd_bus_process(m_bus.get(), nullptr), "reading from the session bus") > 0)
            continue;
        const auto left =
            std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now());
        if (left <= 0us)
            return std::nullopt;
        need(sd_bus_wait(m_bus.get(), static_cast<std::uint64_t>(left.count())),
             "waiting for the session bus");
    }
    return m_moment;
}

int LabelListener::labelled(sd_bus_message *message, void *self, sd_bus_error * /*error*/)
{
    const Clock::time_point now = Clock::now();
    const char *label = nullptr;
    const char *guide = nullptr;
    need(sd_bus_message_read(message, "ss", &label, &guide), "a label with its guide");
    auto *listener = static_cast<LabelListener *>(self);
    listener->m_moment = now;
    listener->m_label = label;
    ++listener->m_heard;
    return 0;
}

} // namespace quillfen::bench
