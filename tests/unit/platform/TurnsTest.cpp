// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Turns.h"
#include "platform/Later.h"
#include "platform/Task.h"
#include "unit/platform/Witness.h"
#include "world/Settle.h"

#include <QCoreApplication>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTest>
#include <QTimer>

#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>

using namespace Qt::StringLiterals;
using quillfen::world::comesToRest;

namespace quillfen::platform {

namespace {

/// What the turns of one test share.
struct Day {
    QStringList notes;
    int alive = 0; ///< Turns whose locals exist.
    int most = 0; ///< The largest that `alive` ever was at the beginning of a turn.
};

/// Waits for as many passes of the event loop as @p waits says.
Task<void> turn(Day *day, int number, int waits)
{
    const Witness local(day->alive);
    day->most = qMax(day->most, day->alive);
    day->notes.append(u"%1 begins"_s.arg(number));
    for (int i = 0; i < waits; ++i) {
        Later<bool> pass;
        QTimer::singleShot(i % 2, [give = pass.giver()] { give(true); });
        co_await pass;
    }
    day->notes.append(u"%1 ends"_s.arg(number));
}

Task<void> waitForSignal(Day *day, Giver<bool> *signal)
{
    const Witness local(day->alive);
    Later<bool> wait;
    *signal = wait.giver();
    co_await wait;
    day->notes.append(u"signalled"_s);
}

Task<void> fail(Day *day, QString why, bool waiting)
{
    const Witness local(day->alive);
    if (waiting) {
        Later<bool> pass;
        QTimer::singleShot(0, [give = pass.giver()] { give(true); });
        co_await pass;
    }
    throw std::runtime_error(why.toStdString());
}

Task<void> takeInside(Day *day, Turns *turns)
{
    day->notes.append(u"outer begins"_s);
    turns->take(turn(day, 1, 0));
    turns->take(turn(day, 2, 1));
    day->notes.append(u"outer ends"_s);
    co_return;
}

/// Brings another turn when it is destroyed.
class Successor {
public:
    Successor(Day *day, Turns *turns) : m_day(day), m_turns(turns) { }
    Successor(const Successor &) = delete;
    Successor &operator=(const Successor &) = delete;
    ~Successor() { m_turns->take(turn(m_day, 1, 0)); }

private:
    Day *m_day;
    Turns *m_turns;
};

Task<void> leaveSuccessor(Day *day, Turns *turns)
{
    const Successor successor(day, turns);
    Later<bool> never;
    co_await never;
}

QString text(std::exception_ptr failure)
{
    try {
        std::rethrow_exception(std::move(failure));
    } catch (const std::exception &error) {
        return QString::fromLatin1(error.what());
    }
}

QStringList beginningsAndEnds(int count)
{
    QStringList expected;
    for (int i = 0; i < count; ++i)
        expected << u"%1 begins"_s.arg(i) << u"%1 ends"_s.arg(i);
    return expected;
}

} // namespace

class TurnsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_day = {};
        m_turns.emplace([this](std::exception_ptr failure) {
            QCOMPARE(m_day.alive, 0);
            m_day.notes.append(text(std::move(failure)));
        });
    }
    void cleanup()
    {
        m_turns.reset();
        QCOMPARE(m_day.alive, 0);
    }

    void twoHundredRunInTheOrderTheyCameAndNeverOverlap()
    {
        for (int i = 0; i < 200; ++i)
            m_turns->take(turn(&m_day, i, i % 4));
        QVERIFY(m_turns->busy());
        QVERIFY(comesToRest(*m_turns));
        QCOMPARE(m_day.notes, beginningsAndEnds(200));
        QCOMPARE(m_day.most, 1);
    }

    void tellsOfRestWhenTheLastTurnIsOver()
    {
        int rests = 0;
        Turns turns([](std::exception_ptr) { qFatal("no turn fails here"); },
                    [&rests] { ++rests; });
        for (int i = 0; i < 3; ++i)
            turns.take(turn(&m_day, i, 2));
        QCOMPARE(rests, 0);
        QVERIFY(comesToRest(turns));
        QCOMPARE(rests, 1);
        turns.take(turn(&m_day, 3, 0));
        QCOMPARE(rests, 2);
    }

    void theFirstStartsAtOnce()
    {
        QVERIFY(!m_turns->busy());
        m_turns->take(turn(&m_day, 0, 1));
        QCOMPARE(m_day.notes, QStringList(u"0 begins"_s));
        QVERIFY(m_turns->busy());
    }

    void oneThatNeverWaitsIsOverWhenTakeReturns()
    {
        m_turns->take(turn(&m_day, 0, 0));
        QVERIFY(!m_turns->busy());
        m_turns->take(turn(&m_day, 1, 0));
        QCOMPARE(m_day.notes, beginningsAndEnds(2));
    }

    void theEventLoopTurnsWhileOneWaits()
    {
        Giver<bool> signal;
        m_turns->take(waitForSignal(&m_day, &signal));
        m_turns->take(turn(&m_day, 0, 0));
        int ticks = 0;
        QTimer ticking;
        connect(&ticking, &QTimer::timeout, this, [&ticks] { ++ticks; });
        ticking.start(0);
        QTRY_VERIFY(ticks >= 10);
        QVERIFY(m_day.notes.isEmpty());
        signal(true);
        QTRY_COMPARE(m_day.notes, QStringList({u"signalled"_s, u"0 begins"_s, u"0 ends"_s}));
    }

    void oneTakenInsideAnotherFollowsIt()
    {
        m_turns->take(takeInside(&m_day, &*m_turns));
        QVERIFY(comesToRest(*m_turns));
        QCOMPARE(m_day.notes,
                 QStringList({u"outer begins"_s, u"outer ends"_s, u"1 begins"_s, u"1 ends"_s,
                              u"2 begins"_s, u"2 ends"_s}));
    }

    void oneThatThrowsIsReportedAndTheNextFollows_data()
    {
        QTest::addColumn<bool>("waiting");
        QTest::newRow("before any wait") << false;
        QTest::newRow("after a wait") << true;
    }
    void oneThatThrowsIsReportedAndTheNextFollows()
    {
        QFETCH(bool, waiting);
        m_turns->take(fail(&m_day, u"first"_s, waiting));
        m_turns->take(fail(&m_day, u"second"_s, waiting));
        m_turns->take(turn(&m_day, 0, 1));
        QVERIFY(comesToRest(*m_turns));
        QCOMPARE(m_day.notes, QStringList({u"first"_s, u"second"_s, u"0 begins"_s, u"0 ends"_s}));
    }

    void theHandlerOfAFailureMayTakeATurn()
    {
        std::optional<Turns> turns;
        turns.emplace([this, &turns](std::exception_ptr) { turns->take(turn(&m_day, 0, 1)); });
        turns->take(fail(&m_day, u"first"_s, true));
        QVERIFY(comesToRest(*turns));
        QCOMPARE(m_day.notes, beginningsAndEnds(1));
    }

    void oneIsGoneBeforeTheNextStarts()
    {
        Giver<bool> signal;
        m_turns->take(waitForSignal(&m_day, &signal));
        m_turns->take(turn(&m_day, 0, 0));
        signal(true);
        QVERIFY(comesToRest(*m_turns));
        QCOMPARE(m_day.notes, QStringList({u"signalled"_s, u"0 begins"_s, u"0 ends"_s}));
        QCOMPARE(m_day.most, 1);
    }

    void destroyingCancelsTheRunningAndTheQueued()
    {
        int parameters = 0;
        Giver<bool> signal;
        m_turns->take(waitForSignal(&m_day, &signal));
        for (int i = 0; i < 19; ++i)
            m_turns->take(holding(Witness(parameters)));
        QCOMPARE(m_day.alive, 1);
        QCOMPARE(parameters, 19);
        m_turns.reset();
        QCOMPARE(m_day.alive, 0);
        QCOMPARE(parameters, 0);
        signal(true);
        QCoreApplication::processEvents();
        QVERIFY(m_day.notes.isEmpty());
    }

    void destroyingCancelsAResumptionThatIsPosted()
    {
        Giver<bool> signal;
        m_turns->take(waitForSignal(&m_day, &signal));
        signal(true);
        m_turns.reset();
        QCOMPARE(m_day.alive, 0);
        QCoreApplication::processEvents();
        QVERIFY(m_day.notes.isEmpty());
    }

    void whatACancelledTurnStillBringsIsCancelledToo()
    {
        m_turns->take(leaveSuccessor(&m_day, &*m_turns));
        m_turns->take(turn(&m_day, 2, 0));
        m_turns.reset();
        QVERIFY(m_day.notes.isEmpty());
    }

    void aLongQueueDoesNotDeepenTheStack()
    {
        const int many = 100'000;
        Giver<bool> signal;
        m_turns->take(waitForSignal(&m_day, &signal));
        int ran = 0;
        for (int i = 0; i < many; ++i)
            m_turns->take(count(&ran));
        signal(true);
        QTRY_COMPARE(ran, many);
        QVERIFY(!m_turns->busy());
    }

private:
    static Task<void> holding(Witness) { co_return; }
    static Task<void> count(int *ran)
    {
        ++*ran;
        co_return;
    }

    Day m_day;
    std::optional<Turns> m_turns;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::TurnsTest)
#include "TurnsTest.moc"
