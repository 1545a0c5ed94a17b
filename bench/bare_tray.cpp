// SPDX-License-Identifier: GPL-3.0-or-later

// A bare Qt program in the status area: the least that start-up, memory, idleness and a menu on the
// bus can cost a program that uses this toolkit as it is meant to be used.
//
// An icon of one colour, a tool tip and a menu of a dozen rows. No network, no settings, no log.

#include <QApplication>
#include <QIcon>
#include <QMenu>
#include <QPixmap>
#include <QString>
#include <QSystemTrayIcon>

using namespace Qt::StringLiterals;

namespace {

constexpr int kRows = 12;
constexpr int kIconSize = 22;

QIcon icon()
{
    QPixmap picture(kIconSize, kIconSize);
    picture.fill(Qt::darkCyan);
    return picture;
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);

    QMenu menu;
    for (int row = 1; row <= kRows; ++row)
        menu.addAction(u"Row %1"_s.arg(row));
    menu.addSeparator();
    QObject::connect(menu.addAction(u"Quit"_s), &QAction::triggered, &QApplication::quit);

    QSystemTrayIcon item(icon());
    item.setToolTip(u"10.77.100.100"_s);
    item.setContextMenu(&menu);
    item.show();
    return QApplication::exec();
}
