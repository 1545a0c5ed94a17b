// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/FakeTlsTrust.h"

#include <QSslCertificate>

#include <utility>

namespace quillfen::world {

FakeTlsTrust::FakeTlsTrust()
{
    m_configuration.setCaCertificates({});
}

FakeTlsTrust::FakeTlsTrust(const QString &file)
{
    trusts(file);
}

FakeTlsTrust::~FakeTlsTrust() = default;

void FakeTlsTrust::trusts(const QString &file)
{
    m_configuration.setCaCertificates(QSslCertificate::fromPath(file));
}

void FakeTlsTrust::speak()
{
    m_silent = false;
    for (const auto &give : std::exchange(m_waiting, {}))
        give(m_configuration);
}

platform::Task<QSslConfiguration> FakeTlsTrust::configuration()
{
    if (!m_silent)
        co_return m_configuration;
    platform::Later<QSslConfiguration> later;
    m_waiting.push_back(later.giver());
    co_return co_await later;
}

} // namespace quillfen::world
