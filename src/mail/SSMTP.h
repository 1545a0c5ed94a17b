// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "mail/CWSMTP.h"
#include "mail/CWSMTPDelegate.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace quillfen::platform {
class Host;
class Preferences;
} // namespace quillfen::platform

namespace quillfen::support {
class Log;
}

namespace quillfen::mail {

/// The notifier: sends one notification mail to one recipient, and writes each step to the log.
///
/// One mail a notifier: a second one would give up the first, if that is still under way.
/// It reads the settings afresh at each stage. The log is the only place where the outcome is
/// told; no failure is retried. Main thread only.
class SSMTP : public CWSMTPDelegate {
public:
    /// Makes an SMTP client for a server's name and port; it does not connect yet.
    using ClientMaker =
        std::function<std::unique_ptr<CWSMTP>(const QString &name, std::int16_t port)>;

    /// The first three must outlive this, and so must whatever @p makeClient refers to.
    SSMTP(support::Log &log, platform::Preferences &preferences, platform::Host &host,
          ClientMaker makeClient);
    ~SSMTP() override;
    SSMTP(const SSMTP &) = delete;
    SSMTP &operator=(const SSMTP &) = delete;

    /// Composes the mail and starts sending it; returns at once. Nothing happens, and nothing is
    /// logged, where there is no recipient or no mail server.
    ///
    /// @param oldAddress   the address before; without it the body is a fixed text.
    /// @param toRecipient  one address, which is the sender too.
    /// @param usingMessage the body's format: the machine's name, @p oldAddress and @p message are
    ///                     put into it, in this order.
    void sendMessage(const QString &message, const std::optional<QString> &oldAddress,
                     const std::optional<QString> &toRecipient, const QString &usingMessage);
    /// Whether mail goes over TLS: yes, unless the user's defaults say no. A text there that says
    /// neither yes nor no, such as "enabled", is a yes.
    bool useSSL() const;

    void connectionEstablished(const CWNotification &notification) override;
    void serviceInitialized(const CWNotification &notification) override;
    void authenticationCompleted(const CWNotification &notification) override;
    void authenticationFailed(const CWNotification &notification) override;
    void messageSent(const CWNotification &notification) override;
    void messageNotSent(const CWNotification &notification) override;
    void connectionLost(const CWNotification &notification) override;
    void connectionTimedOut(const CWNotification &notification) override;
    void connectionTerminated(const CWNotification &notification) override;

private:
    QString body(const QString &message, const std::optional<QString> &oldAddress,
                 const QString &format);
    std::int16_t storedPort() const;
    void authenticate(const QByteArray &mechanism);
    void guarded(const std::function<void()> &calls);
    void releaseClient();

    support::Log &m_log;
    platform::Preferences &m_preferences;
    platform::Host &m_host;
    ClientMaker m_makeClient;
    std::unique_ptr<CWSMTP> _smtp; ///< The client of the mail in flight.
};

} // namespace quillfen::mail
