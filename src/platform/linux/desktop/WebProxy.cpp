// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/WebProxy.h"

#include <algorithm>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

constexpr quint16 kHttpProxyPort = 8080;
constexpr quint16 kSocksPort = 1080;

/// What the environment says; the small name goes before the capital one.
QString setting(const QByteArray &name)
{
    const QString value = qEnvironmentVariable(name.constData());
    return value.isEmpty() ? qEnvironmentVariable(name.toUpper().constData()) : value;
}

bool goesDirectly(const QString &host)
{
    const auto covers = [&host](const QString &entry) {
        QString name = entry.trimmed();
        if (name == u'*')
            return true;
        while (name.startsWith(u'.'))
            name.remove(0, 1);
        return !name.isEmpty()
            && (host.compare(name, Qt::CaseInsensitive) == 0
                || host.endsWith(u'.' + name, Qt::CaseInsensitive));
    };
    return std::ranges::any_of(setting("no_proxy"_ba).split(u','), covers);
}

} // namespace

QNetworkProxy webProxyFor(const QUrl &url)
{
    QString named = setting(url.scheme().toLatin1() + "_proxy");
    if (named.isEmpty())
        named = setting("all_proxy"_ba);
    if (named.isEmpty() || goesDirectly(url.host()))
        return QNetworkProxy::NoProxy;

    const QUrl proxy(named.contains(u"://") ? named : u"http://"_s + named);
    const bool socks = proxy.scheme() == "socks5"_L1 || proxy.scheme() == "socks5h"_L1;
    if (proxy.host().isEmpty() || (!socks && proxy.scheme() != "http"_L1))
        return QNetworkProxy::NoProxy;
    const quint16 usual = socks ? kSocksPort : kHttpProxyPort;
    return {socks ? QNetworkProxy::Socks5Proxy : QNetworkProxy::HttpProxy, proxy.host(),
            static_cast<quint16>(proxy.port(usual)), proxy.userName(), proxy.password()};
}

} // namespace quillfen::platform
