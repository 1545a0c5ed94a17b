// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/StatusPublication.h"

#include <QObject>

#include <utility>
#include <vector>

namespace quillfen::world {

/// Another program that asks for the status, and one that listens for its changes.
class FakeStatusPublication final : public QObject, public platform::StatusPublication {
public:
    /// What whoever asks is told now.
    const platform::ShownStatus &asked() const { return m_status; }
    /// What the listener has been told, oldest first.
    const std::vector<platform::ShownStatus> &heard() const { return m_heard; }
    std::vector<platform::ShownStatus> takeHeard() { return std::exchange(m_heard, {}); }

    void publish(const platform::ShownStatus &status) override
    {
        m_status = status;
        if (!std::exchange(m_tellingQueued, true))
            QMetaObject::invokeMethod(
                this, [this] { tell(); }, Qt::QueuedConnection);
    }

private:
    void tell()
    {
        m_tellingQueued = false;
        if (m_status != m_told)
            m_heard.push_back(m_status);
        m_told = m_status;
    }

    platform::ShownStatus m_status;
    platform::ShownStatus m_told;
    std::vector<platform::ShownStatus> m_heard;
    bool m_tellingQueued = false;
};

} // namespace quillfen::world
