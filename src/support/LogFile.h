// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArrayView>
#include <QString>

#include <cstdint>

namespace quillfen::support {

/// The file of the activity log: only ever appended to, each run between a start line and a
/// stop line. Never truncated, rotated or limited in size.
///
/// Each operation returns 0 or the errno value of its failure. A file that is not open takes
/// appends and closing without complaint.
class LogFile {
public:
    LogFile() = default;
    /// Closes.
    ~LogFile();
    LogFile(const LogFile &) = delete;
    LogFile &operator=(const LogFile &) = delete;

    /// Opens the file at @p path, made for its owner only where there is none, and appends the
    /// start line. Never waits for another process: a named pipe is refused with ENXIO.
    /// When only the start line fails, the file is open nevertheless. Call it once.
    std::int16_t open(const QString &path);
    /// Appends @p text at the file's end, wherever other writers have moved that by now.
    ///
    /// Where only a part of a text fitted on the disk, the next append first ends that line,
    /// so that no later line is glued to a broken one.
    std::int16_t append(QByteArrayView text);
    /// Appends the stop line, and closes the file whether or not that succeeded.
    std::int16_t close();

private:
    int m_file = -1;
    bool m_lineBroken = false; ///< The last text that we wrote stopped inside a line.
};

} // namespace quillfen::support
