// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLatin1StringView>

#include <array>
#include <cstdint>
#include <optional>
#include <variant>

/// Every setting of the program, as data. Readers are in SettingsReading.h.
namespace quillfen::support {

/// One setting: its name on disk, its stored type, and what it reads as when it is absent or
/// of another type. A text or number whose fallback is empty reads as nothing then.
template <typename T>
struct Setting {
    QLatin1StringView key;
    T fallback;
};

/// A setting that people change by hand only, and whose value is taken by meaning where its
/// type is another: the number 0 and the text "NO" switch off as well as false does.
template <typename T>
struct UserDefault {
    QLatin1StringView key;
    T fallback;
};

using Text = QLatin1StringView;
using OptionalText = std::optional<QLatin1StringView>;
using OptionalNumber = std::optional<std::int64_t>;

// The title and the menu.
inline constexpr Setting<bool> kTitleIconOnly{Text("TitleIconOnly"), false};
inline constexpr Setting<bool> kDisplayChangedIconWhenAddressChangeDetected{
    Text("DisplayChangedIconWhenAddressChangeDetected"), false};
inline constexpr Setting<bool> kIncludeMachineName{Text("IncludeMachineName"), false};
inline constexpr Setting<bool> kIncludeCurrentWirelessNetwork{Text("IncludeCurrentWirelessNetwork"),
                                                              false};
inline constexpr Setting<bool> kIncludeExternalIP{Text("IncludeExternalIP"), false};

// What is watched, and what was seen last.
inline constexpr Setting<bool> kEmailChangesToExternalIPAddress{
    Text("EmailChangesToExternalIPAddress"), false};
/// Minutes between two checks of the external address.
inline constexpr Setting<std::int16_t> kMinutesInterval{Text("MinutesInterval"), 6};
inline constexpr Setting<OptionalText> kLastIPAddress{Text("LastIPAddress"), {}};
inline constexpr Setting<Text> kLastExternalIPAddress{Text("LastExternalIPAddress"),
                                                      Text("0.0.0.0")};
/// The URL of the service that tells the external address, in place of the built-in one. The
/// program never writes it.
inline constexpr Setting<OptionalText> kExternalAddressService{Text("ExternalAddressService"), {}};

// Mail.
inline constexpr Setting<bool> kSendEmailNotifications{Text("SendEmailNotifications"), false};
inline constexpr Setting<Text> kEmail{Text("Email"), Text("")};
inline constexpr Setting<Text> kMailServer{Text("MailServer"), Text("")};
/// A number as text. Its two readers fall back differently when it is absent.
inline constexpr Setting<OptionalText> kPort{Text("Port"), {}};
/// 0: none, 1: "PLAIN", any other: "LOGIN".
inline constexpr Setting<OptionalNumber> kAuthentication{Text("Authentication"), {}};
inline constexpr Setting<Text> kUsername{Text("Username"), Text("")};
inline constexpr Setting<Text> kUserPassword{Text("UserPassword"), Text("")};
inline constexpr UserDefault<bool> kUseSSL{Text("useSSL"), true};

// Start-up and the log.
/// Seconds from the start to one more refresh.
inline constexpr UserDefault<std::int64_t> kInitialRefresh{Text("Initial Refresh"), 20};
inline constexpr UserDefault<bool> kLogToSystemConsole{Text("logToSystemConsole"), true};
inline constexpr UserDefault<bool> kLogToPrivateConsoleLog{Text("logToPrivateConsoleLog"), true};

using AnySetting =
    std::variant<Setting<bool>, Setting<Text>, Setting<OptionalText>, Setting<std::int16_t>,
                 Setting<OptionalNumber>, UserDefault<bool>, UserDefault<std::int64_t>>;

/// All of the above, each once.
inline constexpr std::array<AnySetting, 21> kEverySetting{
    kTitleIconOnly,
    kDisplayChangedIconWhenAddressChangeDetected,
    kIncludeMachineName,
    kIncludeCurrentWirelessNetwork,
    kIncludeExternalIP,
    kEmailChangesToExternalIPAddress,
    kMinutesInterval,
    kLastIPAddress,
    kLastExternalIPAddress,
    kExternalAddressService,
    kSendEmailNotifications,
    kEmail,
    kMailServer,
    kPort,
    kAuthentication,
    kUsername,
    kUserPassword,
    kUseSSL,
    kInitialRefresh,
    kLogToSystemConsole,
    kLogToPrivateConsoleLog,
};

} // namespace quillfen::support
