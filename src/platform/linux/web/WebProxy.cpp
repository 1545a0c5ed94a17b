// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/web/WebProxy.h"

#include <algorithm>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

constexpr int kHttpProxyPort = 8080;
constexpr int kSocksPort = 1080;

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

QUrl webProxyFor(const QUrl &url)
{
    QString named = setting(url.scheme().toLatin1() + "_proxy");
    if (named.isEmpty())
        named = setting("all_proxy"_ba);
    if (named.isEmpty() || goesDirectly(url.host()))
        return {};

    const QUrl given(named.contains(u"://") ? named : u"http://"_s + named);
    const bool socks = given.scheme() == "socks5"_L1 || given.scheme() == "socks5h"_L1;
    if (given.host().isEmpty() || (!socks && given.scheme() != "http"_L1))
        return {};
    QUrl proxy;
    proxy.setScheme(socks ? u"socks5h"_s : u"http"_s);
    proxy.setAuthority(given.authority());
    proxy.setPort(given.port(socks ? kSocksPort : kHttpProxyPort));
    return proxy;
}

} // namespace quillfen::platform
