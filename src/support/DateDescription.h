// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <chrono>

namespace quillfen::support {

/// @p moment as the log and its readers write dates: local time and its distance from UTC in
/// hours and minutes, "2026-11-21 01:03:37 +0000". Follows the machine into another time zone.
/// Safe to call while the process is exiting.
QString dateDescription(std::chrono::system_clock::time_point moment);

} // namespace quillfen::support
