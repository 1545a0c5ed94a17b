// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AppController.h"
#include "platform/Turns.h"
#include "world/FakeAboutPanel.h"
#include "world/FakeConsole.h"
#include "world/FakeHost.h"
#include "world/FakeNames.h"
#include "world/FakeNotifications.h"
#include "world/FakePasteboard.h"
#include "world/FakePreferences.h"
#include "world/FakeSound.h"
#include "world/FakeStatusBar.h"
#include "world/FakeStatusPublication.h"
#include "world/FakeStores.h"
#include "world/FakeSystemReport.h"
#include "world/FakeTimers.h"
#include "world/FakeTlsTrust.h"
#include "world/FakeUrlLoader.h"
#include "world/FakeWorkspace.h"

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace quillfen::world {

/// A machine with its desktop and its disk, on which the program can be started and ended.
class World {
public:
    FakeConsole console;
    FakePreferences preferences;
    FakeStores network;
    FakeHost host;
    FakeNames names;
    FakeTlsTrust trust;
    FakeTimers clock;
    FakeUrlLoader service;
    FakeSystemReport report;
    FakeNotifications session;
    FakeStatusBar statusBar;
    FakeStatusPublication otherProgram;
    FakeWorkspace workspace;
    FakePasteboard pasteboard;
    FakeSounds sounds;
    FakeAboutPanel aboutPanel;

    World();
    ~World();

    /// Starts the program and waits until its start-up turn is over.
    /// @returns false when it is not over in time.
    bool start();
    /// Starts the program and lets it run up to its first wait.
    void begin();
    /// Waits until no turn is under way. @returns false when one still is after some seconds.
    bool rests();
    /// Ends the program as its run loop's end does.
    void end();

    app::AppController &controller();
    platform::Turns &turns();
    FakePanel &panel() { return statusBar.panel(); }
    bool wantedToEnd() const { return m_wantedToEnd; }

    QString logPath() const;
    /// Whether a line of the log file since the last takeLog() has @p text in it.
    bool logHas(const QString &text);
    /// The lines of the log file since the last call, without their dates.
    QStringList takeLog();

private:
    struct Program;

    platform::Platform seams();

    QTemporaryDir m_home;
    qint64 m_logRead = 0;
    bool m_wantedToEnd = false;
    std::unique_ptr<Program> m_program;
};

} // namespace quillfen::world
