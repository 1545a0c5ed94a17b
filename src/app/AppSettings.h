// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <cstdint>

namespace quillfen::platform {
class Preferences;
}

namespace quillfen::app {

/// The settings that the controller uses, one accessor each.
///
/// Nothing is remembered here: every accessor synchronises the preferences first, so it sees what
/// the preferences window, or another process, has just stored.
class AppSettings {
public:
    explicit AppSettings(platform::Preferences &preferences) : m_preferences(preferences) { }

    bool displayChangedIconWhenAddressChangeDetected() const;
    bool titleIconOnly() const;
    bool sendEmailNotifications() const;
    bool includeCurrentWirelessNetworkInTitle() const;
    bool includeMachineNameInTitle() const;

    /// Whether the external address is watched.
    bool monitorExternalIP() const;
    /// The external address seen last; "0.0.0.0" when none is stored.
    QString lastExternalIPAddress() const;
    /// The external poll interval in minutes: the stored number's low 16 bits, never below 6.
    std::int16_t minutesInterval() const;
    /// The same in seconds, in 16-bit arithmetic: exact up to 546 minutes, wrapped from 547 on.
    std::int16_t minutesIntervalInSeconds() const;

private:
    platform::Preferences &m_preferences;
};

} // namespace quillfen::app
