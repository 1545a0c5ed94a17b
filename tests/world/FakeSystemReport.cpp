// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeSystemReport.h"

#include <utility>

namespace quillfen::world {

FakeSystemReport::FakeSystemReport() = default;

FakeSystemReport::~FakeSystemReport() = default;

void FakeSystemReport::joins(const QString &name)
{
    reports("Current Wireless Network: " + name.toUtf8() + '\n');
}

void FakeSystemReport::leaves()
{
    m_report.reset();
}

void FakeSystemReport::reports(const QByteArray &report)
{
    m_report = report;
}

void FakeSystemReport::speaks()
{
    m_silent = false;
    for (const auto &give : std::exchange(m_waiting, {}))
        give(m_report);
}

platform::Task<std::optional<QByteArray>> FakeSystemReport::run()
{
    if (!m_silent)
        co_return m_report;
    platform::Later<std::optional<QByteArray>> later;
    m_waiting.push_back(later.giver());
    co_return co_await later;
}

} // namespace quillfen::world
