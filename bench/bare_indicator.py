#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A bare indicator in Python: an icon, a label and a menu, as many small tray programs are made."""

import gi

gi.require_version("Gtk", "3.0")
gi.require_version("AyatanaAppIndicator3", "0.1")
from gi.repository import AyatanaAppIndicator3, Gtk  # noqa: E402

ROWS = 12


def main():
    menu = Gtk.Menu()
    for row in range(1, ROWS + 1):
        menu.append(Gtk.MenuItem(label=f"Row {row}"))
    menu.append(Gtk.SeparatorMenuItem())
    leave = Gtk.MenuItem(label="Quit")
    leave.connect("activate", Gtk.main_quit)
    menu.append(leave)
    menu.show_all()

    item = AyatanaAppIndicator3.Indicator.new(
        "bare-indicator", "network-wired",
        AyatanaAppIndicator3.IndicatorCategory.APPLICATION_STATUS)
    item.set_status(AyatanaAppIndicator3.IndicatorStatus.ACTIVE)
    item.set_label("10.77.100.100", "255.255.255.255")
    item.set_menu(menu)
    Gtk.main()


main()
