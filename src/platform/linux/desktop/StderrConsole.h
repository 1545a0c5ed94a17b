// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/SystemConsole.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <chrono>
#include <cstddef>
#include <optional>

#include <sys/types.h>
#include <unistd.h>

namespace quillfen::platform {

/// @p text with all that could forge a line or steer a terminal made visible: C0, DEL and C1
/// characters as `\x0a`, line and paragraph separators and bidirectional controls as `\u202e`.
QString withVisibleControls(const QString &text);

/// The system console as standard error, from where journald takes each line:
/// "2026-11-21 01:03:37.123 quillfen[4711] text", in local time.
///
/// A line is one write(2). Standard error that is closed, full, or read by nobody any more costs
/// lines and nothing else: a line waits at most 20 ms for room, and none at all while the line
/// before it was lost for want of room. Nor does it cost the process, whoever writes there:
/// from its making on, a failed write raises no signal (ignoreSignalsOfFailedWrites()).
///
/// Make it before anything that opens files or writes a line: where standard error (input, output)
/// is closed it opens the null device there, so that no file of ours ever gets that number and
/// these lines.
class StderrConsole : public SystemConsole {
public:
    StderrConsole();
    ~StderrConsole() override;
    StderrConsole(const StderrConsole &) = delete;
    StderrConsole &operator=(const StderrConsole &) = delete;

    void write(const QString &text) override;

private:
    using Deadline = std::chrono::steady_clock::time_point;
    enum class Way {
        Write, ///< A file, or a descriptor that does not block.
        Send, ///< A socket.
        PollAndWrite, ///< A pipe or terminal that could not be opened anew.
    };

    /// What stands in front of a line of this moment. All but the thousandths is put together once
    /// for all lines within a second: that takes longer than writing them. Holds until the next
    /// call.
    const QByteArray &front();
    /// @returns how many bytes of @p line got through.
    qsizetype send(QByteArrayView line) const;
    ssize_t sendSome(const char *bytes, std::size_t count) const;
    /// Whether it is worth trying on after @p error; waits for room where there is none, until
    /// @p deadline, which the first time sets.
    bool goesOn(int error, std::optional<Deadline> &deadline) const;
    bool hasRoomBefore(Deadline deadline) const;

    const QByteArray m_process; ///< "quillfen[4711] ".
    QByteArray m_front; ///< That of the last line, within m_second; empty before the first.
    std::chrono::sys_seconds m_second{};
    int m_descriptor = STDERR_FILENO; ///< Or the same pipe or terminal opened anew, non-blocking.
    Way m_way = Way::Write;
    bool m_lostLast = false; ///< The last line was dropped: there is nobody to wait for.
    bool m_amidLine = false; ///< The last line was cut off: end it before the next.
};

} // namespace quillfen::platform
