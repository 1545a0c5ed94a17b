// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QNetworkProxy>
#include <QUrl>

namespace quillfen::platform {

/// The proxy by which to reach @p url: the one that the environment names in http_proxy or
/// https_proxy (all_proxy for both), unless no_proxy names the server; else none.
///
/// The desktop's own proxy settings are not asked: finding them out may take a download, for
/// which Qt would have the whole program wait. A proxy of another kind than http and socks5 is
/// none. no_proxy lists host names with commas between; each stands for its subdomains too, and
/// "*" for every server.
/// @source https://www.gnu.org/software/wget/manual/html_node/Proxies.html
QNetworkProxy webProxyFor(const QUrl &url);

} // namespace quillfen::platform
