// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/PageScroller.h"

#include "unit/prefs/Desk.h"

#include <QApplication>
#include <QComboBox>
#include <QFontInfo>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace quillfen::prefs {

namespace {

constexpr int kMailPage = 2;

PageScroller &mailPageOf(Desk &desk)
{
    auto &pages = desk.control<QTabWidget>(u"m_tabView"_s);
    pages.setCurrentIndex(kMailPage);
    return desk.control<PageScroller>(u"mailPage"_s);
}

/// Whether all of the height of @p control can be seen on @p page.
bool isInView(const QWidget &control, const PageScroller &page)
{
    const int top = control.mapTo(page.viewport(), QPoint(0, 0)).y();
    return top >= 0 && top + control.height() <= page.viewport()->height();
}

/// Presses @p key until the keyboard has left @p page. @returns the names of the controls that
/// had it there, from the first on, as far as they were in view.
QStringList seenOnTheWay(Qt::Key key, const PageScroller &page)
{
    QStringList seen;
    for (int presses = 0; presses < 30; ++presses) {
        QTest::keyClick(QApplication::focusWidget(), key);
        const QWidget *here = QApplication::focusWidget();
        if (page.isAncestorOf(here) && isInView(*here, page))
            seen += here->objectName();
        else if (!seen.isEmpty())
            break;
    }
    return seen;
}

} // namespace

/// The window on screens with room for it, and on those without.
class PrefPaneScreenTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QApplication::setFont(m_usual); }

    void whereThereIsRoomNothingScrolls()
    {
        Desk desk;
        QVERIFY(desk.open());
        QCOMPARE(desk.window().size(), desk.window().sizeHint());
        auto &pages = desk.control<QTabWidget>(u"m_tabView"_s);
        for (int page = 0; page < pages.count(); ++page) {
            pages.setCurrentIndex(page);
            const auto *scroller = qobject_cast<PageScroller *>(pages.widget(page));
            QVERIFY(scroller);
            QCOMPARE(scroller->verticalScrollBar()->maximum(), 0);
            QCOMPARE(scroller->horizontalScrollBar()->maximum(), 0);
            QCOMPARE(scroller->viewport()->size(), scroller->size());
        }
    }

    void aHintThatBecomesLongerWidensTheWindow()
    {
        Desk desk;
        QVERIFY(desk.open());
        desk.control<QTabWidget>(u"m_tabView"_s).setCurrentIndex(1);
        const auto &page = desk.control<PageScroller>(u"externalPage"_s);
        const auto hint = page.findChild<QLabel *>(u"m_intervalHint"_s);
        QVERIFY(hint);
        hint->setText(u"m"_s.repeated(30));
        QTRY_VERIFY_WITH_TIMEOUT(hint->width() >= hint->sizeHint().width(), kDeadline);
        QTRY_COMPARE_WITH_TIMEOUT(page.horizontalScrollBar()->maximum(), 0, kDeadline);
    }

    void onALowScreenTheWindowFitsAndItsPageScrolls()
    {
        tripleTheLetters();
        Desk desk;
        QVERIFY(desk.open());
        QVERIFY(desk.window().sizeHint().height() > screenHeight());
        QVERIFY(desk.window().height() < screenHeight());
        const auto &close = desk.control<QPushButton>(u"m_closeButton"_s);
        QVERIFY(desk.window().rect().contains(close.geometry()));
        QVERIFY(mailPageOf(desk).verticalScrollBar()->maximum() > 0);
    }

    void whatHasTheKeyboardIsInView()
    {
        tripleTheLetters();
        Desk desk;
        QVERIFY(desk.open());
        const PageScroller &page = mailPageOf(desk);
        QStringList all{u"m_sendEmailNotificationsButton"_s,
                        u"m_emailAddress"_s,
                        u"m_mailServer"_s,
                        u"m_port"_s,
                        u"m_authentication"_s,
                        u"m_username"_s,
                        u"m_password"_s,
                        u"m_testButton"_s};
        desk.control<QPushButton>(u"m_closeButton"_s).setFocus();
        QCOMPARE(seenOnTheWay(Qt::Key_Tab, page), all);
        std::reverse(all.begin(), all.end());
        QCOMPARE(seenOnTheWay(Qt::Key_Backtab, page), all);

        QTest::keyClick(&desk.window(), Qt::Key_W, Qt::AltModifier); // Password
        QCOMPARE(QApplication::focusWidget()->objectName(), u"m_password"_s);
        QVERIFY(isInView(*QApplication::focusWidget(), page));
    }

    void theWheelScrollsAndChangesNoChoiceOnTheWay()
    {
        tripleTheLetters();
        Desk desk(R"({"Authentication": 1})");
        QVERIFY(desk.open());
        const PageScroller &page = mailPageOf(desk);
        auto &choice = desk.control<QComboBox>(u"m_authentication"_s);
        page.verticalScrollBar()->setValue(0);
        const QPointF here = QRectF(choice.rect()).center();
        QWheelEvent down(here, choice.mapToGlobal(here), {}, QPoint(0, -120), Qt::NoButton,
                         Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&choice, &down);
        QCOMPARE(choice.currentIndex(), 1);
        QVERIFY(!down.isAccepted()); // so it is the page's
        QApplication::sendEvent(page.viewport(), &down);
        QVERIFY(page.verticalScrollBar()->value() > 0);
    }

private:
    static int screenHeight() { return QGuiApplication::primaryScreen()->availableSize().height(); }
    /// As good as a screen a third as large.
    void tripleTheLetters()
    {
        QFont large = m_usual;
        large.setPointSizeF(3 * QFontInfo(m_usual).pointSizeF());
        QApplication::setFont(large);
    }

    QFont m_usual = QApplication::font();
};

} // namespace quillfen::prefs

QTEST_MAIN(quillfen::prefs::PrefPaneScreenTest)
#include "PrefPaneScreenTest.moc"
