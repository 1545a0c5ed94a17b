// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/SingleInstance.h"
#include "unit/desktop/PrivateBus.h"

#include <QElapsedTimer>
#include <QTest>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

const QString kName = u"com.corvane.Quillfen"_s;
using Outcome = SingleInstance::Outcome;

} // namespace

/// Processes that want the same name.
class SingleInstanceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFirstOwnsTheNameAndTheSecondIsToldSo()
    {
        PrivateBus bus;
        std::optional<Outcome> first;
        const SingleInstance one(bus.connection(), kName, [&](Outcome told) { first = told; });
        QVERIFY(!first);
        QTRY_COMPARE(first, Outcome::Owner);
        std::optional<Outcome> second;
        const SingleInstance two(bus.connection(), kName, [&](Outcome told) { second = told; });
        QTRY_COMPARE(second, Outcome::AlreadyRunning);
    }

    void aNameAskedForTwiceByOneProcessStaysItsOwn()
    {
        PrivateBus bus;
        const QDBusConnection connection = bus.connection();
        for (int i = 0; i < 2; ++i) {
            std::optional<Outcome> outcome;
            const SingleInstance one(connection, kName, [&](Outcome told) { outcome = told; });
            QTRY_COMPARE(outcome, Outcome::Owner);
        }
    }

    void withoutABusNobodyCanTell()
    {
        std::optional<Outcome> outcome;
        const SingleInstance one(std::nullopt, kName, [&](Outcome told) { outcome = told; });
        QVERIFY(!outcome);
        QTRY_COMPARE(outcome, Outcome::NoBus);
    }

    void withALostBusNobodyCanTell()
    {
        PrivateBus bus;
        const QDBusConnection connection = bus.connection();
        bus.stop();
        QTRY_VERIFY(!connection.isConnected());
        std::optional<Outcome> outcome;
        const SingleInstance one(connection, kName, [&](Outcome told) { outcome = told; });
        QTRY_COMPARE(outcome, Outcome::NoBus);
    }

    void aBusThatHangsHoldsNothingUp()
    {
        PrivateBus bus;
        const QDBusConnection connection = bus.connection();
        bus.hang();
        QElapsedTimer watch;
        watch.start();
        std::optional<Outcome> outcome;
        const SingleInstance one(connection, kName, [&](Outcome told) { outcome = told; });
        QVERIFY2(watch.elapsed() < 500, "asking alone took too long");
        qint64 longestGap = 0;
        QElapsedTimer gap;
        gap.start();
        while (!outcome && watch.elapsed() < 5000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents);
            longestGap = std::max(longestGap, gap.restart());
        }
        QCOMPARE(outcome, Outcome::NoBus);
        QVERIFY2(watch.elapsed() < 3000, "the answer took too long");
        QVERIFY2(longestGap < 500, "the event loop stood still");
        bus.resume();
    }

    void nothingIsToldAfterItsEnd()
    {
        PrivateBus bus;
        bool told = false;
        for (const auto &where :
             {std::optional(bus.connection()), std::optional<QDBusConnection>()})
            const SingleInstance one(where, kName, [&](Outcome) { told = true; });
        std::optional<Outcome> other;
        const SingleInstance two(std::nullopt, kName, [&](Outcome outcome) { other = outcome; });
        QTRY_VERIFY(other);
        QVERIFY(!told);
    }
};

} // namespace quillfen::platform

QTEST_GUILESS_MAIN(quillfen::platform::SingleInstanceTest)
#include "SingleInstanceTest.moc"
