// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/QuillfenPrefPane.h"

#include "support/Bundle.h"
#include "unit/prefs/Desk.h"

#include <QComboBox>
#include <QJsonArray>
#include <QLabel>
#include <QTest>

#include <stdexcept>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

namespace {

struct BoxOfSetting {
    const char *key;
    QString box;
};

const BoxOfSetting kBoxes[] = {
    {"TitleIconOnly", u"m_titleIconOnlyButton"_s},
    {"DisplayChangedIconWhenAddressChangeDetected",
     u"m_displayChangedIconWhenAddressChangeDetectedButton"_s},
    {"SendEmailNotifications", u"m_sendEmailNotificationsButton"_s},
    {"IncludeExternalIP", u"m_includeExternalIPButton"_s},
    {"IncludeCurrentWirelessNetwork", u"m_includeCurrentWirelessNetworkButton"_s},
    {"IncludeMachineName", u"m_includeMachineNameButton"_s},
    {"EmailChangesToExternalIPAddress", u"m_emailChangesToExternalIPAddressButton"_s},
};

struct FieldOfSetting {
    const char *key;
    QString field;
    QString withoutSetting;
};

const FieldOfSetting kFields[] = {
    {"MailServer", u"m_mailServer"_s, u""_s},
    {"Port", u"m_port"_s, u"587"_s},
    {"Username", u"m_username"_s, u""_s},
    {"UserPassword", u"m_password"_s, u""_s},
    {"Email", u"m_emailAddress"_s, u""_s},
    {"LastIPAddress", u"m_lastIPAddress"_s, u"192.0.2.7"_s}, // the first in the list
    {"LastExternalIPAddress", u"m_lastExternalIPAddress"_s, u"203.0.113.5"_s}, // the kept one
};

QByteArray settings(const QByteArray &key, const QByteArray &json)
{
    return "{\"" + key + "\": " + json + "}";
}

QComboBox &popUp(Desk &desk)
{
    return desk.control<QComboBox>(u"m_authentication"_s);
}

} // namespace

