// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/UrlLoader.h"

namespace quillfen::platform {

class NameLookup;
class TlsTrust;

/// Loads by Qt's network access.
///
/// Names are looked up by @p names, because Qt's own lookup holds the process's end for as long
/// as a dead name server takes: Qt gets a server's address, and the name beside it for the Host
/// field and the certificate. Where the environment names a proxy (see webProxyFor()), that one
/// looks the names up.
///
/// A page over https comes from a server that this machine trusts; the time to find out whom it
/// trusts is the request's.
class QtUrlLoader : public UrlLoader {
public:
    /// Both must outlive this.
    QtUrlLoader(NameLookup &names, TlsTrust &trust) : m_names(names), m_trust(trust) { }

    Task<std::optional<QByteArray>> load(UrlRequest request) override;

private:
    NameLookup &m_names;
    TlsTrust &m_trust;
};

} // namespace quillfen::platform
