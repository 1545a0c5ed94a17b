// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QSocketNotifier>

#include <functional>

namespace quillfen::platform {

/// Makes SIGPIPE and SIGXFSZ no event at all, since a write that fails says so itself. For good;
/// child processes start with their defaults.
void ignoreSignalsOfFailedWrites();

/// SIGTERM, SIGINT and SIGHUP as one request to end in good order.
///
/// The request is handed over from the event loop, once. A signal that comes a second or more
/// after the first ends the process at once, as it would have without this class: whoever
/// still asks then does not believe in good order any more. What comes sooner is the same
/// request again (a closing terminal sends two, a service manager SIGTERM and SIGHUP).
/// A SIGHUP that was ignored at the start stays so (nohup). Child processes start with
/// all of these at their defaults and with no signal blocked.
/// Make one per process, on the main thread.
class UnixSignals {
public:
    /// Calls @p terminate on the main thread at the first request.
    explicit UnixSignals(std::function<void()> terminate);
    /// Gives the signals back their default actions, unless a request was made: that one is under
    /// way, and what more of it comes within its second must not end a process that just ends.
    ~UnixSignals();
    UnixSignals(const UnixSignals &) = delete;
    UnixSignals &operator=(const UnixSignals &) = delete;

private:
    int m_event; ///< An eventfd(2) that the signal handler counts up.
    QSocketNotifier m_notifier;
};

} // namespace quillfen::platform
