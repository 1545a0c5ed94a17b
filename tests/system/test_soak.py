# SPDX-License-Identifier: GPL-3.0-or-later
"""A long life in a short time: nothing grows, and nothing is forgotten or said twice.

QUILLFEN_SOAK_MINUTES says how long it takes (2 when it says nothing). The long form is 20.
"""

import os
import random
import time
from collections import Counter

import pytest
from gi.repository import GLib

from harness.life import FAILED, LAN, Life, Machine
from harness.log_tail import LogTail
from harness.lookup_service import LookupService, answer, page
from harness.mail_certificates import Authority
from harness.mail_exim import Exim
from harness.mail_server import PASSWORD, STARTTLS, USER
from harness.mail_transcript import USUAL_STAGES
from harness.orders import Orders
from harness.session_item import SessionItem
from harness.transcript import Transcript
from harness.vital_signs import vital_signs
from harness.waiting import until

MINUTES = float(os.environ.get("QUILLFEN_SOAK_MINUTES", "2"))
CHANGES, OPENINGS, SAVES = 3000, 100, 25  # in a minute
FIRST_CHANGES = 0.1    # the share of the changes that bring another first address, and so a mail
IN_A_CYCLE = 10        # saves; of these
BY_WINDOW = 1          # this one is made in the window, and
POLLING = (0, 1, 2, 5, 6, 7)  # with these the external address is asked for.
USELESS_AGAIN, USELESS_FIRST = 75, 10  # the lookup service is of no use for ten of so many saves
SAMPLES = 20
SETTLED = 1 if MINUTES >= 20 else 4  # the sample from which on nothing may grow any more
ALLOWED_GROWTH = 256   # KiB of memory that may come to others all the same
NOTIFIER = 192         # bytes for each mail: what sent it stays
WINDOW = "Quillfen Preferences"
PREFERENCES_CHANGED = ("Preferences Changed", "com.corvane.preference.Quillfen")
LOOKUPS = ("Downloading URL: ", "External ip = ", "Copying external IP address... ")
EXTERNAL = ["203.0.113.7", "203.0.113.8", "203.0.113.9"]
USELESS = [b"", answer(b"no address here"), answer(b"away", "503 Service Unavailable")]


@pytest.fixture
def service(network):
    lookup = LookupService(network)
    lookup.release()
    yield lookup
    lookup.close()


@pytest.fixture
def server(network, tmp_path):
    started = Exim(network, Authority(tmp_path))
    yield started
    started.close()


@pytest.fixture
def orders(network):
    given = Orders(network)
    yield given
    given.close()


@pytest.fixture
def life(home, network, orders, service, version):
    def say(address):
        service.answers(random.choice(USELESS) if address == FAILED else answer(page(address)))
    machine = Machine(network, orders)
    home.log.path.parent.mkdir(parents=True)
    home.log.path.touch()
    tail = LogTail(home.log.path)
    lived = Life(home, machine, tail, Transcript(version), say)
    lived.begins_with({
        "Initial Refresh": 86400, "LastIPAddress": LAN, "ExternalAddressService": service.url,
        "SendEmailNotifications": True, "MailServer": "localhost", "Port": str(STARTTLS),
        "Authentication": 1, "Username": USER, "UserPassword": PASSWORD, "Email": "a@example.org",
        "TitleIconOnly": False, "IncludeMachineName": False, "IncludeExternalIP": False,
        "IncludeCurrentWirelessNetwork": False,
        "EmailChangesToExternalIPAddress": False, "MinutesInterval": 6,
        "DisplayChangedIconWhenAddressChangeDetected": True})
    yield lived
    tail.close()


class User:
    """Who changes the settings: by a program of theirs, or in the window."""

    def __init__(self, bus, display, home, item):
        self._bus = bus.connect()
        self._display = display
        self._home = home
        self._item = item

    def announce(self):
        self._bus.emit_signal(None, "/com/corvane/DistributedNotificationCenter",
                              "com.corvane.DistributedNotificationCenter", "Posted",
                              GLib.Variant("(ss)", PREFERENCES_CHANGED))
        self._bus.flush_sync(None)

    def tick_machine_name(self):
        before = self._home.settings()["IncludeMachineName"]
        self._item.choose("Preferences...")
        until(lambda: self._display.has_keyboard(WINDOW), "the window with the keyboard", within=30)
        self._display.press("alt+n")
        until(lambda: self._home.settings()["IncludeMachineName"] != before, "the box's setting")
        self._display.press("Escape")


