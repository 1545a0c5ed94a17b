// SPDX-License-Identifier: GPL-3.0-or-later
#include "prefs/WindowOrder.h"

#include <QWidget>

namespace quillfen::prefs {

void makeKeyAndOrderFront(QWidget &window)
{
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
    window.show();
    window.raise();
    window.activateWindow();
}

} // namespace quillfen::prefs
