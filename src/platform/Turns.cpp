// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Turns.h"

#include <cassert>
#include <utility>

namespace quillfen::platform {

Turns::Turns(FailureHandler onFailure, std::function<void()> onRest)
    : m_onFailure(std::move(onFailure)),
      m_onRest(std::move(onRest))
{
    assert(m_onFailure && "nobody hears of a failure");
}

Turns::~Turns()
{
    // A destructor in a cancelled frame may still call take(). We are busy to the last, so what
    // it brings only queues, and is cancelled too.
    m_runner.reset();
    while (!m_waiting.empty()) {
        const Task<void> cancelled = std::move(m_waiting.front());
        m_waiting.pop_front();
    }
}

void Turns::take(Task<void> turn)
{
    m_waiting.push_back(std::move(turn));
    if (m_busy)
        return;
    m_busy = true;
    m_runner.emplace(runAll());
    m_runner->start();
}

Task<void> Turns::runAll()
{
    while (!m_waiting.empty()) {
        std::exception_ptr failure;
        Task<void> turn = std::move(m_waiting.front());
        m_waiting.pop_front();
        try {
            co_await std::move(turn);
        } catch (...) {
            failure = std::current_exception();
        }
        if (failure)
            report(failure);
        if (m_waiting.empty())
            m_onRest();
    }
    m_busy = false;
}

void Turns::report(std::exception_ptr failure) noexcept
{
    m_onFailure(std::move(failure));
}

} // namespace quillfen::platform
