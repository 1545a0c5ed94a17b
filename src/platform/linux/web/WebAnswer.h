// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QSslConfiguration>
#include <QStringList>
#include <QUrl>

#include <chrono>
#include <optional>

namespace quillfen::platform {

/// One request to one server, with nothing left to look up.
struct WebRequest {
    QUrl url; ///< http or https, with a host.
    QByteArray userAgent{}; ///< Empty: a plain one.
    QUrl proxy{}; ///< See webProxyFor(); empty for none.
    QStringList
        addresses{}; ///< Whom to connect to, in numbers: the proxy if there is one. At least one.
    std::optional<QSslConfiguration> trust{}; ///< Whose certificates count; for https.
    std::chrono::milliseconds within{}; ///< For the addresses to share: the time to get connected.
};

/// What the server answered.
struct WebAnswer {
    std::optional<QByteArray> body; ///< Nothing when the exchange broke off or had none.
    std::optional<QUrl> redirect; ///< Where it sends us, if it does; there is no body then.
};

} // namespace quillfen::platform
