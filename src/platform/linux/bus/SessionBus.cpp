// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/bus/SessionBus.h"

#include "platform/linux/bus/BusHandshake.h"

#include <QString>

#include <algorithm>

#include <poll.h>
#include <sys/stat.h>

namespace quillfen::platform {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto kAddressVariable = "DBUS_SESSION_BUS_ADDRESS";
constexpr auto kQueuePause = 10ms; // between two calls at a door with a queue

/// Makes libdbus believe for good that there is no session bus: it reads the environment once, and
/// here there is an address in it where nobody can be. Children get the environment as it was.
void hideSessionBus()
{
    const bool wasSet = qEnvironmentVariableIsSet(kAddressVariable);
    const QByteArray before = qgetenv(kAddressVariable);
    qputenv(kAddressVariable, "unix:path=/dev/null");
    const QString nobody = u"quillfen-nobody"_s;
    QDBusConnection::connectToBus(QDBusConnection::SessionBus, nobody);
    QDBusConnection::disconnectFromBus(nobody);
    if (wasSet)
        qputenv(kAddressVariable, before);
    else
        qunsetenv(kAddressVariable);
}

} // namespace

QByteArray sessionBusAddress()
{
    const QByteArray address = qgetenv(kAddressVariable);
    if (!address.isEmpty())
        return address.startsWith("autolaunch:") ? QByteArray() : address;
    const QByteArray folder = qgetenv("XDG_RUNTIME_DIR");
    const QByteArray path = folder + "/bus";
    struct stat status = {};
    if (!folder.startsWith('/') || stat(path.constData(), &status) != 0
        || !S_ISSOCK(status.st_mode))
        return {};
    return "unix:path=" + path.toPercentEncoding("/", "~");
}

SessionBus::SessionBus(std::chrono::milliseconds patience)
    : m_state(ask(sessionBusAddress(), patience))
{
    if (m_state != State::Answers)
        hideSessionBus();
}

SessionBus::State SessionBus::ask(const QByteArray &addresses, std::chrono::milliseconds patience)
{
    const auto deadline = std::chrono::steady_clock::now() + patience;
    BusHandshake handshake(addresses);
    for (;;) {
        auto wait = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        switch (handshake.go()) {
        case BusHandshake::State::Answers:
            return State::Answers;
        case BusHandshake::State::Absent:
            return State::Absent;
        case BusHandshake::State::Queueing:
            wait = std::min(wait, std::chrono::milliseconds(kQueuePause));
            break;
        case BusHandshake::State::Waiting:
            break;
        }
        if (wait <= 0ms)
            return State::Silent;
        pollfd answer = {.fd = handshake.descriptor(), .events = POLLIN, .revents = 0};
        poll(&answer, 1, int(wait.count())); // without a descriptor it only waits
    }
}

std::optional<QDBusConnection> SessionBus::connection() const
{
    if (m_state != State::Answers)
        return {};
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return {};
    return bus;
}

} // namespace quillfen::platform
