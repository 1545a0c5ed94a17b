// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/SystemReport.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <utility>
#include <vector>

namespace quillfen::world {

/// A radio that joins and leaves networks, and the report on it. At first there is no radio.
class FakeSystemReport : public platform::SystemReport {
public:
    /// From now on the machine is joined to the network @p name.
    void joins(const QString &name)
    {
        reports("Current Wireless Network: " + name.toUtf8() + '\n');
    }
    /// From now on it is joined to none, or has no radio.
    void leaves() { m_report.reset(); }
    /// From now on the report is exactly this.
    void reports(const QByteArray &report) { m_report = report; }
    /// From now on whoever asks has to wait, until speaks().
    void keepsSilent() { m_silent = true; }
    /// All who wait, and who asks from now on, get the report as it is now.
    void speaks()
    {
        m_silent = false;
        for (const auto &give : std::exchange(m_waiting, {}))
            give(m_report);
    }
    /// Whether somebody waits; one whose task was destroyed meanwhile counts as well.
    bool isAsked() const { return !m_waiting.empty(); }

    platform::Task<std::optional<QByteArray>> run() override
    {
        if (!m_silent)
            co_return m_report;
        platform::Later<std::optional<QByteArray>> later;
        m_waiting.push_back(later.giver());
        co_return co_await later;
    }

private:
    std::optional<QByteArray> m_report;
    bool m_silent = false;
    std::vector<platform::Giver<std::optional<QByteArray>>> m_waiting;
};

} // namespace quillfen::world
