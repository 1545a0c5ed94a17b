// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quillfen::platform {

/// The desktop's usual small window that tells about the program: its name, version, copyright
/// and licence.
class AboutPanel {
public:
    virtual ~AboutPanel() = default;

    /// Shows the window in front of all others and gives it the keyboard; there is only one.
    /// Returns at once. Without a display nothing happens.
    virtual void orderFront() = 0;
};

} // namespace quillfen::platform
