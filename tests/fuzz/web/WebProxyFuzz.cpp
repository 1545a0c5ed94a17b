// SPDX-License-Identifier: GPL-3.0-or-later
#include "fuzz/Require.h"
#include "platform/linux/web/WebProxy.h"

#include <QByteArray>
#include <QUrl>

#include <cstddef>
#include <cstdint>

using namespace Qt::StringLiterals;
using quillfen::test::require;

/// What the environment says of proxies: one line for http_proxy, one for no_proxy.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    QList<QByteArray> lines = bytes.split('\n');
    lines.resize(2);
    for (QByteArray &line : lines)
        line.replace('\0', ""); // no variable can hold one
    qputenv("http_proxy", lines[0]);
    qputenv("no_proxy", lines[1]);
    const QUrl proxy = quillfen::platform::webProxyFor(QUrl(u"http://service.example/"_s));
    if (proxy.isEmpty())
        return 0;
    require(proxy.scheme() == "http"_L1 || proxy.scheme() == "socks5h"_L1);
    require(!proxy.host().isEmpty() && proxy.port() >= 0 && proxy.path().isEmpty());
    require(!lines[0].isEmpty() && lines[1].trimmed() != "*");
    for (const char byte : proxy.toEncoded())
        require(byte > ' ' && byte <= '~');
    return 0;
}
