# SPDX-License-Identifier: GPL-3.0-or-later
"""The worlds that the tests stand in, each made for one test and taken down after it."""

import itertools

import pytest

from harness.bus import Bus, Listening, SilentBus
from harness.command import finish
from harness.desktop import HEIGHT, Display
from harness.home import Home
from harness.network import Network
from harness.panels import MatePanel, TrayerPanel, XfcePanel
from harness.program import Program, environment
from harness.screen import Screen
from harness.session_manager import XfceSession
from harness.status_area import StatusArea


def pytest_addoption(parser):
    parser.addoption("--program", required=True, help="the quillfen binary to test")
    parser.addoption("--program-version", required=True, help="the version it is to have")


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport():
    """A test that did not run has failed: here, everything it needs is installed."""
    outcome = yield
    report = outcome.get_result()
    if report.skipped:
        report.outcome = "failed"
        report.longrepr = f"not run: {report.longrepr}"


@pytest.fixture
def version(request):
    return request.config.getoption("--program-version")


@pytest.fixture
def network(tmp_path):
    world = Network(tmp_path / "network")
    yield world
    world.close()


@pytest.fixture
def home(tmp_path):
    """The home of the program's user."""
    return Home(tmp_path / "home")


@pytest.fixture
def session(tmp_path):
    """The home of the desktop's own processes."""
    return Home(tmp_path / "session")


@pytest.fixture
def bus(session):
    world = Bus(session)
    yield world
    world.close()


@pytest.fixture
def silent_bus(session):
    world = SilentBus(session)
    yield world
    world.close()


@pytest.fixture
def listening():
    world = Listening()
    yield world
    world.close()


@pytest.fixture
def status_area(bus, listening):
    return StatusArea(bus)


@pytest.fixture
def display(session, bus):
    world = Display(session, bus)
    yield world
    world.close()


@pytest.fixture
def mate(session, bus, display):
    """MATE's panel, not started yet."""
    world = MatePanel(session, bus, display)
    yield world
    world.close()


@pytest.fixture
def xfce(session, bus, display):
    world = XfcePanel(session, bus, display)
    yield world
    world.close()


@pytest.fixture
def trayer(display):
    """A tray of the old kind, not started yet."""
    world = TrayerPanel(display)
    yield world
    world.close()


@pytest.fixture
def xfce_session(session, bus, display):
    world = XfceSession(session, bus, display)
    yield world
    world.close()


@pytest.fixture
def screen_of(display, tmp_path):
    """screen_of(panel): where that panel is looked at."""
    return lambda panel: Screen(display, panel.height, tmp_path / "screen")


@pytest.fixture
def whole_screen(display, tmp_path):
    return Screen(display, HEIGHT, tmp_path / "whole-screen")


@pytest.fixture
def command(request, home, network):
    """command(*words, bus, more, stdout, through): runs the binary with words to its end.
    @returns a Finished."""
    binary = request.config.getoption("--program")

    def run(*words, bus=None, more=None, stdout=None, through=()):
        argv = [*network.enter(), *through, binary, *words]
        return finish(argv, environment(home, bus, more), stdout)
    return run


@pytest.fixture
def start(request, home, network):
    """start(bus, display, more, arguments): one more run of the program, by default without any."""
    binary = request.config.getoption("--program")
    runs = []
    numbers = itertools.count(1)

    def started(bus=None, display=None, more=None, arguments=()):
        runs.append(Program(binary, home, network, bus, display, next(numbers), more, arguments))
        return runs[-1]
    yield started
    for run in runs:
        run.kill()
