# SPDX-License-Identifier: GPL-3.0-or-later
"""The window that tells about the program, opened from the menu on an X11 desktop."""

import pytest

from harness.waiting import until

TITLE = "About Quillfen"


@pytest.fixture(autouse=True)
def plugged_in(network):
    network.cable("lan", "192.0.2.7/24")


def test_it_comes_to_the_front_and_goes_at_a_key(bus, display, status_area, start):
    program = start(bus, display)
    status_area.wait_for_title("192.0.2.7")
    for _ in range(2):  # it can be opened again
        status_area.choose(TITLE)
        until(lambda: display.has_keyboard(TITLE), "the window with the keyboard")
        window, = display.windows(TITLE)
        display.run("xdotool", "windowminimize", "--sync", window)
        status_area.choose(TITLE)
        until(lambda: display.has_keyboard(TITLE), "the window with the keyboard again")
        assert display.windows(TITLE) == [window]
        display.press("Escape")
        until(lambda: not display.windows(TITLE), "the window's end")
    assert status_area.title() == "192.0.2.7"
    assert program.stop() == 0
