// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/SystemReport.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace quillfen::world {

/// A radio that joins and leaves networks, and the report on it. At first there is no radio.
class FakeSystemReport : public platform::SystemReport {
public:
    FakeSystemReport();
    ~FakeSystemReport() override;

    /// From now on the machine is joined to the network @p name.
    void joins(const QString &name);
    /// From now on it is joined to none, or has no radio.
    void leaves();
    /// From now on the report is exactly this.
    void reports(const QByteArray &report);
    /// From now on whoever asks has to wait, until speaks().
    void keepsSilent() { m_silent = true; }
    /// All who wait, and who asks from now on, get the report as it is now.
    void speaks();
    /// Whether somebody waits; one whose task was destroyed meanwhile counts as well.
    bool isAsked() const { return !m_waiting.empty(); }

    platform::Task<std::optional<QByteArray>> run() override;

private:
    std::optional<QByteArray> m_report;
    bool m_silent = false;
    std::vector<platform::Giver<std::optional<QByteArray>>> m_waiting;
};

} // namespace quillfen::world
