// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QMetaObject>
#include <QObject>
#include <QThread>

#include <cassert>
#include <coroutine>
#include <memory>
#include <optional>
#include <utility>

namespace quillfen::platform {

template <typename T>
class Giver;

/// One value that a callback brings later, awaited by one task, once.
///
///     Later<Reply> reply;
///     network.fetch(url, reply.giver());
///     const Reply heard = co_await reply;
///
/// It is a named variable of the task that awaits it, so that destroying the task also ends the
/// wait. The task goes on from the event loop, never inside the giver's call; only a value that
/// is there already is not waited for. Main thread only.
template <typename T>
class Later {
public:
    Later() : m_state(std::make_shared<State>()) { }
    Later(const Later &) = delete;
    Later &operator=(const Later &) = delete;

    /// What brings the value. Any number of copies may outlive this.
    Giver<T> giver() const { return Giver<T>(m_state); }

    auto operator co_await() &noexcept { return Awaiting(*m_state); }

private:
    friend Giver<T>;
    struct State;
    class Awaiting;

    const std::shared_ptr<State> m_state; ///< Only we own it.
};

/// Brings a Later its value: the first one given counts, all others are dropped, and so is one
/// that comes when nobody can await it any more. Cheap to copy. Copies may be kept and dropped on
/// any thread, but are called on the main thread only.
template <typename T>
class Giver {
public:
    /// Gives to nobody.
    Giver() = default;

    void operator()(T value) const
    {
        if (const auto state = m_state.lock())
            state->give(std::move(value));
    }

private:
    friend Later<T>;
    using State = typename Later<T>::State;

    explicit Giver(const std::shared_ptr<State> &state) : m_state(state) { }

    std::weak_ptr<State> m_state;
};

template <typename T>
struct Later<T>::State {
    void give(T given)
    {
        assert(context.thread() == QThread::currentThread() && "the main thread gives");
        if (value)
            return;
        value.emplace(std::move(given));
        if (awaiter)
            QMetaObject::invokeMethod(&context, awaiter, Qt::QueuedConnection);
    }

    QObject context; ///< Dies with the Later, and with it a resumption that is already posted.
    std::optional<T> value;
    std::coroutine_handle<> awaiter;
};

template <typename T>
class [[nodiscard]] Later<T>::Awaiting {
public:
    explicit Awaiting(State &state) noexcept : m_state(state) { }

    bool await_ready() const noexcept { return m_state.value.has_value(); }
    void await_suspend(std::coroutine_handle<> awaiter) const noexcept
    {
        assert(!m_state.awaiter && "one task awaits it, once");
        m_state.awaiter = awaiter;
    }
    T await_resume() const { return std::move(*m_state.value); }

private:
    State &m_state;
};

} // namespace quillfen::platform
