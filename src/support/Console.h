// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringView>

namespace quillfen::platform {
class SystemConsole;
}

namespace quillfen::support {

/// What a console logger prints for @p format when it is given no arguments at all.
///
/// A conversion is "%", then optionally a position ("1$"), flags, a width, a precision and a
/// length, as printf(3) has them, then its letter. It prints what stands for an absent value:
///
///   - "(null)" for an object or a string: %@ %s %S
///   - "0" for a number, characters among them: %d %i %u %x %o %f %e %g %a %c, in capitals too
///   - "0x0" for a pointer: %p
///   - nothing for %n, which would be told a count
///   - "%" for %%, which takes no options
///
/// Whatever the width and precision say, no padding is added. An incomplete or unknown
/// conversion stays as it stands. Total for any text; never longer than three times the text.
QString expandFormat(QStringView format);

/// The program's voice on the system console.
class Console {
public:
    /// @p console must outlive this object.
    explicit Console(platform::SystemConsole &console) : m_console(console) { }

    /// Writes @p format as one line, each "%" sequence in it read as a conversion that has no
    /// argument (see expandFormat()).
    void log(const QString &format);
    /// Writes @p line as it is.
    void write(const QString &line);

private:
    platform::SystemConsole &m_console;
};

} // namespace quillfen::support
