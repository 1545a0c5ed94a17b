// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>

#include "app/AppController.h"
#include "platform/Turns.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/desktop/FreeMemory.h"
#include "platform/linux/desktop/QtArguments.h"
#include "platform/linux/desktop/RemoteApplication.h"
#include "platform/linux/desktop/SingleInstance.h"
#include "platform/linux/desktop/StderrConsole.h"
#include "platform/linux/desktop/UnixSignals.h"
#include "support/Bundle.h"
#include "support/Console.h"
#include "support/Log.h"

using namespace Qt::StringLiterals;
using namespace quillfen;

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

void readArguments(const QApplication &application)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        u"Shows this machine's first IP address in the status area and follows its changes."_s);
    parser.addHelpOption();
    parser.addVersionOption();
    parser.process(application);
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

} // namespace

int main(int argc, char **argv)
{
    // Before anything opens a file: it sees to it that none becomes standard error.
    platform::StderrConsole stderrConsole;
    const platform::SessionBus sessionBus; // before Qt goes and looks for it
    platform::QtArguments arguments(argc, argv);
    QApplication application(arguments.count(), arguments.values());
    QApplication::setApplicationName(support::bundleName());
    QApplication::setApplicationVersion(support::bundleShortVersionString());
    QApplication::setDesktopFileName(kApplicationIdentifier);
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(QIcon(iconPath()));
    readArguments(application);

    if (sessionBus.isSilent())
        stderrConsole.write(u"The session bus does not answer; the program starts without it."_s);
    platform::LinuxPlatform linuxPlatform(stderrConsole, sessionBus.connection(), aboutFacts());
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
    const std::optional<QDBusConnection> bus = sessionBus.connection();
    const platform::RemoteApplication remote(bus, kApplicationIdentifier,
                                             [&] { controller.showPreferences(); });
    const auto begin = [&](platform::SingleInstance::Outcome outcome) {
        if (outcome != platform::SingleInstance::Outcome::AlreadyRunning) {
            turns.take(controller.init());
            return;
        }
        console.write(u"Quillfen is already running; its preferences come forward."_s);
        platform::RemoteApplication::activate(*bus, kApplicationIdentifier,
                                              &QCoreApplication::quit);
    };
    const platform::SingleInstance instance(bus, kApplicationIdentifier, begin);

    const int status = QApplication::exec();
    controller.applicationWillTerminate();
    return status;
}
