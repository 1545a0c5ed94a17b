# SPDX-License-Identifier: GPL-3.0-or-later
"""waybar, which follows the program: the address is read back from the screen."""

import pytest

from harness.compositor import Compositor
from harness.waybar import Waybar

BEFORE, AFTER = "192.168.77.45", "10.24.68.139"


@pytest.fixture(autouse=True)
def plugged_in(network, home):
    network.name_machine('PRETTY_HOSTNAME="Q & <A>"\n')
    home.set({"Initial Refresh": 86400, "ExternalAddressService": "http://127.0.0.1:1/"})
    network.cable("lan", f"{BEFORE}/24")


@pytest.fixture
def compositor(session):
    world = Compositor(session)
    yield world
    world.close()


@pytest.fixture
def waybar(request, session, bus, compositor):
    """waybar with the module that the documents tell its users to write."""
    program = request.config.getoption("--program")
    world = Waybar(session, compositor, bus,
                   {"exec": f"'{program}' --follow", "return-type": "json", "restart-interval": 1})
    yield world
    world.close()


def test_the_address_stands_in_the_bar_and_follows_a_change(network, bus, start, waybar):
    program = start(bus)
    waybar.wait_for_text(BEFORE)
    network.ip(f"address add {AFTER}/24 dev lan", f"address del {BEFORE}/24 dev lan")
    waybar.wait_for_text(AFTER)
    assert program.stop() == 0
    waybar.wait_for("no address", lambda seen: AFTER not in seen)
    start(bus)
    waybar.wait_for_text(AFTER)


def test_what_is_markup_elsewhere_is_text(home, bus, start, waybar):
    home.set({"IncludeMachineName": True})
    start(bus)
    waybar.wait_for_text(f"{BEFORE}:Q & <A>")
