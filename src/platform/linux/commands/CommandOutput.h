// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QSocketNotifier>
#include <QString>

#include <functional>

namespace quillfen::platform {

/// Where a command that does one thing and ends writes its answer: standard output. It waits for
/// whoever reads; the program itself writes to its console (StderrConsole), which does not.
///
/// Make it before a StderrConsole, which puts the null device where standard output is closed: all
/// would seem to be printed there. That in turn keeps a reader's end from being ours.
class CommandOutput {
public:
    CommandOutput();

    /// Writes @p text as it is. @returns 0, or the errno of what went wrong.
    int print(const QByteArray &text) const;

private:
    bool m_closed; ///< From the start on.
};

namespace command {

/// Writes "quillfen: ", @p text, a full stop and a line end to standard error, in one line whatever
/// it contains. Needs a StderrConsole.
void complain(const QString &text);

} // namespace command

/// Notices that nobody reads the standard output any more: a pipe or socket whose other end is
/// closed. Needs the event loop; costs nothing while it waits.
class ReaderWatch {
public:
    /// @p gone is called from the event loop, once.
    explicit ReaderWatch(std::function<void()> gone);

private:
    QSocketNotifier m_notifier;
};

} // namespace quillfen::platform
