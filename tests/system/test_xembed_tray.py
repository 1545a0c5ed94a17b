# SPDX-License-Identifier: GPL-3.0-or-later
"""An X11 tray of the old kind: the icon is there while no panel of the new kind is."""

import time
from pathlib import Path

import pytest

from harness.menu_on_screen import MenuOnScreen
from harness.screen import darkest, difference, read
from harness.status_area import StatusArea
from harness.waiting import POLL, stays, until

FIRST, SECOND = "192.168.77.45", "10.24.68.139"
STARTED = f"The current (first) internal IP address is:{FIRST}"


@pytest.fixture(autouse=True)
def plugged_in(network):
    network.cable("lan", f"{FIRST}/24", f"{SECOND}/16")


class TrayIcon:
    """Where the icon stands in a tray, which is empty when this starts it."""

    def __init__(self, screen, tray):
        self._screen = screen
        desktop = screen.still()
        tray.start()
        wait_for_tray(screen, desktop)
        self._empty = screen.still()

    def box(self):
        """(width, height, x, y) of what there is in the tray; None: nothing."""
        return difference(self._empty, self._screen.shot())

    def wait(self):
        """Waits for the icon and gives its middle (x, y)."""
        width, height, x, y = until(self._drawn, "an icon in the tray", within=30)
        assert height <= 32 and width <= 32, "one icon, not two"
        return x + width // 2, y + height // 2

    def _drawn(self):
        box = self.box()
        return box if box and box[0] >= 10 and box[1] >= 10 else None

    def wait_for_end(self):
        until(lambda: self.box() is None, lambda: f"the tray as it was; differs: {self.box()}",
              within=30)


def wait_for_tray(screen, desktop):
    """Waits until a tray is drawn over desktop, a picture of the screen without one."""
    until(lambda: (box := difference(desktop, screen.shot())) and box[0] > 1000 and box[1] >= 30,
          "a tray", within=30)


@pytest.fixture
def icon(trayer, whole_screen):
    return TrayIcon(whole_screen, trayer)


@pytest.mark.parametrize("button", [1, 3], ids=["left", "right"])
def test_a_click_opens_the_menu_and_an_address_is_copied(bus, display, icon, whole_screen, start,
                                                         button):
    program = start(bus, display)
    menu = MenuOnScreen(display, whole_screen, icon.wait(), button)
    for row in ("DNS name unavailable", "Include external IP is off", "Copy IP Address",
                FIRST, SECOND, "Quit"):
        assert row in menu.text()
    menu.choose(SECOND)
    until(lambda: display.clipboard() == SECOND, lambda: f"it copied: {display.clipboard()!r}")
    menu = MenuOnScreen(display, whole_screen, icon.wait())
    menu.choose("Copy IP Address")
    until(lambda: display.clipboard() == FIRST, lambda: f"it copied: {display.clipboard()!r}")
    menu = MenuOnScreen(display, whole_screen, icon.wait())
    menu.choose("Quit")
    assert program.exit_code() == 0
    icon.wait_for_end()


def test_the_address_is_the_tool_tip(network, bus, display, icon, whole_screen, start):
    start(bus, display)
    x, y = icon.wait()
    without = whole_screen.still()

    def tip():
        picture = whole_screen.shot()
        box = difference(without, picture)
        return read(picture, box) if box else ""

    def wait_for_tip(text):
        # As a hand comes: it is still on the move when it is over the icon already.
        display.run("xdotool", "mousemove", str(x - 4), str(y), "sleep", "0.1",
                    "mousemove", str(x - 2), str(y), "sleep", "0.1", "mousemove", str(x), str(y))
        until(lambda: text in tip(), f"{text!r} as a tool tip", within=9)  # it stays that long
    wait_for_tip(FIRST)
    display.run("xdotool", "mousemove", "500", "300")
    until(lambda: not tip(), "no tool tip any more")
    network.ip(f"address del {FIRST}/24 dev lan")
    wait_for_tip(SECOND)


def test_a_tray_that_starts_later_gets_the_icon(home, bus, display, trayer, whole_screen, start):
    start(bus, display)
    home.log.wait_for_line(STARTED)
    for _ in range(2):  # and so does one that takes the place of another
        nothing = whole_screen.still()
        trayer.start()
        wait_for_tray(whole_screen, nothing)
        until(lambda: icon_in(whole_screen.shot()), "an icon in the tray", within=30)
        trayer.stop()
        until(lambda: difference(nothing, whole_screen.shot()) is None,
              "the screen without the tray and without its icon", within=30)


def icon_in(picture):
    """Whether something is drawn at the left end of a tray whose right end is empty."""
    return darkest(picture, (40, 32, 0, 0)) < darkest(picture, (40, 32, 900, 0)) - 0.2


def test_there_is_an_icon_without_a_bus(display, icon, whole_screen, start):
    start(None, display)
    menu = MenuOnScreen(display, whole_screen, icon.wait())
    menu.choose(SECOND)
    until(lambda: display.clipboard() == SECOND, lambda: f"it copied: {display.clipboard()!r}")


def test_the_icon_moves_to_a_panel_of_the_new_kind_and_back(bus, listening, display, icon, start):
    program = start(bus, display)
    for _ in range(2):
        icon.wait()
        area = StatusArea(bus)
        area.wait_for_title(FIRST)
        icon.wait_for_end()
        assert len(area.items()) == 1
        area.leave()
    icon.wait()
    assert program.stop() == 0


def test_with_a_panel_of_the_new_kind_the_old_tray_stays_empty(home, bus, status_area, display,
                                                               icon, start):
    start(bus, display)
    status_area.wait_for_title(FIRST)
    home.log.wait_for_line(STARTED)
    stays(lambda: icon.box() is None, "an empty tray", during=1)
    assert len(status_area.items()) == 1


def test_the_icon_comes_when_the_bus_ends(bus, status_area, display, icon, whole_screen, start):
    start(bus, display)
    status_area.wait_for_title(FIRST)
    bus.break_down()
    menu = MenuOnScreen(display, whole_screen, icon.wait())
    menu.choose(SECOND)
    until(lambda: display.clipboard() == SECOND, lambda: f"it copied: {display.clipboard()!r}")


def test_the_icon_costs_nothing_while_nothing_happens(home, bus, display, icon, start):
    home.set({"Initial Refresh": 86400})
    program = start(bus, display)
    home.log.wait_for_line(STARTED)
    icon.wait()
    until(lambda: rests(program, 1.0), "a program at rest", within=30)
    assert rests(program, 3.0)


def rests(program, seconds):
    """Whether no thread of program wakes up for that long."""
    before = wake_ups(program)
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if wake_ups(program) != before:
            return False
        time.sleep(POLL)
    return True


def wake_ups(program):
    """How often each thread of program has gone to sleep so far."""
    return {task.name: line.split()[1]
            for task in Path(f"/proc/{program.pid}/task").iterdir()
            for line in (task / "status").read_text().splitlines()
            if line.startswith("voluntary_ctxt_switches")}
