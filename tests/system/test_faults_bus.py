# SPDX-License-Identifier: GPL-3.0-or-later
"""The session bus ends and is started anew: the program lives on, and is on the new one, too."""

import pytest

from harness.machine import machine_name
from harness.screen import difference
from harness.status_area import StatusArea
from harness.vital_signs import vital_signs
from harness.waiting import until

FIRST, SECOND = "192.0.2.7", "198.51.100.4"
STARTED = f"The current (first) internal IP address is:{FIRST}"
NAME = "com.corvane.Quillfen"
WINDOW = "Quillfen Preferences"
PREFERENCES_CHANGED = ("Preferences Changed", "com.corvane.preference.Quillfen")
ROUNDS = 20
WARM = 5               # rounds, after which nothing may grow any more
ALLOWED_GROWTH = 256   # KiB in all further rounds


@pytest.fixture(autouse=True)
def two_networks(network, home):
    network.cable("lan", f"{FIRST}/24")
    network.cable("wlan", f"{SECOND}/24")
    network.ip("route add default dev lan")
    home.set({"Initial Refresh": 86400, "LastIPAddress": FIRST,
              "ExternalAddressService": "http://127.0.0.1:1/"})


def another_bus(bus):
    """Ends the bus, and starts another one at the same address."""
    bus.break_down()
    bus.start()


def is_on(bus, area):
    """The program is all there on the bus, whose watcher area is."""
    area.wait_for_title(FIRST)
    assert "Quit" in area.labels()
    until(lambda: bus.has_owner(NAME), "the program's name on the bus")


@pytest.mark.parametrize("with_display", [False, True], ids=["no display", "display"])
def test_the_program_comes_back_to_another_bus(with_display, home, bus, display, listening, start):
    program = start(bus, display if with_display else None)
    home.log.wait_for_line(STARTED)
    is_on(bus, StatusArea(bus))
    settled = None
    for number in range(ROUNDS):
        another_bus(bus)
        is_on(bus, StatusArea(bus))
        if number == WARM:
            settled = vital_signs(program.pid)
    signs = vital_signs(program.pid)
    assert signs.descriptors <= settled.descriptors
    assert signs.threads <= settled.threads
    assert signs.private_dirty - settled.private_dirty <= ALLOWED_GROWTH
    assert program.stop() == 0
    assert home.log.last_run().count("start") == 1  # it was one run all the time


def test_on_another_bus_it_hears_what_is_posted(home, bus, listening, start):
    program = start(bus)
    home.log.wait_for_line(STARTED)
    another_bus(bus)
    area = StatusArea(bus)
    is_on(bus, area)
    home.set({"IncludeMachineName": True})
    bus.post(*PREFERENCES_CHANGED)
    area.wait_for_title(f"{FIRST}:{machine_name()}")
    assert program.stop() == 0


def test_on_another_bus_it_is_still_the_only_instance(home, bus, display, listening, start):
    program = start(bus, display)
    home.log.wait_for_line(STARTED)
    another_bus(bus)
    is_on(bus, StatusArea(bus))
    assert start(bus, display).exit_code() == 0
    until(lambda: display.has_keyboard(WINDOW), "the first one's window", within=30)
    assert home.log.lines().count("start") == 1
    assert program.stop() == 0


def test_what_happens_between_two_buses_is_shown_on_the_second(home, network, bus, listening,
                                                               start, version):
    program = start(bus)
    home.log.wait_for_line(STARTED)
    bus.break_down()
    network.ip("route replace default dev wlan")
    home.log.wait_for_line(f"Quillfen {version} refreshed. ({SECOND})")
    bus.start()
    StatusArea(bus).wait_for_title(SECOND)
    assert program.stop() == 0


def test_a_bus_that_is_started_after_the_program(home, bus, listening, start):
    bus.break_down()
    program = start(bus)
    home.log.wait_for_line(STARTED)
    bus.start()
    is_on(bus, StatusArea(bus))
    assert program.stop() == 0


def test_a_panel_that_comes_long_after_another_bus(home, bus, listening, start):
    program = start(bus)
    home.log.wait_for_line(STARTED)
    another_bus(bus)
    until(lambda: bus.has_owner(NAME), "the program's name on the bus")
    is_on(bus, StatusArea(bus))
    assert program.stop() == 0


def test_a_tray_of_the_old_kind_stands_in_meanwhile(home, bus, display, trayer, screen_of,
                                                    listening, start):
    screen = screen_of(trayer)
    desktop = screen.still()
    trayer.start()
    until(lambda: difference(desktop, screen.shot()), "a tray on the screen", within=30)
    empty = screen.still()
    area = StatusArea(bus)
    program = start(bus, display)
    home.log.wait_for_line(STARTED)
    is_on(bus, area)
    for _ in range(2):  # the second time is not the first
        bus.break_down()
        until(lambda: difference(empty, screen.shot()), "an icon in the tray", within=30)
        bus.start()
        is_on(bus, StatusArea(bus))
        until(lambda: not difference(empty, screen.shot()), "an empty tray", within=30)
    assert program.stop() == 0
