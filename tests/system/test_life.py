# SPDX-License-Identifier: GPL-3.0-or-later
"""Starting and ending: signals, missing and breaking surroundings, a second instance."""

import os
import signal
import subprocess
from pathlib import Path

import pytest

from harness.program import NOBODY_THERE
from harness.waiting import stays, until

STARTED = "The current (first) internal IP address is:192.0.2.7"


@pytest.fixture(autouse=True)
def plugged_in(network):
    network.cable("lan", "192.0.2.7/24")


def follows_a_change(network, home, version):
    network.ip("address add 198.51.100.4/24 dev lan", "address del 192.0.2.7/24 dev lan")
    home.log.wait_for_line(f"Quillfen {version} refreshed. (198.51.100.4)")


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
def test_a_signal_ends_the_program_in_order(home, bus, start, number):
    program = start(bus)
    home.log.wait_for_line(STARTED)
    assert program.stop(number) == 0
    assert home.log.last_run()[-1] == "stop"
    assert home.log.last_run().count("stop") == 1


def test_a_signal_during_start_up_ends_the_program_in_order(home, network, start):
    network.silence_names()  # so that start-up takes seconds
    program = start()
    home.log.wait_for_line("Starting up...")
    assert program.stop() == 0
    assert home.log.last_run()[-1] == "stop"


def test_the_end_of_the_session_ends_the_program_in_order(home, bus, display, xfce_session, start):
    others = set(xfce_session.clients())
    program = start(bus, display, xfce_session.environment)
    home.log.wait_for_line(STARTED)
    until(lambda: set(xfce_session.clients()) - others, "the program in the session")
    xfce_session.log_out()
    assert program.exit_code() == 0
    assert home.log.last_run()[-1] == "stop"
    assert home.log.last_run().count("stop") == 1


def test_the_end_of_the_display_ends_the_program_in_order(home, bus, display, start):
    program = start(bus, display)
    home.log.wait_for_line(STARTED)
    display.break_down()
    program.exit_code()
    assert home.log.last_run()[-1] == "stop"


def test_the_end_of_the_bus_leaves_the_program_watching(home, network, bus, start, version):
    program = start(bus)
    home.log.wait_for_line(STARTED)
    bus.break_down()
    follows_a_change(network, home, version)
    assert program.stop() == 0
    assert home.log.last_run()[-1] == "stop"


@pytest.mark.parametrize("surroundings", [set(), {"bus"}, {"display"}, {"bus", "display"}],
                         ids=["neither", "bus only", "display only", "both"])
def test_the_program_watches_and_logs_with(surroundings, home, network, bus, display, start,
                                           version):
    program = start(bus if "bus" in surroundings else None,
                    display if "display" in surroundings else None)
    home.log.wait_for_line(STARTED)
    follows_a_change(network, home, version)
    assert program.stop() == 0
    assert home.log.last_run()[-1] == "stop"
    assert "qt." not in program.console()  # nothing is tried that is not there


def test_a_display_that_cannot_be_reached_is_none(home, network, start, version):
    program = start(more={"DISPLAY": ":4711", "WAYLAND_DISPLAY": "nobody"})
    home.log.wait_for_line(STARTED)
    follows_a_change(network, home, version)
    assert program.stop() == 0


@pytest.mark.parametrize("with_display", [False, True], ids=["no display", "display"])
def test_a_bus_that_never_answers_is_none(with_display, home, network, silent_bus, display, start,
                                          version):
    program = start(silent_bus, display if with_display else None)
    home.log.wait_for_line(STARTED)
    follows_a_change(network, home, version)
    assert "The session bus does not answer" in program.console()
    assert program.stop() == 0
    assert home.log.last_run()[-1] == "stop"


def test_a_bus_that_answers_late_gets_the_item(home, bus, status_area, start):
    bus.hang()
    program = start(bus)
    home.log.wait_for_line(STARTED)
    bus.resume()
    status_area.wait_for_title("192.0.2.7")
    assert program.stop() == 0


def test_a_bus_that_hangs_later_leaves_the_program_watching(home, network, bus, status_area, start,
                                                            version):
    home.set({"TitleIconOnly": True})
    program = start(bus)
    status_area.item()
    home.log.wait_for_line(STARTED)
    bus.hang()
    network.ip("link set lanx down")  # now there is a title, and with the carrier it goes again
    home.log.wait_for_line(f"Quillfen {version} refreshed. (-.-.-.-)")
    network.ip("link set lanx up")
    follows_a_change(network, home, version)
    bus.resume()
    status_area.wait_for_title(None)
    assert program.stop() == 0


def test_a_console_that_nobody_reads_costs_nothing(request, home, network):
    reader, writer = os.pipe()
    os.close(reader)
    environment = home.environment(DBUS_SESSION_BUS_ADDRESS=NOBODY_THERE)
    with subprocess.Popen([*network.enter(), request.config.getoption("--program")],
                          env=environment, stdin=subprocess.DEVNULL, stdout=writer,
                          stderr=writer) as program:
        os.close(writer)
        home.log.wait_for_line(STARTED)
        program.terminate()
        assert program.wait(10) == 0
    assert home.log.last_run()[-1] == "stop"


def test_without_a_home_settings_live_in_memory(home, network, start, version):
    nobodys_home = Path("/.config/com.corvane.Quillfen/settings.json")
    before = nobodys_home.stat() if nobodys_home.exists() else None
    program = start(more={"HOME": "", "XDG_CONFIG_HOME": "config"})
    home.log.wait_for_line(STARTED)
    follows_a_change(network, home, version)
    follows = "(First) Internal IP address changed from:192.0.2.7 to:198.51.100.4"
    assert follows in home.log.lines()
    assert program.stop() == 0
    assert program.console().count("HOME") == 2  # one line names two variables
    assert (nobodys_home.stat() if nobodys_home.exists() else None) == before


def test_a_second_instance_ends_at_once_and_leaves_the_first_alone(home, network, bus, start,
                                                                   version):
    first = start(bus)
    home.log.wait_for_line(STARTED)
    assert start(bus).exit_code() == 0
    assert home.log.lines().count("start") == 1
    follows_a_change(network, home, version)
    assert first.stop() == 0


def test_without_a_bus_there_is_no_second_instance_to_be(home, start):
    first = start()
    home.log.wait_for_line(STARTED)
    second = start()
    until(lambda: home.log.lines().count("start") == 2, "the second start")
    stays(lambda: first.alive() and second.alive(), "both run", during=0.5)
