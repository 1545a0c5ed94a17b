// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Pasteboard.h"
#include "platform/linux/desktop/WaylandClipboard.h"

namespace quillfen::platform {

class SystemConsole;

/// The desktop's clipboard, whichever this desktop has.
///
/// Where there is a Wayland compositor it is that one's, also for a program that shows its windows
/// by way of X11 there: what such a program copies does not reach the others while none of its
/// windows has the keyboard. Else it is the X server's, which asks the program for the text
/// whenever somebody pastes; it outlives the program where a clipboard manager runs.
/// Needs the application object.
class Clipboard : public Pasteboard {
public:
    /// @p console must outlive this.
    explicit Clipboard(SystemConsole &console) : m_console(console), m_wayland(console) { }

    void setText(const QString &text) override;

private:
    SystemConsole &m_console;
    WaylandClipboard m_wayland;
};

} // namespace quillfen::platform
