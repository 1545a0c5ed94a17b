# SPDX-License-Identifier: GPL-3.0-or-later
"""The preferences window while its settings cannot be written to the disk."""

import subprocess

import pytest

from harness.machine import machine_name
from harness.waiting import until

ADDRESS = "192.168.77.45"
TITLE = "Quillfen Preferences"
BEFORE = {"Initial Refresh": 86400, "ExternalAddressService": "http://127.0.0.1:1/",
          "Email": "before@example.org", "Foreign": [1, {"two": None}]}


def mount(*arguments):
    """Mounts for this test run alone: it has a mount namespace of its own."""
    subprocess.run(["mount", *arguments], check=True)


class ReadOnlyFolder:
    """The settings' folder can be read and not written."""

    def __init__(self, folder, elsewhere):
        self._mounted = []
        self._folder, self._elsewhere = str(folder), str(elsewhere)

    def begin(self):
        # Made read-only elsewhere first: other namespaces hear of a mount, not of later options.
        mount("--bind", self._folder, self._elsewhere)
        self._mounted.append(self._elsewhere)
        mount("-o", "remount,bind,ro", self._elsewhere)
        mount("--bind", self._elsewhere, self._folder)
        self._mounted.append(self._folder)

    def end(self):
        while self._mounted:
            subprocess.run(["umount", "--lazy", self._mounted.pop()], check=True)

    close = end


class FullDisk:
    """The settings' folder is a disk with no room left on it."""

    def __init__(self, folder, _elsewhere):
        self._folder = str(folder)
        self._filler = folder / "filler"
        mount("-t", "tmpfs", "-o", "size=32k", "tmpfs", self._folder)

    def begin(self):
        with open(self._filler, "wb", buffering=0) as filler:
            try:
                while filler.write(bytes(4096)):
                    pass
            except OSError:
                pass  # full now

    def end(self):
        self._filler.unlink()

    def close(self):
        subprocess.run(["umount", "--lazy", self._folder], check=True)


@pytest.fixture(params=[ReadOnlyFolder, FullDisk], ids=["read-only", "full"])
def trouble(request, home, tmp_path):
    """What keeps settings from being written between its begin() and its end()."""
    home.settings_file.parent.mkdir(parents=True)
    elsewhere = tmp_path / "elsewhere"
    elsewhere.mkdir()
    world = request.param(home.settings_file.parent, elsewhere)
    yield world
    world.close()


@pytest.fixture
def running(home, network, bus, display, status_area, trouble, start):
    network.cable("lan", f"{ADDRESS}/24")
    home.set(BEFORE)
    program = start(bus, display)
    status_area.wait_for_title(ADDRESS)
    until(lambda: home.settings().get("LastIPAddress") == ADDRESS, "the settings of the start")
    return program


def open_window(display, status_area):
    status_area.choose("Preferences...")
    until(lambda: display.has_keyboard(TITLE), "the window with the keyboard")


def close_window(display):
    display.press("alt+c")
    until(lambda: not display.windows(TITLE), "the window's end")


def test_what_was_typed_holds_and_is_stored_later(home, bus, display, status_area, trouble,
                                                  running):
    stored = home.settings_file.read_bytes()
    open_window(display, status_area)
    trouble.begin()
    display.press("alt+n", "alt+m", "alt+s")
    display.run("xdotool", "type", "--delay", "20", "smtp.example.org")
    close_window(display)

    # It counts, although it is nowhere but in memory; the old file is as it was.
    status_area.wait_for_title(f"{ADDRESS}:{machine_name()}")
    complaints = [line for line in running.console().splitlines()
                  if str(home.settings_file) in line]
    assert len(complaints) == 1, running.console()
    assert home.settings_file.read_bytes() == stored

    # The window can still be used, and shows what counts: one more click takes it back.
    open_window(display, status_area)
    display.press("alt+g", "alt+n")
    close_window(display)
    status_area.wait_for_title(ADDRESS)
    assert home.settings_file.read_bytes() == stored

    trouble.end()
    bus.post("Preferences Changed", "com.corvane.preference.Quillfen")
    until(lambda: home.settings().get("MailServer") == "smtp.example.org", "stored after all")
    assert home.settings().items() >= BEFORE.items()
    assert home.settings()["IncludeMachineName"] is False
    assert running.stop() == 0
