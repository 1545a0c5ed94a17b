// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppSettings.h"

#include "platform/Preferences.h"
#include "support/SettingsReading.h"

namespace quillfen::app {

using support::Setting;

namespace {

bool synchronizedBoolean(platform::Preferences &preferences, const Setting<bool> &setting)
{
    preferences.synchronize();
    return support::readBoolean(preferences, setting);
}

constexpr std::int16_t kShortestInterval = 6; ///< Minutes.

} // namespace

bool AppSettings::displayChangedIconWhenAddressChangeDetected() const
{
    return synchronizedBoolean(m_preferences,
                               support::kDisplayChangedIconWhenAddressChangeDetected);
}

bool AppSettings::titleIconOnly() const
{
    return synchronizedBoolean(m_preferences, support::kTitleIconOnly);
}

bool AppSettings::sendEmailNotifications() const
{
    return synchronizedBoolean(m_preferences, support::kSendEmailNotifications);
}

bool AppSettings::includeCurrentWirelessNetworkInTitle() const
{
    return synchronizedBoolean(m_preferences, support::kIncludeCurrentWirelessNetwork);
}

bool AppSettings::includeMachineNameInTitle() const
{
    return synchronizedBoolean(m_preferences, support::kIncludeMachineName);
}

bool AppSettings::monitorExternalIP() const
{
    return synchronizedBoolean(m_preferences, support::kEmailChangesToExternalIPAddress);
}

QString AppSettings::lastExternalIPAddress() const
{
    m_preferences.synchronize();
    return support::readString(m_preferences, support::kLastExternalIPAddress);
}

std::int16_t AppSettings::minutesInterval() const
{
    m_preferences.synchronize();
    const std::int16_t stored = support::readNumber(m_preferences, support::kMinutesInterval);
    return stored < kShortestInterval ? kShortestInterval : stored;
}

std::int16_t AppSettings::minutesIntervalInSeconds() const
{
    return static_cast<std::int16_t>(minutesInterval() * 60);
}

} // namespace quillfen::app
