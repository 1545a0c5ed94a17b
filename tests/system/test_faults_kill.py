# SPDX-License-Identifier: GPL-3.0-or-later
"""Killed at any moment: what is on the disk is whole, and the next run goes on from there.

QUILLFEN_KILLS says how often (25 times when it says nothing).
"""

import os
import random
import re
import signal
import threading
import time

import pytest

from harness.home import STAMPED
from harness.orders import Orders

KILLS = int(os.environ.get("QUILLFEN_KILLS", "25"))
LONGEST = 0.4  # seconds that a run has at most; its start takes a part of them
ADDRESSES = {f"192.0.2.{number}": f"lan{number}" for number in range(1, 9)}  # with their cables
FIRST = next(iter(ADDRESSES))
OTHERS = {"Initial Refresh": 86400, "ExternalAddressService": "http://127.0.0.1:1/",
          "Email": "somebody@example.org", "Foreign": [1, {"two": None}]}
FOUND = re.compile(r"Internal IP address:(\S+) \(no name\)")
LAST = re.compile(r"Last internal IP address: (\S+)")
CHANGED = re.compile(r"\(First\) Internal IP address changed from:(\S+) to:(\S+)")


class Storm:
    """Another first address all the time."""

    def __init__(self, orders, dice):
        self._orders = orders
        self._dice = dice
        self._ended = threading.Event()
        self._thread = threading.Thread(target=self._blow, daemon=True)
        self._thread.start()

    def _blow(self):
        while not self._ended.wait(0.005):
            cable = self._dice.choice(list(ADDRESSES.values()))
            self._orders.give(f"route replace default dev {cable}")

    def stop(self):
        self._ended.set()
        self._thread.join()


@pytest.fixture
def orders(network):
    given = Orders(network)
    yield given
    given.close()


@pytest.fixture(autouse=True)
def many_networks(network, home):
    for address, cable in ADDRESSES.items():
        network.cable(cable, f"{address}/32")
    network.ip(f"route add default dev {ADDRESSES[FIRST]}")
    home.set({**OTHERS, "LastIPAddress": FIRST})


def whole_lines(text):
    """The lines of a part of the log. Each is whole, the last one too."""
    assert text == b"" or text.endswith(b"\n")
    return [STAMPED.fullmatch(line)[1] for line in text.decode().splitlines()]


def follow(lines, stored):
    """The address that is stored after a run of those lines, when stored was before it.

    @returns all that it can be: what is stored is told of right afterwards.
    """
    found = stored
    for line in lines:
        if match := FOUND.fullmatch(line):
            found = match[1]
        elif match := LAST.fullmatch(line):
            assert match[1] == stored
        elif match := CHANGED.fullmatch(line):
            assert match.groups() == (stored, found)
            stored = found
    return {stored, found}


def test_killed_at_any_moment(home, bus, orders, start):
    seed = random.randrange(2 ** 32)
    print(f"seed {seed}")  # for whoever looks for the reason of a failure
    dice = random.Random(seed)
    storm = Storm(orders, random.Random(seed + 1))
    stored, size, changes = FIRST, 0, 0
    for _ in range(KILLS):
        program = start(bus)
        time.sleep(dice.uniform(0, LONGEST))
        program.send(signal.SIGKILL)
        assert program.exit_code() == -signal.SIGKILL

        settings = home.settings()
        now = settings.pop("LastIPAddress")
        assert settings == OTHERS
        text = home.log.path.read_bytes() if home.log.path.exists() else b""
        lines = whole_lines(text[size:])
        assert lines[:2] in ([], ["start"], ["start", "Starting up..."])
        assert now in follow(lines, stored)
        changes += sum(1 for line in lines if CHANGED.fullmatch(line))
        stored, size = now, len(text)
    storm.stop()
    assert changes > 0  # or it never got as far as that
    # A new settings file has a name of its own for some microseconds before it takes the old one's.
    left = set(os.listdir(home.settings_file.parent)) - {"settings.json", "settings.json.lock"}
    assert all(re.fullmatch(r"settings\.json\.\w{6}", name) for name in left)
    assert len(left) <= 1 + KILLS // 50


def test_a_lock_that_the_dead_left_without_a_name_is_no_obstacle(home, start):
    """Killed after making the lock file, and before writing into it."""
    home.settings_file.with_name("settings.json.lock").touch()
    home.set({"LastIPAddress": "198.51.100.4"})
    program = start()
    home.log.wait_for_line(f"(First) Internal IP address changed from:198.51.100.4 to:{FIRST}")
    assert home.settings()["LastIPAddress"] == FIRST
    assert "settings wait" not in program.console()
    assert program.stop() == 0
    assert os.listdir(home.settings_file.parent) == ["settings.json"]
