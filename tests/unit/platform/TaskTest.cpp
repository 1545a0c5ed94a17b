// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Task.h"
#include "platform/Later.h"
#include "platform/Turns.h"
#include "unit/platform/Witness.h"
#include "world/Settle.h"

#include <QCoreApplication>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTest>
#include <QTimer>

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;
using quillfen::world::settle;

namespace quillfen::platform {

namespace {

void rethrow(std::exception_ptr failure)
{
    std::rethrow_exception(std::move(failure));
}

Task<void> passOfTheEventLoop()
{
    Later<bool> passed;
    QTimer::singleShot(0, [give = passed.giver()] { give(true); });
    co_await passed;
}

Task<void> append(QStringList *notes, QString text)
{
    notes->append(text);
    co_return;
}

Task<int> answer(bool waiting)
{
    if (waiting)
        co_await passOfTheEventLoop();
    co_return 42;
}

Task<std::unique_ptr<QString>> movable(bool waiting)
{
    auto result = std::make_unique<QString>(u"moved"_s);
    if (waiting)
        co_await passOfTheEventLoop();
    co_return result;
}

Task<std::optional<QString>> perhaps(bool there)
{
    if (!there)
        co_return std::nullopt;
    co_return u"there"_s;
}

Task<std::vector<QString>> braced()
{
    co_return {u"a"_s, u"b"_s};
}

Task<qint64> length(QString text)
{
    co_return text.size();
}

Task<int> failing(int *alive, bool waiting)
{
    const Witness local(*alive);
    if (waiting)
        co_await passOfTheEventLoop();
    throw std::runtime_error("broken");
}

Task<int> between(int *alive, bool waiting)
{
    const Witness local(*alive);
    const int result = co_await failing(alive, waiting);
    co_return result;
}

Task<QString> catching(int *alive, bool waiting)
{
    QString heard;
    try {
        co_await between(alive, waiting);
    } catch (const std::runtime_error &error) {
        heard = QString::fromLatin1(error.what());
    }
    co_await passOfTheEventLoop();
    co_return heard;
}

Task<int> depth(int levels, int *alive, Giver<bool> *bottom)
{
    const Witness local(*alive);
    if (levels == 0) {
        Later<bool> end;
        *bottom = end.giver();
        co_await end;
        co_return 0;
    }
    const int below = co_await depth(levels - 1, alive, bottom);
    co_return below + 1;
}

Task<void> measureDepth(int levels, int *alive, Giver<bool> *bottom, int *reached)
{
    *reached = co_await depth(levels, alive, bottom);
}

Task<qint64> sumOfAnswers(int count)
{
    qint64 sum = 0;
    for (int i = 0; i < count; ++i)
        sum += co_await answer(false);
    co_return sum;
}

Task<int> swallow(Witness byValue, QString text)
{
    const Witness taken = std::move(byValue);
    co_await passOfTheEventLoop();
    co_return int(text.size());
}

Task<int> feed(int *alive)
{
    const int first = co_await swallow(Witness(*alive), u"twelve chars"_s);
    Witness named(*alive);
    Task<int> second = swallow(std::move(named), QString(30, u'x'));
    co_await passOfTheEventLoop();
    const int length = co_await std::move(second);
    co_return first + length;
}

Task<void> noteThenWait(QStringList *notes)
{
    notes->append(u"started"_s);
    co_await passOfTheEventLoop();
    notes->append(u"ended"_s);
}

Task<void> awaitLater(QStringList *notes)
{
    Task<void> made = noteThenWait(notes);
    notes->append(u"made"_s);
    co_await std::move(made);
}

} // namespace

class TaskTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void nothingOfItRunsBeforeItIsAwaited()
    {
        QStringList notes;
        settle(awaitLater(&notes));
        QCOMPARE(notes, QStringList({u"made"_s, u"started"_s, u"ended"_s}));
    }

