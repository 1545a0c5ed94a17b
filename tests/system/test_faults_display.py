# SPDX-License-Identifier: GPL-3.0-or-later
"""The X server goes away, whatever the program is doing: it ends in order, and nothing is lost."""

import pytest

from harness.home import STAMPED
from harness.lookup_service import LookupService
from harness.orders import Orders
from harness.waiting import until

FIRST, SECOND = "192.0.2.7", "198.51.100.4"
STARTED = f"The current (first) internal IP address is:{FIRST}"
WINDOW = "Quillfen Preferences"
OTHERS = {"Initial Refresh": 86400, "Email": "a@example.org", "Foreign": [1, {"two": None}]}


@pytest.fixture
def orders(network):
    given = Orders(network)
    yield given
    given.close()


@pytest.fixture
def service(network, home):
    lookup = LookupService(network)
    home.set({"ExternalAddressService": lookup.url})
    yield lookup
    lookup.close()


@pytest.fixture(autouse=True)
def two_networks(network, home):
    network.cable("lan", f"{FIRST}/24")
    network.cable("wlan", f"{SECOND}/24")
    network.ip("route add default dev lan")
    home.set({**OTHERS, "LastIPAddress": FIRST, "ExternalAddressService": "http://127.0.0.1:1/"})


def ends_in_order(program, home):
    """The program ends by itself; its log is whole, and so are the settings that it did not set."""
    assert program.exit_code() >= 0  # no signal has ended it
    lines = home.log.path.read_text(encoding="utf-8")
    assert lines.endswith("\n")
    texts = [STAMPED.fullmatch(line)[1] for line in lines.splitlines()]
    assert texts[-1] == "stop" and texts.count("stop") == 1
    settings = home.settings()
    assert {key: settings[key] for key in OTHERS} == OTHERS
    assert sorted(path.name for path in home.settings_file.parent.iterdir()) == ["settings.json"]


@pytest.mark.parametrize("number", range(5))
def test_in_a_storm_of_changes(number, home, bus, display, orders, start):
    program = start(bus, display)
    home.log.wait_for_line(STARTED)
    for _ in range(20 * number):
        orders.give("route replace default dev wlan", "route replace default dev lan")
    display.break_down()
    ends_in_order(program, home)
    assert home.settings()["LastIPAddress"] in (FIRST, SECOND)


def test_while_a_service_keeps_the_program_waiting(home, bus, display, service, start):
    program = start(bus, display)
    until(lambda: service.requests, "a request")
    display.break_down()
    ends_in_order(program, home)


def test_while_a_name_server_keeps_the_program_waiting(home, network, bus, display, start):
    network.silence_names()
    program = start(bus, display)
    home.log.wait_for_line("Checking internal IP")
    display.break_down()
    ends_in_order(program, home)


def test_with_the_preferences_window_open(home, bus, display, status_area, start):
    program = start(bus, display)
    status_area.wait_for_title(FIRST)
    home.log.wait_for_line(STARTED)
    status_area.choose("Preferences...")
    until(lambda: display.has_keyboard(WINDOW), "the window with the keyboard", within=30)
    display.press("alt+n")  # stored at once
    until(lambda: home.settings().get("IncludeMachineName"), "the box's setting")
    display.break_down()
    ends_in_order(program, home)
    assert home.settings()["IncludeMachineName"]
    assert home.settings()["LastIPAddress"] == FIRST


def test_an_item_in_an_old_tray(home, bus, display, trayer, start):
    trayer.start()
    program = start(None, display)
    home.log.wait_for_line(STARTED)
    display.break_down()
    ends_in_order(program, home)


def test_the_next_run_goes_on_from_there(home, bus, display, orders, start, version):
    program = start(bus, display)
    home.log.wait_for_line(STARTED)
    orders.give("route replace default dev wlan")
    home.log.wait_for_line(f"Quillfen {version} refreshed. ({SECOND})")
    display.break_down()
    ends_in_order(program, home)
    program = start(bus)
    home.log.wait_for_line(f"Last internal IP address: {SECOND}")
    assert program.stop() == 0
