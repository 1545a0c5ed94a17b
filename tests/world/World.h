// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "app/AppController.h"
#include "platform/Turns.h"
#include "support/Console.h"
#include "support/Log.h"
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
#include "world/Settle.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>
#include <QTemporaryDir>

#include <exception>
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

    World() { qputenv("XDG_DATA_HOME", QFile::encodeName(m_home.path())); }

    /// Starts the program and waits until its start-up turn is over.
    /// @returns false when it is not over in time.
    bool start()
    {
        begin();
        return comesToRest(m_program->turns);
    }
    /// Starts the program and lets it run up to its first wait.
    void begin()
    {
        m_program = std::make_unique<Program>(*this);
        m_program->turns.take(m_program->controller.init());
    }
    /// Waits until no turn is under way. @returns false when one still is after some seconds.
    bool rests() { return comesToRest(m_program->turns); }
    /// Ends the program as its run loop's end does.
    void end()
    {
        m_program->controller.applicationWillTerminate();
        m_program.reset();
    }

    app::AppController &controller() { return m_program->controller; }
    platform::Turns &turns() { return m_program->turns; }
    FakePanel &panel() { return statusBar.panel(); }
    bool wantedToEnd() const { return m_wantedToEnd; }

    QString logPath() const
    {
        return m_home.path() + QStringLiteral("/Corvane Software/Quillfen/Quillfen.log");
    }
    /// Whether a line of the log file since the last takeLog() has @p text in it.
    bool logHas(const QString &text)
    {
        const qint64 read = m_logRead;
        const bool has = !takeLog().filter(text).isEmpty();
        m_logRead = read;
        return has;
    }
    /// The lines of the log file since the last call, without their dates.
    QStringList takeLog()
    {
        static const QRegularExpression date(
            QStringLiteral("^\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d [+-]\\d{4}\\] "));
        QFile file(logPath());
        if (!file.open(QIODevice::ReadOnly) || !file.seek(m_logRead))
            return {};
        const QString text = QString::fromUtf8(file.readAll());
        m_logRead = file.pos();
        QStringList lines = text.split(u'\n');
        lines.removeLast();
        for (QString &line : lines)
            line.remove(date);
        return lines;
    }

private:
    struct Program {
        explicit Program(World &world)
            : console(world.console),
              log(console, world.preferences),
              turns([](std::exception_ptr failure) { std::rethrow_exception(failure); }),
              controller(world.seams(), log, turns, [&world] { world.m_wantedToEnd = true; })
        { }
        support::Console console;
        support::Log log;
        platform::Turns turns;
        app::AppController controller;
    };

    platform::Platform seams()
    {
        return {.console = console,
                .preferences = preferences,
                .stores = network,
                .host = host,
                .names = names,
                .tlsTrust = trust,
                .timers = clock,
                .urlLoader = service,
                .systemReport = report,
                .notifications = session,
                .statusBar = statusBar,
                .statusPublication = otherProgram,
                .workspace = workspace,
                .pasteboard = pasteboard,
                .sounds = sounds,
                .aboutPanel = aboutPanel};
    }

    QTemporaryDir m_home;
    qint64 m_logRead = 0;
    bool m_wantedToEnd = false;
    std::unique_ptr<Program> m_program;
};

} // namespace quillfen::world
