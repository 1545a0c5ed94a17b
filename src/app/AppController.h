// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <QStringList>

#include "app/AppSettings.h"
#include "netinfo/ExternalAddress.h"
#include "platform/Menu.h"
#include "platform/Platform.h"
#include "platform/Task.h"

namespace quillfen::support {
class Log;
}

namespace quillfen::platform {
class DynamicStore;
class RunLoopSource;
class StatusItem;
class Timer;
class Turns;
} // namespace quillfen::platform

namespace quillfen::app {

/// The one controller of the process: it owns the status item and its menu, keeps the list of
/// local addresses, and reacts to what happens.
///
/// Whatever may have to wait is a turn: an event's work runs from beginning to end before the
/// next event's begins. The title alone does not wait its turn (showTitleAhead()).
///
/// Its sources, one subject each: AppController.cpp (life), …_refresh.cpp (addresses and title),
/// …_external.cpp (the external address), …_menu.cpp (the status menu and its commands).
class AppController : public platform::MenuDelegate {
public:
    /// @p terminate ends the run loop; applicationWillTerminate() is then expected.
    AppController(const platform::Platform &platform, support::Log &log, platform::Turns &turns,
                  std::function<void()> terminate);
    ~AppController() override;

    /// The whole start-up, in its order. One turn.
    platform::Task<> init();
    /// Reads the settings anew and refreshes with a menu rebuild.
    platform::Task<> setup();
    /// Refreshes once more, subscribes to local address changes and sets the two timers.
    platform::Task<> initTimerAndRegisterNotifications();
    /// Closes the activity log.
    void applicationWillTerminate();

    /// Reads the local addresses and shows, logs and remembers the first; with @p rebuildMenu
    /// the menu is built anew at the end.
    platform::Task<> refresh(bool rebuildMenu);
    /// A local address changed: refreshes, and shows the change icon where that is wanted.
    platform::Task<> ipAddressChanged();
    /// Composes and shows the status title: @p title with the wanted names behind it or, with
    /// @p withIcon, an icon alone.
    void setTitle(const QString &title, bool withIcon);

    /// One poll: asks for the external address, reports a change and logs when the next is due.
    platform::Task<> externalIPAddressChangedTimerAction();
    /// Compares @p current with the remembered address; logs, marks and remembers a change.
    /// Nothing means that not even the text for a failed lookup came back.
    void reportExternalAddress(const std::optional<QString> &current);

    /// Builds the menu from the present addresses and installs it.
    void buildMenu();
    bool validateMenuItem(const platform::MenuItem &item) const override;
    void menuNeedsUpdate(platform::Menu &menu, std::function<void()> done) override;
    void sendAction(const platform::MenuItem &item) override;

    void selItemOpenConsoleLog();
    void selItemQuit();

private:
    void PreferencesChangedCallback();
    void InitialRefreshTimerCallback();
    void ClearExternalIPTimerCallback();
    platform::Task<> clearExternalIP();

    /// Makes up for a change that fell between the last refresh's list and the subscription.
    void catchUp();

    void watchForTitle();
    void showTitleAhead(const QStringList &addresses);
    void showFirstAddress(const QStringList &addresses);
    platform::Task<> refreshFirstAddress(QString current, std::optional<QString> previous);
    void noAddressFound();
    void rememberAddress(const QString &address);
    void showChangeIcon();

    platform::Task<> monitorExternalIPAddress();
    void externalTimerFired();
    platform::Task<> pollForTimer(std::weak_ptr<platform::Timer> timer);
    void logNextCheck();

    platform::Task<> refreshOpeningMenu(std::function<void()> done);
    void setTitleOfDNSNameRow(const QString &title);

    platform::Platform m_platform;
    support::Log &m_log;
    platform::Turns &m_turns;
    std::function<void()> m_terminate;
    AppSettings m_settings;
    netinfo::ExternalAddress m_externalAddress;

    QStringList m_addresses; ///< The current address list; every successful refresh refills it.
    std::unique_ptr<platform::StatusItem> m_item;
    std::shared_ptr<platform::Menu> m_menu; ///< The menu of the last build.

    /// Nothing while the external address is not watched. Shared only with a tick that waits.
    std::shared_ptr<platform::Timer> m_monitorExternalIPAddressTimer;
    std::unique_ptr<platform::DynamicStore> m_store;
    std::unique_ptr<platform::RunLoopSource> m_source;
    std::unique_ptr<platform::DynamicStore> m_titleStore; ///< These two for showTitleAhead() alone.
    std::unique_ptr<platform::RunLoopSource> m_titleSource;
    std::unique_ptr<platform::Timer> m_initialRefreshTimer;
    std::unique_ptr<platform::Timer> m_clearExternalIPTimer;
};

} // namespace quillfen::app
