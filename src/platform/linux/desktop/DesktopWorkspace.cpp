// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/DesktopWorkspace.h"

#include "platform/SystemConsole.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QUrl>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

void DesktopWorkspace::openFile(const QString &path)
{
    if (!qGuiApp || !QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        m_console.write(u"There is nothing here that opens %1."_s.arg(path));
}

} // namespace quillfen::platform
