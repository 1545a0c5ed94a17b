// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/DesktopWorkspace.h"

#include "platform/SystemConsole.h"
#include "platform/linux/bus/ActivationToken.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QUrl>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

void DesktopWorkspace::openFile(const QString &path)
{
    open(QUrl::fromLocalFile(path), path);
}

void DesktopWorkspace::openURL(const QUrl &url)
{
    open(url, url.toString());
}

void DesktopWorkspace::open(const QUrl &url, const QString &spelling)
{
    const bool hasDesktop = qobject_cast<QGuiApplication *>(QCoreApplication::instance());
    if (hasDesktop && QDesktopServices::openUrl(url))
        ActivationToken::spend(); // what opens it has inherited it
    else
        m_console.write(u"There is nothing here that opens %1."_s.arg(spelling));
}

} // namespace quillfen::platform