/// Settings into the controls of the real window.
class PrefPaneLoadingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutSettingsThereAreDefaults()
    {
        Desk desk;
        QVERIFY(desk.open());
        for (const BoxOfSetting &row : kBoxes)
            QVERIFY2(!desk.box(row.box).isChecked(), row.key);
        for (const FieldOfSetting &row : kFields)
            QVERIFY2(desk.field(row.field).text() == row.withoutSetting, row.key);
        QCOMPARE(desk.field(u"m_minutesIntervalTextField"_s).text(), u"6"_s);
        QCOMPARE(popUp(desk).currentIndex(), 0);
        QCOMPARE(desk.output.lines(), QStringList());
    }

    void theVersionIsShown()
    {
        Desk desk;
        QCOMPARE(desk.control<QLabel>(u"m_versionInfoField"_s).text(),
                 u"Quillfen "_s + support::bundleShortVersionString());
    }

    void aBoxIsTickedForATrueBooleanOnly_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<bool>("ticked");
        for (const auto &[json, ticked] :
             {std::pair("true", true), std::pair("false", false), std::pair("1", false),
              std::pair("\"YES\"", false), std::pair("null", false), std::pair("[true]", false)})
            QTest::newRow(json) << QByteArray(json) << ticked;
    }
    void aBoxIsTickedForATrueBooleanOnly()
    {
        QFETCH(QByteArray, json);
        QFETCH(bool, ticked);
        for (const BoxOfSetting &row : kBoxes) {
            Desk desk(settings(row.key, json));
            for (const BoxOfSetting &any : kBoxes) {
                QVERIFY2(desk.box(any.box).isChecked() == (ticked && any.box == row.box), any.key);
            }
        }
    }

    void aFieldShowsItsText()
    {
        for (const FieldOfSetting &row : kFields) {
            for (const QString &text :
                 {u""_s, u" blanks around "_s, u"Zoë <&> 100%"_s, u"two\nlines\tand a tab"_s,
                  u"\U0001F4EB"_s, QString(100'000, u'x')}) {
                Desk desk(
                    QJsonDocument(QJsonObject{{QString::fromLatin1(row.key), text}}).toJson());
                QVERIFY2(desk.field(row.field).text() == text, row.key);
            }
        }
    }

    void aFieldShowsItsDefaultForAnythingElse()
    {
        for (const FieldOfSetting &row : kFields) {
            for (const char *json : {"null", "587", "true", "[\"a\"]", "{}"}) {
                Desk desk(settings(row.key, json));
                QVERIFY2(desk.field(row.field).text() == row.withoutSetting, row.key);
            }
        }
    }

    void theIntervalShowsWhatSixteenBitsHold_data()
    {
        struct Row {
            const char *name;
            QByteArray json;
            QString shown;
        };
        static const QString asItWas = u"42"_s;
        static const Row rows[] = {
            {.name = "a usual one", .json = "15", .shown = u"15"_s},
            {.name = "below the shortest", .json = "0", .shown = u"0"_s},
            {.name = "less than nothing", .json = "-3", .shown = u"-3"_s},
            {.name = "minus nothing", .json = "-0.0", .shown = u"0"_s},
            {.name = "a whole number with a fraction", .json = "7.0", .shown = u"7"_s},
            {.name = "the largest", .json = "32767", .shown = u"32767"_s},
            {.name = "the smallest", .json = "-32768", .shown = u"-32768"_s},
            {.name = "too large", .json = "32768", .shown = asItWas},
            {.name = "too small", .json = "-32769", .shown = asItWas},
            {.name = "seventy thousand", .json = "70000", .shown = asItWas},
            {.name = "no whole number", .json = "7.5", .shown = asItWas},
            {.name = "huge", .json = "1e300", .shown = asItWas},
            {.name = "a text", .json = "\"15\"", .shown = u"6"_s},
            {.name = "a boolean", .json = "true", .shown = u"6"_s},
            {.name = "null", .json = "null", .shown = u"6"_s},
        };
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("shown");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.json << row.shown;
    }
    void theIntervalShowsWhatSixteenBitsHold()
    {
        QFETCH(QByteArray, json);
        Desk desk(settings("MinutesInterval", "42"));
        QVERIFY(desk.open());
        QCOMPARE(desk.field(u"m_minutesIntervalTextField"_s).text(), u"42"_s);
        const QByteArray wrapped = "[" + json + "]";
        desk.preferences.setValue(u"MinutesInterval"_s,
                                  QJsonDocument::fromJson(wrapped).array().first());
        desk.pane.initControls();
        QTEST(desk.field(u"m_minutesIntervalTextField"_s).text(), "shown");
    }

    void theFirstLoadLeavesTheIntervalOfTheLayout()
    {
        Desk desk(settings("MinutesInterval", "70000"));
        QVERIFY(desk.open());
        QCOMPARE(desk.field(u"m_minutesIntervalTextField"_s).text(), u"6"_s);
    }

    void theAuthenticationIsTheItemOfThatNumber_data()
    {
        struct Row {
            const char *name;
            QByteArray json;
            int index;
        };
        static constexpr int kAsItWas = 1;
        static const Row rows[] = {
            {.name = "none", .json = "0", .index = 0},
            {.name = "PLAIN", .json = "1", .index = 1},
            {.name = "LOGIN", .json = "2", .index = 2},
            {.name = "with a fraction", .json = "2.9", .index = 2},
            {.name = "less than nothing", .json = "-1", .index = -1},
            {.name = "no such item", .json = "7", .index = -1},
            {.name = "huge", .json = "1e300", .index = -1},
            {.name = "a multiple of 2^32", .json = "4294967297", .index = -1},
            {.name = "a text", .json = "\"2\"", .index = kAsItWas},
            {.name = "a boolean", .json = "true", .index = kAsItWas},
            {.name = "null", .json = "null", .index = kAsItWas},
        };
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<int>("index");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.json << row.index;
    }
    void theAuthenticationIsTheItemOfThatNumber()
    {
        QFETCH(QByteArray, json);
        Desk desk(settings("Authentication", json));
        desk.window();
        popUp(desk).setCurrentIndex(1);
        desk.pane.initControls();
        QTEST(popUp(desk).currentIndex(), "index");
    }

    void itsItemsStandInTheirOrder()
    {
        Desk desk;
        QCOMPARE(popUp(desk).count(), 3);
        QCOMPARE(popUp(desk).itemText(1), u"PLAIN"_s);
        QCOMPARE(popUp(desk).itemText(2), u"LOGIN"_s);
    }

    void withoutAKeptExternalAddressNoneIsShown()
    {
        Desk desk;
        desk.keptExternalAddress.reset();
        QCOMPARE(desk.field(u"m_lastExternalIPAddress"_s).text(), u""_s);
    }

    void withoutAnyLocalAddressTheConsoleHearsOfIt()
    {
        Desk desk(R"({"LastIPAddress": 7, "LastExternalIPAddress": "198.51.100.9", "Port": "25"})");
        desk.localAddresses.clear();
        QVERIFY(desk.open());
        const QString complaint =
            u"The preferences window is not filled in to its end: there is no local address"_s;
        QVERIFY(desk.output.lines().contains(complaint));
        for (const QString &line : desk.output.takeLines())
            QCOMPARE(line, complaint);
        QVERIFY_EXCEPTION_THROWN(desk.pane.initControls(), std::out_of_range);
        QCOMPARE(desk.field(u"m_port"_s).text(), u"25"_s);
        QCOMPARE(desk.field(u"m_lastIPAddress"_s).text(), u""_s);
        QCOMPARE(desk.field(u"m_lastExternalIPAddress"_s).text(), u""_s); // it never came to that

        desk.type(u"m_mailServer"_s, u"smtp.example.org"_s);
        desk.window().close();
        QCOMPARE(desk.stored(u"MailServer"_s), u"smtp.example.org"_s);
        QCOMPARE(desk.takeChangesTold(), 1);

        desk.localAddresses = QStringList(u"192.0.2.9"_s);
        QVERIFY(desk.open());
        QCOMPARE(desk.field(u"m_lastIPAddress"_s).text(), u"192.0.2.9"_s);
        QCOMPARE(desk.field(u"m_lastExternalIPAddress"_s).text(), u"198.51.100.9"_s);
    }

    void nothingIsReadFromTheFileForIt()
    {
        Desk desk(settings("Email", "\"before@example.org\""));
        desk.folder.write(settings("Email", "\"after@example.org\""));
        desk.window();
        QCOMPARE(desk.field(u"m_emailAddress"_s).text(), u"before@example.org"_s);
        desk.preferences.synchronize();
        desk.pane.initControls();
        QCOMPARE(desk.field(u"m_emailAddress"_s).text(), u"after@example.org"_s);
    }
};

} // namespace quillfen::prefs

QTEST_MAIN(quillfen::prefs::PrefPaneLoadingTest)
#include "PrefPaneLoadingTest.moc"
