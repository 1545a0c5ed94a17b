# SPDX-License-Identifier: GPL-3.0-or-later
"""A name server that takes every query and never answers must not be felt."""

import time

import pytest

from harness.reader import Reader, duration

BEFORE, AFTER = "192.0.2.7", "198.51.100.4"


@pytest.fixture(autouse=True)
def deaf(network, home):
    network.silence_names()
    network.cable("lan", f"{BEFORE}/24")
    network.cable("wlan", f"{AFTER}/24")
    network.ip("route add default dev lan")
    # A lookup service by number, which refuses at once: it is the names that are waited for here.
    home.set({"Initial Refresh": 86400, "ExternalAddressService": "http://127.0.0.1:1/"})


def change_address(network):
    """Unplugs the first of the two. @returns when that was done (time.monotonic)."""
    return network.ip("link set lan down")


def test_the_title_stands_before_the_first_name_is_given_up(home, bus, status_area, start):
    start(bus)
    status_area.wait_for_title(BEFORE)
    assert "Checking internal IP" in home.log.lines()
    assert not any("refreshed" in line for line in home.log.lines())


def test_a_change_is_shown_at_once_and_logged_in_time(home, network, bus, status_area, start,
                                                      version):
    start(bus)
    status_area.item()
    home.log.wait_for_line(f"The current (first) internal IP address is:{BEFORE}")
    changed = change_address(network)
    shown = status_area.arrival(AFTER, since=changed - 1)
    home.log.wait_for_line(f"Quillfen {version} refreshed. ({AFTER})")
    refreshed = time.monotonic()
    assert shown - changed <= 0.1
    assert refreshed - changed <= 2.5
    # It did wait for a name: what is measured here is a refresh with a deaf name server.
    assert refreshed - changed >= 1.5


def test_the_bus_is_answered_all_the_time(home, network, bus, status_area, start, version):
    program = start(bus)
    status_area.item()
    reader = Reader(status_area, program)
    change_address(network)
    home.log.wait_for_line(f"Quillfen {version} refreshed. ({AFTER})", deadline=15)
    reader.stop()
    assert reader.count > 100
    assert reader.longest <= 0.05 + reader.noise


def test_termination_does_not_wait_for_a_name(home, network, bus, status_area, start):
    program = start(bus)
    status_area.item()
    home.log.wait_for_line("Checking internal IP")
    assert duration(program.stop) <= 1.0
    assert program.exit_code() == 0
    assert home.log.last_run()[-1] == "stop"
