// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace quillfen::platform {

/// A desktop entry that starts @p program, an absolute path, when the session starts; with
/// @p hidden it starts nothing, and keeps one of the same name in the system's folders from doing
/// so.
/// @source Desktop Entry Specification 1.5, "The Exec key"; Desktop Application Autostart
///         Specification 0.5.
QByteArray autostartEntry(const QString &program, bool hidden);

/// Whether a desktop starts the program with the session: an autostart file of the user's, which is
/// $XDG_CONFIG_HOME/autostart/NAME.desktop.
class AutostartFile {
public:
    /// For the application @p name, "com.corvane.Quillfen".
    explicit AutostartFile(const QString &name);

    /// Makes the session start this very program, or not any more. The file is written whole or
    /// not at all.
    /// @returns what went wrong, in one sentence without its stop; nothing if it worked.
    std::optional<QString> set(bool on) const;

private:
    std::optional<QString> write(const QString &path, const QByteArray &entry) const;
    std::optional<QString> remove(const QString &path) const;
    /// Whether an autostart file of this name in the system's folders, $XDG_CONFIG_DIRS, starts
    /// the program. The first that there is counts.
    bool startsSystemWide() const;

    QString m_fileName;
};

} // namespace quillfen::platform
