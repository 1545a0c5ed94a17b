// SPDX-License-Identifier: GPL-3.0-or-later
#include "world/World.h"

#include <QApplication>
#include <QCheckBox>
#include <QObject>
#include <QTest>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace quillfen::app {

namespace {

/// The windows that a user sees.
QWidgetList openWindows()
{
    QWidgetList windows = QApplication::topLevelWidgets();
    windows.removeIf([](const QWidget *window) { return !window->isVisible(); });
    return windows;
}

} // namespace

class AppControllerPreferencesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void bringsUpTheWindowFromTheMenu()
    {
        world::World world;
        QVERIFY(world.start());
        QCOMPARE(openWindows().size(), 0);
        QVERIFY(world.panel().choose(u"Preferences..."_s));
        QCOMPARE(openWindows().size(), 1);
        QVERIFY(world.panel().choose(u"Preferences..."_s));
        QCOMPARE(openWindows().size(), 1);
    }

    void takesChangedSettingsWhenTheWindowCloses()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        world.host.setMachineName(u"desk"_s);
        QVERIFY(world.start());
        world.controller().showPreferences();
        QCOMPARE(openWindows().size(), 1);
        QWidget *const window = openWindows().first();
        window->findChild<QCheckBox *>(u"m_includeMachineNameButton"_s)->click();
        QCOMPARE(world.panel().title(), u"192.0.2.7"_s);
        window->close();
        QTRY_COMPARE(world.panel().title(), u"192.0.2.7:desk"_s);
        QVERIFY(world.rests());
        QCOMPARE(world.preferences.disk().values.value(u"IncludeMachineName"_s), true);
    }

    void showsTheAddressesThatAreKnown()
    {
        world::World world;
        world.network.setAddresses(u"eth0", {u"192.0.2.7"_s});
        world.service.answers("Current IP Address: 203.0.113.7</body></html>");
        QVERIFY(world.start());
        world.preferences.disk().values.remove(u"LastIPAddress"_s);
        world.preferences.synchronize();
        world.controller().showPreferences();
        QStringList texts;
        for (const QObject *const field : openWindows().first()->findChildren<QObject *>())
            texts += field->property("text").toString();
        QVERIFY(texts.contains(u"192.0.2.7"_s));
        QVERIFY(texts.contains(u"203.0.113.7"_s));
    }
};

} // namespace quillfen::app

QTEST_MAIN(quillfen::app::AppControllerPreferencesTest)
#include "AppControllerPreferencesTest.moc"
