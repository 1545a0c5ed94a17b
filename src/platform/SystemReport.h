// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Task.h"

#include <QByteArray>

#include <optional>

namespace quillfen::platform {

/// The system's report on the wireless network that this machine is joined to.
///
/// It is for whoever cuts a value out between two markers. Where the machine is joined to a
/// network with a name, the report has it in one of two forms:
///
///     Current Wireless Network: NAME
///
///     Current Network Information:
///       NAME:
///
/// What every implementation promises:
///   1. The report comes whole, as bytes in memory, or not at all. The name is in it as the
///      network sends it, in whatever coding, with each control character replaced by a blank:
///      so it never ends its line.
///   2. It tells what is; it never makes the radio look for networks.
///   3. Nothing comes, and soon, where there is no wireless hardware, where the machine is joined
///      to no network or to one without a name, and where the program may not ask.
///   4. Waiting for an answer has a deadline, and goes on in the event loop.
///   5. Destroying the task ends it at once.
class SystemReport {
public:
    virtual ~SystemReport() = default;

    virtual Task<std::optional<QByteArray>> run() = 0;
};

} // namespace quillfen::platform
