// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/QtTimers.h"

#include <QTest>

#include <array>
#include <chrono>
#include <memory>
#include <optional>

using namespace std::chrono_literals;

namespace quillfen::platform {

/// What the real timers do beyond the contract; it takes a good minute.
class QtTimersTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void longTimersShareTheirWakeUpAndNoneIsEarly()
    {
        using Clock = std::chrono::steady_clock;
        struct Set {
            Clock::time_point start;
            std::optional<Clock::time_point> fired;
            std::unique_ptr<Timer> timer;
        };
        QtTimers timers;
        std::array<Set, 3> sets;
        // All three within one second of the clock, so that they are due in the same one.
        const auto intoTheSecond = Clock::now().time_since_epoch() % 1s;
        const auto wait = 1s - intoTheSecond + 50ms;
        QTest::qWait(int(std::chrono::ceil<std::chrono::milliseconds>(wait).count()));
        for (Set &set : sets) {
            set.start = Clock::now();
            set.timer = timers.installOneShot(60s, [&set] { set.fired = Clock::now(); });
            QTest::qWait(200);
        }
        QTRY_VERIFY_WITH_TIMEOUT(sets[0].fired && sets[1].fired && sets[2].fired, 63'000);
        for (const Set &set : sets) {
            QVERIFY2(*set.fired - set.start >= 60s, "early");
            QVERIFY2(*set.fired - set.start < 61s + 300ms, "late");
        }
        QVERIFY2(*sets[2].fired - *sets[0].fired < 150ms, "not together");
    }
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::QtTimersTest)
#include "QtTimersTest.moc"
