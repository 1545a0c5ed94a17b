// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/QuillfenPrefPane.h"

#include "unit/prefs/Desk.h"

#include <QAccessible>
#include <QComboBox>
#include <QDir>
#include <QJsonArray>
#include <QSignalBlocker>
#include <QTest>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

namespace {

const QStringList kBoxes{
    u"m_titleIconOnlyButton"_s,
    u"m_displayChangedIconWhenAddressChangeDetectedButton"_s,
    u"m_sendEmailNotificationsButton"_s,
    u"m_includeExternalIPButton"_s,
    u"m_includeCurrentWirelessNetworkButton"_s,
    u"m_includeMachineNameButton"_s,
    u"m_emailChangesToExternalIPAddressButton"_s,
};

/// What is stored when nothing was changed in a window without settings.
const QJsonObject kUntouched{
    {u"MailServer"_s, u""_s},
    {u"Port"_s, u"587"_s},
    {u"Authentication"_s, 0},
    {u"Username"_s, u""_s},
    {u"UserPassword"_s, u""_s},
    {u"Email"_s, u""_s},
    {u"SendEmailNotifications"_s, false},
    {u"IncludeExternalIP"_s, false},
    {u"IncludeMachineName"_s, false},
    {u"IncludeCurrentWirelessNetwork"_s, false},
    {u"EmailChangesToExternalIPAddress"_s, false},
    {u"MinutesInterval"_s, 6},
};

QJsonObject with(QJsonObject object, const QString &key, const QJsonValue &value)
{
    object.insert(key, value);
    return object;
}

/// The names of the controls that are enabled.
QStringList usableIn(const QWidget &window)
{
    QStringList names;
    for (const QWidget *control : window.findChildren<QWidget *>()) {
        if (control->isEnabled())
            names += control->objectName();
    }
    return names;
}

} // namespace

