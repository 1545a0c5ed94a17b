// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppController.h"

#include "app/StatusTitle.h"
#include "netinfo/IPAddressList.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/DynamicStore.h"
#include "platform/Preferences.h"
#include "platform/StatusItem.h"
#include "platform/Timers.h"
#include "platform/Turns.h"
#include "prefs/PreferencesNotification.h"
#include "prefs/QuillfenPrefPane.h"
#include "support/FormatText.h"
#include "support/Log.h"
#include "support/SettingsReading.h"

#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace quillfen::app {

using platform::Task;
using support::formatText;

namespace {

constexpr int kAddressListCapacity = 50;
constexpr std::chrono::seconds kClearExternalIPInterval = 300s;

Task<> IPAddressListChangedCallback(platform::DynamicStore & /*store*/,
                                    const QStringList & /*changedKeys*/, void *context)
{
    return static_cast<AppController *>(context)->ipAddressChanged();
}

/// How long after start-up the one refresh runs that waits for no event. An absent value is
/// stored as its default, so that it can be found and changed.
std::chrono::seconds initialRefresh(platform::Preferences &preferences)
{
    const auto &setting = support::kInitialRefresh;
    preferences.synchronize();
    const std::optional<QJsonValue> stored = support::storedValue(preferences, setting.key);
    if (stored)
        return std::chrono::seconds(support::integerValue(*stored));
    preferences.setValue(setting.key, qint64{setting.fallback});
    preferences.synchronize();
    return std::chrono::seconds(setting.fallback);
}

} // namespace

AppController::AppController(const platform::Platform &platform, support::Log &log,
                             platform::Turns &turns, std::function<void()> terminate)
    : MenuCommands(platform, log, turns, std::move(terminate)),
      m_platform(platform),
      m_log(log),
      m_turns(turns),
      m_settings(platform.preferences),
      m_console(platform.console),
      m_notifiers(log, m_console, platform.preferences, platform.host, platform.names,
                  platform.tlsTrust, [this] { m_turns.rest(); }),
      m_externalAddress(platform.urlLoader, platform.preferences, log, platform.console)
{
    m_prefController = std::make_unique<prefs::QuillfenPrefPane>(
        platform.preferences, platform.notifications, platform.console, m_notifiers,
        platform.sounds,
        prefs::KnownAddresses{.local = [this] { return m_addresses; },
                              .external = [this] { return m_externalAddress.kept(); }});
}

AppController::~AppController() = default;

Task<> AppController::init()
{
    m_log.OpenPrivateLog();
    m_log.LogMessage(u"Starting up..."_s);
    m_addresses.reserve(kAddressListCapacity);
    m_item = m_platform.statusBar.statusItemWithLength(platform::kVariableStatusItemLength);
    m_title = std::make_unique<StatusTitle>(m_platform, m_log, *m_item, m_externalAddress);
    m_title->watch();
    // Until the first refresh brings the real one: a name server or a service that keeps silent
    // holds that up for long, and there must be something to quit from.
    buildMenu();
    co_await setup();
    m_platform.notifications.addObserver(prefs::kPreferencesChanged,
                                         prefs::kPreferencesNotificationIdentifier,
                                         [this] { PreferencesChangedCallback(); });
    co_await initTimerAndRegisterNotifications();

    const std::optional<QString> external = co_await externalIP();
    m_log.LogMessage(formatText(u"The current external IP address is:%@", external));
    std::unique_ptr<QStringList> addresses;
    if (netinfo::CopyIPAddressListSCF(m_platform.stores, &addresses) == netinfo::noErr
        && !addresses->isEmpty()) {
        m_log.LogMessage(
            formatText(u"The current (first) internal IP address is:%@", addresses->first()));
    }
}

Task<> AppController::setup()
{
    m_platform.preferences.synchronize();
    m_monitorExternalIPAddressTimer.reset();
    if (m_settings.monitorExternalIP())
        co_await monitorExternalIPAddress();
    co_await refresh(true);
}

Task<> AppController::initTimerAndRegisterNotifications()
{
    co_await refresh(true);
    if (netinfo::AddIPAddressListChangeCallbackSCF(m_platform.stores, IPAddressListChangedCallback,
                                                   this, &m_store, &m_source)
        == netinfo::noErr) {
        m_source->addTo(m_turns);
        catchUp();
    }
    m_initialRefreshTimer = m_platform.timers.installOneShot(
        initialRefresh(m_platform.preferences), [this] { InitialRefreshTimerCallback(); });
    m_clearExternalIPTimer = m_platform.timers.installRepeating(
        kClearExternalIPInterval, [this] { ClearExternalIPTimerCallback(); });
}

void AppController::catchUp()
{
    std::unique_ptr<QStringList> addresses;
    if (netinfo::CopyIPAddressListSCF(m_platform.stores, &addresses) == netinfo::noErr
        && *addresses != m_addresses) {
        m_turns.take(ipAddressChanged());
    }
}

void AppController::PreferencesChangedCallback()
{
    m_turns.take(setup());
}

void AppController::InitialRefreshTimerCallback()
{
    m_turns.take(refresh(false));
}

void AppController::ClearExternalIPTimerCallback()
{
    m_turns.take(clearExternalIP());
}

void AppController::applicationWillTerminate()
{
    m_log.ClosePrivateLog();
}

} // namespace quillfen::app
