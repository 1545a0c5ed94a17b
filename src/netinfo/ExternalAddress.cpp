// SPDX-License-Identifier: GPL-3.0-or-later
#include "netinfo/ExternalAddress.h"

#include "platform/SystemConsole.h"
#include "platform/UrlLoader.h"
#include "support/FormatText.h"
#include "support/Log.h"
#include "support/SettingsReading.h"
#include "support/StringExtensions.h"
#include "support/TextDecoding.h"

#include <QUrl>

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::netinfo {

using platform::Task;
using support::formatText;

namespace {

constexpr auto kFirstAttempt = 10s;
constexpr auto kSecondAttempt = 30s;
/// Some services serve browsers only.
const QByteArray kBrowser =
    "Mozilla/5.0 (Macintosh; U; Intel Mac OS X 10_6_6; en-us) AppleWebKit/533.20.25 "
    "(KHTML, like Gecko) Version/5.0.4 Safari/533.20.27"_ba;

QString lookupService(const platform::Preferences &preferences)
{
    return support::readString(preferences, support::kExternalAddressService)
        .value_or(kLookupService);
}

bool isWebPage(const QUrl &url)
{
    return url.isValid() && !url.host().isEmpty()
        && (url.scheme() == "http"_L1 || url.scheme() == "https"_L1);
}

} // namespace

Task<std::optional<QString>> CopyURLContentsAsString(platform::UrlLoader &loader,
                                                     platform::SystemConsole &console, QString url)
{
    console.write(formatText(u"Downloading URL: %@", url));
    platform::UrlRequest request{.url = QUrl(url, QUrl::StrictMode), .within = kFirstAttempt};
    if (!isWebPage(request.url))
        co_return std::nullopt;
    std::optional<QByteArray> body = co_await loader.load(request);
    if (!body) {
        request.userAgent = kBrowser;
        request.within = kSecondAttempt;
        body = co_await loader.load(request);
    }
    if (!body)
        co_return std::nullopt;
    co_return support::decodeText(*body);
}

std::optional<QString> addressInPage(const QString &page)
{
    return support::extractBetweenPattern(page, u"Current IP Address: ", u"</body></html>");
}

ExternalAddress::ExternalAddress(platform::UrlLoader &loader,
                                 const platform::Preferences &preferences, support::Log &log,
                                 platform::SystemConsole &console)
    : m_loader(loader),
      m_preferences(preferences),
      m_log(log),
      m_console(console)
{ }

Task<QString> ExternalAddress::externalIP()
{
    if (m_kept) {
        m_log.LogMessage(u"Copying external IP address..."_s);
        m_console.write(formatText(u"Copying external IP address... %@", *m_kept));
        co_return *m_kept;
    }
    m_log.LogMessage(formatText(u"Loading external IP address...(from %@)", kOlderLookupService));
    const QString service = lookupService(m_preferences);
    const std::optional<QString> page =
        co_await CopyURLContentsAsString(m_loader, m_console, service);
    const std::optional<QString> address = page ? addressInPage(*page) : std::nullopt;
    if (!address)
        co_return QString(kFailedLookup);
    m_console.write(formatText(u"External ip = %@", *address));
    m_kept = address;
    co_return *address;
}

} // namespace quillfen::netinfo
