// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/SystemNameLookup.h"

#include <QMetaObject>
#include <QObject>

#include <array>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <netdb.h>
#include <sys/socket.h>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

/// Where the threads of the lookups and the main thread meet.
struct SystemNameLookup::Exchange {
    using Givers = std::vector<Giver<NameAnswer>>;

    /// On a lookup's thread: has @p answer given to all who asked, if we are still there.
    void hand(const QString &name, const NameAnswer &answer)
    {
        const std::lock_guard lock(mutex);
        const Givers givers = std::exchange(asked[name], {});
        asked.erase(name);
        if (!context)
            return;
        const auto giveAll = [givers, answer] {
            for (const Giver<NameAnswer> &give : givers)
                give(answer);
        };
        QMetaObject::invokeMethod(context.get(), giveAll, Qt::QueuedConnection);
    }

    std::mutex mutex;
    std::map<QString, Givers> asked; ///< Who waits for the names that are being looked up.
    std::unique_ptr<QObject> context = std::make_unique<QObject>(); ///< Null: nobody listens.
};

SystemNameLookup::SystemNameLookup() : SystemNameLookup(systemAddresses) { }

SystemNameLookup::SystemNameLookup(Resolver resolver)
    : m_resolver(std::move(resolver)),
      m_exchange(std::make_shared<Exchange>())
{ }

SystemNameLookup::~SystemNameLookup()
{
    const std::lock_guard lock(m_exchange->mutex);
    m_exchange->context.reset();
}

bool SystemNameLookup::join(const QString &name, const Giver<NameAnswer> &give)
{
    {
        const std::lock_guard lock(m_exchange->mutex);
        if (const auto known = m_exchange->asked.find(name); known != m_exchange->asked.end()) {
            known->second.push_back(give);
            return true;
        }
        // A lookup that hangs keeps its thread until the resolver gives up.
        if (m_exchange->asked.size() >= kMostNames)
            return false;
        m_exchange->asked[name].push_back(give);
    }
    try {
        std::thread([exchange = m_exchange, resolver = m_resolver, name] {
            const NameAnswer answer = resolver(name);
            exchange->hand(name, answer);
        }).detach();
    } catch (const std::system_error &) { // no more threads for this user
        const std::lock_guard lock(m_exchange->mutex);
        m_exchange->asked.erase(name);
        return false;
    }
    return true;
}

Task<NameAnswer> SystemNameLookup::addresses(QString name)
{
    Later<NameAnswer> answer;
    const Giver<NameAnswer> give = answer.giver();
    if (!join(name, give))
        give({.addresses = {}, .trouble = u"too many lookups are under way"_s});
    co_return co_await answer;
}

NameAnswer systemAddresses(const QString &name)
{
    const QByteArray node = name.toUtf8();
    if (node.isEmpty() || node.contains('\0'))
        return {.addresses = {}, .trouble = u"not a name"_s};
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM; // otherwise each address comes once for every type
    addrinfo *found = nullptr;
    if (const int error = getaddrinfo(node.constData(), nullptr, &hints, &found); error != 0)
        return {.addresses = {}, .trouble = QString::fromLocal8Bit(gai_strerror(error))};
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, &freeaddrinfo);

    NameAnswer answer;
    for (const addrinfo *entry = found; entry; entry = entry->ai_next) {
        std::array<char, NI_MAXHOST> text = {};
        if (getnameinfo(entry->ai_addr, entry->ai_addrlen, text.data(), text.size(), nullptr, 0,
                        NI_NUMERICHOST)
            == 0)
            answer.addresses.append(QString::fromLatin1(text.data()));
    }
    if (answer.addresses.isEmpty())
        answer.trouble = u"no address"_s;
    return answer;
}

} // namespace quillfen::platform
