// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"

#include <QLatin1StringView>
#include <QString>

#include <optional>

namespace quillfen::platform {
class Preferences;
class SystemConsole;
class UrlLoader;
} // namespace quillfen::platform

namespace quillfen::support {
class Log;
} // namespace quillfen::support

namespace quillfen::netinfo {

/// The service that tells from which address it was asked, unless a setting names another.
inline constexpr QLatin1StringView kLookupService{"http://checkip.dyndns.com/"};
/// The service from whose days the rule dates that an answer is kept for a while. The log names
/// it; it is not asked any more.
inline constexpr QLatin1StringView kOlderLookupServiceHost{"checkip.dyndns.org"};
inline constexpr QLatin1StringView kOlderLookupService{"http://checkip.dyndns.org/"};
/// The text in place of an address when the lookup failed; callers treat it like an address.
inline constexpr QLatin1StringView kFailedLookup{"-.-.-.-"};

/// The text behind @p url, decoded as UTF-8 or, where it is not that, as Mac OS Roman.
///
/// A first attempt may take 10 s; where it brings nothing, a second one 30 s, which calls itself a
/// browser. The console is told the URL. @returns nothing when @p url is none, or is neither
/// http nor https, and when neither attempt brings anything.
platform::Task<std::optional<QString>>
CopyURLContentsAsString(platform::UrlLoader &loader, platform::SystemConsole &console, QString url);

/// The address in a page of the lookup service: what stands between its two markers, as it
/// stands; nothing where one is missing.
std::optional<QString> addressInPage(const QString &page);

/// The external address of this machine, and the one answer that is kept of it.
class ExternalAddress {
public:
    /// All of them must outlive this.
    ExternalAddress(platform::UrlLoader &loader, const platform::Preferences &preferences,
                    support::Log &log, platform::SystemConsole &console);

    /// The kept address or, where none is kept, a fresh lookup's, which is then kept. A lookup
    /// that fails gives kFailedLookup and keeps nothing, so the next call tries again.
    platform::Task<QString> externalIP();
    /// Lets the kept address go.
    void clear() { m_kept.reset(); }
    /// The kept address.
    const std::optional<QString> &kept() const { return m_kept; }

private:
    platform::UrlLoader &m_loader;
    const platform::Preferences &m_preferences;
    support::Log &m_log;
    platform::SystemConsole &m_console;
    std::optional<QString> m_kept;
};

} // namespace quillfen::netinfo
