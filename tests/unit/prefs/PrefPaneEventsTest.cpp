// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/QuillfenPrefPane.h"

#include "platform/linux/desktop/AboutWindow.h"
#include "unit/prefs/Desk.h"

#include <QApplication>
#include <QPushButton>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

namespace {

QWidget *windowTitled(const QString &title)
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->windowTitle() == title && window->isVisible())
            return window;
    }
    return nullptr;
}

} // namespace

/// What the events of the application's windows do.
class PrefPaneEventsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theWindowIsMadeWhenItIsNeeded()
    {
        const qsizetype before = QApplication::topLevelWidgets().size();
        Desk desk;
        QCOMPARE(QApplication::topLevelWidgets().size(), before);
        QWidget &window = desk.window();
        QVERIFY(!window.isVisible());
        QCOMPARE(&desk.window(), &window);
        QVERIFY(desk.open());
        QCOMPARE(desk.folder.object(), QJsonObject()); // to look is not to store
        QCOMPARE(desk.takeChangesTold(), 0);
    }

    void closingStoresTellsOnceAndReloads_data()
    {
        using Way = std::function<void(Desk &)>;
        struct Row {
            const char *name;
            Way close;
        };
        static const Row rows[] = {
            {.name = "by the window's own button",
             .close = [](Desk &desk) { desk.window().close(); }},
            {.name = "by Escape",
             .close = [](Desk &desk) { QTest::keyClick(&desk.window(), Qt::Key_Escape); }},
            {.name = "by our button",
             .close = [](Desk &desk) { desk.control<QPushButton>(u"m_closeButton"_s).click(); }},
            {.name = "by the window manager",
             .close = [](Desk &desk) { desk.window().windowHandle()->close(); }},
        };
        QTest::addColumn<Way>("close");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.close;
    }
    void closingStoresTellsOnceAndReloads()
    {
        QFETCH(std::function<void(Desk &)>, close);
        Desk desk;
        QVERIFY(desk.open());
        desk.type(u"m_minutesIntervalTextField"_s, u"70000"_s);
        close(desk);
        QTRY_VERIFY_WITH_TIMEOUT(!desk.window().isVisible(), kDeadline);
        QCOMPARE(desk.takeChangesTold(), 1);
        QCOMPARE(desk.stored(u"MinutesInterval"_s), QJsonValue(4464));
        QCOMPARE(desk.field(u"m_minutesIntervalTextField"_s).text(), u"4464"_s);
        QVERIFY(desk.open());
        close(desk);
        QTRY_VERIFY_WITH_TIMEOUT(!desk.window().isVisible(), kDeadline);
        QCOMPARE(desk.takeChangesTold(), 1);
    }

    void closingAnotherWindowDoesTheSame()
    {
        Desk desk;
        QVERIFY(desk.open());
        platform::AboutWindow about({.name = u"Quillfen"_s,
                                     .version = u"1"_s,
                                     .copyright = u"©"_s,
                                     .license = u"free"_s,
                                     .iconPath = {}});
        about.orderFront();
        QWidget *window = windowTitled(u"About Quillfen"_s);
        QVERIFY(window);
        QVERIFY(QTest::qWaitForWindowActive(window, kDeadline));
        desk.field(u"m_minutesIntervalTextField"_s).setText(u"70000"_s);
        window->close();
        QCOMPARE(desk.takeChangesTold(), 1);
        QCOMPARE(desk.stored(u"MinutesInterval"_s), QJsonValue(4464));
        QCOMPARE(desk.field(u"m_minutesIntervalTextField"_s).text(), u"4464"_s);
        QVERIFY(desk.window().isVisible());
    }

    void soItIsBeforeThePreferencesWereEverOpened()
    {
        Desk desk(R"({"Port": "25"})");
        OtherWindow other;
        QVERIFY(other.open());
        other.close();
        QCOMPARE(desk.takeChangesTold(), 1);
        QCOMPARE(desk.stored(u"Port"_s), u"25"_s);
        QCOMPARE(desk.stored(u"MinutesInterval"_s), QJsonValue(6));
        QVERIFY(!desk.window().isVisible());
    }

    void anotherWindowWithTheKeyboardStores()
    {
        Desk desk;
        QVERIFY(desk.open());
        desk.type(u"m_mailServer"_s, u"smtp.example.org"_s);
        OtherWindow other;
        QVERIFY(other.open());
        QTRY_COMPARE_WITH_TIMEOUT(desk.stored(u"MailServer"_s), u"smtp.example.org"_s, kDeadline);
        QCOMPARE(desk.takeChangesTold(), 0);
    }

    void whatCameMeanwhileIsShown()
    {
        Desk desk;
        QVERIFY(desk.open());
        OtherWindow other;
        QVERIFY(other.open());
        desk.preferences.setValue(u"LastIPAddress"_s, u"192.0.2.99"_s);
        desk.preferences.setValue(u"IncludeMachineName"_s, true);
        QVERIFY(desk.open());
        QCOMPARE(desk.field(u"m_lastIPAddress"_s).text(), u"192.0.2.99"_s);
        QVERIFY(desk.box(u"m_includeMachineNameButton"_s).isChecked());
    }

    void whoTypesFindsTheFieldAsItWas()
    {
        Desk desk;
        QVERIFY(desk.open());
        desk.control<QTabWidget>(u"m_tabView"_s).setCurrentIndex(2);
        QLineEdit &field = desk.field(u"m_mailServer"_s);
        desk.type(u"m_mailServer"_s, u"smtp.example.org"_s);
        field.setSelection(5, 7);
        OtherWindow other;
        QVERIFY(other.open());
        QVERIFY(desk.open());
        QCOMPARE(field.selectedText(), u"example"_s);
        QVERIFY(field.isUndoAvailable());
    }

    void theEndOfTheControllerIsTheEndOfIt()
    {
        OtherWindow other;
        {
            Desk desk;
            QVERIFY(desk.open());
        }
        QVERIFY(other.open());
        other.close();
        QVERIFY(!windowTitled(u"Quillfen Preferences"_s));
    }
};

} // namespace quillfen::prefs

Q_DECLARE_METATYPE(std::function<void(quillfen::prefs::Desk &)>)

QTEST_MAIN(quillfen::prefs::PrefPaneEventsTest)
#include "PrefPaneEventsTest.moc"