class Soak:
    """Lets it all happen, and measures meanwhile."""

    def __init__(self, program, life, item, user, home):
        self._program = program
        self._life = life
        self._item = item
        self._user = user
        self._home = home
        self._saves = 0
        self._counts = Counter()
        self._begun = time.monotonic()
        self.samples = []  # (seconds, counts of the events so far, vital signs)

    def live_through(self, events):
        for number, event in enumerate(events, 1):
            due = self._begun + 60 * MINUTES * number / len(events)
            time.sleep(max(0.0, due - time.monotonic()))
            getattr(self, event)()
            self._counts[event] += 1
            assert self._home.settings() == self._life.stored()
            if number * SAMPLES // len(events) > len(self.samples):
                self._sample()

    def change_first(self):
        self._life.told(self._life.changed_first())

    def change_others(self):
        self._life.told(self._life.changed_others(random))

    def open_menu(self):
        self._item.wait_for_title(self._life.title())
        self._life.told(self._life.opened_menu(self._item))

    def save(self):
        useless = self._saves % USELESS_AGAIN < USELESS_FIRST
        self._life.service_says(FAILED if useless else random.choice(EXTERNAL))
        if self._saves % IN_A_CYCLE == BY_WINDOW:
            self._item.wait_for_title(self._life.title())
            ticked = {"IncludeMachineName": not self._life.settings["IncludeMachineName"]}
            self._life.told(self._life.saved_by_window(ticked, self._user.tick_machine_name))
        else:
            self._life.told(self._life.saved(values(self._saves), self._user.announce))
        self._saves += 1

    def _sample(self):
        self._life.rest()
        signs = at_rest(self._program.pid)
        self.samples.append((time.monotonic() - self._begun, Counter(self._counts), signs))
        if len(self.samples) == 1:
            print("\nseconds  changes  menus  saves  mails"
                  "  private KiB  resident KiB  files  threads")
        print(f"{self.samples[-1][0]:7.0f} {self._changes():8} {self._counts['open_menu']:6} "
              f"{self._counts['save']:6} {len(self._life.mails):6} {signs.private_dirty:12} "
              f"{signs.resident:13} {signs.descriptors:6} {signs.threads:8}", flush=True)

    def _changes(self):
        return self._counts["change_first"] + self._counts["change_others"]


def at_rest(pid):
    """The vital signs, when threads that have done their errand are gone."""
    signs = [vital_signs(pid)]

    def still():
        signs.append(vital_signs(pid))
        return len(signs) > 20 and len({(one.descriptors, one.threads) for one in signs[-20:]}) == 1
    until(still, "as many files and threads as a moment before")
    return signs[-1]


def events():
    """What is to happen, as names of methods of Soak, in the order of the dice."""
    changes = round(MINUTES * CHANGES)
    first = round(changes * FIRST_CHANGES)
    drawn = (["change_first"] * first + ["change_others"] * (changes - first)
             + ["open_menu"] * round(MINUTES * OPENINGS) + ["save"] * round(MINUTES * SAVES))
    random.shuffle(drawn)
    return drawn


def values(number):
    """What the save of that number stores."""
    return {"EmailChangesToExternalIPAddress": number % IN_A_CYCLE in POLLING,
            "IncludeMachineName": number % 2 == 0, "TitleIconOnly": number % 7 == 3,
            "IncludeExternalIP": number % 3 == 0, "MinutesInterval": 6 + number % 500,
            "DisplayChangedIconWhenAddressChangeDetected": number % 4 != 0}


def test_a_long_life(home, bus, display, mate, screen_of, start, server, life):
    random.seed(1)
    mate.start_watcher()
    mate.start_panel()
    screen = screen_of(mate)
    program = start(bus, display, {"SSL_CERT_FILE": str(server.authority)})
    life.told(life.opening())
    item = SessionItem(bus, program.pid)
    item.wait_for_title(LAN)
    screen.wait_for_text(LAN)
    user = User(bus, display, home, item)
    soak = Soak(program, life, item, user, home)
    soak.live_through(events())

    # It is still what it was: what the panel shows follows, and so does the end.
    life.told(life.saved({"TitleIconOnly": False}, user.announce))
    screen.wait_for_text(life.first())
    life.rest()
    assert program.stop() == 0
    life.told(["stop"])
    assert_nothing_grows(soak.samples, len(life.mails))
    assert_mails_are_there(server.box, life)
    assert_whole(home.log.path)
    assert complaints(program.console(), home.log) == []


def assert_nothing_grows(samples, mails):
    """From the sample SETTLED on. Files and threads that come and go may be there, or not."""
    settled = [signs for _, _, signs in samples[:SETTLED + 1]]
    descriptors = max(signs.descriptors for signs in settled)
    threads = max(signs.threads for signs in settled)
    memory = settled[-1].private_dirty + ALLOWED_GROWTH + mails * NOTIFIER // 1024
    for seconds, _, signs in samples[SETTLED:]:
        when = f"after {seconds:.0f} s"
        assert signs.descriptors <= descriptors, when
        assert signs.threads <= threads, when
        assert signs.private_dirty <= memory, when


def assert_mails_are_there(box, life):
    assert life.stages == Counter(len(life.mails) * USUAL_STAGES)
    until(lambda: box.count() >= len(life.mails), "all mails", within=120)
    came = Counter((mail.field("To"), mail.body.decode().rstrip("\n"))
                   for mail in box.take(len(life.mails)))
    assert came == Counter(life.mails)


def assert_whole(path):
    """Each line has its line end and a time stamp, and time does not run backwards."""
    text = path.read_bytes()
    assert text.endswith(b" stop\n")
    stamps = [line[:len("[2026-01-01 00:00:00 +0000]")] for line in text.splitlines()]
    assert stamps == sorted(stamps)


def complaints(console, log):
    """What the console says, and the log does not, but for what is told of each lookup."""
    said = {line.partition("] ")[2] or line for line in console.splitlines()}
    return [line for line in sorted(said - set(log.lines())) if not line.startswith(LOOKUPS)]
