// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/web/CurlLibrary.h"
#include "platform/linux/web/CurlUrlLoader.h"
#include "unit/web/WebServer.h"
#include "world/FakeConsole.h"
#include "world/FakeNames.h"
#include "world/FakeTlsTrust.h"
#include "world/Settle.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <chrono>
#include <optional>

namespace quillfen::platform {

using Page = std::optional<QByteArray>;

/// A deadline that nothing comes near.
constexpr auto kPlenty = std::chrono::seconds(20);

/// A loader on a machine whose environment names no proxy, and a web server.
struct WebHome {
    WebHome()
    {
        for (const char *name : {"http_proxy", "HTTP_PROXY", "https_proxy", "HTTPS_PROXY",
                                 "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"})
            qunsetenv(name);
    }

    /// What is behind @p path on the server.
    Page load(const QString &path, std::chrono::milliseconds within = kPlenty)
    {
        return loadFrom(server.url(path), within);
    }
    Page loadFrom(const QUrl &url, std::chrono::milliseconds within = kPlenty)
    {
        return world::settle(loader.load({.url = url, .within = within}), 2 * kPlenty);
    }

    world::FakeNames names;
    world::FakeTlsTrust trust;
    world::FakeConsole console;
    CurlLibrary curl{console};
    CurlUrlLoader loader{curl, names, trust};
    WebServer server;
};

/// An answer that sends whoever asked to @p place.
inline QByteArray redirectTo(const QByteArray &place, const QByteArray &status = "302 Found")
{
    return httpAnswer(status, "Location: " + place + "\r\nContent-Length: 0\r\n", {});
}

} // namespace quillfen::platform
