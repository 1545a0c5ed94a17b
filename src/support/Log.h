// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/CurrentDate.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>

namespace quillfen::platform {
class Preferences;
class Workspace;
} // namespace quillfen::platform

namespace quillfen::support {

class Console;
class LogFile;

/// The activity log: one line for each thing that the program does.
///
/// A line goes to two independent sinks, the system console and the program's own file
/// "Quillfen.log" in its support folder. The switches logToSystemConsole and
/// logToPrivateConsoleLog are obeyed as they are when a line comes. No failure is ever shown or
/// logged: a file that cannot be made or opened does without the file sink for the rest of the
/// run, a write that fails for that one line.
class Log {
public:
    /// Both must outlive this object.
    Log(Console &console, platform::Preferences &preferences);
    /// Closes the file.
    ~Log();
    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;

    /// Logs @p message; an absent one does nothing.
    ///
    /// The console takes it as a format without arguments (see expandFormat()). The file takes
    /// it literally as "[date] message" in UTF-8, but for line breaks and control characters,
    /// which become blanks: one message is one line. It goes through a buffer of 255 bytes: a
    /// line that needs more leaves the buffer empty, so that only a line end is written; a line
    /// of exactly 255 bytes is written without its line end. The buffer's text ends at a zero
    /// byte, so what follows a NUL in the message is not written.
    void LogMessage(const std::optional<QString> &message);

    /// Opens the file for this run, with the folders it stands in. Call it once.
    void OpenPrivateLog();
    /// Ends the run in the file; later lines go to the console only. Without an open file it
    /// does nothing. Safe to call while the process is exiting.
    void ClosePrivateLog();
    /// Opens the file in the user's viewer for it; does nothing when there is no file.
    void ShowPrivateLogInViewer(platform::Workspace &workspace);

private:
    bool ShouldLogToSystemConsole() const;
    bool ShouldLogToPrivateLog() const;
    /// Reads the switches where any setting has changed.
    void synchronizeSwitches();

    Console &m_console;
    platform::Preferences &m_preferences;
    std::optional<std::uint64_t> m_generation; ///< That of the settings that the next two are of.
    bool m_toSystemConsole = false;
    bool m_toPrivateLog = false;
    CurrentDate m_date;
    std::unique_ptr<LogFile> PrivateLogHandle; ///< Null before opening and after closing.
};

} // namespace quillfen::support
