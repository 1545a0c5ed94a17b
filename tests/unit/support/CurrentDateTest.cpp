// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/CurrentDate.h"

#include "support/DateDescription.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTest>

#include <chrono>

namespace quillfen::support {

namespace {

QByteArray dateNow()
{
    return dateDescription(std::chrono::system_clock::now()).toLatin1();
}

} // namespace

class CurrentDateTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { qputenv("TZ", "UTC0"); }
    void cleanup() { qunsetenv("TZ"); }

    void isNeverAheadNorBehind()
    {
        CurrentDate date;
        const QByteArray first = date.text();
        do {
            const QByteArray before = dateNow();
            const QByteArray text = date.text();
            QVERIFY(before <= text);
            QVERIFY(text <= dateNow());
        } while (date.text() == first);
    }

    void followsTheMachineIntoAnotherZone()
    {
        CurrentDate date;
        QVERIFY(date.text().endsWith(" +0000"));
        qputenv("TZ", "CET-1");
        QTRY_VERIFY(date.text().endsWith(" +0100"));
    }
};

} // namespace quillfen::support

QTEST_GUILESS_MAIN(quillfen::support::CurrentDateTest)
#include "CurrentDateTest.moc"
