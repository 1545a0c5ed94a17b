// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/SessionBus.h"

#include <QFile>
#include <QString>

#include <sys/stat.h>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

bool sessionBusExists()
{
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty())
        return !address.startsWith("autolaunch:");
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    struct stat status = {};
    return folder.startsWith('/') && stat((folder + "/bus").constData(), &status) == 0
        && S_ISSOCK(status.st_mode);
}

std::optional<QDBusConnection> sessionBus()
{
    if (!sessionBusExists())
        return {};
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return {};
    return bus;
}

} // namespace quillfen::platform
