// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/CurlTransfer.h"

#include "platform/UrlLoader.h"
#include "platform/linux/web/ServerTrust.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>

#include <sys/socket.h>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

/// Some services turn away whoever does not say what he is.
constexpr const char *kPlainAgent = "Mozilla/5.0";
/// The statuses that send us elsewhere (RFC 9110 section 15.4).
constexpr std::array kRedirects{301L, 302L, 303L, 307L, 308L};

/// The field @p name of the last head; null where it has none.
const curl_header *field(const CurlFunctions &curl, CURL *handle, const char *name)
{
    curl_header *found = nullptr;
    const CURLHcode code = curl.easyHeader(handle, name, 0, CURLH_HEADER, -1, &found);
    return code == CURLHE_OK ? found : nullptr;
}

/// What @p field says. libcurl leaves the end of the line of one that says nothing.
QByteArrayView text(const curl_header &field)
{
    return QByteArrayView(field.value).trimmed();
}

/// Whether the coding in the field @p name is one of @p codings, or there is none.
bool isCodedAs(const CurlFunctions &curl, CURL *handle, const char *name,
               std::initializer_list<QByteArrayView> codings)
{
    const curl_header *const found = field(curl, handle, name);
    const auto matches = [found](QByteArrayView coding) {
        return coding.compare(text(*found), Qt::CaseInsensitive) == 0;
    };
    return !found || (found->amount == 1 && std::ranges::any_of(codings, matches));
}

/// One that no child of ours gets, which could keep the connection open after us.
curl_socket_t openSocket(void *, curlsocktype, curl_sockaddr *address)
{
    return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

template <auto take>
std::size_t bring(char *bytes, std::size_t, std::size_t count, void *transfer)
{
    const QByteArrayView piece(bytes, qsizetype(count));
    return (static_cast<CurlTransfer *>(transfer)->*take)(piece) ? count : CURL_WRITEFUNC_ERROR;
}

} // namespace

CurlTransfer::CurlTransfer(const CurlFunctions &curl, const WebRequest &request,
                           Giver<WebAnswer> give)
    : m_curl(curl),
      m_give(std::move(give)),
      m_trust(request.trust),
      m_addresses(nullptr, m_curl.slistFreeAll),
      m_fields(nullptr, m_curl.slistFreeAll),
      m_handle(m_curl.easyInit(), m_curl.easyCleanup)
{
    askFor(request);
    connectTo(request);
    trust();
    listen();
    m_multi.emplace(m_curl, m_handle.get(), [this](CURLcode code) { end(code); });
}

