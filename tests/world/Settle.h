// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"
#include "platform/Turns.h"

#include <chrono>
#include <exception>
#include <optional>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <variant>

namespace quillfen::world {

/// Lets the event loop turn until @p turns has no turn left. For tests only: it nests a loop.
/// @returns false if a turn is still under way after @p deadline.
bool comesToRest(const platform::Turns &turns,
                 std::chrono::milliseconds deadline = std::chrono::seconds(5));

template <typename T>
using Settled = std::optional<std::conditional_t<std::is_void_v<T>, std::monostate, T>>;

/// Runs @p task and notes its result in @p result, which outlives it.
template <typename T>
platform::Task<void> note(platform::Task<T> task, Settled<T> *result)
{
    if constexpr (std::is_void_v<T>) {
        co_await std::move(task);
        result->emplace();
    } else {
        T value = co_await std::move(task);
        result->emplace(std::move(value));
    }
}

/// Runs @p task to its end while the event loop turns. For tests only: it nests a loop.
/// @returns its result; an exception that leaves the task leaves this too, and a task that has
///          not ended after @p deadline is cancelled and fails the test with std::runtime_error.
template <typename T>
T settle(platform::Task<T> task, std::chrono::milliseconds deadline = std::chrono::seconds(5))
{
    Settled<T> result;
    std::exception_ptr thrown;
    platform::Turns turns([&thrown](std::exception_ptr failure) { thrown = std::move(failure); });
    turns.take(note(std::move(task), &result));
    if (!comesToRest(turns, deadline))
        throw std::runtime_error("the task did not end in time");
    if (thrown)
        std::rethrow_exception(thrown);
    if constexpr (!std::is_void_v<T>)
        return std::move(*result);
}

} // namespace quillfen::world
