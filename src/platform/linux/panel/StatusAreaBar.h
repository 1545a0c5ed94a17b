// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/StatusItem.h"

#include <QDBusConnection>

#include <memory>
#include <optional>

namespace quillfen::platform {

class BusReturn;
class SystemConsole;

/// The status area of a Linux desktop, whichever of its two kinds there is: the panel that the
/// session bus brings (StatusNotifierItem) or, while there is none, an X11 tray of the
/// old kind (XEmbedItem). Never both at once; and neither in a process without a QGuiApplication.
class StatusAreaBar final : public StatusBar {
public:
    /// @p console must outlive the bar and its items. @p bus: nothing where there is none.
    /// @p busReturn tells the items that they have to come anew; it must outlive them.
    StatusAreaBar(SystemConsole &console, std::optional<QDBusConnection> bus,
                  const BusReturn &busReturn);

    /// Panels decide about widths themselves, so @p length is not used.
    std::unique_ptr<StatusItem> statusItemWithLength(double length) override;

private:
    SystemConsole &m_console;
    std::optional<QDBusConnection> m_bus;
    const BusReturn &m_busReturn;
};

} // namespace quillfen::platform
