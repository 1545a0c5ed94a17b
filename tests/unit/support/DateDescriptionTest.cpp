// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/DateDescription.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTest>

#include <chrono>

using namespace Qt::StringLiterals;

namespace quillfen::support {

class DateDescriptionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { qunsetenv("TZ"); }

    void tellsLocalTimeAndItsDistanceFromUtc_data()
    {
        struct Row {
            const char *name;
            QByteArray zone;
            qint64 seconds;
            QString expected;
        };
        static const Row rows[] = {
            {.name = "UTC",
             .zone = "UTC0",
             .seconds = 1795223017,
             .expected = u"2026-11-21 01:03:37 +0000"_s},
            {.name = "east, winter",
             .zone = "CET-1CEST,M3.5.0,M10.5.0/3",
             .seconds = 1795223017,
             .expected = u"2026-11-21 02:03:37 +0100"_s},
            {.name = "east, summer",
             .zone = "CET-1CEST,M3.5.0,M10.5.0/3",
             .seconds = 1784000000,
             .expected = u"2026-07-14 05:33:20 +0200"_s},
            {.name = "west, half an hour",
             .zone = "NST3:30",
             .seconds = 1795223017,
             .expected = u"2026-11-20 21:33:37 -0330"_s},
            {.name = "the epoch",
             .zone = "UTC0",
             .seconds = 0,
             .expected = u"1970-01-01 00:00:00 +0000"_s},
        };
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.zone << row.seconds << row.expected;
    }

    void tellsLocalTimeAndItsDistanceFromUtc()
    {
        QFETCH(QByteArray, zone);
        QFETCH(qint64, seconds);
        qputenv("TZ", zone);
        const std::chrono::system_clock::time_point moment{std::chrono::seconds(seconds)};
        QTEST(dateDescription(moment), "expected");
    }

    void leavesFractionsOfASecondOut()
    {
        qputenv("TZ", "UTC0");
        const std::chrono::system_clock::time_point moment{std::chrono::milliseconds(59'999)};
        QCOMPARE(dateDescription(moment), u"1970-01-01 00:00:59 +0000"_s);
    }
};

} // namespace quillfen::support

QTEST_GUILESS_MAIN(quillfen::support::DateDescriptionTest)
#include "DateDescriptionTest.moc"
