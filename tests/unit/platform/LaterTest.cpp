// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/Later.h"
#include "platform/Task.h"
#include "platform/Turns.h"
#include "unit/platform/Witness.h"
#include "world/Settle.h"

#include <QCoreApplication>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTest>
#include <QTimer>

#include <exception>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;
using quillfen::world::settle;

namespace quillfen::platform {

namespace {

/// Hands out its giver, waits, and notes what comes.
Task<void> listen(Giver<QString> *giver, QStringList *notes, int *alive)
{
    const Witness local(*alive);
    Later<QString> word;
    *giver = word.giver();
    const QString heard = co_await word;
    notes->append(heard);
}

Task<void> listenOn(Giver<QString> *giver, QStringList *notes, Giver<bool> *end)
{
    Later<QString> word;
    *giver = word.giver();
    const QString heard = co_await word;
    notes->append(heard);
    Later<bool> rest;
    *end = rest.giver();
    co_await rest;
}

Task<void> giveBeforeTheWait(QStringList *notes)
{
    Later<QString> word;
    const Giver<QString> give = word.giver();
    give(u"first"_s);
    give(u"second"_s);
    const QString heard = co_await word;
    notes->append(heard);
}

Task<QString> awaitMovable()
{
    Later<std::unique_ptr<QString>> word;
    QTimer::singleShot(0, [give = word.giver()] { give(std::make_unique<QString>(u"moved"_s)); });
    const std::unique_ptr<QString> heard = co_await word;
    co_return *heard;
}

Task<std::optional<QString>> awaitNothing()
{
    Later<std::optional<QString>> word;
    QTimer::singleShot(0, [give = word.giver()] { give(std::nullopt); });
    std::optional<QString> heard = co_await word;
    co_return heard;
}

Task<int> inARow(int count)
{
    int sum = 0;
    for (int i = 0; i < count; ++i) {
        Later<int> number;
        QTimer::singleShot(0, [give = number.giver(), i] { give(i); });
        sum += co_await number;
    }
    co_return sum;
}

} // namespace

class LaterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_alive = 0;
        m_notes.clear();
        m_give = {};
        m_failure = nullptr;
        m_turns.emplace([this](std::exception_ptr failure) { m_failure = std::move(failure); });
    }
    void cleanup()
    {
        m_turns.reset();
        QVERIFY(!m_failure);
        QCOMPARE(m_alive, 0);
    }

    void whatIsGivenBeforeTheWaitIsNotWaitedFor()
    {
        m_turns->take(giveBeforeTheWait(&m_notes));
        QCOMPARE(m_notes, QStringList(u"first"_s));
        QVERIFY(!m_turns->busy());
    }

    void theTaskGoesOnFromTheEventLoopNotInsideTheCall()
    {
        m_turns->take(listen(&m_give, &m_notes, &m_alive));
        m_give(u"word"_s);
        QVERIFY(m_notes.isEmpty());
        QTRY_COMPARE(m_notes, QStringList(u"word"_s));
        QVERIFY(!m_turns->busy());
    }

    void onlyTheFirstValueCounts()
    {
        Giver<bool> end;
        m_turns->take(listenOn(&m_give, &m_notes, &end));
        const Giver<QString> copy = m_give;
        m_give(u"first"_s);
        copy(u"second, before the task went on"_s);
        QTRY_COMPARE(m_notes, QStringList(u"first"_s));
        copy(u"third, after it went on"_s);
        QCoreApplication::processEvents();
        QCOMPARE(m_notes, QStringList(u"first"_s));
        end(true);
        QTRY_VERIFY(!m_turns->busy());
        QCOMPARE(m_notes, QStringList(u"first"_s));
    }

    void aValueThatNeverComesHoldsNothingUpAtTheEnd()
    {
        m_turns->take(listen(&m_give, &m_notes, &m_alive));
        QCOMPARE(m_alive, 1);
        m_turns.reset();
        QCOMPARE(m_alive, 0);
    }

    void aGiverMayOutliveTheWait()
    {
        m_turns->take(listen(&m_give, &m_notes, &m_alive));
        m_turns.reset();
        m_give(u"too late"_s);
        QCoreApplication::processEvents();
        QVERIFY(m_notes.isEmpty());
    }

    void aGiverMayOutliveTheTask()
    {
        m_turns->take(listen(&m_give, &m_notes, &m_alive));
        m_give(u"word"_s);
        QTRY_VERIFY(!m_turns->busy());
        m_give(u"once more"_s);
        QCoreApplication::processEvents();
        QCOMPARE(m_notes, QStringList(u"word"_s));
    }

    void aResumptionThatIsPostedGoesWithItsTask()
    {
        m_turns->take(listen(&m_give, &m_notes, &m_alive));
        m_give(u"word"_s);
        m_turns.reset();
        QCOMPARE(m_alive, 0);
        QCoreApplication::processEvents();
        QVERIFY(m_notes.isEmpty());
    }

    void whatIsDroppedIsDestroyed()
    {
        Giver<Witness> give;
        {
            const Later<Witness> nobodyAwaits;
            give = nobodyAwaits.giver();
            give(Witness(m_alive));
            QCOMPARE(m_alive, 1);
            give(Witness(m_alive));
            QCOMPARE(m_alive, 1);
        }
        QCOMPARE(m_alive, 0);
        give(Witness(m_alive));
        QCOMPARE(m_alive, 0);
    }

    void aGiverOfItsOwnGivesToNobody()
    {
        const Giver<Witness> give;
        give(Witness(m_alive));
        QCOMPARE(m_alive, 0);
    }

    void aGiverMayBeKeptAndDroppedOnAnotherThread()
    {
        m_turns->take(listen(&m_give, &m_notes, &m_alive));
        std::thread([kept = m_give] { const Giver<QString> copy = kept; }).join();
        std::thread other([kept = m_give, app = QCoreApplication::instance()] {
            QMetaObject::invokeMethod(app, [kept] { kept(u"from afar"_s); });
        });
        other.join();
        QTRY_COMPARE(m_notes, QStringList(u"from afar"_s));
    }

    void theValueMayBeMovableOnly() { QCOMPARE(settle(awaitMovable()), u"moved"_s); }

    void theValueMayBeAbsent() { QCOMPARE(settle(awaitNothing()), std::optional<QString>()); }

    void manyWaitsInARowComeInOrder() { QCOMPARE(settle(inARow(1000)), 999 * 1000 / 2); }

private:
    int m_alive = 0;
    QStringList m_notes;
    Giver<QString> m_give;
    std::exception_ptr m_failure;
    std::optional<Turns> m_turns;
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::LaterTest)
#include "LaterTest.moc"
