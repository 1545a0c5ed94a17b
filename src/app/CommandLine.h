// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

namespace quillfen::app {

/// What one start of the program is for.
enum class Errand {
    Watch, ///< To be the program: watch, show, log, mail.
    ShowHelp,
    ShowVersion,
    SetAutostart, ///< Whether the program starts with the session.
    PrintStatus, ///< What the running program shows, once.
    FollowStatus, ///< The same, and then again at each change.
    Quit, ///< To end the running program.
    Refuse, ///< The words make no sense.
};

/// The command line, read.
struct CommandLine {
    Errand errand = Errand::Watch;
    bool preferences = false; ///< Watch: with the preferences window shown.
    bool headless = false; ///< Watch: without display and status area.
    bool autostart = false; ///< SetAutostart: on.
    bool json = false; ///< PrintStatus: as JSON.
    QString complaint; ///< Refuse: what is wrong, in one sentence without its stop.
};

/// Reads @p words, the arguments behind the program's name. Options may begin with one hyphen or
/// two, and a value follows its option or a "=". Those that Qt takes ("-platform xcb") are let
/// pass.
CommandLine readCommandLine(const QStringList &words);

/// The text of --help, with its line ends.
QString helpText();

} // namespace quillfen::app
