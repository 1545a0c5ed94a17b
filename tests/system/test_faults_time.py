# SPDX-License-Identifier: GPL-3.0-or-later
"""Clocks that are set, by days, and machines that sleep.

QUILLFEN_SUSPEND_SECONDS says how long a sleep is (3 when it says nothing).
"""

import os
import re
import signal
import time
from collections import Counter
from datetime import datetime, timedelta

import pytest

from harness.fake_clock import FakeClock
from harness.life import CLEARING
from harness.lookup_service import LookupService, answer, page
from harness.orders import Orders
from harness.transcript import COPYING, Transcript, without_dates
from harness.waiting import stays, until

FIRST, SECOND = "192.0.2.7", "198.51.100.4"
STARTED = f"The current (first) internal IP address is:{FIRST}"
SEEN = "203.0.113.7"
HOUR, DAY = 3600, 86400  # seconds
LATER = 1000 * DAY       # an initial refresh that does not come, wherever the clock goes
ASLEEP = float(os.environ.get("QUILLFEN_SUSPEND_SECONDS", "3"))
PREFERENCES_CHANGED = ("Preferences Changed", "com.corvane.preference.Quillfen")
DATE = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d [+-]\d{4}")


@pytest.fixture
def say(version):
    return Transcript(version)


@pytest.fixture
def service(network):
    lookup = LookupService(network)
    lookup.answers(answer(page(SEEN)))
    yield lookup
    lookup.close()


@pytest.fixture
def orders(network):
    given = Orders(network)
    yield given
    given.close()


@pytest.fixture(autouse=True)
def two_networks(network, home, service):
    network.cable("lan", f"{FIRST}/24")
    network.cable("wlan", f"{SECOND}/24")
    network.ip("route add default dev lan")
    home.set({"Initial Refresh": LATER, "LastIPAddress": FIRST, "LastExternalIPAddress": SEEN,
              "ExternalAddressService": service.url, "EmailChangesToExternalIPAddress": True})


def wait_for(log, expected):
    until(lambda: len(log.last_run()) >= len(expected),
          lambda: "all lines; so far:\n" + "\n".join(log.last_run()))
    assert without_dates(log.last_run()) == expected


def last_dates(path, count):
    """The dates in the last count lines of the log, those of the time stamps and all others."""
    lines = path.read_text(encoding="utf-8").splitlines()[-count:]
    return [datetime.strptime(date, "%Y-%m-%d %H:%M:%S %z") for line in lines
            for date in DATE.findall(line)]


