// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Menu.h"

#include <QString>
#include <QStringList>

#include <string_view>
#include <vector>

namespace quillfen::app {

/// The rows whose titles each opening of the menu brings up to date. The commands that copy names
/// take them from there.
inline constexpr std::size_t kDNSNameRow = 0;
inline constexpr std::size_t kExternalIPRow = 1;
inline constexpr std::size_t kExternalDNSNameRow = 2;

/// What the first two rows say while there is nothing to show.
inline const QString kNoDNSName = QStringLiteral("DNS name unavailable");
inline const QString kNoExternalIP = QStringLiteral("External IP unavailable");

// The rows' actions.
inline constexpr std::string_view kSelItemCopyDNSName = "selItemCopyDNSName:";
inline constexpr std::string_view kSelItemCopyExternalAddress = "selItemCopyExternalAddress:";
inline constexpr std::string_view kSelItemCopyExternalDNSName = "selItemCopyExternalDNSName:";
inline constexpr std::string_view kSelItemCopyAddress = "selItemCopyAddress:";
inline constexpr std::string_view kSelItemCopySelectedAddress = "selItemCopySelectedAddress:";
inline constexpr std::string_view kGoToWebsite = "goToWebsite";
inline constexpr std::string_view kGoToMAS = "goToMAS";
inline constexpr std::string_view kSelItemPreferences = "selItemPreferences:";
inline constexpr std::string_view kSelItemOpenConsoleLog = "selItemOpenConsoleLog:";
inline constexpr std::string_view kSelItemAbout = "selItemAbout:";
inline constexpr std::string_view kSelItemQuit = "selItemQuit:";

/// The rows of a freshly built status menu, with @p addresses in their order.
std::vector<platform::MenuItem> statusMenuItems(const QStringList &addresses);

} // namespace quillfen::app
