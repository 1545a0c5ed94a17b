// SPDX-License-Identifier: GPL-3.0-or-later

// Changes the addresses of an interface and listens on the session bus for what becomes of it.
//
//   bench_changes INTERFACE add INDEX COUNT          adds COUNT addresses from INDEX on
//   bench_changes INTERFACE remove INDEX             removes one address
//   bench_changes INTERFACE time ITEM INDEX COUNT PAUSE   one change at a time, each one timed
//   bench_changes INTERFACE storm ITEM INDEX COUNT   all changes at once, the last one timed
//
// A change takes away address INDEX, which the interface must have, and gives it the next one
// (AddressChanger.h). ITEM is the object path of the status item that is to show it. PAUSE is the
// least time between two changes, in milliseconds. Results go to standard output: lines of a name
// and numbers, times in microseconds.

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <random>
#include <string_view>
#include <thread>

#include "AddressChanger.h"
#include "Die.h"
#include "LabelListener.h"

using namespace quillfen::bench;
using namespace std::chrono_literals;
using Clock = LabelListener::Clock;

namespace {

constexpr int kWarmUp = 10; ///< Changes that are not counted: a process just woken is cold.
constexpr auto kPatience = 5s;

double microseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::micro>(duration).count();
}

int number(const char *text)
{
    int value = 0;
    const char *end = text + std::strlen(text);
    const auto [rest, error] = std::from_chars(text, end, value);
    if (error != std::errc{} || rest != end || value < 0 || value > AddressChanger::kAddresses)
        die(text);
    return value;
}

Clock::time_point hear(LabelListener &listener, int index)
{
    const auto moment = listener.waitFor(addressText(index), kPatience);
    if (!moment)
        die("a change never came to be shown");
    return *moment;
}

void timeEach(AddressChanger &changer, LabelListener &listener, int index, int count,
              std::chrono::milliseconds pauseAtLeast)
{
    // Uneven pauses, so that nothing falls into step with a timer.
    std::minstd_rand random(1);
    std::uniform_int_distribution<int> more(0, 20'000);
    int before = 0;
    for (int change = 0; change < kWarmUp + count; ++change, ++index) {
        std::this_thread::sleep_for(pauseAtLeast + std::chrono::microseconds(more(random)));
        if (change == kWarmUp)
            before = listener.heard();
        const auto asked = Clock::now();
        changer.swap(index, index + 1);
        const auto done = Clock::now();
        const auto shown = hear(listener, index + 1);
        changer.answers(2);
        if (change >= kWarmUp)
            std::printf("change %.1f %.1f\n", microseconds(shown - asked),
                        microseconds(shown - done));
    }
    std::printf("labels %d\naddress %d\n", listener.heard() - before,
                index % AddressChanger::kAddresses);
}

void storm(AddressChanger &changer, LabelListener &listener, int index, int count)
{
    const auto start = Clock::now();
    auto done = start;
    for (const int end = index + count; index < end; ++index) {
        changer.swap(index, index + 1);
        done = Clock::now();
        changer.answers(2);
    }
    const auto shown = hear(listener, index);
    std::printf("storm %.1f\nright %.1f\nlabels %d\naddress %d\n", microseconds(done - start),
                microseconds(shown - done), listener.heard(), index % AddressChanger::kAddresses);
}

} // namespace

int main(int argc, char **argv)
{
    const std::string_view order = argc > 2 ? argv[2] : "";
    const std::map<std::string_view, int> words{
        {"remove", 4}, {"add", 5}, {"time", 7}, {"storm", 6}};
    const auto expected = words.find(order);
    if (expected == words.end() || argc != expected->second)
        die("usage: bench_changes INTERFACE add|remove|time|storm ...");

    AddressChanger changer(argv[1]);
    if (order == "remove") {
        changer.remove(number(argv[3]));
    } else if (order == "add") {
        const int index = number(argv[3]);
        for (int count = 0; count < number(argv[4]); ++count)
            changer.add(index + count);
    } else {
        LabelListener listener(argv[3]);
        const int index = number(argv[4]);
        if (order == "time")
            timeEach(changer, listener, index, number(argv[5]),
                     std::chrono::milliseconds(number(argv[6])));
        else
            storm(changer, listener, index, number(argv[5]));
    }
    return 0;
}
