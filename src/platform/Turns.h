// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"

#include <deque>
#include <exception>
#include <functional>
#include <optional>

namespace quillfen::platform {

/// The order of all work that may have to wait: each turn runs from its beginning to its end
/// before the next one starts, while the event loop goes on.
///
/// Destroying it cancels the turn under way and all that queue; that must not happen inside a
/// turn (use deleteLater() for what owns it). Main thread only.
class Turns {
public:
    /// What is told the exception that left a turn, once that turn is gone; it must not throw.
    /// The next turn follows.
    using FailureHandler = std::function<void(std::exception_ptr)>;

    /// @p onRest is called each time that the last turn has ended and none waits.
    explicit Turns(
        FailureHandler onFailure, std::function<void()> onRest = [] {});
    Turns(const Turns &) = delete;
    Turns &operator=(const Turns &) = delete;
    ~Turns();

    /// Queues @p turn. If none is under way it starts at once, and take() returns at its first
    /// real wait or its end.
    void take(Task<void> turn);
    /// For whoever frees much outside of a turn: does what is done at rest, unless a turn is under
    /// way, at whose end it comes anyway.
    void rest()
    {
        if (!m_busy)
            m_onRest();
    }
    /// Whether a turn is under way.
    bool busy() const { return m_busy; }

private:
    Task<void> runAll();
    void report(std::exception_ptr failure) noexcept;

    FailureHandler m_onFailure;
    std::function<void()> m_onRest;
    std::deque<Task<void>> m_waiting;
    std::optional<Task<void>> m_runner;
    bool m_busy = false;
};

} // namespace quillfen::platform
