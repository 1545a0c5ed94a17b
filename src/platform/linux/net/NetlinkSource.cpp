// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/net/NetlinkSource.h"

#include "platform/Turns.h"

#include <QCoreApplication>
#include <QEvent>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <chrono>
#include <utility>

namespace quillfen::platform {
namespace {

using namespace std::chrono_literals;

/// The least time between two looks. A storm of changes costs no more than this allows.
constexpr std::chrono::milliseconds kBetweenLooks = 10ms;
/// From an event to the look of whoever is told in a turn. Look and turn need processor time, and
/// the panel, which has just been sent the label, comes first.
constexpr std::chrono::milliseconds kPanelFirst = 1ms;
/// After an answer during which the network changed. Asking again at once would go on failing,
/// a thousand times in a storm.
constexpr std::chrono::milliseconds kAfterInterruption = 5ms;

/// After a look that failed for any other reason (no memory, no descriptor): 1 s, then twice as
/// long each time, up to about a minute.
std::chrono::milliseconds afterFailures(int failuresInARow)
{
    return 1s * (1 << std::min(failuresInARow - 1, 6));
}

const auto kTurnIsDue = static_cast<QEvent::Type>(QEvent::registerEventType());

QStringList addressesOf(const std::vector<Service> &services)
{
    QStringList all;
    for (const Service &service : services)
        all += service.addresses;
    return all;
}

} // namespace

NetlinkSource::NetlinkSource(Subscription subscription, Target target, ServiceQuestion &question,
                             const ServicesRead &lastRead)
    : m_subscription(std::move(subscription)),
      m_target(target),
      m_question(question),
      m_lastRead(lastRead),
      m_present(m_subscription.heardOf),
      m_notifier(m_subscription.events.descriptor(), QSocketNotifier::Read, this),
      m_pause(this)
{
    m_notifier.setEnabled(false);
    m_pause.setSingleShot(true);
    m_pause.setTimerType(Qt::PreciseTimer);
    connect(&m_notifier, &QSocketNotifier::activated, this, &NetlinkSource::wake);
    connect(&m_pause, &QTimer::timeout, this, &NetlinkSource::hear);
}

void NetlinkSource::addTo(Turns &turns)
{
    assert(m_target.callback && "the turns need something to call");
    m_turns = &turns;
    begin();
}

void NetlinkSource::onEachChange(std::function<void(const QStringList &addresses)> told)
{
    m_told = std::move(told);
    begin();
}

void NetlinkSource::begin()
{
    m_behind = true; // what was read between the subscription and now has to be compared, too
    m_pause.start(0ms);
}

void NetlinkSource::wake()
{
    if (m_told) {
        hear();
        return;
    }
    m_notifier.setEnabled(false);
    m_pause.start(kPanelFirst);
}

void NetlinkSource::hear()
{
    // Before the look: an event that comes after it is heard of by the notifier or the pause.
    const bool anything = m_subscription.events.drain();
    if (!anything && !m_behind) {
        m_notifier.setEnabled(true);
        return;
    }
    lookAndPause();
}

void NetlinkSource::lookAndPause()
{
    const std::chrono::milliseconds pause = look(); // before all else: its finding is waited for
    m_notifier.setEnabled(false);
    m_pause.start(pause);
}

/// @returns the least time until the next look.
std::chrono::milliseconds NetlinkSource::look()
{
    std::vector<Service> services;
    const int error = m_question.ask(services);
    m_behind = error != 0;
    if (error == EINTR)
        return kAfterInterruption;
    if (m_behind)
        return afterFailures(++m_failuresInARow);
    m_failuresInARow = 0;
    compare(std::move(services));
    return kBetweenLooks;
}

void NetlinkSource::compare(std::vector<Service> services)
{
    services = m_subscription.keys.matching(services, m_present);
    const QStringList before = addressesOf(std::exchange(m_present, std::move(services)));
    const QStringList now = addressesOf(m_present);
    if (m_told && (now != before || readOtherwise()))
        m_told(now);
    if (m_turns && (now != addressesOf(m_subscription.heardOf) || readOtherwise()))
        takeTurn();
}

void NetlinkSource::takeTurn()
{
    if (std::exchange(m_turnQueued, true))
        return;
    m_turnWaits = m_turns->busy();
    // Behind all else that is queued in the event loop, so that what was told at once reaches the
    // panel before this turn's work.
    QCoreApplication::postEvent(this, new QEvent(kTurnIsDue), Qt::LowEventPriority);
}

void NetlinkSource::customEvent(QEvent *event)
{
    if (event->type() == kTurnIsDue)
        m_turns->take(turn(this));
}

/// Whether the program read, since the callback last heard, what is not so (any more).
bool NetlinkSource::readOtherwise() const
{
    return m_lastRead.count != m_readingsHeardOf
        && addressesOf(m_subscription.keys.matching(m_lastRead.services)) != addressesOf(m_present);
}

/// @returns the keys to tell the callback; nothing if all is again as it last heard.
std::optional<QStringList> NetlinkSource::beginTurn()
{
    // After a long wait for others, what came meanwhile belongs to this turn.
    if (m_turnWaits && (m_behind || m_subscription.events.pending()))
        lookAndPause();
    m_turnQueued = false;
    if (addressesOf(m_present) == addressesOf(m_subscription.heardOf) && !readOtherwise())
        return {};
    const QStringList keys = changedKeys(m_subscription.heardOf, m_present);
    m_subscription.heardOf = m_present;
    m_readingsHeardOf = m_lastRead.count;
    return keys;
}

Task<void> NetlinkSource::turn(QPointer<NetlinkSource> source)
{
    if (!source)
        co_return;
    const std::optional<QStringList> keys = source->beginTurn();
    if (!keys)
        co_return;
    const Target target = source->m_target;
    co_await target.callback(target.store, *keys, target.context);
}

} // namespace quillfen::platform
