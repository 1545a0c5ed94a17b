// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/DynamicStore.h"
#include "platform/linux/net/NetlinkSocket.h"
#include "platform/linux/net/ServiceKeys.h"
#include "platform/linux/net/ServiceQuestion.h"
#include "platform/linux/net/ServicesRead.h"

#include <QObject>
#include <QPointer>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

namespace quillfen::platform {

/// Follows the kernel's events. An event says no more than "something changed": the events are
/// thrown away, then the kernel is asked, then the answer is compared with the one before.
///
/// It looks at once after an event where somebody is told on each change, 1 ms later otherwise;
/// then not again for 10 ms, or longer after a failure, but once more after them if anything came
/// meanwhile. Where nothing changes, nothing wakes up. It must not be destroyed in its own
/// callback.
class NetlinkSource final : public QObject, public RunLoopSource {
public:
    /// What is followed: which keys, by which events, and what the callback last heard of, which
    /// is how it was when following began.
    struct Subscription {
        KeyPatterns keys;
        NetlinkSocket events;
        std::vector<Service> heardOf;
    };
    /// Whom to tell.
    struct Target {
        DynamicStore &store;
        StoreCallback callback;
        void *context;
    };

    /// @p question and @p lastRead must outlive it.
    NetlinkSource(Subscription subscription, Target target, ServiceQuestion &question,
                  const ServicesRead &lastRead);

    void addTo(Turns &turns) override;
    void onEachChange(std::function<void(const QStringList &addresses)> told) override;

protected:
    void customEvent(QEvent *event) override;

private:
    static Task<void> turn(QPointer<NetlinkSource> source);
    void begin();
    void wake();
    void hear();
    void lookAndPause();
    std::chrono::milliseconds look();
    void compare(std::vector<Service> services);
    void takeTurn();
    std::optional<QStringList> beginTurn();
    bool readOtherwise() const;

    Subscription m_subscription;
    const Target m_target;
    ServiceQuestion &m_question;
    const ServicesRead &m_lastRead;
    std::vector<Service> m_present;
    std::uint64_t m_readingsHeardOf = 0; ///< How many there were when the callback last heard.
    Turns *m_turns = nullptr;
    std::function<void(const QStringList &)> m_told;
    QSocketNotifier m_notifier;
    QTimer m_pause;
    bool m_behind = false; ///< The last look failed: m_present may be out of date.
    bool m_turnQueued = false; ///< Taken, but not begun.
    bool m_turnWaits = false; ///< Other turns come before it.
    int m_failuresInARow = 0;
};

} // namespace quillfen::platform