@pytest.mark.parametrize("also_of_files", [True, False], ids=["files move along", "files stay"])
def test_a_clock_that_is_set(also_of_files, tmp_path, home, network, bus, status_area, start, say):
    """Nothing happens when it is, and after it everything as before, with the new time."""
    clock = FakeClock(tmp_path, also_of_files=also_of_files)
    program = start(bus, None, clock.environment)
    lines = say.opening(FIRST, SECOND, last=FIRST, external=SEEN, watched=SEEN)
    wait_for(home.log, lines)
    first, other = FIRST, SECOND
    for shift in (3 * DAY, -5 * DAY, 400 * DAY, -1, 0):
        clock.shift(shift)
        stays(lambda: home.log.last_run() and len(home.log.last_run()) == len(lines),
              "nothing happens", during=0.3)
        first, other = other, first
        network.ip(f"route replace default dev {'wlan' if first == SECOND else 'lan'}")
        lines += say.refresh(first, other, last=other)
        wait_for(home.log, lines)
        status_area.wait_for_title(first)
        assert home.settings()["LastIPAddress"] == first

        home.set({"MinutesInterval": 6 + abs(shift) // DAY})
        bus.post(*PREFERENCES_CHANGED)
        news = [*say.poll(SEEN, SEEN, COPYING, minutes=6 + abs(shift) // DAY),
                *say.refresh(first, other, last=first)]
        lines += news
        wait_for(home.log, lines)
        now = datetime.now().astimezone() + timedelta(seconds=shift)
        dates = last_dates(home.log.path, len(news))
        next_check = dates.pop(len(say.poll(SEEN, SEEN)))
        assert all(abs(date - now) < timedelta(seconds=30) for date in dates)
        assert abs(next_check - now - timedelta(minutes=6 + abs(shift) // DAY)) < timedelta(
            seconds=30)
    assert program.stop() == 0
    assert home.log.last_run()[-1] == "stop"


@pytest.mark.parametrize("shift", [2 * DAY, -2 * DAY], ids=["forward", "back"])
def test_a_clock_that_is_set_moves_no_timer(shift, tmp_path, home, start, say):
    home.set({"Initial Refresh": 2})
    clock = FakeClock(tmp_path)
    begun = time.monotonic()
    start(None, None, clock.environment)
    lines = say.opening(FIRST, SECOND, last=FIRST, external=SEEN, watched=SEEN)
    wait_for(home.log, lines)
    clock.shift(shift)
    lines += say.refresh(FIRST, SECOND, last=FIRST)
    wait_for(home.log, lines)
    assert time.monotonic() - begun >= 2


def test_a_sleeping_machine_catches_up_once(home, bus, status_area, orders, start, say):
    """However much happens in its sleep, and whatever would have been due."""
    home.set({"Initial Refresh": 1, "EmailChangesToExternalIPAddress": False})
    begun = time.monotonic()
    program = start(bus)
    lines = say.opening(FIRST, SECOND, last=FIRST, external=SEEN)
    until(lambda: home.log.last_run()[:len(lines)] == lines, "the end of start-up")
    asleep = time.monotonic()
    program.send(signal.SIGSTOP)
    early = home.log.last_run()[len(lines):]  # the initial refresh, on a machine that is very slow
    for _ in range(100):
        orders.give("route replace default dev wlan", "route replace default dev lan")
    orders.give("address add 192.0.2.8/24 dev lan", "route replace default dev wlan")
    for _ in range(3):
        bus.post(*PREFERENCES_CHANGED)
    time.sleep(max(0.0, asleep + ASLEEP - time.monotonic()))
    assert time.monotonic() - begun > 2  # so that the refresh was due
    program.send(signal.SIGCONT)

    status_area.wait_for_title(SECOND)
    now = (SECOND, FIRST, "192.0.2.8")
    refreshes = 4 + (0 if early else 1)  # the changes' one, the notifications' and the timer's
    expected = [*say.refresh(*now, last=FIRST),
                *(refreshes - 1) * say.refresh(*now, last=SECOND)]
    until(lambda: len(home.log.last_run()) >= len(lines + early + expected), "all refreshes")
    # Which of them is the first, and so finds another address, is not said.
    assert Counter(home.log.last_run()) == Counter(lines + early + expected)
    stays(lambda: len(home.log.last_run()) == len(lines + early + expected), "no further refresh",
          during=0.3)
    assert home.settings()["LastIPAddress"] == SECOND
    assert program.stop() == 0


def test_an_hours_sleep_is_one_poll(tmp_path, home, bus, status_area, start, say):
    """Ten polls and twelve clearings of the external address would have been due."""
    clock = FakeClock(tmp_path, also_monotonic=True)
    program = start(bus, None, clock.environment)
    lines = say.opening(FIRST, SECOND, last=FIRST, external=SEEN, watched=SEEN)
    wait_for(home.log, lines)
    program.send(signal.SIGSTOP)
    clock.shift(HOUR)
    program.send(signal.SIGCONT)
    status_area.wait_for_title(FIRST)  # whoever asks wakes it, as the end of a sleep does
    # Both are due; which of them is the first is not said.
    either = [[CLEARING, *say.poll(SEEN, SEEN)], [*say.poll(SEEN, SEEN, COPYING), CLEARING]]
    until(lambda: len(home.log.last_run()) >= len(lines + either[0]), "a poll and a clearing")
    stays(lambda: len(home.log.last_run()) == len(lines + either[0]), "no second one", during=0.3)
    assert without_dates(home.log.last_run()[len(lines):]) in either
    assert program.stop() == 0
