// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Platform.h"
#include "platform/linux/desktop/AboutWindow.h"
#include "platform/linux/desktop/BusNotifications.h"
#include "platform/linux/desktop/Clipboard.h"
#include "platform/linux/desktop/DesktopWorkspace.h"
#include "platform/linux/desktop/HostNames.h"
#include "platform/linux/desktop/JsonPreferences.h"
#include "platform/linux/desktop/QtTimers.h"
#include "platform/linux/desktop/SoundPlayer.h"
#include "platform/linux/desktop/SystemNameLookup.h"
#include "platform/linux/desktop/SystemTlsTrust.h"
#include "platform/linux/net/NetlinkStores.h"
#include "platform/linux/net/Nl80211Report.h"
#include "platform/linux/panel/StatusAreaBar.h"
#include "platform/linux/status/StatusService.h"
#include "platform/linux/web/CurlLibrary.h"
#include "platform/linux/web/CurlUrlLoader.h"

#include <QDBusConnection>

#include <optional>

namespace quillfen::platform {

class BusReturn;

/// What a Linux desktop gives us, built from the ground up. Needs the application object.
class LinuxPlatform {
public:
    /// @p console must outlive this. Notifications and the status go over @p bus, if there is one;
    /// @p about is what the about panel says.
    /// @p busReturn tells of another bus in its place; it must outlive this.
    LinuxPlatform(SystemConsole &console, std::optional<QDBusConnection> bus,
                  const BusReturn &busReturn, AboutFacts about);

    /// The parts as the program knows them; valid while this lives.
    Platform seams();

private:
    SystemConsole &m_console;
    JsonPreferences m_preferences;
    NetlinkStores m_stores;
    HostNames m_host;
    QtTimers m_timers;
    SystemNameLookup m_names;
    SystemTlsTrust m_tlsTrust;
    CurlLibrary m_curl{m_console};
    CurlUrlLoader m_urlLoader{m_curl, m_names, m_tlsTrust};
    Nl80211Report m_systemReport;
    BusNotifications m_notifications;
    StatusAreaBar m_statusBar;
    StatusService m_statusService;
    DesktopWorkspace m_workspace;
    Clipboard m_pasteboard;
    SoundPlayer m_sounds;
    AboutWindow m_aboutPanel;
};

} // namespace quillfen::platform
