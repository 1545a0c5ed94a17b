// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/WindowNotifications.h"

#include "prefs/WindowOrder.h"

#include <QDialog>
#include <QMenu>
#include <QStringList>
#include <QTest>
#include <QToolTip>
#include <QVBoxLayout>
#include <QWidget>

#include <functional>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

using Name = WindowNotifications::Name;

namespace {

constexpr int kDeadline = 20'000; // ms

bool bringToFront(QWidget &window)
{
    makeKeyAndOrderFront(window);
    return QTest::qWaitForWindowActive(&window, kDeadline);
}

} // namespace

class WindowNotificationsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anyWindowsCloseIsToldOnce_data()
    {
        using Way = std::function<void(QDialog &)>;
        struct Row {
            const char *name;
            Way close;
        };
        static const Row rows[] = {
            {.name = "the window's own button", .close = [](QDialog &window) { window.close(); }},
            {.name = "Escape",
             .close = [](QDialog &window) { QTest::keyClick(&window, Qt::Key_Escape); }},
            {.name = "a button of ours", .close = [](QDialog &window) { window.reject(); }},
            {.name = "the window manager",
             .close = [](QDialog &window) { window.windowHandle()->close(); }},
            {.name = "twice",
             .close =
                 [](QDialog &window) {
                     window.close();
                     window.close();
                 }},
        };
        QTest::addColumn<Way>("close");
        for (const Row &row : rows)
            QTest::newRow(row.name) << row.close;
    }
    void anyWindowsCloseIsToldOnce()
    {
        QFETCH(std::function<void(QDialog &)>, close);
        QDialog window;
        int told = 0;
        bool wasThere = false;
        WindowNotifications notifications;
        notifications.addObserver(Name::WillClose, nullptr, [&] {
            ++told;
            wasThere = window.isVisible();
        });
        QVERIFY(bringToFront(window));
        close(window);
        QTRY_VERIFY_WITH_TIMEOUT(!window.isVisible(), kDeadline);
        QCOMPARE(told, 1);
        QVERIFY(wasThere);
        QVERIFY(bringToFront(window));
        close(window);
        QTRY_VERIFY_WITH_TIMEOUT(!window.isVisible(), kDeadline);
        QCOMPARE(told, 2);
    }

    void whatIsNoWindowIsNotTold()
    {
        QStringList told;
        WindowNotifications notifications;
        for (const auto &[name, text] :
             {std::pair(Name::WillClose, u"close"_s), std::pair(Name::DidBecomeKey, u"key"_s)}) {
            notifications.addObserver(name, nullptr, [&told, text = text] { told += text; });
        }
        QMenu menu;
        menu.addAction(u"Quit"_s);
        menu.popup(QPoint(10, 10));
        QVERIFY(QTest::qWaitForWindowExposed(&menu, kDeadline));
        menu.close();
        QWidget tip(nullptr, Qt::ToolTip);
        tip.show();
        tip.close();
        QWidget icon(nullptr, Qt::FramelessWindowHint | Qt::BypassWindowManagerHint);
        icon.show();
        icon.close();
        QWidget outer;
        QWidget inner(&outer);
        outer.show();
        inner.close();
        QCOMPARE(told.filter(u"close"_s), QStringList());
        outer.close();
        QCOMPARE(told.filter(u"close"_s), QStringList({u"close"_s}));
    }

    void theKeyWindowIsTold()
    {
        QWidget first;
        QWidget second;
        QStringList told;
        WindowNotifications notifications; // ends first: windows that end resign, too
        notifications.addObserver(Name::DidBecomeKey, &first, [&] { told += u"key"_s; });
        notifications.addObserver(Name::DidResignKey, &first, [&] { told += u"resigned"_s; });
        QVERIFY(bringToFront(first));
        QCOMPARE(told, QStringList({u"key"_s}));
        QVERIFY(bringToFront(second));
        QCOMPARE(told, QStringList({u"key"_s, u"resigned"_s}));
        QVERIFY(bringToFront(first));
        QCOMPARE(told, QStringList({u"key"_s, u"resigned"_s, u"key"_s}));
    }

    void observersAreToldInTheirOrder()
    {
        QWidget window;
        QWidget other;
        QStringList told;
        WindowNotifications notifications;
        notifications.addObserver(Name::WillClose, nullptr, [&] {
            told += u"first"_s;
            if (told.size() == 1) // and so many that the list has to move
                for (int i = 0; i < 3; ++i)
                    notifications.addObserver(Name::WillClose, nullptr, [&] { told += u"late"_s; });
        });
        notifications.addObserver(Name::WillClose, &other, [&] { told += u"of another"_s; });
        notifications.addObserver(Name::WillClose, &window, [&] { told += u"second"_s; });
        window.show();
        window.close();
        QCOMPARE(told, QStringList({u"first"_s, u"second"_s, u"late"_s, u"late"_s, u"late"_s}));
    }

    void nobodyIsToldAfterItsEnd()
    {
        QWidget window;
        window.show();
        int told = 0;
        {
            WindowNotifications notifications;
            notifications.addObserver(Name::WillClose, nullptr, [&] { ++told; });
        }
        window.close();
        QCOMPARE(told, 0);
    }
};

} // namespace quillfen::prefs

Q_DECLARE_METATYPE(std::function<void(QDialog &)>)

QTEST_MAIN(quillfen::prefs::WindowNotificationsTest)
#include "WindowNotificationsTest.moc"
