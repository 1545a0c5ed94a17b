// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Later.h"
#include "platform/Task.h"
#include "platform/UrlLoader.h"
#include "platform/linux/web/WebAnswer.h"

#include <QDeadlineTimer>

#include <optional>

namespace quillfen::platform {

class CurlLibrary;
class NameLookup;
class TlsTrust;

/// One load of a CurlUrlLoader: name, request, redirects, body. Nothing outlives it; destroying it
/// ends all that is under way.
class UrlExchange {
public:
    /// @p curl, @p names and @p trust must outlive this.
    UrlExchange(CurlLibrary &curl, NameLookup &names, TlsTrust &trust, UrlRequest request);

    /// The whole exchange; gives the outcome to @p give. It need not end within its time.
    Task<> run(Giver<std::optional<QByteArray>> give);

private:
    /// Asks the server of @p url.
    Task<WebAnswer> ask(QUrl url);

    CurlLibrary &m_curl;
    NameLookup &m_names;
    TlsTrust &m_trust;
    UrlRequest m_request;
    QDeadlineTimer m_deadline;
};

} // namespace quillfen::platform
