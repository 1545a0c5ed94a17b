// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/TlsTrust.h"

#include <QSslCertificate>
#include <QSslConfiguration>
#include <QString>

#include <cstddef>
#include <utility>
#include <vector>

namespace quillfen::world {

/// A machine that trusts the authorities in a PEM file, at first nobody, and can take its time to
/// say so.
class FakeTlsTrust : public platform::TlsTrust {
public:
    FakeTlsTrust() { m_configuration.setCaCertificates({}); }
    explicit FakeTlsTrust(const QString &file) { trusts(file); }

    void trusts(const QString &file)
    {
        m_configuration.setCaCertificates(QSslCertificate::fromPath(file));
    }

    /// From now on whoever asks waits, until speak().
    void keepSilent() { m_silent = true; }
    void speak()
    {
        m_silent = false;
        for (const auto &give : std::exchange(m_waiting, {}))
            give(m_configuration);
    }
    /// How many have asked in vain.
    std::size_t waiting() const { return m_waiting.size(); }

    platform::Task<QSslConfiguration> configuration() override
    {
        if (!m_silent)
            co_return m_configuration;
        platform::Later<QSslConfiguration> later;
        m_waiting.push_back(later.giver());
        co_return co_await later;
    }

private:
    QSslConfiguration m_configuration = QSslConfiguration::defaultConfiguration();
    bool m_silent = false;
    std::vector<platform::Giver<QSslConfiguration>> m_waiting;
};

} // namespace quillfen::world
