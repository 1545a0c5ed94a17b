// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace quillfen::platform {

// What the interfaces that we serve declare about themselves: the inside of the element
// <interface> of the D-Bus introspection format. GNOME decides by it what a click does.

/// The item, as the desktops agreed on it, with the label that the Ayatana project added.
QString statusNotifierItemXml();
/// The menu, as libdbusmenu publishes its version 3.
QString dbusMenuXml();

} // namespace quillfen::platform
