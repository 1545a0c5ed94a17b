// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/UrlLoader.h"

namespace quillfen::platform {

class CurlLibrary;
class NameLookup;
class TlsTrust;

/// Loads by libcurl, on the main thread. The library itself is loaded with the first page.
///
/// Names are looked up by @p names, because libcurl's own lookup holds the process's end for as
/// long as a dead name server takes: libcurl gets the addresses of whom it is to connect to.
/// Where the environment names a proxy (see webProxyFor()), that is the proxy, and the proxy looks
/// the server's name up.
///
/// A page over https comes from a server that this machine trusts; the time to find out whom it
/// trusts is the request's.
class CurlUrlLoader : public UrlLoader {
public:
    /// All must outlive this.
    CurlUrlLoader(CurlLibrary &curl, NameLookup &names, TlsTrust &trust)
        : m_curl(curl),
          m_names(names),
          m_trust(trust)
    { }

    Task<std::optional<QByteArray>> load(UrlRequest request) override;

private:
    CurlLibrary &m_curl;
    NameLookup &m_names;
    TlsTrust &m_trust;
};

} // namespace quillfen::platform
