// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/Settings.h"
#include "support/SettingsReading.h"
#include "world/FakePreferences.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTest>

#include <limits>
#include <optional>
#include <variant>

using namespace Qt::StringLiterals;

namespace quillfen::support {

namespace {

/// How a setting reads on an empty disk, in words: its type and its value.
struct Spelling {
    const platform::Preferences &preferences;

    static QString word(bool value) { return value ? u"boolean YES"_s : u"boolean NO"_s; }
    QString operator()(const Setting<bool> &setting) const
    {
        return word(readBoolean(preferences, setting));
    }
    QString operator()(const UserDefault<bool> &setting) const
    {
        return word(readUserDefaultBoolean(preferences, setting));
    }
    QString operator()(const Setting<Text> &setting) const
    {
        return u"text \""_s + readString(preferences, setting) + u'"';
    }
    QString operator()(const Setting<OptionalText> &setting) const
    {
        return u"text "_s + readString(preferences, setting).value_or(u"none"_s);
    }
    QString operator()(const Setting<std::int16_t> &setting) const
    {
        return u"16 bits "_s + QString::number(readNumber(preferences, setting));
    }
    QString operator()(const Setting<OptionalNumber> &setting) const
    {
        return u"number "_s + (setting.fallback ? QString::number(*setting.fallback) : u"none"_s);
    }
    QString operator()(const UserDefault<std::int64_t> &setting) const
    {
        return u"number "_s + QString::number(setting.fallback);
    }
};

/// A process that starts with @p value stored under @p key.
world::FakePreferences storing(QLatin1StringView key, const QJsonValue &value)
{
    world::FakePreferences preferences;
    preferences.disk().values.insert(key, value);
    preferences.synchronize();
    return preferences;
}

} // namespace

class SettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsAnEmptyDiskAsTheDefaults()
    {
        const QStringList expected{
            u"TitleIconOnly: boolean NO"_s,
            u"DisplayChangedIconWhenAddressChangeDetected: boolean NO"_s,
            u"IncludeMachineName: boolean NO"_s,
            u"IncludeCurrentWirelessNetwork: boolean NO"_s,
            u"IncludeExternalIP: boolean NO"_s,
            u"EmailChangesToExternalIPAddress: boolean NO"_s,
            u"MinutesInterval: 16 bits 6"_s,
            u"LastIPAddress: text none"_s,
            u"LastExternalIPAddress: text \"0.0.0.0\""_s,
            u"ExternalAddressService: text none"_s,
            u"SendEmailNotifications: boolean NO"_s,
            u"Email: text \"\""_s,
            u"MailServer: text \"\""_s,
            u"Port: text none"_s,
            u"Authentication: number none"_s,
            u"Username: text \"\""_s,
            u"UserPassword: text \"\""_s,
            u"useSSL: boolean YES"_s,
            u"Initial Refresh: number 20"_s,
            u"logToSystemConsole: boolean YES"_s,
            u"logToPrivateConsoleLog: boolean YES"_s,
        };
        const world::FakePreferences preferences;
        QStringList read;
        for (const AnySetting &setting : kEverySetting) {
            const auto key = [](const auto &one) { return QString(one.key); };
            read += std::visit(key, setting) + u": "_s + std::visit(Spelling{preferences}, setting);
        }
        QCOMPARE(read, expected);
    }

    void readsBooleansByTypeAlone_data()
    {
        struct Row {
            const char *name;
            QJsonValue stored;
            bool expected;
        };
        const Row rows[] = {
            {.name = "true", .stored = true, .expected = true},
            {.name = "false", .stored = false, .expected = false},
            {.name = "the text YES", .stored = u"YES"_s, .expected = false},
            {.name = "the text true", .stored = u"true"_s, .expected = false},
            {.name = "the number 1", .stored = 1, .expected = false},
            {.name = "null", .stored = QJsonValue::Null, .expected = false},
            {.name = "a list", .stored = QJsonArray{true}, .expected = false},
        };
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<bool>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.stored << row.expected;
    }

    void readsBooleansByTypeAlone()
    {
        QFETCH(QJsonValue, stored);
        const auto preferences = storing(kTitleIconOnly.key, stored);
        QTEST(readBoolean(preferences, kTitleIconOnly), "expected");
    }

