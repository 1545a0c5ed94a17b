# SPDX-License-Identifier: GPL-3.0-or-later
"""What the activity log holds, line by line, for everything that can happen to a machine."""

import pytest

from harness.transcript import Transcript
from harness.waiting import until

STARTED = "The current (first) internal IP address is:192.0.2.7"
LATER = 86400  # seconds: an initial refresh that no test lives to see


@pytest.fixture
def say(version):
    return Transcript(version)


@pytest.fixture(autouse=True)
def quiet_start(home):
    """Without the refresh some seconds after the start, but where a test is about it."""
    home.set({"Initial Refresh": LATER})


def wait_for(log, expected):
    """The last run's lines become exactly expected."""
    until(lambda: len(log.last_run()) >= len(expected),
          lambda: "the whole log; so far:\n" + "\n".join(log.last_run()))
    assert log.last_run() == expected


def test_a_first_start_stores_the_address(home, network, start, say):
    network.cable("lan", "192.0.2.7/24")
    program = start()
    wait_for(home.log, say.opening("192.0.2.7", last=None))
    assert home.settings()["LastIPAddress"] == "192.0.2.7"
    assert program.stop() == 0
    assert home.log.lines() == [*say.opening("192.0.2.7", last=None), "stop"]


def test_a_second_start_finds_no_change_and_appends(home, network, start, say):
    network.cable("lan", "192.0.2.7/24")
    for number in (1, 2):
        program = start()
        until(lambda: home.log.lines().count(STARTED) == number, "the end of start-up")
        assert program.stop() == 0
    assert home.log.lines() == [*say.opening("192.0.2.7", last=None), "stop",
                                *say.opening("192.0.2.7", last="192.0.2.7"), "stop"]


def test_the_initial_refresh_follows_after_its_seconds(home, network, start, say):
    home.set({"Initial Refresh": 1})
    network.cable("lan", "192.0.2.7/24")
    start()
    wait_for(home.log, [*say.opening("192.0.2.7", last=None),
                        *say.refresh("192.0.2.7", last="192.0.2.7")])


def test_a_start_without_settings_stores_the_initial_refresh(home, network, start):
    home.settings_file.unlink()
    network.cable("lan", "192.0.2.7/24")
    start()
    until(lambda: home.settings_file.exists() and home.settings().get("Initial Refresh") == 20,
          "20 stored as the initial refresh")


def test_the_address_name_stands_in_the_log(home, network, start, version):
    network.know({"192.0.2.7": "desk.example"})
    network.cable("lan", "192.0.2.7/24")
    start()
    wait_for(home.log, Transcript(version, {"192.0.2.7": "desk.example"})
             .opening("192.0.2.7", last=None))


def test_a_change_while_the_program_was_not_running(home, network, start, say):
    home.set({"LastIPAddress": "198.51.100.4"})
    network.cable("lan", "192.0.2.7/24")
    start()
    wait_for(home.log, say.opening("192.0.2.7", last="198.51.100.4"))


def test_a_change_of_the_first_address(home, network, start, say):
    network.cable("lan", "192.0.2.7/24", "192.0.2.8/24")
    network.ip("route add default via 192.0.2.1 dev lan")
    start()
    opening = say.opening("192.0.2.7", "192.0.2.8", last=None)
    wait_for(home.log, opening)
    network.cable("wlan", "198.51.100.4/24")
    opening += say.refresh("192.0.2.7", "192.0.2.8", "198.51.100.4", last="192.0.2.7")
    wait_for(home.log, opening)
    network.ip("link set lan down")
    wait_for(home.log, [*opening, *say.refresh("198.51.100.4", last="192.0.2.7")])
    assert home.settings()["LastIPAddress"] == "198.51.100.4"


def test_a_change_of_the_second_address_alone_is_no_change(home, network, start, say):
    network.cable("lan", "192.0.2.7/24")
    start()
    lines = say.opening("192.0.2.7", last=None)
    wait_for(home.log, lines)
    network.ip("address add 192.0.2.8/24 dev lan")
    lines += say.refresh("192.0.2.7", "192.0.2.8", last="192.0.2.7")
    wait_for(home.log, lines)
    network.ip("address del 192.0.2.8/24 dev lan")
    wait_for(home.log, [*lines, *say.refresh("192.0.2.7", last="192.0.2.7")])


def test_no_network(home, start, say):
    program = start()
    lines = say.opening(last=None)
    wait_for(home.log, lines)
    assert home.settings()["LastIPAddress"] == "-.-.-.-"
    assert program.stop() == 0
    assert home.log.lines() == [*lines, "stop"]


def test_a_network_that_goes_and_comes_back(home, network, start, say):
    network.cable("lan", "192.0.2.7/24")
    start()
    lines = say.opening("192.0.2.7", last=None)
    wait_for(home.log, lines)
    network.ip("link set lanx down")
    lines += say.refresh(last="192.0.2.7")
    wait_for(home.log, lines)
    until(lambda: home.settings()["LastIPAddress"] == "-.-.-.-", "the loss stored")
    network.ip("link set lanx up")
    wait_for(home.log, [*lines, *say.refresh("192.0.2.7", last="-.-.-.-")])


def test_a_private_log_that_is_switched_off_gets_its_markers_only(home, network, start):
    home.set({"logToPrivateConsoleLog": False})
    network.cable("lan", "192.0.2.7/24")
    program = start()
    until(lambda: STARTED in program.console(),
          "the end of start-up on the console")
    assert program.stop() == 0
    assert home.log.lines() == ["start", "stop"]


def test_a_console_that_is_switched_off_stays_empty(home, network, start):
    home.set({"logToSystemConsole": False})
    network.cable("lan", "192.0.2.7/24")
    program = start()
    home.log.wait_for_line(STARTED)
    assert program.stop() == 0
    assert "internal IP" not in program.console()


def test_a_log_that_cannot_be_opened_leaves_the_console(home, network, start):
    home.log.path.mkdir(parents=True)
    network.cable("lan", "192.0.2.7/24")
    program = start()
    until(lambda: STARTED in program.console(), "the end of start-up on the console")
    assert program.stop() == 0
