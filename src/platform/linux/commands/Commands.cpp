// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/commands/Commands.h"

#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/commands/AutostartFile.h"
#include "platform/linux/commands/CommandOutput.h"
#include "platform/linux/commands/TerminationRequest.h"
#include "platform/linux/status/StatusWatch.h"

#include <QCoreApplication>

#include <array>
#include <cerrno>
#include <chrono>
#include <optional>

namespace quillfen::platform::command {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto kBusPatience = 1s; // for the bus itself, and then
constexpr auto kAnswerPatience = 1s; // for the program's answer,
constexpr auto kEndPatience = 10s; // or for its end

const QString kNotRunning = u"Quillfen is not running"_s;

int fail(const QString &complaint)
{
    complain(complaint);
    return kFailed;
}

int failToPrint(int error)
{
    return fail(u"nothing can be printed: "_s + qt_error_string(error));
}

/// The way to the running program: an event loop, and the session bus.
class Line {
public:
    std::optional<QDBusConnection> bus() const
    {
        std::optional<QDBusConnection> connection = m_sessionBus.connection();
        if (!connection) {
            complain(m_sessionBus.isSilent()
                         ? u"a running Quillfen cannot be asked: the session bus does not answer"_s
                         : u"a running Quillfen cannot be asked: there is no session bus"_s);
        }
        return connection;
    }

private:
    std::array<char, 9> m_name{"quillfen"};
    std::array<char *, 2> m_arguments{m_name.data(), nullptr};
    int m_count = 1;
    const SessionBus m_sessionBus{kBusPatience};
    QCoreApplication m_application{m_count, m_arguments.data()};
};

/// Has @p shown called with each status. The exit status is set by QCoreApplication::exit().
int watchStatus(const QDBusConnection &bus, const QString &name,
                const std::function<void(const ShownStatus &)> &shown)
{
    StatusWatch watch(bus, name, kAnswerPatience);
    const auto endWith = [](const QString &complaint) {
        return [complaint] { QCoreApplication::exit(fail(complaint)); };
    };
    QObject::connect(&watch, &StatusWatch::shown, &watch, shown);
    QObject::connect(&watch, &StatusWatch::absent, &watch, endWith(kNotRunning));
    QObject::connect(&watch, &StatusWatch::silent, &watch,
                     endWith(u"the running Quillfen does not tell its status"_s));
    QObject::connect(&watch, &StatusWatch::ended, &watch, [] { QCoreApplication::exit(kDone); });
    watch.start();
    return QCoreApplication::exec();
}

} // namespace

int printText(const CommandOutput &output, const QByteArray &text)
{
    const int error = output.print(text);
    return error == 0 ? kDone : failToPrint(error);
}

int refuse(const QString &complaint)
{
    complain(complaint + " (quillfen --help tells more)"_L1);
    return kNoSense;
}

int setAutostart(const QString &name, bool on)
{
    const std::optional<QString> failure = AutostartFile(name).set(on);
    return failure ? fail(*failure) : kDone;
}

int printStatus(const CommandOutput &output, const QString &name, const Form &form)
{
    const Line line;
    const std::optional<QDBusConnection> bus = line.bus();
    if (!bus)
        return kFailed;
    return watchStatus(*bus, name, [&](const ShownStatus &status) {
        QCoreApplication::exit(printText(output, form(status)));
    });
}

int followStatus(const CommandOutput &output, const QString &name, const Form &form)
{
    const Line line;
    const std::optional<QDBusConnection> bus = line.bus();
    if (!bus)
        return kFailed;
    const ReaderWatch reader([] { QCoreApplication::exit(kDone); });
    QByteArray last;
    return watchStatus(*bus, name, [&](const ShownStatus &status) {
        const QByteArray text = form(status);
        if (text == last)
            return;
        last = text;
        const int error = output.print(text);
        if (error == EPIPE)
            QCoreApplication::exit(kDone);
        else if (error != 0)
            QCoreApplication::exit(failToPrint(error));
    });
}

int quit(const QString &name)
{
    const Line line;
    const std::optional<QDBusConnection> bus = line.bus();
    if (!bus)
        return kFailed;
    using Outcome = TerminationRequest::Outcome;
    const TerminationRequest request(*bus, name, kEndPatience, [](Outcome outcome) {
        switch (outcome) {
        case Outcome::Ended:
            QCoreApplication::exit(kDone);
            break;
        case Outcome::NobodyThere:
            QCoreApplication::exit(fail(kNotRunning));
            break;
        case Outcome::StillThere:
            QCoreApplication::exit(fail(u"the running Quillfen does not end"_s));
            break;
        }
    });
    return QCoreApplication::exec();
}

} // namespace quillfen::platform::command
