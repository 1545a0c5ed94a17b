// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/StatusPublication.h"

#include <QObject>

#include <vector>

namespace quillfen::world {

/// Another program that asks for the status, and one that listens for its changes.
class FakeStatusPublication final : public QObject, public platform::StatusPublication {
public:
    FakeStatusPublication();
    ~FakeStatusPublication() override;

    /// What whoever asks is told now.
    const platform::ShownStatus &asked() const { return m_status; }
    /// What the listener has been told, oldest first.
    const std::vector<platform::ShownStatus> &heard() const { return m_heard; }
    std::vector<platform::ShownStatus> takeHeard();

    void publish(const platform::ShownStatus &status) override;

private:
    void tell();

    platform::ShownStatus m_status;
    platform::ShownStatus m_told;
    std::vector<platform::ShownStatus> m_heard;
    bool m_tellingQueued = false;
};

} // namespace quillfen::world
