# SPDX-License-Identifier: GPL-3.0-or-later
"""Xfce's own status tray, which shows icons only: the program must be visible there, too."""

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
