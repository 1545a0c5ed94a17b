// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/StatusPublication.h"

#include <QByteArray>
#include <QString>

#include <functional>

namespace quillfen::platform {
class CommandOutput;
}

/// What a start of the program does that is not to be the program itself. Each does it whole, with
/// an event loop of its own where it needs one, and gives the process's exit status. What goes
/// wrong stands on standard error, in one line: an answer that cannot be printed, too.
namespace quillfen::platform::command {

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;
inline constexpr int kNoSense = 2; ///< Of a command line.

/// What to print of a status, with its line end.
using Form = std::function<QByteArray(const ShownStatus &)>;

int printText(const CommandOutput &output, const QByteArray &text);
/// Says what is wrong with the command line.
int refuse(const QString &complaint);
/// Whether the session starts this very program from now on, the application @p name.
int setAutostart(const QString &name, bool on);

/// Prints what the program shows that runs under @p name on the session bus; 2 s at most.
int printStatus(const CommandOutput &output, const QString &name, const Form &form);
/// The same, and then again each time that it prints as something else; until that program ends, or
/// nobody reads on.
int followStatus(const CommandOutput &output, const QString &name, const Form &form);
/// Ends that program, and waits until it is gone; 12 s at most.
int quit(const QString &name);

} // namespace quillfen::platform::command
