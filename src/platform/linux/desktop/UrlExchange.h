// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/Task.h"
#include "platform/UrlLoader.h"

#include <QNetworkRequest>

#include <optional>

namespace quillfen::platform {

class NameLookup;
class TlsTrust;

/// What one server answered to one request.
struct UrlAnswer {
    std::optional<QByteArray> body; ///< Nothing when the exchange broke off or had none.
    QUrl redirect; ///< Where it sent us; empty for an answer of its own.
    bool reached = false; ///< Whether there was an answer of any kind.
};

/// One load of a QtUrlLoader: name, request, redirects, body. Nothing outlives it; destroying it
/// ends all that is under way.
class UrlExchange {
public:
    /// @p names and @p trust must outlive this.
    UrlExchange(NameLookup &names, TlsTrust &trust, UrlRequest request);

    /// The whole exchange; gives the outcome to @p give. It has no deadline of its own.
    Task<> run(Giver<std::optional<QByteArray>> give);

private:
    /// Asks the server of @p url, at each of its addresses until one answers.
    Task<UrlAnswer> ask(QUrl url);
    /// Asks for @p url at @p address.
    Task<UrlAnswer> askAt(QUrl url, QString address);
    QNetworkRequest requestFor(const QUrl &url, const QString &address) const;

    NameLookup &m_names;
    TlsTrust &m_trust;
    UrlRequest m_request;
};

} // namespace quillfen::platform
