// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Preferences.h"
#include "platform/linux/desktop/SeenFile.h"
#include "platform/linux/desktop/SettingsFile.h"

#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <optional>
#include <set>

class QLockFile;

namespace quillfen::platform {

class SystemConsole;

/// The settings as one JSON object in `settings.json`, shared by all of this user's processes.
///
/// synchronize() without anything to store is one fstat(2) or stat(2) while the file stays as it
/// is, so it may stand in front of every reading; what was stored here is not read again. What
/// others do to the file shows at once, what they do to the folders above it within 50 ms (see
/// SeenFile). With something to store it takes the lock file beside the settings, reads anew, puts
/// its own values over what it read, and replaces the file as a whole: at every moment there is
/// either the old file or the new one.
///
/// What cannot be used (no JSON object, longer than 8 MiB, no regular file) is put aside as
/// `settings.json.damaged-<time>`, never deleted. What cannot be read is never overwritten.
/// Each such trouble is said on the console once, until all is well again.
/// Main thread only; blocks for at most 250 ms, and that only while another process writes.
class JsonPreferences : public Preferences {
public:
    /// Settings in @p folder, which is made (mode 0700) when there is something to store. With no
    /// folder (an empty path) they live in memory only, and the first synchronize() says so.
    /// @p console must outlive this. Values are absent until the first synchronize().
    JsonPreferences(SystemConsole &console, const QString &folder);

    /// `$XDG_CONFIG_HOME/com.corvane.Quillfen`; `~/.config` where that names no absolute path.
    /// Empty when HOME names none either, as for the activity log.
    /// @source XDG Base Directory Specification 0.8.
    static QString standardFolder();

    std::optional<QJsonValue> value(const QString &key) const override;
    void setValue(const QString &key, const QJsonValue &value) override;
    bool synchronize() override;
    std::uint64_t generation() const override { return m_generation; }

private:
    bool readAgain();
    bool store();
    bool takeLock(QLockFile &lock);
    /// Makes what was read, good or bad, the present state; with the lock held if it is damaged.
    /// @returns whether the file may be written now.
    bool take(const SettingsFile::Reading &reading);
    void see(const std::optional<FileIdentity> &identity);
    bool putAside(const QString &why);
    void complain(const QString &text);

    SystemConsole &m_console;
    SettingsFile m_file;
    bool m_hasPlace; ///< Or m_file is not to be touched.
    QJsonObject m_stored; ///< As last read.
    QJsonObject m_pending; ///< Set here and not stored yet.
    std::uint64_t m_generation = 0;
    std::optional<SeenFile> m_seen; ///< The file of m_stored, where it can be told from others.
    std::set<QString> m_said; ///< Troubles that the console knows of.
    bool m_lockWasBusy = false; ///< Do not wait a second time for it.
};

} // namespace quillfen::platform
