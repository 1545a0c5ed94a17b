// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/PageScroller.h"

#include <QApplication>
#include <QComboBox>
#include <QLayout>
#include <QScreen>
#include <QScrollBar>
#include <QStyle>

#include <algorithm>

namespace quillfen::prefs {

namespace {

constexpr int kLeastLines = 6; // of text: what a page is still usable with
constexpr int kLinesAround = 3; // beside what has the keyboard
constexpr int kLinesOfFrame = 3; // the window's title bar, which is of the desktop

} // namespace

PageScroller::PageScroller(QWidget *parent) : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);
    viewport()->setAutoFillBackground(false);
    connect(qApp, &QApplication::focusChanged, this,
            [this](QWidget *, QWidget *now) { showFocus(now); });
}

QSize PageScroller::sizeHint() const
{
    return widget()->sizeHint();
}

QSize PageScroller::minimumSizeHint() const
{
    const QSize all = widget()->minimumSizeHint();
    const int least = kLeastLines * fontMetrics().lineSpacing();
    const bool tooWide = all.width() + least > screen()->availableSize().width();
    return {tooWide ? least : all.width(), std::min(least, all.height())};
}

bool PageScroller::event(QEvent *event)
{
    if (event->type() == QEvent::Polish) {
        // As a scroll area it would be painted over; as a page it shows what the tabs stand on.
        widget()->setAutoFillBackground(false);
        for (QComboBox *choice : widget()->findChildren<QComboBox *>())
            choice->installEventFilter(this);
    } else if (event->type() == QEvent::LayoutRequest) {
        updateGeometry(); // a hint became longer
    }
    return QScrollArea::event(event);
}

void PageScroller::showEvent(QShowEvent *event)
{
    QScrollArea::showEvent(event);
    // When it is shown first, Qt 6.4 resizes the content from within the event that tells it of
    // its size, and does not tell it again: its layout would stand as for the size before.
    widget()->layout()->invalidate();
}

bool PageScroller::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Wheel && qobject_cast<QComboBox *>(watched)
        && verticalScrollBar()->maximum() > 0) {
        event->ignore();
        return true;
    }
    return QScrollArea::eventFilter(watched, event);
}

void PageScroller::showFocus(QWidget *now)
{
    if (!now || !widget()->isAncestorOf(now))
        return;
    ensureWidgetVisible(now, 0, kLinesAround * fontMetrics().lineSpacing());
}

void fitToScreen(QWidget &window)
{
    const QSize wanted = window.sizeHint();
    const QSize room = window.screen()->availableSize()
        - QSize(0, kLinesOfFrame * window.fontMetrics().lineSpacing());
    const int bar = window.style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, &window);
    const bool tooLow = wanted.height() > room.height();
    window.resize((wanted + QSize(tooLow ? bar : 0, 0)).boundedTo(room));
}

} // namespace quillfen::prefs
