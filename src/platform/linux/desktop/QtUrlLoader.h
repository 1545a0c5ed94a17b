// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/UrlLoader.h"

namespace quillfen::platform {

class NameLookup;

/// Loads by Qt's network access.
///
/// Names are looked up by @p names, because Qt's own lookup holds the process's end for as long
/// as a dead name server takes: Qt gets a server's address, and the name beside it for the Host
/// field and the certificate. Where the environment names a proxy (see webProxyFor()), that one
/// looks the names up.
class QtUrlLoader : public UrlLoader {
public:
    /// @p names must outlive this.
    explicit QtUrlLoader(NameLookup &names) : m_names(names) { }

    Task<std::optional<QByteArray>> load(UrlRequest request) override;

private:
    NameLookup &m_names;
};

} // namespace quillfen::platform
