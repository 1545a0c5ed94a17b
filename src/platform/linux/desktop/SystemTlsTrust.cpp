// SPDX-License-Identifier: GPL-3.0-or-later
//
// Two threads, one after the other. The first reads files, which nobody can interrupt; it may still
// do so while the process ends, and so uses nothing that goes then. The second reads what is in
// them, for which it needs Qt and OpenSSL. They are taken down with the process: it ends before.
#include "platform/linux/desktop/SystemTlsTrust.h"

#include "platform/SystemConsole.h"

#include <QFile>
#include <QMetaObject>
#include <QObject>

#include <filesystem>
#include <functional>
#include <mutex>
#include <stop_token>
#include <system_error>
#include <thread>
#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

/// Those of @p certificates that can be read; fewer once @p stop is asked for.
QList<QSslCertificate> parsed(const PemCertificates &certificates, const std::stop_token &stop)
{
    QList<QSslCertificate> authorities;
    for (const QByteArray &certificate : certificates) {
        if (stop.stop_requested())
            break;
        authorities += QSslCertificate::fromData(certificate, QSsl::Pem);
    }
    return authorities;
}

} // namespace

/// How the threads come to speak on the main thread.
struct SystemTlsTrust::Speech {
    /// On any thread: has @p say called there, if we are still there.
    void bring(const std::function<void()> &say)
    {
        const std::lock_guard lock(mutex);
        if (listener)
            QMetaObject::invokeMethod(listener.get(), say, Qt::QueuedConnection);
    }

    std::mutex mutex;
    std::unique_ptr<QObject> listener = std::make_unique<QObject>(); ///< Null: nobody listens.
};

SystemTlsTrust::SystemTlsTrust(SystemConsole &console, QString extraFile)
    : m_console(console),
      m_extraFile(std::move(extraFile)),
      m_speech(std::make_shared<Speech>())
{ }

SystemTlsTrust::~SystemTlsTrust()
{
    m_parser = {}; // waits for one certificate at most
    const std::lock_guard lock(m_speech->mutex);
    m_speech->listener.reset();
}

Task<QSslConfiguration> SystemTlsTrust::configuration()
{
    if (m_extraFile.isEmpty())
        co_return QSslConfiguration::defaultConfiguration();
    if (m_configuration)
        co_return *m_configuration;
    Later<QSslConfiguration> later;
    m_waiting.push_back(later.giver());
    if (!std::exchange(m_started, true))
        startReading();
    co_return co_await later;
}

void SystemTlsTrust::startReading()
{
    const std::filesystem::path path = QFile::encodeName(m_extraFile).toStdString();
    try {
        std::thread([this, speech = m_speech, path] {
            const PemCertificates extra = pemCertificatesIn(path);
            const PemCertificates systems =
                extra.empty() ? PemCertificates() : systemPemCertificates();
            speech->bring([this, extra, systems] { startParsing(extra, systems); });
        }).detach();
    } catch (const std::system_error &) { // no more threads for this user
        finish({});
    }
}

void SystemTlsTrust::startParsing(const PemCertificates &extra, const PemCertificates &systems)
{
    QSslConfiguration::defaultConfiguration(); // has Qt load its part in TLS here, not there
    try {
        m_parser = std::jthread([this, extra, systems](const std::stop_token &stop) {
            QList<QSslCertificate> authorities = parsed(extra, stop);
            if (!authorities.isEmpty())
                authorities += parsed(systems, stop);
            m_speech->bring([this, authorities] { finish(authorities); });
        });
    } catch (const std::system_error &) {
        finish({});
    }
}

void SystemTlsTrust::finish(const QList<QSslCertificate> &authorities)
{
    m_parser = {}; // it has ended
    m_configuration = QSslConfiguration::defaultConfiguration();
    if (authorities.isEmpty())
        m_console.write(u"No certificates can be read from %1."_s.arg(m_extraFile));
    else
        m_configuration->setCaCertificates(authorities);
    for (const auto &give : std::exchange(m_waiting, {}))
        give(*m_configuration);
}

} // namespace quillfen::platform
