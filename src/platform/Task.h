// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cassert>
#include <concepts>
#include <coroutine>
#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace quillfen::platform {

template <typename T>
class TaskPromise;

/// A piece of work that may have to wait, written as a coroutine.
///
/// What it promises:
///   1. It is lazy: nothing of it runs before it is awaited, or taken by Turns.
///   2. It runs up to its first real wait at once; one that need not wait ends at once.
///   3. Whoever awaits it gets its value, or the exception that left it.
///   4. It owns its frame: destroying a task that waits destroys what it waits for, down to the
///      last Later, and runs the destructors of all locals on the way. Nothing comes afterwards.
///
/// `co_await work(argument)` or `co_await std::move(task)`; a task is awaited once. It must not be
/// destroyed by itself or by what it awaits. Parameters go by value, and a lambda with captures
/// is no coroutine: the captures die with the lambda. Main thread only.
template <typename T = void>
class [[nodiscard]] Task {
    static_assert(!std::is_reference_v<T>, "a reference could outlive what it refers to");

public:
    using promise_type = TaskPromise<T>;

    Task(Task &&other) noexcept : m_frame(std::exchange(other.m_frame, nullptr)) { }
    Task &operator=(Task &&other) noexcept
    {
        Task former(std::move(other));
        std::swap(m_frame, former.m_frame);
        return *this;
    }
    ~Task()
    {
        if (m_frame)
            m_frame.destroy();
    }

    auto operator co_await() &&noexcept { return Awaiting(std::move(*this)); }

private:
    friend TaskPromise<T>;
    friend class Turns;
    class Awaiting;
    using Frame = std::coroutine_handle<promise_type>;

    explicit Task(Frame frame) noexcept : m_frame(frame) { }

    /// Runs it up to its first wait. @returns whether it ended.
    bool start()
    {
        assert(m_frame && !m_frame.done() && "a task runs once");
        m_frame.resume();
        return m_frame.done();
    }

    Frame m_frame;
};

/// A task while another one awaits it. Its frame goes with the statement that awaits it.
template <typename T>
class [[nodiscard]] Task<T>::Awaiting {
public:
    explicit Awaiting(Task task) noexcept : m_task(std::move(task)) { }

    bool await_ready() const noexcept { return false; }
    /// Started from here, and resumed by it only if it had to wait: so a loop that awaits tasks
    /// that need not wait does not deepen the stack, even where nothing is optimised.
    bool await_suspend(std::coroutine_handle<> awaiter)
    {
        if (m_task.start())
            return false;
        m_task.m_frame.promise().resumeAtEnd(awaiter);
        return true;
    }
    T await_resume() { return m_task.m_frame.promise().take(); }

private:
    Task m_task;
};

/// How a task came out: with a value, or with an exception.
template <typename T>
class TaskOutcome {
public:
    template <typename U = T>
    requires std::convertible_to<U, T>
    void return_value(U &&value) { m_value.emplace(std::forward<U>(value)); }
    void unhandled_exception() noexcept { m_thrown = std::current_exception(); }
    /// Once, after the end.
    T take()
    {
        if (m_thrown)
            std::rethrow_exception(m_thrown);
        return *std::move(m_value);
    }

private:
    std::optional<T> m_value;
    std::exception_ptr m_thrown;
};

template <>
class TaskOutcome<void> {
public:
    void return_void() const noexcept { }
    void unhandled_exception() noexcept { m_thrown = std::current_exception(); }
    void take() const
    {
        if (m_thrown)
            std::rethrow_exception(m_thrown);
    }

private:
    std::exception_ptr m_thrown;
};

/// What the compiler keeps in a task's frame.
template <typename T>
class TaskPromise : public TaskOutcome<T> {
public:
    Task<T> get_return_object() noexcept
    {
        return Task<T>(std::coroutine_handle<TaskPromise>::from_promise(*this));
    }
    std::suspend_always initial_suspend() const noexcept { return {}; }
    auto final_suspend() const noexcept { return End(m_awaiter); }
    void resumeAtEnd(std::coroutine_handle<> awaiter) noexcept { m_awaiter = awaiter; }

private:
    class End {
    public:
        explicit End(std::coroutine_handle<> awaiter) noexcept : m_awaiter(awaiter) { }
        bool await_ready() const noexcept { return false; }
        std::coroutine_handle<> await_suspend(std::coroutine_handle<>) const noexcept
        {
            return m_awaiter;
        }
        void await_resume() const noexcept { }

    private:
        std::coroutine_handle<> m_awaiter;
    };

    std::coroutine_handle<> m_awaiter = std::noop_coroutine();
};

} // namespace quillfen::platform
