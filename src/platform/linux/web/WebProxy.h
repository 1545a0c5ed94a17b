// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QUrl>

namespace quillfen::platform {

/// The proxy by which to reach @p url: the one that the environment names in http_proxy or
/// https_proxy (all_proxy for both), unless no_proxy names the server; else an empty URL.
///
/// @returns scheme (http or socks5h, where the proxy looks names up), host and port; user and
///          password where they are given.
///
/// The desktop's own proxy settings are not asked: finding them out may take a download, for
/// which the whole program would have to wait. A proxy of another kind than http and socks5 is
/// none. no_proxy lists host names with commas between; each stands for its subdomains too, and
/// "*" for every server.
/// @source https://www.gnu.org/software/wget/manual/html_node/Proxies.html
QUrl webProxyFor(const QUrl &url);

} // namespace quillfen::platform