    void oneThatIsNeverAwaitedNeverRuns()
    {
        QStringList notes;
        {
            const Task<void> dropped = append(&notes, u"ran"_s);
        }
        QVERIFY(notes.isEmpty());
    }

    void oneThatNeedNotWaitEndsAtOnce()
    {
        QStringList notes;
        Turns turns(rethrow);
        turns.take(append(&notes, u"ran"_s));
        QCOMPARE(notes, QStringList(u"ran"_s));
        QVERIFY(!turns.busy());
    }

    void itsAwaiterGetsItsValue()
    {
        QCOMPARE(settle(answer(false)), 42);
        QCOMPARE(settle(answer(true)), 42);
        QCOMPARE(*settle(movable(false)), u"moved"_s);
        QCOMPARE(*settle(movable(true)), u"moved"_s);
        QCOMPARE(settle(perhaps(true)), std::optional(u"there"_s));
        QCOMPARE(settle(perhaps(false)), std::optional<QString>());
        QCOMPARE(settle(braced()), std::vector<QString>({u"a"_s, u"b"_s}));
        QCOMPARE(settle(length(u"four"_s)), 4);
    }

    void itsAwaiterGetsWhatItThrows_data()
    {
        QTest::addColumn<bool>("waiting");
        QTest::newRow("before any wait") << false;
        QTest::newRow("after a wait") << true;
    }
    void itsAwaiterGetsWhatItThrows()
    {
        QFETCH(bool, waiting);
        int alive = 0;
        QCOMPARE(settle(catching(&alive, waiting)), u"broken"_s);
        QCOMPARE(alive, 0);
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, settle(between(&alive, waiting)));
        QCOMPARE(alive, 0);
    }

    void destroyingItDestroysAllThatItWaitsFor()
    {
        int alive = 0;
        int reached = -1;
        Giver<bool> bottom;
        {
            Turns turns(rethrow);
            turns.take(measureDepth(50, &alive, &bottom, &reached));
            QVERIFY(turns.busy());
            QCOMPARE(alive, 51);
        }
        QCOMPARE(alive, 0);
        bottom(true);
        QCoreApplication::processEvents();
        QCOMPARE(reached, -1);
    }

    void aThousandLevelsComeBackOneByOne()
    {
        int alive = 0;
        int reached = -1;
        Giver<bool> bottom;
        Turns turns(rethrow);
        turns.take(measureDepth(1000, &alive, &bottom, &reached));
        QCOMPARE(alive, 1001);
        bottom(true);
        QTRY_COMPARE(reached, 1000);
        QCOMPARE(alive, 0);
        QVERIFY(!turns.busy());
    }

    void aLongLoopThatNeverWaitsDoesNotDeepenTheStack()
    {
        QCOMPARE(settle(sumOfAnswers(1'000'000)), 42'000'000);
    }

    void parametersAreDestroyedOnce()
    {
        int alive = 0;
        QCOMPARE(settle(feed(&alive)), 42);
        QCOMPARE(alive, 0);
    }

    void oneThatNeverStartedDestroysItsParameters()
    {
        int alive = 0;
        {
            const Task<int> dropped = swallow(Witness(alive), u"x"_s);
            QCOMPARE(alive, 1);
        }
        QCOMPARE(alive, 0);
    }

    void assigningCancelsTheFormer()
    {
        int first = 0;
        int second = 0;
        Task<int> task = swallow(Witness(first), u"x"_s);
        task = swallow(Witness(second), u"four"_s);
        QCOMPARE(first, 0);
        QCOMPARE(second, 1);
        QCOMPARE(settle(std::move(task)), 4);
        QCOMPARE(second, 0);
    }

    void settlingGivesUpAtItsDeadline()
    {
        int alive = 0;
        Giver<bool> never;
        QVERIFY_THROWS_EXCEPTION(std::runtime_error,
                                 settle(depth(2, &alive, &never), std::chrono::milliseconds(1)));
        QCOMPARE(alive, 0);
    }
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::TaskTest)
#include "TaskTest.moc"
