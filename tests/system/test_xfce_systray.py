# SPDX-License-Identifier: GPL-3.0-or-later
"""Xfce's own status tray, which shows icons only: the program must be visible there, too."""

from harness.menu_on_screen import MenuOnScreen
from harness.screen import difference
from harness.waiting import until


def test_the_icon_is_visible_and_goes_with_the_program(network, bus, display, xfce, screen_of,
                                                       start):
    network.cable("lan", "192.168.77.45/24")
    screen = screen_of(xfce)
    empty = screen.still()
    program = start(bus, display)
    # Drawn, not only given room: an icon of 22 pixels leaves marks over most of its height.
    until(lambda: (box := difference(empty, screen.shot())) and box[0] >= 10 and box[1] >= 10,
          "an icon in the tray", within=30)
    width, height, _, _ = difference(empty, screen.still())
    assert width <= xfce.height and height <= xfce.height, "one icon, not two"
    assert program.stop() == 0
    until(lambda: difference(empty, screen.shot()) is None, "the tray as it was", within=30)


def test_an_address_is_copied_by_real_clicks(network, bus, display, xfce, screen_of, whole_screen,
                                             start):
    network.cable("lan", "192.168.77.45/24", "10.24.68.139/24")
    screen = screen_of(xfce)
    empty = screen.still()
    start(bus, display)
    until(lambda: (box := difference(empty, screen.shot())) and box[0] >= 10 and box[1] >= 10,
          "an icon in the tray", within=30)
    width, height, x, y = difference(empty, screen.still())
    for address in ("10.24.68.139", "192.168.77.45"):
        menu = MenuOnScreen(display, whole_screen, (x + width // 2, y + height // 2))
        menu.wait_for_text("Include external IP is off")
        menu.choose(address)
        until(lambda: display.clipboard() == address,
              lambda: f"{address} on the clipboard, not {display.clipboard()!r}")
