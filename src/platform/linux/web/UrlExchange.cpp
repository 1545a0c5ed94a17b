// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/UrlExchange.h"

#include "platform/NameLookup.h"
#include "platform/TlsTrust.h"
#include "platform/linux/web/CurlLibrary.h"
#include "platform/linux/web/CurlTransfer.h"
#include "platform/linux/web/WebProxy.h"

#include <chrono>
#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

bool isWeb(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty()
        && (url.scheme() == "http"_L1 || url.scheme() == "https"_L1);
}

/// Whether @p address counts on one link only (RFC 4007 section 11). libcurl is not to be given
/// such.
bool isScoped(const QString &address)
{
    return address.contains(u'%');
}

} // namespace

UrlExchange::UrlExchange(CurlLibrary &curl, NameLookup &names, TlsTrust &trust, UrlRequest request)
    : m_curl(curl),
      m_names(names),
      m_trust(trust),
      m_request(std::move(request)),
      m_deadline(m_request.within, Qt::PreciseTimer)
{ }

Task<> UrlExchange::run(Giver<std::optional<QByteArray>> give)
{
    QUrl url = m_request.url;
    for (int redirects = 0; redirects <= UrlLoader::kMostRedirects && isWeb(url); ++redirects) {
        const WebAnswer answer = co_await ask(url);
        if (!answer.redirect) {
            give(answer.body);
            co_return;
        }
        url = url.resolved(*answer.redirect);
    }
    give(std::nullopt);
}

Task<WebAnswer> UrlExchange::ask(QUrl url)
{
    WebRequest request{.url = url, .userAgent = m_request.userAgent, .proxy = webProxyFor(url)};
    const QUrl &peer = request.proxy.isEmpty() ? request.url : request.proxy;
    const QString name = peer.host(QUrl::EncodeUnicode);
    const NameAnswer found = co_await m_names.addresses(name);
    request.addresses = found.addresses;
    request.addresses.removeIf(isScoped);
    if (request.addresses.isEmpty())
        co_return WebAnswer();
    const CurlFunctions *const curl = co_await m_curl.functions();
    if (!curl)
        co_return WebAnswer();
    if (url.scheme() == "https"_L1)
        request.trust = co_await m_trust.configuration();
    request.within = std::chrono::milliseconds(m_deadline.remainingTime());

    Later<WebAnswer> answer;
    const CurlTransfer transfer(*curl, request, answer.giver());
    co_return co_await answer;
}

} // namespace quillfen::platform
