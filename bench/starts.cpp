// SPDX-License-Identifier: GPL-3.0-or-later

// How long programs take from their start to the registration of their status item.
//
//   bench_starts TIMES PROGRAM...
//
// Is the session's watcher itself. The programs take turns; each is started by its path alone and
// told to end (SIGTERM) once it has registered. Writes lines to standard output: a program's number
// from 0, the microseconds to its registration, and those of processor time that it had used then.

#include <chrono>
#include <cstdio>
#include <ctime>

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Die.h"
#include "Watcher.h"

using namespace quillfen::bench;
using Clock = Watcher::Clock;

namespace {

constexpr int kWarmUp = 2; ///< Starts of each that are not counted: what they read is cold.

double microseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::micro>(duration).count();
}

Clock::duration processorTime(pid_t process)
{
    clockid_t clock{};
    timespec used{};
    if (const int error = clock_getcpuclockid(process, &clock))
        die("the process's clock", error);
    need(clock_gettime(clock, &used), "the process's clock");
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

pid_t start(char *program)
{
    char *argv[] = {program, nullptr};
    pid_t process = 0;
    if (const int error = posix_spawn(&process, program, nullptr, nullptr, argv, environ))
        die(program, error);
    return process;
}

void end(pid_t process)
{
    need(kill(process, SIGTERM), "ending a program");
    need(waitpid(process, nullptr, 0), "a program's end");
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 3)
        die("usage: bench_starts TIMES PROGRAM...");
    const int times = count(argv[1]);
    Watcher watcher;
    for (int round = -kWarmUp; round < times; ++round) {
        for (int program = 2; program < argc; ++program) {
            watcher.serve(); // no word of the one before may pass for one of the next
            const std::size_t before = watcher.await(0).size();
            const auto started = Clock::now();
            const pid_t process = start(argv[program]);
            const auto registered = watcher.await(before + 1).back().registered;
            const auto used = processorTime(process);
            end(process);
            if (round >= 0)
                std::printf("%d %.1f %.1f\n", program - 2, microseconds(registered - started),
                            microseconds(used));
        }
    }
    return 0;
}
