# SPDX-License-Identifier: GPL-3.0-or-later
"""Disks that are full, at every byte of what is written, and folders that go away meanwhile."""

import json
import shutil
import stat

import pytest

from harness.log_tail import LogTail
from harness.orders import Orders
from harness.small_disk import BLOCK, SmallDisk
from harness.transcript import Transcript
from harness.vital_signs import waits
from harness.waiting import until

FIRST, SECOND = "192.0.2.7", "198.51.100.4"
STARTED = f"The current (first) internal IP address is:{FIRST}"
STAMP = len("[2026-01-01 00:00:00 +0000] ")
CABLES = {FIRST: "lan", SECOND: "wlan"}
FAST = 0.001  # seconds between two looks
BACKGROUND = {"Initial Refresh": 86400, "ExternalAddressService": "http://127.0.0.1:1/",
              "Foreign": "a key of somebody else's"}


@pytest.fixture
def say(version):
    return Transcript(version)


@pytest.fixture(autouse=True)
def two_networks(network, home):
    """Two networks, whose order the default route tells."""
    network.cable("lan", f"{FIRST}/24")
    network.cable("wlan", f"{SECOND}/24")
    network.ip("route add default dev lan")
    home.set({**BACKGROUND, "LastIPAddress": FIRST})


@pytest.fixture
def orders(network):
    given = Orders(network)
    yield given
    given.close()


@pytest.fixture
def log_disk(home):
    disk = SmallDisk(home.log.path.parent)
    yield disk
    disk.close()


@pytest.fixture
def settings_disk(home):
    text = home.settings_file.read_text(encoding="utf-8")
    disk = SmallDisk(home.settings_file.parent)
    home.write_settings(text)
    yield disk
    disk.close()


class Changes:
    """Another first address, time and again, and the lines that the log has for each."""

    def __init__(self, orders, say, program):
        self._orders = orders
        self._say = say
        self._program = program
        self._addresses = [FIRST, SECOND]
        self._tail = LogTail(program.log.path)

    def another(self, seen=None):
        """Returns the lines of this change when all about it is done.

        seen() is True as soon as it is under way; by default that is when the log tells of it."""
        last, first = self._addresses
        self._addresses = [first, last]
        self._orders.give(f"route replace default dev {CABLES[first]}")
        until(seen or (lambda: self._log_tells(first)),
              lambda: f"{first} seen; the console says\n{self.console()}", pause=FAST)
        until(lambda: waits(self._program.pid), "a program that waits for events", pause=FAST)
        return self._say.refresh(first, last, last=last)

    def _log_tells(self, first):
        return any(self._tail.take() == self._say.refreshed(first)
                   for _ in range(self._tail.waiting()))

    def first(self):
        return self._addresses[0]

    def console(self):
        return self._program.console()


@pytest.fixture
def changes(home, orders, say, start):
    """The program has started; its changes from there on."""
    program = start()
    home.log.wait_for_line(STARTED)
    yield Changes(orders, say, program)
    assert program.stop() == 0


def as_bytes(lines):
    """The lines as they stand in the file; for a time stamp, zeros."""
    return b"".join(bytes(STAMP) + line.encode() + b"\n" for line in lines)


def alike(actual, expected):
    """Whether two texts are the same, where expected is not zero."""
    return len(actual) == len(expected) and all(
        there in (byte, 0) for byte, there in zip(actual, expected))


def test_a_log_whose_disk_is_full_at_any_byte(home, log_disk, settings_disk, changes):
    """As much of the lines is there as had room, and what comes later begins a line of its own."""
    log = home.log.path

    def another():
        return as_bytes(changes.another(
            seen=lambda: home.settings()["LastIPAddress"] == changes.first()))
    lines = another()
    for room in range(len(lines) + 1):
        used = log_disk.fill_but_in(log, room)
        lines = another()
        assert alike(log.read_bytes()[used:], lines[:room]), f"with room for {room} bytes"
        log_disk.empty()
        later = another()
        begins = b"" if lines[:room][-1:] in (b"", b"\n") else b"\n"
        assert alike(log.read_bytes()[used:], lines[:room] + begins + later), (
            f"after room for {room} bytes")


