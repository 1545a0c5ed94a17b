// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLatin1StringView>
#include <QString>

#include <cstdint>

/// The folders that the program keeps its own files in, made on demand one level at a time.
/// Nothing is ever deleted or moved. A folder is named by its absolute path; an empty path
/// names none. The out-parameters must be empty on entry.
namespace quillfen::support {

inline constexpr QLatin1StringView kMakerFolderName{"Corvane Software"};
inline constexpr QLatin1StringView kProgramFolderName{"Quillfen"};

/// Whether @p parent has a child @p name, of whatever kind; a symbolic link counts as itself.
///
/// Only a lookup that reports "no such file" (ENOENT) answers false. Any other failure is taken
/// as existing, and @p childOut then stays empty: the later use fails in its own way.
bool FolderChildExists(const QString &parent, const QString &name, QString &childOut);

/// Makes the folder @p name in @p parent, for its owner only, unless there is a child of that
/// name already, which need not be a folder.
/// @returns 0, or the errno value of the creation.
std::int16_t EnsureChildFolder(const QString &parent, const QString &name, QString &childOut);

/// Finds or makes the program's own folder, "Corvane Software/Quillfen" in the user's folder
/// for application data: $XDG_DATA_HOME, or ~/.local/share where that is unset or relative.
///
/// @returns false when there is no such folder and none can be made. True without a path in
///          @p folderOut when something else stands in the way.
/// @source  XDG Base Directory Specification 0.8.
bool GetAppSupportFolder(QString &folderOut);

} // namespace quillfen::support
