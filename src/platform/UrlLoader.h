// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"

#include <QByteArray>
#include <QUrl>

#include <chrono>
#include <optional>

namespace quillfen::platform {

/// What to load, and how.
struct UrlRequest {
    QUrl url; ///< http or https.
    QByteArray userAgent{}; ///< What to call ourselves; empty: as the implementation likes.
    std::chrono::milliseconds within{}; ///< For the whole exchange.
};

/// Loads what is behind a URL: one GET (RFC 9110 section 9.3.1).
///
/// What every implementation promises:
///   1. The body comes whole, transfer and content codings undone, whatever the status is: the
///      body of an error page is an answer like any other.
///   2. Nothing comes for a URL of another scheme, when nobody answers, when the exchange breaks
///      off before the length that was announced, and when the answer has no body. A server that
///      hangs up before it answers may be asked once more within the time.
///   3. It is over when UrlRequest::within is over, looking up the name included, however busily
///      the server trickles; it then brings nothing.
///   4. A body is read up to kMostBytes and no further; what was read of a longer one is the body.
///   5. Redirects are followed, at most kMostRedirects of them, and only to http and https.
///   6. Nothing is kept: no cached page, no cookie, no connection, no timer.
///   7. Destroying the task ends the exchange at once.
class UrlLoader {
public:
    static constexpr qsizetype kMostBytes = 1024 * 1024;
    static constexpr int kMostRedirects = 3;

    virtual ~UrlLoader() = default;

    virtual Task<std::optional<QByteArray>> load(UrlRequest request) = 0;
};

} // namespace quillfen::platform
