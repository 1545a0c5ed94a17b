// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/QuillfenPrefPane.h"

#include "unit/prefs/Desk.h"

#include <QApplication>
#include <QDialog>
#include <QTest>

#include <functional>

#include <malloc.h>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

namespace {

void serveEvents()
{
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void openAndClose(QWidget &window)
{
    window.show();
    window.activateWindow();
    serveEvents();
    window.close();
    serveEvents();
}

/// How many bytes more are allocated after a thousand times, the first ten aside.
qint64 growthOf(const std::function<void()> &once)
{
    for (int i = 0; i < 10; ++i) {
        once();
        serveEvents();
    }
    const std::size_t before = mallinfo2().uordblks;
    for (int i = 0; i < 1000; ++i) {
        once();
        serveEvents();
    }
    return static_cast<qint64>(mallinfo2().uordblks - before);
}

} // namespace

/// What the window leaves behind when it is used over and over.
class PrefPaneGrowthTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aThousandTimesNothingGrows()
    {
        Desk desk;
        QWidget &window = desk.window();
        const qint64 growth = growthOf([&] {
            window.show();
            desk.pane.windowDidBecomeKey();
            desk.pane.windowDidResignKey();
            desk.pane.windowWillClose();
            window.hide();
        });
        QVERIFY2(growth < 16 * 1024, qPrintable(QString::number(growth)));
    }

    void aThousandOpeningsCostNoMoreThanABareWindows()
    {
        // Where a window is closed rather than hidden, Qt 6.4 keeps 100 to 200 bytes each time.
        QDialog bare;
        const qint64 ofQt = growthOf([&] { openAndClose(bare); });
        Desk desk;
        const qint64 ofOurs = growthOf([&] { openAndClose(desk.window()); });
        const auto objects = [&] { return desk.window().findChildren<QObject *>().size(); };
        const qsizetype before = objects();
        const qsizetype windows = QApplication::topLevelWidgets().size();
        openAndClose(desk.window());
        QCOMPARE(objects(), before);
        QCOMPARE(QApplication::topLevelWidgets().size(), windows);
        const QString found = u"%1 bytes, a bare window %2"_s.arg(ofOurs).arg(ofQt);
        QVERIFY2(ofOurs - ofQt < 100 * 1000, qPrintable(found));
        QVERIFY2(ofOurs < 500 * 1000, qPrintable(found));
    }
};

} // namespace quillfen::prefs

QTEST_MAIN(quillfen::prefs::PrefPaneGrowthTest)
#include "PrefPaneGrowthTest.moc"
