// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace quillfen::platform {

/// An X server of its own, on which the application object to come, and the children of this
/// process, show themselves.
class PrivateDisplay {
public:
    PrivateDisplay()
    {
        using namespace Qt::StringLiterals;
        m_server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_server.start(
            u"Xvfb"_s,
            {u"-displayfd"_s, u"1"_s, u"-nolisten"_s, u"tcp"_s, u"-noreset"_s, u"-nolock"_s});
        while (!m_server.canReadLine()) {
            if (!m_server.waitForReadyRead())
                qFatal("no X server");
        }
        qputenv("DISPLAY", ':' + m_server.readLine().trimmed());
        qputenv("QT_QPA_PLATFORM", "xcb");
        qunsetenv("WAYLAND_DISPLAY");
    }
    ~PrivateDisplay()
    {
        m_server.kill();
        m_server.waitForFinished();
    }
    PrivateDisplay(const PrivateDisplay &) = delete;
    PrivateDisplay &operator=(const PrivateDisplay &) = delete;

private:
    QProcess m_server;
};

} // namespace quillfen::platform
