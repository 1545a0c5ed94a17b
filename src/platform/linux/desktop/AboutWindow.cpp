// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/desktop/AboutWindow.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFont>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace quillfen::platform {

using namespace Qt::StringLiterals;

namespace {

constexpr int kIconSize = 96; // pixels, before the screen's scaling
constexpr int kTextWidth = 360; // likewise; longer lines are broken
constexpr qreal kNameSize = 1.6; // of the usual size of letters

QLabel *line(const QString &text)
{
    auto *label = new QLabel(text);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignHCenter);
    label->setWordWrap(true);
    label->setMinimumWidth(kTextWidth);
    return label;
}

QLabel *picture(const QIcon &icon, qreal scale)
{
    auto *label = new QLabel;
    label->setPixmap(icon.pixmap(QSize(kIconSize, kIconSize), scale));
    label->setAlignment(Qt::AlignHCenter);
    return label;
}

QLabel *headline(const QString &text)
{
    QLabel *label = line(text);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * kNameSize);
    font.setBold(true);
    label->setFont(font);
    return label;
}

QDialogButtonBox *closeButton(QDialog &window)
{
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    // The usual picture beside the word is drawn for light buttons only.
    buttons->button(QDialogButtonBox::Close)->setIcon({});
    buttons->setCenterButtons(true);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &window, &QDialog::reject);
    return buttons;
}

QDialog *makeWindow(const AboutFacts &facts)
{
    const QIcon icon(facts.iconPath);
    auto *window = new QDialog;
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowTitle(u"About %1"_s.arg(facts.name));
    window->setWindowIcon(icon);
    auto *layout = new QVBoxLayout(window);
    layout->addWidget(picture(icon, window->devicePixelRatioF()));
    layout->addWidget(headline(facts.name));
    layout->addWidget(line(u"Version %1"_s.arg(facts.version)));
    layout->addWidget(line(facts.copyright));
    layout->addWidget(line(facts.license));
    layout->addWidget(closeButton(*window));
    layout->setSizeConstraint(QLayout::SetFixedSize);
    return window;
}

} // namespace

AboutWindow::~AboutWindow()
{
    delete m_window;
}

void AboutWindow::orderFront()
{
    if (!m_window)
        m_window = makeWindow(m_facts);
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

} // namespace quillfen::platform
