// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/linux/panel/PopupMenu.h"

#include "platform/linux/panel/PanelText.h"

#include <QAction>
#include <QPoint>
#include <QPointer>

#include <utility>

using namespace Qt::StringLiterals;

namespace quillfen::platform {

namespace {

/// @p title as an action's text, where an ampersand marks an access key unless it is doubled.
QString actionText(const QString &title)
{
    return onePanelLine(title).replace(u"&"_s, u"&&"_s);
}

} // namespace

PopupMenu::PopupMenu()
{
    m_window.setToolTipsVisible(true);
    // A menu that is higher than the screen is scrolled, not broken into columns.
    m_window.setStyleSheet(u"QMenu { menu-scrollable: 1; }"_s);
}

void PopupMenu::open(const QPoint &place)
{
    if (m_window.isVisible())
        return;
    const std::uint64_t opening = m_opening.announce(MenuOpening::Sign::AboutToShow, [this, place] {
        if (!m_window.isVisible())
            m_window.popup(place);
    });
    if (opening == 0)
        return;
    show(m_installed);
    if (!m_shown) {
        m_opening.ready(opening);
        return;
    }
    m_shown->delegate().menuNeedsUpdate(m_shown, [self = QPointer(this), opening] {
        if (self)
            self->m_opening.ready(opening);
    });
}

void PopupMenu::show(std::shared_ptr<Menu> menu)
{
    if (m_shown)
        m_shown->disconnect(this);
    m_shown = std::move(menu);
    m_window.clear();
    if (!m_shown || m_shown->items().empty()) {
        m_window.addAction(u"Quillfen"_s)->setEnabled(false);
        return;
    }
    QObject::connect(m_shown.get(), &Menu::titleChanged, this, &PopupMenu::retitle);
    for (std::size_t index = 0; index < m_shown->items().size(); ++index)
        add(index);
}

void PopupMenu::add(std::size_t index)
{
    const MenuItem &item = m_shown->items()[index];
    if (item.separator) {
        m_window.addSeparator();
        return;
    }
    QAction *row = m_window.addAction(actionText(item.title));
    row->setEnabled(m_shown->delegate().validateMenuItem(item));
    // Without a tip of its own a row would repeat its title as one.
    row->setToolTip(item.toolTip.isEmpty() ? u" "_s : toolTipTitle(item.toolTip));
    QObject::connect(row, &QAction::triggered, this, [this, index] { choose(index); });
}

void PopupMenu::retitle(std::size_t index)
{
    const auto row = static_cast<qsizetype>(index);
    m_window.actions().at(row)->setText(actionText(m_shown->items()[index].title));
}

void PopupMenu::choose(std::size_t index)
{
    // Later: the command may take its time, and what it does may end this menu.
    const auto act = [menu = m_shown, item = m_shown->items()[index]] {
        if (menu->delegate().validateMenuItem(item))
            menu->delegate().sendAction(item);
    };
    QMetaObject::invokeMethod(this, act, Qt::QueuedConnection);
}

} // namespace quillfen::platform
