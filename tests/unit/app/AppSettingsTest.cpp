// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/AppSettings.h"
#include "support/SettingsReading.h"
#include "world/FakePreferences.h"

#include <QJsonArray>
#include <QJsonValue>
#include <QObject>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace quillfen::app {

class AppSettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void countsOnlyTheStoredTrueAsOn_data()
    {
        struct Row {
            const char *name;
            QJsonValue stored;
            bool expected;
        };
        static const Row rows[] = {
            {.name = "absent", .stored = QJsonValue::Undefined, .expected = false},
            {.name = "true", .stored = true, .expected = true},
            {.name = "false", .stored = false, .expected = false},
            {.name = "the text YES", .stored = u"YES"_s, .expected = false},
            {.name = "the number 1", .stored = 1, .expected = false},
            {.name = "null", .stored = QJsonValue::Null, .expected = false},
            {.name = "a list", .stored = QJsonArray{true}, .expected = false},
        };
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<bool>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.stored << row.expected;
    }
    void countsOnlyTheStoredTrueAsOn()
    {
        QFETCH(QJsonValue, stored);
        QFETCH(bool, expected);
        struct Accessor {
            QLatin1StringView key;
            bool (AppSettings::*read)() const;
        };
        static const Accessor accessors[] = {
            {"DisplayChangedIconWhenAddressChangeDetected"_L1,
             &AppSettings::displayChangedIconWhenAddressChangeDetected},
            {"TitleIconOnly"_L1, &AppSettings::titleIconOnly},
            {"SendEmailNotifications"_L1, &AppSettings::sendEmailNotifications},
            {"IncludeCurrentWirelessNetwork"_L1,
             &AppSettings::includeCurrentWirelessNetworkInTitle},
            {"IncludeMachineName"_L1, &AppSettings::includeMachineNameInTitle},
        };
        for (const Accessor &accessor : accessors) {
            world::FakePreferences preferences;
            const AppSettings settings(preferences);
            if (!stored.isUndefined())
                preferences.disk().values.insert(accessor.key, stored);
            QVERIFY2((settings.*accessor.read)() == expected, accessor.key.data());
        }
    }

    void readsTheIntervalInSixteenBits_data()
    {
        struct Row {
            const char *name;
            QJsonValue stored;
            int minutes;
            int seconds;
        };
        static const Row rows[] = {
            {.name = "absent", .stored = QJsonValue::Undefined, .minutes = 6, .seconds = 360},
            {.name = "5", .stored = 5, .minutes = 6, .seconds = 360},
            {.name = "0", .stored = 0, .minutes = 6, .seconds = 360},
            {.name = "-3", .stored = -3, .minutes = 6, .seconds = 360},
            {.name = "6", .stored = 6, .minutes = 6, .seconds = 360},
            {.name = "6.5", .stored = 6.5, .minutes = 6, .seconds = 360},
            {.name = "7", .stored = 7, .minutes = 7, .seconds = 420},
            {.name = "546", .stored = 546, .minutes = 546, .seconds = 32760},
            {.name = "547", .stored = 547, .minutes = 547, .seconds = -32716},
            {.name = "600", .stored = 600, .minutes = 600, .seconds = -29536},
            {.name = "32767", .stored = 32767, .minutes = 32767, .seconds = -60},
            {.name = "70000", .stored = 70000, .minutes = 4464, .seconds = 5696},
            {.name = "1e300", .stored = 1e300, .minutes = 6, .seconds = 360},
            {.name = "the text 10", .stored = u"10"_s, .minutes = 6, .seconds = 360},
            {.name = "true", .stored = true, .minutes = 6, .seconds = 360},
        };
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<int>("minutes");
        QTest::addColumn<int>("seconds");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.stored << row.minutes << row.seconds;
    }
    void readsTheIntervalInSixteenBits()
    {
        QFETCH(QJsonValue, stored);
        QFETCH(int, minutes);
        QFETCH(int, seconds);
        world::FakePreferences preferences;
        if (!stored.isUndefined())
            preferences.disk().values.insert(u"MinutesInterval"_s, stored);
        const AppSettings settings(preferences);
        QCOMPARE(int{settings.minutesInterval()}, minutes);
        QCOMPARE(int{settings.minutesIntervalInSeconds()}, seconds);
    }

    void seesWhatAnotherProcessHasJustStored()
    {
        const auto disk = std::make_shared<world::SettingsDisk>();
        world::FakePreferences ours(disk);
        world::FakePreferences theirs(disk);
        const AppSettings settings(ours);
        QVERIFY(!settings.titleIconOnly());
        theirs.setValue(u"TitleIconOnly"_s, true);
        QVERIFY(theirs.synchronize());
        QVERIFY(settings.titleIconOnly());
    }
};

} // namespace quillfen::app

QTEST_GUILESS_MAIN(quillfen::app::AppSettingsTest)
#include "AppSettingsTest.moc"
