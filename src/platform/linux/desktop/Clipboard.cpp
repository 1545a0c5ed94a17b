// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/Clipboard.h"

#include "platform/SystemConsole.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>

#include <memory>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

bool isOnWayland()
{
    return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        || QGuiApplication::platformName().startsWith("wayland"_L1);
}

bool isOnX11()
{
    return QGuiApplication::platformName() == "xcb"_L1;
}

/// @p text under the name that it has on X11, and under the one that says its encoding.
std::unique_ptr<QMimeData> asMimeData(const QString &text)
{
    auto data = std::make_unique<QMimeData>();
    data->setText(text);
    data->setData(u"text/plain;charset=utf-8"_s, text.toUtf8());
    return data;
}

} // namespace

void Clipboard::setText(const QString &text)
{
    const QString copied = text.left(text.indexOf(QChar::Null)); // all of it where there is none
    if (isOnWayland())
        m_wayland.setText(copied.toUtf8());
    else if (isOnX11())
        QGuiApplication::clipboard()->setMimeData(asMimeData(copied).release());
    else
        m_console.write(u"The text is not on the clipboard: there is no display."_s);
}

} // namespace quillfen::platform
