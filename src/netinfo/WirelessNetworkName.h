// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"

#include <QString>

#include <optional>

namespace quillfen::platform {
class SystemReport;
} // namespace quillfen::platform

namespace quillfen::support {
class Log;
} // namespace quillfen::support

namespace quillfen::netinfo {

/// The name of the wireless network that this machine is joined to; nothing when it cannot be
/// found for whatever reason, which is not logged. Nothing is kept: each call asks anew.
///
/// The report is read as UTF-8 or, where it is not that, as Mac OS Roman. Both must outlive the
/// task.
platform::Task<std::optional<QString>> LookUpWirelessNetworkName(support::Log &log,
                                                                 platform::SystemReport &report);

/// The name in the text of a report; empty where the report has an empty one, nothing where it
/// has none.
///
/// It is what stands between "Current Wireless Network: " and the end of that line, untrimmed.
/// Only where that is missing, it is what stands between "Current Network Information:" and the
/// next colon at the end of a line, without the white space around it.
std::optional<QString> wirelessNameInReport(const QString &text);

} // namespace quillfen::netinfo