def contents(folder):
    return {path.name: path.read_bytes() for path in folder.iterdir() if path.name != "filler"}


def make_settings_long(home, octets):
    """Has the settings file be so long when SECOND is stored in it, and FIRST is so far.

    It is written in place: the program holds the file that it has seen, whose blocks would count.
    """
    grown = len(SECOND) - len(FIRST)
    missing = octets - home.settings_file.stat().st_size - grown
    longer = home.settings() | {"Foreign": home.settings()["Foreign"] + "x" * missing}
    home.settings_file.write_text(json.dumps(longer), encoding="utf-8")


# Of two blocks, one is the lock file's and the other the first of a new settings file, which is
# longer by every number of bytes that a line of it could have.
@pytest.mark.parametrize("blocks, most, said", [
    (0, 1, "settings.json.lock: it cannot be made"),
    (1, 1, "settings.json now: No space left on device"),
    (2, 80, "settings.json now: No space left on device"),
], ids=["0 blocks", "1 block", "2 blocks"])
def test_settings_whose_disk_has_but(blocks, most, said, home, settings_disk, changes):
    folder = home.settings_file.parent
    changes.another()  # two, so that the file is the program's own, and FIRST in it
    changes.another()
    for missing in range(1, most + 1):
        make_settings_long(home, BLOCK + missing)
        settings_disk.fill(leave=blocks)
        before = contents(folder)
        changes.another()
        assert contents(folder) == before, f"with room for all but {missing} bytes"
        settings_disk.empty()
        changes.another()
        assert home.settings()["LastIPAddress"] == FIRST
    assert changes.console().count(said) == most  # once each time


def test_settings_whose_disk_takes_no_more_files(home, settings_disk, changes):
    changes.another()
    settings_disk.take_all_files()
    changes.another()
    assert home.settings()["LastIPAddress"] == SECOND
    settings_disk.empty()
    changes.another()
    changes.another()
    assert home.settings()["LastIPAddress"] == FIRST
    assert sorted(contents(home.settings_file.parent)) == ["settings.json"]


def test_settings_whose_folder_goes_away(home, changes):
    for _ in range(3):
        shutil.rmtree(home.config)
        changes.another()
        assert home.settings() == {"LastIPAddress": changes.first()}
        assert stat.S_IMODE(home.settings_file.stat().st_mode) == 0o600
        assert stat.S_IMODE(home.settings_file.parent.stat().st_mode) == 0o700


def test_settings_whose_folder_becomes_a_file(home, changes):
    folder = home.settings_file.parent
    aside = folder.with_name("aside")
    folder.rename(aside)
    folder.write_text("in the way", encoding="utf-8")
    changes.another()
    assert str(home.settings_file) in changes.console()
    assert folder.read_text(encoding="utf-8") == "in the way"
    folder.unlink()
    aside.rename(folder)
    changes.another()
    changes.another()
    assert home.settings() == {**BACKGROUND, "LastIPAddress": SECOND}


def test_a_log_whose_folder_goes_away(home, network, bus, status_area, start, version, say):
    """The file is the one that was opened at the start; the next run has a new one."""
    program = start(bus)
    home.log.wait_for_line(STARTED)
    shutil.rmtree(home.data)
    network.ip("route replace default dev wlan")
    status_area.wait_for_title(SECOND)
    until(lambda: say.refreshed(SECOND) in program.console(), "the change on the console")
    assert home.settings()["LastIPAddress"] == SECOND
    status_area.choose("Console Log...")  # of which there is none
    assert program.stop() == 0
    assert not home.log.path.exists()

    program = start(bus)
    home.log.wait_for_line(f"The current (first) internal IP address is:{SECOND}")
    assert program.stop() == 0
    assert home.log.lines() == [*say.opening(SECOND, FIRST, last=SECOND), "stop"]
