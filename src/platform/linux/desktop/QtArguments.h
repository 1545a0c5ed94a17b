// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>

#include <vector>

namespace quillfen::platform {

/// The windowing systems to try, in order, as Qt's option -platform takes them: those that the
/// environment tells of, by WAYLAND_DISPLAY (or WAYLAND_SOCKET) and DISPLAY, and behind them the
/// one that needs no display, for where they cannot be reached. Empty when QT_QPA_PLATFORM says it.
QByteArray windowingSystems();

/// The program's arguments as Qt is to have them: with windowingSystems() ahead of the user's own,
/// of which a -platform wins as it is the later one. An argument and not a variable: children
/// must not inherit it.
///
/// Qt keeps references to all of it and takes out what it understands, so this has to outlive the
/// application object.
class QtArguments {
public:
    QtArguments(int argc, char **argv);
    QtArguments(const QtArguments &) = delete;
    QtArguments &operator=(const QtArguments &) = delete;

    int &count() { return m_count; }
    char **values() { return m_values.data(); }

private:
    QByteArray m_option = "-platform";
    QByteArray m_systems = windowingSystems();
    std::vector<char *> m_values; ///< With the null pointer at the end.
    int m_count;
};

} // namespace quillfen::platform
