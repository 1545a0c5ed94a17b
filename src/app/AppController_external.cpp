// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppController.h"

#include "app/StatusTitle.h"
#include "platform/Preferences.h"
#include "platform/Timers.h"
#include "platform/Turns.h"
#include "support/DateDescription.h"
#include "support/FormatText.h"
#include "support/Log.h"
#include "support/Settings.h"

#include <chrono>
#include <utility>

using namespace Qt::StringLiterals;

namespace quillfen::app {

using platform::Task;
using support::formatText;

Task<QString> AppController::externalIP()
{
    const QString address = co_await m_externalAddress.externalIP();
    m_title->publish();
    co_return address;
}

Task<> AppController::monitorExternalIPAddress()
{
    const std::chrono::seconds interval(m_settings.minutesIntervalInSeconds());
    // An interval that wrapped to nothing or less has no next tick: there is this one poll only.
    if (interval > interval.zero()) {
        m_monitorExternalIPAddressTimer =
            m_platform.timers.installRepeating(interval, [this] { externalTimerFired(); });
    }
    co_await externalIPAddressChangedTimerAction();
}

void AppController::externalTimerFired()
{
    // One tick waits at most: the polls of a service that is slower than the interval are not
    // made up for.
    if (!std::exchange(m_tickWaits, true))
        m_turns.take(pollForTimer(m_monitorExternalIPAddressTimer));
}

Task<> AppController::pollForTimer(std::weak_ptr<platform::Timer> timer)
{
    m_tickWaits = false;
    // A tick that had to wait its turn is void if its timer was stopped before.
    if (!timer.expired())
        co_await externalIPAddressChangedTimerAction();
}

Task<> AppController::externalIPAddressChangedTimerAction()
{
    m_log.LogMessage(u"Checking external IP"_s);
    const std::optional<QString> current = co_await externalIP();
    co_await reportExternalAddress(current);
    logNextCheck();
}

Task<> AppController::reportExternalAddress(std::optional<QString> current)
{
    if (!current) {
        m_log.LogMessage(u"The external IP could not be found"_s);
        co_return;
    }
    m_log.LogMessage(formatText(u"Current external IP address: %@", *current));
    const QString last = m_settings.lastExternalIPAddress();
    m_log.LogMessage(formatText(u"Last external IP address: %@", last));
    if (current->compare(last, Qt::CaseInsensitive) == 0)
        co_return;

    m_log.LogMessage(formatText(u"External IP address changed from:%@ to:%@", last, *current));
    m_title->showChangeIcon();
    const QString text = u"Quillfen has refreshed. The External IP address of machine \"%@\" has "
                         "changed from: %@ to %@"_s;
    co_await sendAlerts(*current, last, text);
    m_platform.preferences.setValue(support::kLastExternalIPAddress.key, *current);
    m_platform.preferences.synchronize();
}

void AppController::logNextCheck()
{
    const std::int16_t minutes = m_settings.minutesInterval();
    // In full, whatever the running timer's interval wrapped to.
    const auto next = std::chrono::system_clock::now() + std::chrono::minutes(minutes);
    m_log.LogMessage(formatText(u"Next external IP address check in: %d minute%@ (at %@)", minutes,
                                minutes == 1 ? u""_s : u"s"_s, support::dateDescription(next)));
}

Task<> AppController::clearExternalIP()
{
    m_log.LogMessage(formatText(u"Clearing external IP address. (Allows accessing \"%@\" again.)",
                                netinfo::kOlderLookupServiceHost));
    m_externalAddress.clear();
    m_title->publish();
    co_return;
}

} // namespace quillfen::app
