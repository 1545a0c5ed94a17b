// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/Menu.h"
#include "platform/linux/panel/MenuOpening.h"

#include <QMenu>
#include <QObject>

#include <cstddef>
#include <memory>

class QPoint;

namespace quillfen::platform {

/// A Menu as a window of ours, for trays that leave menus to their icons.
///
/// An opening shows the menu that is installed when it begins, once its delegate has brought it
/// up to date or 150 ms later at the latest; titles that come after that reach the open menu. A
/// menu installed meanwhile waits for the next opening. Needs QApplication.
class PopupMenu final : public QObject {
    Q_OBJECT

public:
    PopupMenu();

    void install(std::shared_ptr<Menu> menu) { m_installed = std::move(menu); }
    /// Opens the menu at @p place, in the desktop's coordinates. While the one before
    /// is not to be seen yet, or is still open, that is the same opening.
    void open(const QPoint &place);

private:
    void show(std::shared_ptr<Menu> menu);
    void add(std::size_t index);
    void retitle(std::size_t index);
    void choose(std::size_t index);

    std::shared_ptr<Menu> m_installed;
    std::shared_ptr<Menu> m_shown; ///< The one whose rows m_window has.
    QMenu m_window;
    MenuOpening m_opening;
};

} // namespace quillfen::platform
