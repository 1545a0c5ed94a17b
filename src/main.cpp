// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppController.h"
#include "app/CommandLine.h"
#include "app/StatusForms.h"
#include "platform/Turns.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/bus/ActivationToken.h"
#include "platform/linux/bus/BusReturn.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/commands/CommandOutput.h"
#include "platform/linux/commands/Commands.h"
#include "platform/linux/desktop/FreeMemory.h"
#include "platform/linux/desktop/QtArguments.h"
#include "platform/linux/desktop/RemoteApplication.h"
#include "platform/linux/desktop/SingleInstance.h"
#include "platform/linux/desktop/StderrConsole.h"
#include "platform/linux/desktop/Translations.h"
#include "platform/linux/desktop/UnixSignals.h"
#include "support/Bundle.h"
#include "support/Console.h"
#include "support/Log.h"

#include <QApplication>
#include <QIcon>

#include <memory>

using namespace Qt::StringLiterals;
using namespace quillfen;
namespace command = platform::command;

namespace {

const QString kApplicationIdentifier = u"com.corvane.Quillfen"_s;

/// The program's icon, as seen from the program's own place.
QString iconPath()
{
    return QApplication::applicationDirPath()
        + u"/../share/icons/hicolor/scalable/apps/com.corvane.Quillfen.svg"_s;
}

platform::AboutFacts aboutFacts()
{
    return {.name = support::bundleName(),
            .version = support::bundleShortVersionString(),
            .copyright = u"Copyright © 2026 Corvane Software"_s,
            .license = u"Free software under the GNU General Public Licence, version 3 or later. "
                       "It comes without any warranty."_s,
            .iconPath = iconPath()};
}

/// A broken promise inside one turn must not end the watch: it is said, and the next turn goes on.
void sayFailure(support::Console &console, const std::exception_ptr &failure)
{
    try {
        std::rethrow_exception(failure);
    } catch (const std::exception &error) {
        console.write(u"An event's work broke off: "_s + QString::fromUtf8(error.what()));
    }
}

/// With a display or, for @p headless, without anything that would look for one.
std::unique_ptr<QCoreApplication> makeApplication(platform::QtArguments &arguments, bool headless)
{
    if (headless)
        return std::make_unique<QCoreApplication>(arguments.count(), arguments.values());
    auto application = std::make_unique<QApplication>(arguments.count(), arguments.values());
    QApplication::setDesktopFileName(kApplicationIdentifier);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(QIcon(iconPath()));
    platform::installTranslations(*application, platform::userLanguages());
    return application;
}

/// The program itself, until somebody ends it.
int watch(const app::CommandLine &line, platform::StderrConsole &stderrConsole, int argc,
          char **argv)
{
    const platform::SessionBus sessionBus; // before Qt goes and looks for it
    platform::QtArguments arguments(argc, argv);
    const auto application = makeApplication(arguments, line.headless);
    QCoreApplication::setApplicationName(support::bundleName());
    QCoreApplication::setApplicationVersion(support::bundleShortVersionString());

    if (sessionBus.isSilent())
        stderrConsole.write(u"The session bus does not answer; the program starts without it."_s);
    const std::optional<QDBusConnection> bus = sessionBus.connection();
    const platform::BusReturn busReturn(platform::sessionBusAddress(), bus);
    platform::LinuxPlatform linuxPlatform(stderrConsole, bus, busReturn, aboutFacts());
    const platform::Platform seams = linuxPlatform.seams();
    support::Console console(seams.console);
    // Static, because the X11 connection ends the process by exit() when its server dies: the
    // stop line is then written by this destructor.
    static support::Log log(console, seams.preferences);
    // Before the controller, whose turns it runs, and so destroyed after it: what is then left of a
    // turn holds values of its own only.
    platform::Turns turns([&](std::exception_ptr failure) { sayFailure(console, failure); },
                          &platform::giveBackFreeMemory);
    app::AppController controller(seams, log, turns, &QCoreApplication::quit);

    platform::UnixSignals signals(&QCoreApplication::quit);
    const std::function<void()> showPreferences = [&] {
        if (QGuiApplication::platformName() == u"offscreen")
            console.write(u"There is no display to show the preferences on."_s);
        controller.showPreferences();
    };
    platform::RemoteApplication remote(bus, kApplicationIdentifier,
                                       line.headless ? nullptr : showPreferences,
                                       &QCoreApplication::quit);
    const auto leave = [&console](const QString &how, int status) {
        console.write(u"Quillfen is already running"_s + how);
        QCoreApplication::exit(status);
    };
    const auto giveWay = [&] {
        if (line.headless) {
            leave(u"."_s, command::kDone);
            return;
        }
        platform::RemoteApplication::activate(*bus, kApplicationIdentifier, [leave](bool forward) {
            if (forward)
                leave(u"; its preferences come forward."_s, command::kDone);
            else
                leave(u", and does not show its preferences."_s, command::kFailed);
        });
    };
    const auto begin = [&](platform::SingleInstance::Outcome outcome) {
        if (outcome == platform::SingleInstance::Outcome::AlreadyRunning) {
            giveWay();
            return;
        }
        turns.take(controller.init());
        const platform::ActivationToken forThisStartOnly(platform::takeOwnActivationToken());
        if (line.preferences)
            showPreferences();
    };
    const platform::SingleInstance instance(bus, kApplicationIdentifier, begin);
    // In this order: what is offered under the name is there before the name is.
    QObject::connect(&busReturn, &platform::BusReturn::returned, &remote,
                     &platform::RemoteApplication::moveTo);
    QObject::connect(&busReturn, &platform::BusReturn::returned, &instance,
                     &platform::SingleInstance::moveTo);

    const int status = line.headless ? QCoreApplication::exec() : QApplication::exec();
    controller.applicationWillTerminate();
    return status;
}

/// What --status prints.
QByteArray statusText(const platform::ShownStatus &status)
{
    QByteArray text;
    for (const QString &line : app::statusLines(status))
        text += platform::withVisibleControls(line).toUtf8() + '\n';
    return text;
}

QStringList wordsOf(int argc, char **argv)
{
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words += QString::fromLocal8Bit(argv[i]);
    return words;
}

} // namespace

int main(int argc, char **argv)
{
    // Before anything opens a file, and in this order: the console sees to it that none becomes
    // standard error or standard output, closed as these may be.
    const platform::CommandOutput output;
    platform::StderrConsole console;
    const app::CommandLine line = app::readCommandLine(wordsOf(argc, argv));
    switch (line.errand) {
    case app::Errand::Watch:
        break;
    case app::Errand::ShowHelp:
        return command::printText(output, app::helpText().toUtf8());
    case app::Errand::ShowVersion:
        return command::printText(
            output,
            (support::bundleName() + u' ' + support::bundleShortVersionString()).toUtf8() + '\n');
    case app::Errand::SetAutostart:
        return command::setAutostart(kApplicationIdentifier, line.autostart);
    case app::Errand::PrintStatus:
        if (line.json)
            return command::printStatus(output, kApplicationIdentifier, &app::statusJson);
        return command::printStatus(output, kApplicationIdentifier, &statusText);
    case app::Errand::FollowStatus:
        return command::followStatus(output, kApplicationIdentifier, &app::barLine);
    case app::Errand::Quit:
        return command::quit(kApplicationIdentifier);
    case app::Errand::Refuse:
        return command::refuse(line.complaint);
    }
    return watch(line, console, argc, argv);
}
