// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QWidget;

namespace quillfen::prefs {

/// Shows @p window in front of all others and gives it the keyboard, whatever state it is in, as
/// far as the desktop lets us: on Wayland with the token in XDG_ACTIVATION_TOKEN, if there is one.
void makeKeyAndOrderFront(QWidget &window);

} // namespace quillfen::prefs
