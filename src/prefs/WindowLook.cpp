// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/WindowLook.h"

#include <QFontInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QRegularExpression>

#include <cstdlib>

namespace quillfen::prefs {

using namespace Qt::StringLiterals;

namespace {

constexpr qreal kHintSize = 0.9; // of the usual size of letters
constexpr int kLeastContrast = 60; // of 255, in lightness
constexpr int kFaint = 128; // of 255; what QPalette itself makes of examples

/// Hints are smaller than what they belong to, so that the eye finds that first.
void makeHintsSmall(const QWidget &window)
{
    static const QRegularExpression hints(u"Hint$"_s);
    for (QLabel *hint : window.findChildren<QLabel *>(hints)) {
        QFont font = hint->font();
        font.setPointSizeF(QFontInfo(font).pointSizeF() * kHintSize);
        hint->setFont(font);
    }
}

/// Plasma's colours, as Qt 6.4 takes them, have none for examples: they stay black, in the dark
/// too.
void makeExamplesReadable(const QWidget &window)
{
    for (QLineEdit *field : window.findChildren<QLineEdit *>()) {
        QPalette palette = field->palette();
        const int behind = palette.color(QPalette::Base).lightness();
        if (std::abs(palette.color(QPalette::PlaceholderText).lightness() - behind)
            >= kLeastContrast)
            continue;
        QColor faint = palette.color(QPalette::Text);
        faint.setAlpha(kFaint);
        palette.setColor(QPalette::PlaceholderText, faint);
        field->setPalette(palette);
    }
}

} // namespace

void fitToTheme(const QWidget &window)
{
    makeHintsSmall(window);
    makeExamplesReadable(window);
}

} // namespace quillfen::prefs
