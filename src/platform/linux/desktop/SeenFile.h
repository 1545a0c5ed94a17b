// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/linux/desktop/FileIdentity.h"

#include <QByteArray>

#include <chrono>
#include <optional>

namespace quillfen::platform {

/// A file that somebody has read, and whether it still is as it was then: asked for every line of
/// the log, and answered without opening or reading anything.
///
/// Once the file has settled it is held, and as long as it was found at its place within the last
/// 50 ms, only what is held is looked at: that takes a third of the time, and what is written to
/// the file, by whatever program, shows in it at once, as does another file that takes its place,
/// and its removal. What happens on the way to it shows within 50 ms: a folder that is renamed or
/// mounted upon, a link that comes to lead elsewhere, its own name among them.
class SeenFile {
public:
    /// The file at @p path when it was @p identity, which no later state of it has: it had
    /// settled, or bore a time that nobody else gives it.
    SeenFile(QByteArray path, const FileIdentity &identity);
    ~SeenFile();
    SeenFile(const SeenFile &) = delete;
    SeenFile &operator=(const SeenFile &) = delete;

    bool isStill();

private:
    bool isStillAtItsPlace() const;
    bool isHeldFileStill() const;

    const QByteArray m_path;
    const FileIdentity m_identity;
    /// By O_PATH, which takes no part in locks and leases; negative where it cannot be held.
    const int m_held;
    /// When the settled file was last found at its place, by the monotonic clock.
    std::optional<std::chrono::nanoseconds> m_foundAt;
};

} // namespace quillfen::platform
