# SPDX-License-Identifier: GPL-3.0-or-later
"""The window that tells about the program, opened from the menu on an X11 desktop."""

import pytest

from harness.waiting import until

TITLE = "About Quillfen"


@pytest.fixture(autouse=True)
def plugged_in(network):
    network.cable("lan", "192.0.2.7/24")


def windows(display):
    """The windows of that name that can be seen."""
    found = display.look("xdotool", "search", "--onlyvisible", "--name", f"^{TITLE}$")
    return (found or "").split()


def has_keyboard(display):
    return (display.look("xdotool", "getactivewindow", "getwindowname") or "").strip() == TITLE


def test_it_comes_to_the_front_and_goes_at_a_key(bus, display, status_area, start):
    program = start(bus, display)
    status_area.wait_for_title("192.0.2.7")
    for _ in range(2):  # it can be opened again
        status_area.choose(TITLE)
        until(lambda: has_keyboard(display), "the window with the keyboard")
        window, = windows(display)
        display.run("xdotool", "windowminimize", "--sync", window)
        status_area.choose(TITLE)
        until(lambda: has_keyboard(display), "the window with the keyboard again")
        assert windows(display) == [window]
        display.run("xdotool", "key", "Escape")
        until(lambda: not windows(display), "the window's end")
    assert status_area.title() == "192.0.2.7"
    assert program.stop() == 0
