# SPDX-License-Identifier: GPL-3.0-or-later
"""The preferences window among the windows of a Wayland compositor."""

import pytest

from harness.activation import activation_token
from harness.waiting import stays, until
from harness.wayland_desktop import WaylandDesktop

ADDRESS = "192.168.77.45"
TITLE = "Quillfen Preferences"
OTHER = "Another Window"


@pytest.fixture(autouse=True)
def plugged_in(network, home):
    network.cable("lan", f"{ADDRESS}/24")
    home.set({"Initial Refresh": 86400, "ExternalAddressService": "http://127.0.0.1:1/"})


@pytest.fixture
def compositor(session):
    world = WaylandDesktop(session)
    # Where a window asks for the keyboard with a token, it gets it; without one it does not.
    world.order("focus_on_window_activation focus")
    yield world
    world.close()


@pytest.fixture
def run(compositor, bus, start):
    """run(token): one more start of the program, by a launcher that gives it that token."""
    def running(token=None):
        more = {"WAYLAND_DISPLAY": compositor.name}
        return start(bus, None, more | ({"XDG_ACTIVATION_TOKEN": token} if token else {}))
    return running


def wait_for_keyboard(compositor, name):
    until(lambda: compositor.has_keyboard(name),
          lambda: f"the keyboard for {name!r}; there are {compositor.windows()}", within=20)


@pytest.fixture
def behind(compositor, status_area, run):
    """The program with its preferences open, and another program's window in front of them."""
    program = run()
    status_area.wait_for_title(ADDRESS)
    status_area.choose("Preferences...")
    wait_for_keyboard(compositor, TITLE)
    compositor.order("layout tabbed")
    other = compositor.start("foot", "foot", "--title", OTHER, "sh", "-c", "exec tail -f /dev/null")
    wait_for_keyboard(compositor, OTHER)
    yield program
    other.kill()


def test_it_opens_with_the_keyboard(home, compositor, status_area, run):
    program = run()
    status_area.wait_for_title(ADDRESS)
    status_area.choose("Preferences...")
    wait_for_keyboard(compositor, TITLE)
    compositor.press("-M", "alt", "n")
    until(lambda: home.settings().get("IncludeMachineName"), "the box's setting")
    assert program.stop() == 0


def test_a_second_start_with_a_token_brings_it_to_the_front(home, compositor, behind, run):
    assert run(activation_token(compositor)).exit_code() == 0
    wait_for_keyboard(compositor, TITLE)
    assert compositor.windows().count(TITLE) == 1
    compositor.press("-M", "alt", "n")
    until(lambda: home.settings().get("IncludeMachineName"), "the box's setting")
    assert behind.stop() == 0


def test_a_panels_token_brings_it_to_the_front(status_area, compositor, behind):
    status_area.provide_token(activation_token(compositor))
    status_area.choose("Preferences...")
    wait_for_keyboard(compositor, TITLE)
    assert behind.stop() == 0


@pytest.mark.parametrize("token", [None, "made-up"])
def test_without_the_compositors_leave_it_takes_no_keyboard(compositor, behind, run, token):
    assert run(token).exit_code() == 0
    stays(lambda: compositor.has_keyboard(OTHER), "the keyboard where it was", during=1)
    assert behind.stop() == 0
