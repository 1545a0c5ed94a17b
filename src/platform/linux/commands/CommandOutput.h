// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QSocketNotifier>
#include <QString>

#include <functional>

namespace quillfen::platform {

/// Where a command that does one thing and ends writes what it has to say. It waits for whoever
/// reads; the program itself writes to its console (StderrConsole), which does not.
///
/// Needs a StderrConsole made before, which keeps a reader's end from being ours.
namespace command {

/// Writes @p text to standard output as it is. @returns 0, or the errno of what went wrong.
int print(const QByteArray &text);

/// Writes "quillfen: ", @p text, a full stop and a line end to standard error, in one line whatever it
/// contains.
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
