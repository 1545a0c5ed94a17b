// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/TlsTrust.h"
#include "platform/linux/desktop/PemFiles.h"

#include <QList>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QString>

#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace quillfen::platform {

class SystemConsole;

/// The authorities of the system and, where there is one, those in a further file.
///
/// Without the file nothing is read, and nobody waits: Qt itself finds the system's authority that
/// a server needs. With it Qt wants to be given all of them, a few hundred milliseconds of work.
/// They are read once, when they are first asked for, on threads that nobody waits for, the end of
/// the process included, and stay in memory.
class SystemTlsTrust : public TlsTrust {
public:
    /// @p extraFile is a PEM file, or empty. One that gives no certificate is said on @p console,
    /// once, and the system's authorities alone count. @p console must outlive this.
    SystemTlsTrust(SystemConsole &console, QString extraFile);
    ~SystemTlsTrust() override;
    SystemTlsTrust(const SystemTlsTrust &) = delete;
    SystemTlsTrust &operator=(const SystemTlsTrust &) = delete;

    Task<QSslConfiguration> configuration() override;

private:
    struct Speech;

    void startReading();
    void startParsing(const PemCertificates &extra, const PemCertificates &systems);
    void finish(const QList<QSslCertificate> &authorities);

    SystemConsole &m_console;
    QString m_extraFile;
    std::optional<QSslConfiguration> m_configuration; ///< Once it is known.
    std::vector<Giver<QSslConfiguration>> m_waiting;
    bool m_started = false; ///< Whether somebody has asked.
    std::shared_ptr<Speech> m_speech; ///< Outlives us while files are read.
    std::jthread m_parser; ///< None before all files are read, and after.
};

} // namespace quillfen::platform
