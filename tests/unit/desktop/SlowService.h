// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <mutex>

namespace quillfen::platform {

/// What a resolver asks, and which answers when the test says so. Safe to use from any thread.
class SlowService {
public:
    /// Notes the question and returns when the service is open.
    void wait()
    {
        std::unique_lock lock(m_mutex);
        ++m_asked;
        m_changed.wait(lock, [this] { return m_open; });
    }
    void open()
    {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    int asked()
    {
        const std::lock_guard lock(m_mutex);
        return m_asked;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
    int m_asked = 0;
};

} // namespace quillfen::platform
