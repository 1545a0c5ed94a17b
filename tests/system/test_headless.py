# SPDX-License-Identifier: GPL-3.0-or-later
"""--headless: a server without a display, with and without a bus."""

import json
from pathlib import Path

import pytest

from harness.lookup_service import LookupService, answer, page
from harness.waiting import stays

BEFORE, AFTER = "192.0.2.7", "198.51.100.4"
STARTED = f"The current (first) internal IP address is:{BEFORE}"


@pytest.fixture
def service(network):
    world = LookupService(network)
    world.answers(answer(page("203.0.113.7")))
    yield world
    world.close()


@pytest.fixture(autouse=True)
def plugged_in(network, home, service):
    home.set({"Initial Refresh": 86400, "ExternalAddressService": service.url,
              "EmailChangesToExternalIPAddress": True})
    network.cable("lan", f"{BEFORE}/24")


def test_it_watches_polls_and_logs_without_a_bus(home, network, start, version):
    program = start(arguments=["--headless"])
    home.log.wait_for_line(STARTED)
    assert "External IP address changed from:0.0.0.0 to:203.0.113.7" in home.log.lines()
    network.ip(f"address add {AFTER}/24 dev lan", f"address del {BEFORE}/24 dev lan")
    home.log.wait_for_line(f"Quillfen {version} refreshed. ({AFTER})")
    assert program.stop() == 0
    assert home.log.last_run()[-1] == "stop"


def test_it_leaves_display_and_status_area_alone(home, bus, display, status_area, start, command):
    program = start(bus, display, arguments=["--headless"])
    home.log.wait_for_line(STARTED)
    assert json.loads(command("--status=json", bus=bus).out)["title"] == BEFORE
    maps = Path(f"/proc/{program.pid}/maps").read_text(encoding="utf-8")
    assert "/plugins/platforms/" not in maps and "libxcb-" not in maps
    stays(lambda: not status_area.items(), "an item in the status area", during=0.5)
    assert "panel" not in program.console()
    assert program.stop() == 0


def test_a_second_one_leaves_the_first_alone(home, bus, display, start):
    first = start(bus, arguments=["--headless"])
    home.log.wait_for_line(STARTED)
    second = start(bus, arguments=["--headless"])
    assert second.exit_code() == 0
    assert "Quillfen is already running." in second.console()
    third = start(bus, display)
    assert third.exit_code() == 1
    assert "Quillfen is already running, and does not show its preferences." in third.console()
    assert home.log.lines().count("start") == 1
    assert first.stop() == 0


def test_it_is_ended_like_any_other(home, bus, start, command):
    program = start(bus, arguments=["--headless"])
    home.log.wait_for_line(STARTED)
    assert command("--quit", bus=bus).status == 0
    assert program.exit_code() == 0
    assert home.log.last_run()[-1] == "stop"
