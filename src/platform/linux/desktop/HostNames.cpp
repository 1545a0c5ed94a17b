// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/HostNames.h"

#include "platform/linux/desktop/MachineInfo.h"

#include <QMetaObject>
#include <QObject>
#include <QTimer>

#include <array>
#include <chrono>
#include <climits>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <arpa/inet.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quillfen::platform {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

using Answer = std::optional<QString>;

namespace {

constexpr auto kPatience = 2s;

bool isIPv4(const QString &address)
{
    const QByteArray text = address.toUtf8();
    in_addr parsed = {};
    return !text.contains('\0') && inet_pton(AF_INET, text.constData(), &parsed) == 1;
}

} // namespace

/// Where the threads of the lookups and the main thread meet.
struct HostNames::Exchange {
    /// On a lookup's thread: has @p answer given on the main thread, if we are still there.
    void hand(const Giver<Answer> &give, const Answer &answer)
    {
        const std::lock_guard lock(mutex);
        --outstanding;
        if (!context)
            return;
        QMetaObject::invokeMethod(
            context.get(), [give, answer] { give(answer); }, Qt::QueuedConnection);
    }

    std::mutex mutex;
    int outstanding = 0;
    std::unique_ptr<QObject> context = std::make_unique<QObject>(); ///< Null: nobody listens.
};

HostNames::HostNames() : HostNames(systemResolver, u"/etc/machine-info"_s) { }

HostNames::HostNames(Resolver resolver, QString machineInfoPath)
    : m_resolver(std::move(resolver)),
      m_machineInfoPath(std::move(machineInfoPath)),
      m_exchange(std::make_shared<Exchange>())
{ }

HostNames::~HostNames()
{
    const std::lock_guard lock(m_exchange->mutex);
    m_exchange->context.reset();
}

bool HostNames::startLookup(const QString &address, const Giver<Answer> &give)
{
    {
        // Each lookup that hangs keeps its thread until the resolver gives up. With dead name
        // servers and a lookup at each change, their number must not grow with the changes.
        const std::lock_guard lock(m_exchange->mutex);
        if (m_exchange->outstanding >= kMostLookups)
            return false;
        ++m_exchange->outstanding;
    }
    try {
        std::thread([exchange = m_exchange, resolver = m_resolver, address, give] {
            const Answer answer = resolver(address);
            exchange->hand(give, answer);
        }).detach();
    } catch (const std::system_error &) { // no more threads for this user
        const std::lock_guard lock(m_exchange->mutex);
        --m_exchange->outstanding;
        return false;
    }
    return true;
}

Task<std::optional<QString>> HostNames::name(QString address)
{
    if (!isIPv4(address))
        co_return std::nullopt;
    Later<Answer> answer;
    const Giver<Answer> give = answer.giver();
    if (!startLookup(address, give))
        co_return std::nullopt;

    QTimer deadline;
    deadline.setTimerType(Qt::PreciseTimer);
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, &deadline, [give] { give(std::nullopt); });
    deadline.start(kPatience);
    co_return co_await answer;
}

std::optional<QString> HostNames::machineName() const
{
    const Answer pretty = prettyHostname(readMachineInfo(m_machineInfoPath));
    if (pretty)
        return pretty;
    std::array<char, HOST_NAME_MAX + 1> name = {};
    if (gethostname(name.data(), name.size() - 1) != 0 || name.front() == '\0')
        return {};
    return QString::fromUtf8(name.data());
}

std::optional<QString> systemResolver(const QString &address)
{
    sockaddr_in peer = {};
    peer.sin_family = AF_INET;
    if (inet_pton(AF_INET, address.toUtf8().constData(), &peer.sin_addr) != 1)
        return {};
    std::array<char, NI_MAXHOST> name = {};
    if (getnameinfo(reinterpret_cast<const sockaddr *>(&peer), sizeof peer, name.data(),
                    name.size(), nullptr, 0, NI_NAMEREQD)
        != 0)
        return {};
    return QString::fromUtf8(name.data());
}

} // namespace quillfen::platform
