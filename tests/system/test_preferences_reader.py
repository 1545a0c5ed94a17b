# SPDX-License-Identifier: GPL-3.0-or-later
"""The preferences window as a screen reader has it: names, roles, hints, and no password."""

import pytest

from harness.screen_reader import ScreenReader
from harness.waiting import until

ADDRESS = "192.168.77.45"
TITLE = "Quillfen Preferences"
PASSWORD = "correct horse battery staple"
# In the order in which it reads them; the label is what stands before a control, if anything does.
CONTROLS = [
    ("check box", "Show only an icon in the status area", None),
    ("check box", "Add the computer's name in the status area", None),
    ("check box", "Add the wireless network's name in the status area", None),
    ("check box", "Show the change icon when an address changes", None),
    ("text", "Last internal address", "Last internal address:"),
    ("text", "Last external address", "Last external address:"),
    ("check box", "Show the external address in the menu", None),
    ("check box", "Watch the external address in the background", None),
    ("text", "Minutes between checks", "Minutes between checks:"),
    ("check box", "Send e-mail when an address changes", None),
    ("text", "Recipients", "Recipients:"),
    ("text", "Mail server", "Mail server:"),
    ("text", "Port", "Port:"),
    ("combo box", "LOGIN", "Authentication:"),  # what is chosen; its label says of what
    ("text", "User name", "User name:"),
    ("password", "Password", "Password:"),
    ("button", "Send Test Mail", None),
    ("page tab", "General", None),
    ("page tab", "External address", None),
    ("page tab", "Mail", None),
    ("button", "Close", None),
]
HINTS = {
    "Minutes between checks": "Less than 6 counts as 6.",
    "Recipients": "Several with commas between them.",
    "Mail server": "Without a server nothing is sent.",
    "Port": "Read as port 0, where no server answers.",
    "Password": "Stored in the file settings.json, which only you can read.",
    "Send Test Mail": "the console log what became of it.",
}


@pytest.fixture
def program(home, network, bus, display, status_area, start):
    network.cable("lan", f"{ADDRESS}/24")
    home.set({"Initial Refresh": 86400, "ExternalAddressService": "http://127.0.0.1:1/",
              "UserPassword": PASSWORD, "Authentication": 2, "MinutesInterval": 3,
              "Port": "none", "Email": "a@example.org"})
    program = start(bus, display, {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"})
    status_area.wait_for_title(ADDRESS)
    return program


@pytest.fixture
def window(bus, status_area, program):
    reader = ScreenReader(bus)
    status_area.choose("Preferences...")
    yield reader.window(TITLE)
    reader.close()
    assert program.stop() == 0


def controls(window):
    """All that can be used; Qt's own arrows for too many tabs never show here."""
    kinds = {role for role, _, _ in CONTROLS}
    return [each for each in window.everything()
            if each.role in kinds and each.focusable and not each.name.startswith("Scroll ")]


def test_every_control_says_what_it_is(window):
    assert window.role == "dialog"
    found = [(each.role, each.name, next(iter(each.labels()), None)) for each in controls(window)]
    assert found == CONTROLS


def test_every_control_says_what_it_is_for(window):
    described = {each.name: each.description for each in controls(window)
                 if each.role != "page tab"}
    assert [name for name, text in described.items() if not text] == []
    for name, hint in HINTS.items():
        assert described[name].endswith(hint), described[name]


def test_nobody_reads_the_password(window):
    everything = list(window.everything())
    assert "a@example.org" in [each.text for each in everything]
    for each in everything:
        for told in (each.name, each.description, each.text or ""):
            assert PASSWORD not in told


def test_a_box_is_ticked_by_its_reader(home, window):
    box, = [each for each in controls(window) if each.name.startswith("Add the computer's name")]
    box.act()
    until(lambda: home.settings().get("IncludeMachineName"), "the box's setting")