    void readsUserDefaultSwitchesByMeaning_data()
    {
        struct Row {
            const char *name;
            QJsonValue stored;
            bool expected;
        };
        const Row rows[] = {
            {.name = "true", .stored = true, .expected = true},
            {.name = "false", .stored = false, .expected = false},
            {.name = "null is absent", .stored = QJsonValue::Null, .expected = true},
            {.name = "the number 0", .stored = 0, .expected = false},
            {.name = "the number -1", .stored = -1, .expected = true},
            {.name = "a small fraction", .stored = 0.25, .expected = true},
            {.name = "YES", .stored = u"YES"_s, .expected = true},
            {.name = "yes", .stored = u"yes"_s, .expected = true},
            {.name = "true as text", .stored = u"true"_s, .expected = true},
            {.name = "T", .stored = u"T"_s, .expected = true},
            {.name = "NO", .stored = u"NO"_s, .expected = false},
            {.name = "false as text", .stored = u"false"_s, .expected = false},
            {.name = "empty text", .stored = u""_s, .expected = false},
            {.name = "blanks", .stored = u"  \t"_s, .expected = false},
            {.name = "1 as text", .stored = u"1"_s, .expected = true},
            {.name = "0 as text", .stored = u"0"_s, .expected = false},
            {.name = "only zeros", .stored = u"0000"_s, .expected = false},
            {.name = "blanks, sign, zeros, digit", .stored = u" \t-0009x"_s, .expected = true},
            {.name = "plus sign", .stored = u"+7"_s, .expected = true},
            {.name = "two signs", .stored = u"--7"_s, .expected = false},
            {.name = "a digit later", .stored = u"x1"_s, .expected = false},
            {.name = "a list is absent", .stored = QJsonArray{false}, .expected = true},
            {.name = "an object is absent", .stored = QJsonObject{}, .expected = true},
        };
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<bool>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.stored << row.expected;
    }

    void readsUserDefaultSwitchesByMeaning()
    {
        QFETCH(QJsonValue, stored);
        const auto preferences = storing(kLogToSystemConsole.key, stored);
        QTEST(readUserDefaultBoolean(preferences, kLogToSystemConsole), "expected");
    }

    void readsTextsByTypeAlone_data()
    {
        struct Row {
            const char *name;
            QJsonValue stored;
            QString expected;
        };
        const Row rows[] = {
            {.name = "text", .stored = u"192.0.2.7"_s, .expected = u"192.0.2.7"_s},
            {.name = "empty text", .stored = u""_s, .expected = u""_s},
            {.name = "number", .stored = 192, .expected = u"0.0.0.0"_s},
            {.name = "boolean", .stored = true, .expected = u"0.0.0.0"_s},
            {.name = "null", .stored = QJsonValue::Null, .expected = u"0.0.0.0"_s},
            {.name = "object", .stored = QJsonObject{}, .expected = u"0.0.0.0"_s},
        };
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<QString>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.stored << row.expected;
    }

    void readsTextsByTypeAlone()
    {
        QFETCH(QJsonValue, stored);
        const auto preferences = storing(kLastExternalIPAddress.key, stored);
        QTEST(readString(preferences, kLastExternalIPAddress), "expected");
    }

    void readsTextsThatMayBeAbsent()
    {
        QCOMPARE(readString(storing(kLastIPAddress.key, u"a"_s), kLastIPAddress), u"a"_s);
        QCOMPARE(readString(storing(kLastIPAddress.key, 7), kLastIPAddress), std::nullopt);
    }

    void readsNumbersAsSixteenBits_data()
    {
        struct Row {
            const char *name;
            QJsonValue stored;
            int expected;
        };
        const Row rows[] = {
            {.name = "600", .stored = 600, .expected = 600},
            {.name = "-3", .stored = -3, .expected = -3},
            {.name = "70000", .stored = 70000, .expected = 4464},
            {.name = "40000", .stored = 40000, .expected = -25536},
            {.name = "6.5", .stored = 6.5, .expected = 6},
            {.name = "-6.5", .stored = -6.5, .expected = -6},
            {.name = "1e300", .stored = 1e300, .expected = -1},
            {.name = "-1e300", .stored = -1e300, .expected = 0},
            {.name = "text", .stored = u"600"_s, .expected = 6},
            {.name = "true", .stored = true, .expected = 6},
            {.name = "null", .stored = QJsonValue::Null, .expected = 6},
        };
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<int>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.stored << row.expected;
    }

