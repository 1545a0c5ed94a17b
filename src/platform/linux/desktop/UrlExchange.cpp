// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/UrlExchange.h"

#include "platform/NameLookup.h"
#include "platform/TlsTrust.h"
#include "platform/linux/desktop/WebProxy.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QSslConfiguration>

#include <memory>
#include <utility>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

/// How much of a body Qt may hold for us; we take it as it comes.
constexpr qint64 kReadBuffer = 64 * 1024;

bool isWeb(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty()
        && (url.scheme() == "http"_L1 || url.scheme() == "https"_L1);
}

/// Whether @p reply came to its end, be it an error page's: Qt reports those as errors as well.
bool isWhole(const QNetworkReply &reply)
{
    const QNetworkReply::NetworkError error = reply.error();
    const bool errorPage =
        (error >= QNetworkReply::ContentAccessDenied && error <= QNetworkReply::UnknownContentError)
        || error >= QNetworkReply::InternalServerError
        || error == QNetworkReply::ProtocolInvalidOperationError // for the statuses 400 and 418
        || error == QNetworkReply::ProxyAuthenticationRequiredError; // for 407
    return error == QNetworkReply::NoError || errorPage;
}

/// Takes in a body as it arrives, up to what may be taken.
class Body {
public:
    /// @returns whether more is wanted.
    bool take(QNetworkReply &reply)
    {
        m_bytes += reply.read(UrlLoader::kMostBytes - m_bytes.size());
        return m_bytes.size() < UrlLoader::kMostBytes;
    }
    bool full() const { return m_bytes.size() == UrlLoader::kMostBytes; }
    std::optional<QByteArray> bytes() const
    {
        return m_bytes.isEmpty() ? std::nullopt : std::optional(m_bytes);
    }

private:
    QByteArray m_bytes;
};

} // namespace

UrlExchange::UrlExchange(NameLookup &names, TlsTrust &trust, UrlRequest request)
    : m_names(names),
      m_trust(trust),
      m_request(std::move(request))
{ }

Task<> UrlExchange::run(Giver<std::optional<QByteArray>> give)
{
    QUrl url = m_request.url;
    for (int redirects = 0; redirects <= UrlLoader::kMostRedirects && isWeb(url); ++redirects) {
        const UrlAnswer answer = co_await ask(url);
        if (answer.redirect.isEmpty()) {
            give(answer.body);
            co_return;
        }
        url = url.resolved(answer.redirect);
    }
    give(std::nullopt);
}

Task<UrlAnswer> UrlExchange::ask(QUrl url)
{
    if (webProxyFor(url).type() != QNetworkProxy::NoProxy) {
        const QString byName;
        UrlAnswer answer = co_await askAt(url, byName);
        co_return answer;
    }
    const QString name = url.host(QUrl::EncodeUnicode);
    const NameAnswer found = co_await m_names.addresses(name);
    UrlAnswer answer;
    for (const QString &address : found.addresses) {
        answer = co_await askAt(url, address);
        if (answer.reached)
            break;
    }
    co_return answer;
}

Task<UrlAnswer> UrlExchange::askAt(QUrl url, QString address)
{
    QNetworkRequest request = requestFor(url, address);
    if (url.scheme() == "https"_L1) {
        const QSslConfiguration trust = co_await m_trust.configuration();
        request.setSslConfiguration(trust);
    }
    Later<bool> finished;
    Body body;
    // One for each request: on a connection that is kept Qt would send the next one just as the
    // server hangs up, and then send it again.
    QNetworkAccessManager manager;
    manager.setProxy(webProxyFor(url)); // said always, or Qt would ask the desktop's settings
    const std::unique_ptr<QNetworkReply> reply(manager.get(request));
    reply->setReadBufferSize(kReadBuffer);
    QObject::connect(reply.get(), &QNetworkReply::readyRead, reply.get(),
                     [&body, raw = reply.get(), give = finished.giver()] {
                         if (!body.take(*raw))
                             give(false);
                     });
    QObject::connect(reply.get(), &QNetworkReply::finished, reply.get(),
                     [give = finished.giver()] { give(true); });
    const bool ended = co_await finished;

    UrlAnswer answer;
    answer.reached = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
    answer.redirect = reply->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    if (ended)
        body.take(*reply);
    if (body.full() || (ended && isWhole(*reply)))
        answer.body = body.bytes();
    co_return answer;
}

QNetworkRequest UrlExchange::requestFor(const QUrl &url, const QString &address) const
{
    QUrl target = url;
    if (!address.isEmpty())
        target.setHost(address);
    QNetworkRequest request(target);
    if (!address.isEmpty()) {
        request.setRawHeader("Host"_ba,
                             url.authority(QUrl::RemoveUserInfo | QUrl::EncodeUnicode).toLatin1());
        request.setPeerVerifyName(url.host(QUrl::EncodeUnicode));
    }
    if (!m_request.userAgent.isEmpty())
        request.setRawHeader("User-Agent"_ba, m_request.userAgent);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                         QNetworkRequest::AlwaysNetwork);
    request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, false);
    return request;
}

} // namespace quillfen::platform
