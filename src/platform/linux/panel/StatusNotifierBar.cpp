// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/StatusNotifierBar.h"

#include "platform/linux/panel/StatusNotifierItem.h"

namespace quillfen::platform {

std::unique_ptr<StatusItem> StatusNotifierBar::statusItemWithLength(double)
{
    return std::make_unique<StatusNotifierItem>(m_console);
}

} // namespace quillfen::platform
