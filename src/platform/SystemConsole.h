// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace quillfen::platform {

/// Where a program without a window tells the person at the machine something.
class SystemConsole {
public:
    virtual ~SystemConsole() = default;

    /// Writes @p text as one line, whole, with the time and the process in front of it.
    /// Control characters, line ends among them, come out escaped, so that a text from
    /// outside can neither forge a line nor steer a terminal. Never fails the caller.
    virtual void write(const QString &text) = 0;
};

} // namespace quillfen::platform
