// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/QtTimers.h"
#include "world/FakeTimers.h"

#include <QTest>

#include <memory>
#include <vector>

#include <poll.h>

using namespace std::chrono_literals;

namespace quillfen::platform {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// Timers, and the time they go by.
class ClockWorld {
public:
    virtual ~ClockWorld() = default;
    virtual Timers &timers() = 0;
    /// How long this world has stood.
    virtual milliseconds now() const = 0;
    /// Lets @p time pass with the event loop running.
    virtual void pass(seconds time) = 0;
    /// Lets @p time pass with nothing running, then runs the event loop for a moment.
    virtual void standStill(seconds time) = 0;
};

class RealClock : public ClockWorld {
public:
    Timers &timers() override { return m_timers; }
    milliseconds now() const override
    {
        const auto age = std::chrono::steady_clock::now() - m_start;
        return std::chrono::duration_cast<milliseconds>(age);
    }
    void pass(seconds time) override { QTest::qWait(int(milliseconds(time + kSlack).count())); }
    void standStill(seconds time) override
    {
        poll(nullptr, 0, int(milliseconds(time + kSlack).count()));
        QCoreApplication::processEvents();
    }

private:
    static constexpr milliseconds kSlack = 400ms; ///< For a busy machine; a grid of seconds.

    QtTimers m_timers;
    std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

class FakeClock : public ClockWorld {
public:
    Timers &timers() override { return m_timers; }
    milliseconds now() const override { return m_timers.now(); }
    void pass(seconds time) override { m_timers.advance(time); }
    void standStill(seconds time) override { m_timers.suspend(time); }

private:
    world::FakeTimers m_timers;
};

std::unique_ptr<ClockWorld> makeWorld()
{
    QFETCH_GLOBAL(bool, real);
    if (real)
        return std::make_unique<RealClock>();
    return std::make_unique<FakeClock>();
}

} // namespace

/// What Timers promises, of the real ones and of the fake.
class TimersContract : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<bool>("real");
        QTest::newRow("event loop") << true;
        QTest::newRow("fake") << false;
    }

    void aOneShotFiresOnceAndNotEarly()
    {
        const auto world = makeWorld();
        std::vector<milliseconds> fired;
        const milliseconds start = world->now();
        const auto timer =
            world->timers().installOneShot(1s, [&] { fired.push_back(world->now() - start); });
        world->pass(2s);
        QCOMPARE(fired.size(), std::size_t(1));
        QVERIFY(fired.front() >= 1s);
    }

    void noDelayMeansAtOnceButFromTheEventLoop_data()
    {
        QTest::addColumn<qint64>("delay");
        QTest::newRow("zero") << qint64(0);
        QTest::newRow("negative") << qint64(-5);
        QTest::newRow("as negative as can be") << qint64(seconds::min().count());
    }
    void noDelayMeansAtOnceButFromTheEventLoop()
    {
        QFETCH(qint64, delay);
        const auto world = makeWorld();
        int fired = 0;
        const auto timer = world->timers().installOneShot(seconds(delay), [&] { ++fired; });
        QCOMPARE(fired, 0);
        world->pass(0s);
        QCOMPARE(fired, 1);
    }

    void aRepeatingTimerFiresAgainAndAgain()
    {
        const auto world = makeWorld();
        std::vector<milliseconds> fired;
        const milliseconds start = world->now();
        const auto timer =
            world->timers().installRepeating(1s, [&] { fired.push_back(world->now() - start); });
        world->pass(3s);
        QCOMPARE(fired.size(), std::size_t(3));
        for (std::size_t i = 0; i < fired.size(); ++i)
            QVERIFY(fired[i] >= seconds(i + 1) && fired[i] < seconds(i + 2));
    }

    void whatALateMachineMissedComesOnce()
    {
        const auto world = makeWorld();
        int fired = 0;
        const auto timer = world->timers().installRepeating(1s, [&] { ++fired; });
        world->standStill(3s);
        QCOMPARE(fired, 1);
        world->pass(1s);
        QCOMPARE(fired, 2);
    }

    void aDestroyedTimerIsSilent()
    {
        const auto world = makeWorld();
        int fired = 0;
        auto once = world->timers().installOneShot(1s, [&] { ++fired; });
        auto often = world->timers().installRepeating(1s, [&] { ++fired; });
        auto now = world->timers().installOneShot(0s, [&] { ++fired; });
        once.reset();
        often.reset();
        now.reset();
        world->pass(1s);
        QCOMPARE(fired, 0);
    }

    void aTimerMayBeDestroyedInItsOwnCallback()
    {
        const auto world = makeWorld();
        int fired = 0;
        std::unique_ptr<Timer> timer;
        timer = world->timers().installRepeating(1s, [&, witness = std::make_shared<int>(7)] {
            timer.reset();
            fired += *witness; // what the callback captured is still there
        });
        world->pass(2s);
        QCOMPARE(fired, 7);
    }

    void aTimerMayBeReplacedInItsOwnCallback()
    {
        const auto world = makeWorld();
        int fired = 0;
        std::unique_ptr<Timer> timer;
        timer = world->timers().installOneShot(1s, [&] {
            timer = world->timers().installOneShot(1s, [&] { fired += 10; });
            ++fired;
        });
        world->pass(1s);
        QCOMPARE(fired, 1);
        world->pass(1s);
        QCOMPARE(fired, 11);
    }

    void anyLengthGoes_data()
    {
        QTest::addColumn<qint64>("length");
        QTest::newRow("just past what fits an int of milliseconds") << qint64(2147484);
        QTest::newRow("ten thousand years") << qint64(315'576'000'000);
        QTest::newRow("as long as can be") << qint64(seconds::max().count());
    }
    void anyLengthGoes()
    {
        QFETCH(qint64, length);
        const auto world = makeWorld();
        int fired = 0;
        const auto once = world->timers().installOneShot(seconds(length), [&] { ++fired; });
        const auto often = world->timers().installRepeating(seconds(length), [&] { ++fired; });
        world->pass(0s);
        QCOMPARE(fired, 0);
    }
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::TimersContract)
#include "TimersContract.moc"
