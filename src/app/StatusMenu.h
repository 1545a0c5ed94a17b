// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>
#include <vector>

#include <QStringList>

#include "platform/Menu.h"

namespace quillfen::app {

/// The row that shows the DNS name of the first local address.
inline constexpr std::size_t kDNSNameRow = 0;

inline constexpr std::string_view kSelItemOpenConsoleLog = "selItemOpenConsoleLog:";
inline constexpr std::string_view kSelItemQuit = "selItemQuit:";

/// The rows of a freshly built status menu, with @p addresses in their order.
std::vector<platform::MenuItem> statusMenuItems(const QStringList &addresses);

} // namespace quillfen::app
