// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/TlsTrust.h"

#include <QSslConfiguration>
#include <QString>

#include <cstddef>
#include <vector>

namespace quillfen::world {

/// A machine that trusts the authorities in a PEM file, at first nobody, and can take its time to
/// say so.
class FakeTlsTrust : public platform::TlsTrust {
public:
    FakeTlsTrust();
    explicit FakeTlsTrust(const QString &file);
    ~FakeTlsTrust() override;

    void trusts(const QString &file);

    /// From now on whoever asks waits, until speak().
    void keepSilent() { m_silent = true; }
    void speak();
    /// How many have asked in vain.
    std::size_t waiting() const { return m_waiting.size(); }

    platform::Task<QSslConfiguration> configuration() override;

private:
    QSslConfiguration m_configuration = QSslConfiguration::defaultConfiguration();
    bool m_silent = false;
    std::vector<platform::Giver<QSslConfiguration>> m_waiting;
};

} // namespace quillfen::world
