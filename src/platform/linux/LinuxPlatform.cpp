// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/LinuxPlatform.h"

#include "platform/linux/bus/BusReturn.h"

#include <utility>

namespace quillfen::platform {

LinuxPlatform::LinuxPlatform(SystemConsole &console, std::optional<QDBusConnection> bus,
                             const BusReturn &busReturn, AboutFacts about)
    : m_console(console),
      m_preferences(m_console, JsonPreferences::standardFolder()),
      m_tlsTrust(m_console, qEnvironmentVariable("SSL_CERT_FILE")),
      m_notifications(bus),
      m_statusBar(m_console, bus, busReturn),
      m_statusService(bus),
      m_workspace(m_console),
      m_pasteboard(m_console),
      m_aboutPanel(std::move(about))
{
    QObject::connect(&busReturn, &BusReturn::returned, &m_notifications, &BusNotifications::moveTo);
    QObject::connect(&busReturn, &BusReturn::returned, &m_statusService, &StatusService::moveTo);
}

Platform LinuxPlatform::seams()
{
    return {.console = m_console,
            .preferences = m_preferences,
            .stores = m_stores,
            .host = m_host,
            .names = m_names,
            .tlsTrust = m_tlsTrust,
            .timers = m_timers,
            .urlLoader = m_urlLoader,
            .systemReport = m_systemReport,
            .notifications = m_notifications,
            .statusBar = m_statusBar,
            .statusPublication = m_statusService,
            .workspace = m_workspace,
            .pasteboard = m_pasteboard,
            .sounds = m_sounds,
            .aboutPanel = m_aboutPanel};
}

} // namespace quillfen::platform