void CurlTransfer::askFor(const WebRequest &request)
{
    CURL *const handle = m_handle.get();
    m_fields.reset(m_curl.slistAppend(nullptr, "Connection: close"));
    const char *const agent =
        request.userAgent.isEmpty() ? kPlainAgent : request.userAgent.constData();
    m_curl.easySetopt(handle, CURLOPT_URL, request.url.toEncoded(QUrl::RemoveFragment).constData());
    m_curl.easySetopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
    m_curl.easySetopt(handle, CURLOPT_HTTP_VERSION, long(CURL_HTTP_VERSION_1_1));
    m_curl.easySetopt(handle, CURLOPT_HTTPHEADER, m_fields.get());
    m_curl.easySetopt(handle, CURLOPT_USERAGENT, agent);
    m_curl.easySetopt(handle, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    // For a URL or a proxy with a password. The other ways of saying it may ask further servers.
    m_curl.easySetopt(handle, CURLOPT_HTTPAUTH, long(CURLAUTH_BASIC | CURLAUTH_DIGEST));
    m_curl.easySetopt(handle, CURLOPT_PROXYAUTH, long(CURLAUTH_BASIC | CURLAUTH_DIGEST));
}

void CurlTransfer::connectTo(const WebRequest &request)
{
    CURL *const handle = m_handle.get();
    const QUrl &proxy = request.proxy;
    const QUrl &peer = proxy.isEmpty() ? request.url : proxy;
    const int port = peer.port(peer.scheme() == "https"_L1 ? 443 : 80);
    // For any name, so that there is none left that libcurl would look up.
    const QString entry = u"*:%1:%2"_s.arg(port).arg(request.addresses.join(u','));
    m_addresses.reset(m_curl.slistAppend(nullptr, entry.toLatin1().constData()));
    m_curl.easySetopt(handle, CURLOPT_RESOLVE, m_addresses.get());
    m_curl.easySetopt(handle, CURLOPT_CONNECTTIMEOUT_MS,
                      std::max(long(request.within.count()), 1L));
    m_curl.easySetopt(handle, CURLOPT_OPENSOCKETFUNCTION, &openSocket);
    m_curl.easySetopt(handle, CURLOPT_NOSIGNAL, 1L);
    // Said always, or libcurl would read the environment itself.
    const QByteArray place = proxy.toEncoded(QUrl::RemoveUserInfo);
    m_curl.easySetopt(handle, CURLOPT_PROXY, place.constData());
    m_curl.easySetopt(handle, CURLOPT_NOPROXY, "");
    if (proxy.userName().isEmpty())
        return;
    m_curl.easySetopt(handle, CURLOPT_PROXYUSERNAME, proxy.userName().toUtf8().constData());
    m_curl.easySetopt(handle, CURLOPT_PROXYPASSWORD, proxy.password().toUtf8().constData());
}

void CurlTransfer::trust()
{
    CURL *const handle = m_handle.get();
    const auto prepare = [](CURL *, void *context, void *transfer) {
        const auto &self = *static_cast<CurlTransfer *>(transfer);
        if (self.m_trust)
            trustAs(self.m_curl, *self.m_trust, *static_cast<SSL_CTX *>(context));
        return CURLE_OK;
    };
    m_curl.easySetopt(handle, CURLOPT_SSLVERSION, long(CURL_SSLVERSION_TLSv1_2));
    m_curl.easySetopt(handle, CURLOPT_CAINFO, nullptr); // reads all those of the system each time
    m_curl.easySetopt(handle, CURLOPT_CAPATH, nullptr);
    m_curl.easySetopt(handle, CURLOPT_SSL_CTX_FUNCTION, +prepare);
    m_curl.easySetopt(handle, CURLOPT_SSL_CTX_DATA, this);
}

void CurlTransfer::listen()
{
    CURL *const handle = m_handle.get();
    m_curl.easySetopt(handle, CURLOPT_HEADERFUNCTION, &bring<&CurlTransfer::takeHead>);
    m_curl.easySetopt(handle, CURLOPT_HEADERDATA, this);
    m_curl.easySetopt(handle, CURLOPT_WRITEFUNCTION, &bring<&CurlTransfer::takeBody>);
    m_curl.easySetopt(handle, CURLOPT_WRITEDATA, this);
}

bool CurlTransfer::takeHead(QByteArrayView line)
{
    m_headBytes += line.size();
    if (m_headBytes > kMostHeadBytes || ++m_headLines > kMostHeadLines)
        return false;
    return !line.trimmed().isEmpty() || goesOnBehindHead();
}

bool CurlTransfer::goesOnBehindHead()
{
    long status = 0; // also before the server's own answer, while a proxy connects us
    m_curl.easyGetinfo(m_handle.get(), CURLINFO_RESPONSE_CODE, &status);
    if (status < 200)
        return true;
    const curl_header *const place = field(m_curl, m_handle.get(), "Location");
    const bool leadsOn = std::ranges::find(kRedirects, status) != kRedirects.end();
    if (leadsOn && place && !text(*place).isEmpty()) {
        m_redirect = QUrl::fromEncoded(text(*place).toByteArray());
        return false;
    }
    return isCodedAs(m_curl, m_handle.get(), "Content-Encoding",
                     {"gzip", "x-gzip", "deflate", "identity", ""})
        && isCodedAs(m_curl, m_handle.get(), "Transfer-Encoding", {"chunked", "identity", ""});
}

bool CurlTransfer::takeBody(QByteArrayView piece)
{
    m_body += piece.first(std::min(piece.size(), UrlLoader::kMostBytes - m_body.size()));
    return m_body.size() < UrlLoader::kMostBytes;
}

void CurlTransfer::end(CURLcode code)
{
    WebAnswer answer{.body = {}, .redirect = m_redirect};
    const bool whole = code == CURLE_OK || m_body.size() == UrlLoader::kMostBytes;
    if (whole && !m_redirect && !m_body.isEmpty())
        answer.body = m_body;
    m_give(std::move(answer));
}

} // namespace quillfen::platform