    void readsNumbersAsSixteenBits()
    {
        QFETCH(QJsonValue, stored);
        const auto preferences = storing(kMinutesInterval.key, stored);
        QTEST(int{readNumber(preferences, kMinutesInterval)}, "expected");
    }

    void takesWholeNumbersOutOfAnyValue_data()
    {
        struct Row {
            const char *name;
            QJsonValue value;
            qint64 expected;
        };
        using Limits = std::numeric_limits<qint64>;
        const Row rows[] = {
            {.name = "number", .value = 20, .expected = 20},
            {.name = "fraction", .value = 20.9, .expected = 20},
            {.name = "negative fraction", .value = -20.9, .expected = -20},
            {.name = "beyond a double's whole numbers",
             .value = Q_INT64_C(9007199254740993),
             .expected = Q_INT64_C(9007199254740993)},
            {.name = "the first too large", .value = 0x1p63, .expected = Limits::max()},
            {.name = "the smallest", .value = -0x1p63, .expected = Limits::min()},
            {.name = "1e300", .value = 1e300, .expected = Limits::max()},
            {.name = "-1e300", .value = -1e300, .expected = Limits::min()},
            {.name = "infinity",
             .value = std::numeric_limits<double>::infinity(),
             .expected = Limits::max()},
            {.name = "not a number",
             .value = std::numeric_limits<double>::quiet_NaN(),
             .expected = 0},
            {.name = "true", .value = true, .expected = 1},
            {.name = "false", .value = false, .expected = 0},
            {.name = "null", .value = QJsonValue::Null, .expected = 0},
            {.name = "undefined", .value = QJsonValue::Undefined, .expected = 0},
            {.name = "list", .value = QJsonArray{7}, .expected = 0},
            {.name = "text", .value = u"587"_s, .expected = 587},
            {.name = "blanks before", .value = u" \t\n587"_s, .expected = 587},
            {.name = "text after", .value = u"587 smtp"_s, .expected = 587},
            {.name = "minus", .value = u"-12"_s, .expected = -12},
            {.name = "plus", .value = u"+12"_s, .expected = 12},
            {.name = "two signs", .value = u"+-12"_s, .expected = 0},
            {.name = "no digits", .value = u"smtp"_s, .expected = 0},
            {.name = "empty text", .value = u""_s, .expected = 0},
            {.name = "a sign alone", .value = u"-"_s, .expected = 0},
            {.name = "fraction in text", .value = u"6.9"_s, .expected = 6},
            {.name = "the highest", .value = u"9223372036854775807"_s, .expected = Limits::max()},
            {.name = "one above", .value = u"9223372036854775808"_s, .expected = Limits::max()},
            {.name = "the lowest", .value = u"-9223372036854775808"_s, .expected = Limits::min()},
            {.name = "one below", .value = u"-9223372036854775809"_s, .expected = Limits::min()},
            {.name = "many digits", .value = QString(400, u'9'), .expected = Limits::max()},
            {.name = "digits of other scripts", .value = u"\u0665"_s, .expected = 0},
        };
        QTest::addColumn<QJsonValue>("value");
        QTest::addColumn<qint64>("expected");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.value << row.expected;
    }

    void takesWholeNumbersOutOfAnyValue()
    {
        QFETCH(QJsonValue, value);
        QTEST(qint64{integerValue(value)}, "expected");
    }

    void takesSixteenBitsOutOfTexts()
    {
        QCOMPARE(sixteenBits(u"587"_s), 587);
        QCOMPARE(sixteenBits(u"70000"_s), 4464);
        QCOMPARE(sixteenBits(u"smtp"_s), 0);
    }

    void aNullIsNotStored()
    {
        QVERIFY(!storedValue(storing(kInitialRefresh.key, QJsonValue::Null), kInitialRefresh.key));
        QCOMPARE(storedValue(storing(kInitialRefresh.key, 0), kInitialRefresh.key), QJsonValue(0));
    }
};

} // namespace quillfen::support

QTEST_GUILESS_MAIN(quillfen::support::SettingsTest)
#include "SettingsTest.moc"
