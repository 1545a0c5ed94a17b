// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace quillfen::platform {

/// The system's clipboard.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    /// Makes @p text, as UTF-8 plain text, all that is on the clipboard; an empty one too. It is
    /// taken as a zero-terminated text: what follows a NUL is not copied. It stays there after the
    /// program's end where the desktop keeps it. Where there is no clipboard nothing happens, and
    /// the console is told why.
    virtual void setText(const QString &text) = 0;
};

} // namespace quillfen::platform