/// The controls of the real window into the settings file.
class PrefPaneSavingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void allIsStoredButTheIconsSwitches()
    {
        Desk desk;
        desk.window();
        for (const QString &box : kBoxes) {
            const QSignalBlocker unheard(desk.box(box));
            desk.box(box).setChecked(true);
        }
        desk.pane.savePreferences();
        QJsonObject expected = kUntouched;
        for (const QString &key :
             {u"SendEmailNotifications"_s, u"IncludeExternalIP"_s, u"IncludeMachineName"_s,
              u"IncludeCurrentWirelessNetwork"_s, u"EmailChangesToExternalIPAddress"_s})
            expected.insert(key, true);
        QCOMPARE(desk.folder.object(), expected);
    }

    void whatOthersKeepInTheFileStays()
    {
        Desk desk(R"({"TitleIconOnly": true, "useSSL": false, "Initial Refresh": 5,
                      "LastIPAddress": "192.0.2.1", "Foreign": [1, {}]})");
        desk.window();
        desk.pane.savePreferences();
        QJsonObject expected = kUntouched;
        expected.insert(u"TitleIconOnly"_s, true);
        expected.insert(u"useSSL"_s, false);
        expected.insert(u"Initial Refresh"_s, 5);
        expected.insert(u"LastIPAddress"_s, u"192.0.2.1"_s);
        expected.insert(u"Foreign"_s, QJsonArray({1, QJsonObject()}));
        QCOMPARE(desk.folder.object(), expected);
    }

    void aFieldIsStoredAsTyped_data()
    {
        struct Row {
            const char *name;
            QString field;
            QString key;
        };
        static const Row rows[] = {
            {.name = "server", .field = u"m_mailServer"_s, .key = u"MailServer"_s},
            {.name = "port", .field = u"m_port"_s, .key = u"Port"_s},
            {.name = "user", .field = u"m_username"_s, .key = u"Username"_s},
            {.name = "password", .field = u"m_password"_s, .key = u"UserPassword"_s},
            {.name = "recipients", .field = u"m_emailAddress"_s, .key = u"Email"_s},
        };
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("key");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.field << row.key;
    }
    void aFieldIsStoredAsTyped()
    {
        QFETCH(QString, field);
        QFETCH(QString, key);
        Desk desk;
        QVERIFY(desk.open());
        for (const QString &text : {u" blanks around "_s, u"a@example.org, b@example.org,,"_s,
                                    u"70000"_s, u"p\"ß\\%@"_s, u""_s}) {
            desk.type(field, text);
            desk.pane.savePreferences();
            QCOMPARE(desk.folder.object(), with(kUntouched, key, text));
        }
    }

    void aLongOrStrangeTextSurvivesTheWindow()
    {
        const QJsonObject strange{{u"Email"_s, QString(100'000, u'x')},
                                  {u"MailServer"_s, u"two\nlines"_s},
                                  {u"UserPassword"_s, u"\U0001F511\u202e\u0007 "_s}};
        Desk desk(QJsonDocument(strange).toJson());
        QVERIFY(desk.open());
        desk.window().close();
        for (auto it = strange.begin(); it != strange.end(); ++it)
            QVERIFY2(desk.stored(it.key()) == it.value(), qPrintable(it.key()));
    }

    void theIntervalIsStoredInSixteenBits_data()
    {
        struct Row {
            QString typed;
            int stored;
        };
        static const Row rows[] = {
            {.typed = u"15"_s, .stored = 15},
            {.typed = u"3"_s, .stored = 3},
            {.typed = u"-3"_s, .stored = -3},
            {.typed = u"600"_s, .stored = 600},
            {.typed = u"70000"_s, .stored = 4464},
            {.typed = u"40000"_s, .stored = -25536},
            {.typed = u"99999999999999999999"_s, .stored = -1},
            {.typed = u" 12 minutes"_s, .stored = 12},
            {.typed = u"7.9"_s, .stored = 7},
            {.typed = u"hourly"_s, .stored = 0},
            {.typed = u""_s, .stored = 0},
        };
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("stored");
        for (const Row &row : rows)
            QTest::newRow(qPrintable(u"typed: "_s + row.typed)) << row.typed << row.stored;
    }
    void theIntervalIsStoredInSixteenBits()
    {
        QFETCH(QString, typed);
        QFETCH(int, stored);
        Desk desk;
        QVERIFY(desk.open());
        desk.type(u"m_minutesIntervalTextField"_s, typed);
        desk.pane.savePreferences();
        QCOMPARE(desk.folder.object(), with(kUntouched, u"MinutesInterval"_s, stored));
    }

    void theAuthenticationIsStoredAsANumber()
    {
        Desk desk;
        desk.window();
        auto &popUp = desk.control<QComboBox>(u"m_authentication"_s);
        for (const int index : {0, 1, 2, -1}) {
            popUp.setCurrentIndex(index);
            desk.pane.savePreferences();
            QCOMPARE(desk.folder.object(), with(kUntouched, u"Authentication"_s, index));
        }
    }

    void aClickStoresAllAndItsOwn_data()
    {
        struct Row {
            const char *key;
            QString box;
        };
        static const Row rows[] = {
            {"SendEmailNotifications", u"m_sendEmailNotificationsButton"_s},
            {"IncludeExternalIP", u"m_includeExternalIPButton"_s},
            {"IncludeCurrentWirelessNetwork", u"m_includeCurrentWirelessNetworkButton"_s},
            {"IncludeMachineName", u"m_includeMachineNameButton"_s},
            {"EmailChangesToExternalIPAddress", u"m_emailChangesToExternalIPAddressButton"_s},
            {"TitleIconOnly", u"m_titleIconOnlyButton"_s},
            {"DisplayChangedIconWhenAddressChangeDetected",
             u"m_displayChangedIconWhenAddressChangeDetectedButton"_s},
        };
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("box");
        for (const Row &row : rows)
            QTest::newRow(row.key) << QString::fromLatin1(row.key) << row.box;
    }
    void aClickStoresAllAndItsOwn()
    {
        QFETCH(QString, key);
        QFETCH(QString, box);
        Desk desk;
        QVERIFY(desk.open());
        const QStringList usable = usableIn(desk.window());
        desk.type(u"m_mailServer"_s, u"smtp.example.org"_s);
        const QJsonObject typed = with(kUntouched, u"MailServer"_s, u"smtp.example.org"_s);
        for (const bool on : {true, false}) {
            desk.box(box).click();
            QCOMPARE(desk.folder.object(), with(typed, key, on));
            QCOMPARE(usableIn(desk.window()), usable);
        }
        QCOMPARE(desk.takeChangesTold(), 0);
    }

    void aScreenReaderTicksABoxLikeAClick_data() { aClickStoresAllAndItsOwn_data(); }
    void aScreenReaderTicksABoxLikeAClick()
    {
        QFETCH(QString, key);
        QFETCH(QString, box);
        Desk desk;
        QVERIFY(desk.open());
        QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(&desk.box(box));
        for (const bool on : {true, false}) {
            spoken->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
            QCOMPARE(desk.folder.object(), with(kUntouched, key, on));
        }
    }

    void aLateClickCatchesUp()
    {
        Desk desk(R"({"TitleIconOnly": true})");
        QVERIFY(desk.open());
        desk.box(u"m_titleIconOnlyButton"_s).click();
        QCOMPARE(desk.stored(u"TitleIconOnly"_s), QJsonValue(false));
        desk.window().close();
        QJsonObject expected = kUntouched;
        expected.insert(u"TitleIconOnly"_s, false);
        QCOMPARE(desk.folder.object(), expected); // and not the other icon's switch
        QCOMPARE(desk.takeChangesTold(), 1);
    }

    void whereTheFileCannotBeWrittenNothingIsLost()
    {
        const QByteArray before = R"({"Email": "old@example.org"})";
        Desk desk(before);
        QVERIFY(desk.open());
        const QString lock = desk.folder.file() + u".lock"_s;
        QVERIFY(QDir().mkdir(lock)); // nobody, not even root, gets past it
        desk.type(u"m_emailAddress"_s, u"new@example.org"_s);
        desk.box(u"m_titleIconOnlyButton"_s).click();
        desk.window().close();
        QCOMPARE(desk.folder.bytes(), before);
        QCOMPARE(desk.takeChangesTold(), 1);
        QCOMPARE(desk.output.lines().size(), 1);
        QVERIFY(desk.output.takeLines().constFirst().contains(lock));

        QVERIFY(desk.open());
        QCOMPARE(desk.field(u"m_emailAddress"_s).text(), u"new@example.org"_s);
        QVERIFY(desk.box(u"m_titleIconOnlyButton"_s).isChecked());

        QVERIFY(QDir().rmdir(lock));
        desk.window().close();
        QJsonObject expected = with(kUntouched, u"Email"_s, u"new@example.org"_s);
        expected.insert(u"TitleIconOnly"_s, true);
        QCOMPARE(desk.folder.object(), expected);
        QCOMPARE(desk.output.lines(), QStringList());
    }
};

} // namespace quillfen::prefs

QTEST_MAIN(quillfen::prefs::PrefPaneSavingTest)
#include "PrefPaneSavingTest.moc"
