# SPDX-License-Identifier: GPL-3.0-or-later
"""What the menu's commands copy, pasted by other programs under X11 and under Wayland."""

import collections
import os

import pytest

from harness.clipboards import wayland_clipboard, x11_clipboard
from harness.compositor import Compositor
from harness.lookup_service import LookupService, answer, closed_port, page
from harness.waiting import stays, until

FIRST, SECOND, THIRD = "192.0.2.7", "198.51.100.4", "203.0.113.9"
SEEN = "203.0.113.7"
THEIRS = b"what another program copied"
NO_NAME = "DNS name unavailable"
NO_EXTERNAL_NAME = "External DNS name unavailable"

Desktop = collections.namedtuple("Desktop", "clipboard display more")


@pytest.fixture(autouse=True)
def plugged_in(network, home):
    service = LookupService(network)
    service.answers(answer(page(SEEN)))
    home.set({"Initial Refresh": 86400, "ExternalAddressService": service.url})
    network.cable("lan", f"{FIRST}/24", f"{SECOND}/24")
    yield
    service.close()


@pytest.fixture
def x11(session, display):
    clipboard = x11_clipboard(session, display)
    yield Desktop(clipboard, display, {})
    clipboard.close()


@pytest.fixture
def wayland(session, bus):
    compositor = Compositor(session)
    clipboard = wayland_clipboard(session, compositor)
    yield Desktop(clipboard, None, {"WAYLAND_DISPLAY": compositor.name})
    clipboard.close()
    compositor.close()


@pytest.fixture(params=["x11", "wayland"])
def desktop(request):
    return request.getfixturevalue(request.param)


@pytest.fixture
def run(home, bus, status_area, start):
    """run(desktop): the program there, its start-up over."""
    def running(desktop, **more):
        program = start(bus, desktop.display, desktop.more | more)
        status_area.wait_for_title(FIRST)
        home.log.wait_for_line(f"The current (first) internal IP address is:{FIRST}")
        return program
    return running


def copies(desktop, status_area, row, text):
    """Chooses the row after another program has copied something, and waits for text."""
    desktop.clipboard.set(THEIRS)
    status_area.choose(row)
    desktop.clipboard.wait_for(text.encode())


def test_each_command_copies_its_text(desktop, run, status_area):
    run(desktop)
    copies(desktop, status_area, "Copy IP Address", FIRST)
    copies(desktop, status_area, "Copy External IP Address", SEEN)
    copies(desktop, status_area, "Copy DNS Name", NO_NAME)
    copies(desktop, status_area, "Copy External DNS Name", NO_EXTERNAL_NAME)
    copies(desktop, status_area, FIRST, FIRST)
    copies(desktop, status_area, SECOND, SECOND)
    copies(desktop, status_area, NO_NAME, NO_NAME)
    copies(desktop, status_area, "External IP unavailable", SEEN)
    copies(desktop, status_area, NO_EXTERNAL_NAME, NO_EXTERNAL_NAME)


def test_a_name_that_a_later_change_brought(x11, network, home, run, status_area, version):
    network.know({FIRST: "quill.example"})
    run(x11)
    copies(x11, status_area, "Copy DNS Name", NO_NAME)
    network.ip(f"address add {THIRD}/24 dev lan")
    home.log.wait_for_line(f"[3] {THIRD}")
    home.log.wait_for_line(f"Quillfen {version} refreshed. ({FIRST})", count=3)
    copies(x11, status_area, "Copy DNS Name", "quill.example")


def test_without_a_network_the_placeholders_are_copied(x11, network, home, run, status_area):
    home.set({"ExternalAddressService": f"http://127.0.0.1:{closed_port(network)}/"})
    run(x11)
    network.ip("link set lanx down")
    status_area.wait_for_title("-.-.-.-")
    copies(x11, status_area, "Copy IP Address", "-.-.-.-")
    copies(x11, status_area, "Copy External IP Address", "-.-.-.-")


def test_an_address_that_is_gone_is_not_copied(x11, network, home, run, status_area, version):
    run(x11)
    x11.clipboard.set(THEIRS)
    network.ip(f"address del {SECOND}/24 dev lan")
    home.log.wait_for_line(f"Quillfen {version} refreshed. ({FIRST})", count=3)
    status_area.choose(SECOND)
    stays(lambda: x11.clipboard.text() == THEIRS, "the clipboard as it was", during=1)


def test_the_last_of_a_thousand_addresses(x11, network, run, status_area):
    more = [f"10.1.{number // 250}.{number % 250 + 1}" for number in range(998)]
    network.ip(*(f"address add {address}/16 dev lan" for address in more))
    run(x11)
    copies(x11, status_area, more[-1], more[-1])


def test_the_text_outlives_the_program_under_wayland(wayland, run, status_area):
    program = run(wayland)
    copies(wayland, status_area, SECOND, SECOND)
    assert program.stop() == 0
    assert wayland.clipboard.text() == SECOND.encode()


def test_a_copying_program_that_hangs_holds_up_nothing(wayland, home, run, status_area):
    hangs = home.folder / "bin"
    hangs.mkdir()
    (hangs / "wl-copy").write_text("#!/bin/sh\necho >>$HOME/started\nexec tail -f /dev/null\n")
    (hangs / "wl-copy").chmod(0o755)
    program = run(wayland, PATH=f"{hangs}{os.pathsep}{home.environment()['PATH']}")
    status_area.choose("Copy IP Address")
    until((home.folder / "started").exists, "the start of the copying program")
    status_area.choose(SECOND)
    assert status_area.title() == FIRST  # it still answers
    assert program.stop() == 0


def test_without_a_clipboard_the_console_says_so(bus, status_area, run):
    program = run(Desktop(None, None, {}))
    status_area.choose("Copy IP Address")
    until(lambda: "The text is not on the clipboard: there is no display." in program.console(),
          lambda: f"a line on the console; it has {program.console()!r}")
    assert program.stop() == 0
