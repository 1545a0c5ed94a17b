// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/World.h"

#include "support/Console.h"
#include "support/Log.h"
#include "world/Settle.h"

#include <QFile>
#include <QRegularExpression>

#include <exception>

namespace quillfen::world {

struct World::Program {
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

World::World()
{
    qputenv("XDG_DATA_HOME", QFile::encodeName(m_home.path()));
}

World::~World() = default;

bool World::start()
{
    begin();
    return comesToRest(m_program->turns);
}

void World::begin()
{
    m_program = std::make_unique<Program>(*this);
    m_program->turns.take(m_program->controller.init());
}

bool World::rests()
{
    return comesToRest(m_program->turns);
}

void World::end()
{
    m_program->controller.applicationWillTerminate();
    m_program.reset();
}

app::AppController &World::controller()
{
    return m_program->controller;
}

platform::Turns &World::turns()
{
    return m_program->turns;
}

QString World::logPath() const
{
    return m_home.path() + QStringLiteral("/Corvane Software/Quillfen/Quillfen.log");
}

bool World::logHas(const QString &text)
{
    const qint64 read = m_logRead;
    const bool has = !takeLog().filter(text).isEmpty();
    m_logRead = read;
    return has;
}

QStringList World::takeLog()
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

platform::Platform World::seams()
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

} // namespace quillfen::world
