# SPDX-License-Identifier: GPL-3.0-or-later
"""Panels and watchers that go and come again, for as long as it takes.

QUILLFEN_PANEL_RESTARTS says how often a real panel does (4 times when it says nothing).
"""

import os

import pytest

from harness.status_area import StatusArea
from harness.vital_signs import vital_signs

ADDRESS, OTHER = "192.168.77.45", "10.24.68.139"
STARTED = f"The current (first) internal IP address is:{ADDRESS}"
ROUNDS = 100
WARM = 10  # rounds, after which nothing may grow any more
PANEL_RESTARTS = int(os.environ.get("QUILLFEN_PANEL_RESTARTS", "4"))
ALLOWED_GROWTH = 128  # KiB in all further rounds


@pytest.fixture(autouse=True)
def plugged_in(network, home):
    network.cable("lan", f"{ADDRESS}/24")
    home.set({"Initial Refresh": 86400, "ExternalAddressService": "http://127.0.0.1:1/"})


def release_name(area):
    area.leave()


def hang_up(area):
    area.hang_up()


@pytest.mark.parametrize("ends", [release_name, hang_up], ids=["in order", "by its death"])
@pytest.mark.parametrize("with_display", [False, True], ids=["no display", "display"])
def test_a_watcher_that_is_replaced_100_times(ends, with_display, home, bus, display, listening,
                                              start):
    program = start(bus, display if with_display else None)
    home.log.wait_for_line(STARTED)
    settled = None
    for number in range(ROUNDS):
        area = StatusArea(bus)
        area.wait_for_title(ADDRESS)
        assert "Quit" in area.labels()
        if number == WARM:
            settled = vital_signs(program.pid)
        assert len(area.items()) == 1
        ends(area)
    area = StatusArea(bus)
    area.wait_for_title(ADDRESS)
    signs = vital_signs(program.pid)
    assert signs.descriptors <= settled.descriptors
    assert signs.threads <= settled.threads
    assert signs.private_dirty - settled.private_dirty <= ALLOWED_GROWTH
    assert program.stop() == 0


def test_a_real_panel_and_its_watcher_that_go_and_come(network, bus, display, mate, screen_of,
                                                       start):
    screen = screen_of(mate)
    program = start(bus, display)
    before, after = ADDRESS, OTHER
    for number in range(PANEL_RESTARTS):
        # Now the watcher is the first, now the panel.
        starts = [mate.start_watcher, mate.start_panel]
        for begin in starts if number % 2 == 0 else reversed(starts):
            begin()
        screen.wait_for_text(before)
        ends = [mate.stop_watcher, mate.stop_panel]
        for end in ends if number % 4 < 2 else reversed(ends):
            end()
        network.ip(f"address add {after}/24 dev lan", f"address del {before}/24 dev lan")
        before, after = after, before
    mate.start_watcher()
    mate.start_panel()
    screen.wait_for_text(before)
    assert program.stop() == 0
    screen.wait_without_text(before)
