// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/StatusItem.h"

#include <memory>

namespace quillfen::platform {

class SystemConsole;

/// The status area of a Linux desktop: whatever panel the session bus brings.
///
/// Every item is a StatusNotifierItem on a bus connection of its own. Without a session bus, or
/// without a panel on it, items remember what they are told and wait; the console hears once.
class StatusNotifierBar final : public StatusBar {
public:
    /// @p console must outlive the bar and its items.
    explicit StatusNotifierBar(SystemConsole &console) : m_console(console) { }

    /// Panels decide about widths themselves, so @p length is not used.
    std::unique_ptr<StatusItem> statusItemWithLength(double length) override;

private:
    SystemConsole &m_console;
};

} // namespace quillfen::platform
