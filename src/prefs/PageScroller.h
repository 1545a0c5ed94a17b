// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QScrollArea>

namespace quillfen::prefs {

/// A page of the preferences window, in full where the screen has room for it, else scrolling.
///
/// It asks for its content's own size, and is content with less. What has the keyboard is brought
/// into view with what stands right above and below it. The wheel scrolls, and does not change a
/// choice that happens to pass beneath it.
class PageScroller : public QScrollArea {
    Q_OBJECT

public:
    explicit PageScroller(QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void showEvent(QShowEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void showFocus(QWidget *now);
};

/// Gives @p window, not shown yet, the size that it asks for, as far as its screen has room for
/// that and for the window's frame. Where that is too low, the window is wider by a scroll bar.
void fitToScreen(QWidget &window);

} // namespace quillfen::prefs
