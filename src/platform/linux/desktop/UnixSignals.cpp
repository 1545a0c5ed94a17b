// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/UnixSignals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <utility>

#include <signal.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

namespace quillfen::platform {

namespace {

constexpr std::array kRequests = {SIGTERM, SIGINT, SIGHUP};
constexpr std::int64_t kSamePress = 1'000'000'000; // ns

// A signal handler gets nothing but a number, so what it needs stands here, and only here.
std::atomic<int> theEvent = -1; // the eventfd of the one UnixSignals
std::atomic<std::int64_t> theFirstRequest = 0; // ns of CLOCK_MONOTONIC; 0: none yet
static_assert(std::atomic<std::int64_t>::is_always_lock_free, "or no handler may use it");

std::int64_t monotonicNow()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

void setAction(int number, void (*handler)(int))
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(number, &action, nullptr);
}

bool isIgnored(int number)
{
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

/// Uses only what signal-safety(7) allows.
void request(int number)
{
    const int before = errno;
    const std::int64_t now = monotonicNow();
    std::int64_t first = 0;
    if (theFirstRequest.compare_exchange_strong(first, now)) {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(theEvent, &one, sizeof one);
    } else if (now - first >= kSamePress) {
        setAction(number, SIG_DFL);
        raise(number); // ends us as soon as this handler returns
    }
    errno = before;
}

void noEvent(int) { }

} // namespace

void ignoreSignalsOfFailedWrites()
{
    // A handler, not SIG_IGN: exec gives a child the default back by itself (execve(2)).
    setAction(SIGPIPE, noEvent);
    setAction(SIGXFSZ, noEvent);
}

UnixSignals::UnixSignals(std::function<void()> terminate)
    : m_event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_notifier(m_event, QSocketNotifier::Read)
{
    QObject::connect(&m_notifier, &QSocketNotifier::activated, &m_notifier,
                     [this, terminate = std::move(terminate)] {
                         m_notifier.setEnabled(false);
                         terminate();
                     });
    theEvent = m_event;
    theFirstRequest = 0;
    for (const int number : kRequests) {
        if (number != SIGHUP || !isIgnored(number))
            setAction(number, request);
    }
}

UnixSignals::~UnixSignals()
{
    for (const int number : kRequests) {
        if (theFirstRequest == 0 && !isIgnored(number))
            setAction(number, SIG_DFL);
    }
    theEvent = -1; // only a first request writes to it
    m_notifier.setEnabled(false);
    close(m_event);
}

} // namespace quillfen::platform
