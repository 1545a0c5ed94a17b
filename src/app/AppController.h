// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AppSettings.h"
#include "app/MenuCommands.h"
#include "mail/Notifiers.h"
#include "netinfo/ExternalAddress.h"
#include "platform/Platform.h"
#include "platform/Task.h"
#include "support/Console.h"

#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

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

namespace quillfen::prefs {
class QuillfenPrefPane;
}

namespace quillfen::app {

class StatusTitle;

/// The one controller of the process: it owns the status item and its menu, keeps the list of
/// local addresses, and reacts to what happens.
///
/// Whatever may have to wait is a turn: an event's work runs from beginning to end before the
/// next event's begins. The title alone does not wait its turn (StatusTitle).
///
/// Its sources, one subject each: AppController.cpp (life), …_refresh.cpp (the local addresses),
/// …_external.cpp (the external address), …_mail.cpp (the alerts), …_menu.cpp (the status menu;
/// what its rows do is in MenuCommands).
class AppController : public MenuCommands {
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
    /// Composes and shows the status title: see StatusTitle.
    platform::Task<> setTitle(QString title, bool withIcon);

    /// One poll: asks for the external address, reports a change and logs when the next is due.
    platform::Task<> externalIPAddressChangedTimerAction();
    /// Compares @p current with the remembered address; logs, marks and remembers a change.
    /// Nothing means that not even the text for a failed lookup came back.
    platform::Task<> reportExternalAddress(std::optional<QString> current);

    /// Builds the menu from the present addresses and installs it.
    void buildMenu();
    void menuNeedsUpdate(std::shared_ptr<platform::Menu> menu, std::function<void()> done) override;

private:
    QString shownTitle() const override;
    const platform::Menu *builtMenu() const override { return m_menu.get(); }
    const QStringList &localAddresses() const override { return m_addresses; }
    /// Other programs learn of the answer, too.
    platform::Task<QString> externalIP() override;
    QWidget &preferencesWindow() override;

    void PreferencesChangedCallback();
    void InitialRefreshTimerCallback();
    void ClearExternalIPTimerCallback();
    platform::Task<> clearExternalIP();

    /// Makes up for a change that fell between the last refresh's list and the subscription.
    void catchUp();

    /// refresh() with the first row of @p menu, if there is one, showing the address's DNS name.
    platform::Task<> refreshNaming(std::shared_ptr<platform::Menu> menu, bool rebuildMenu);
    platform::Task<> refreshFirstAddress(std::shared_ptr<platform::Menu> menu, QString current,
                                         std::optional<QString> previous);
    platform::Task<> noAddressFound(std::shared_ptr<platform::Menu> menu);
    void rememberAddress(const QString &address);

    platform::Task<> monitorExternalIPAddress();
    void externalTimerFired();
    platform::Task<> pollForTimer(std::weak_ptr<platform::Timer> timer);
    void logNextCheck();

    /// Mails the change to every recipient, if mail is wanted. @p usingMessage is the text's
    /// format, for the machine's name, @p previous and @p current.
    platform::Task<> sendAlerts(QString current, std::optional<QString> previous,
                                QString usingMessage);

    platform::Task<> updateOpeningMenu(std::shared_ptr<platform::Menu> menu,
                                       std::function<void()> done);
    platform::Task<> showExternalAddress(std::shared_ptr<platform::Menu> menu);

    platform::Platform m_platform;
    support::Log &m_log;
    platform::Turns &m_turns;
    AppSettings m_settings;
    support::Console m_console;
    mail::Notifiers m_notifiers;
    netinfo::ExternalAddress m_externalAddress;
    std::unique_ptr<prefs::QuillfenPrefPane> m_prefController; ///< Its window comes when needed.

    QStringList m_addresses; ///< The current address list; every successful refresh refills it.
    std::unique_ptr<platform::StatusItem> m_item; ///< It and its title come with init().
    std::unique_ptr<StatusTitle> m_title;
    std::shared_ptr<platform::Menu> m_menu; ///< The menu of the last build.

    /// Nothing while the external address is not watched. Shared only with a tick that waits.
    std::shared_ptr<platform::Timer> m_monitorExternalIPAddressTimer;
    bool m_tickWaits = false; ///< A tick of it waits for its turn.
    std::unique_ptr<platform::DynamicStore> m_store;
    std::unique_ptr<platform::RunLoopSource> m_source;
    std::unique_ptr<platform::Timer> m_initialRefreshTimer;
    std::unique_ptr<platform::Timer> m_clearExternalIPTimer;
};

} // namespace quillfen::app
