# SPDX-License-Identifier: GPL-3.0-or-later
"""Every method, property and signal that the program takes on the bus, with made-up arguments.

FUZZ_SECONDS says for how long (5), FUZZ_SEED repeats a run.
"""

import collections
import os
import random
import threading
import time
from pathlib import Path

from gi.repository import Gio, GLib

from harness.bus_objects import BUS, INTROSPECTABLE, PROPERTIES, ask, connections_of, offered
from harness.made_up import MadeUp
from harness.status_area import ITEM, MENU
from harness.waiting import until

SECONDS = float(os.environ.get("FUZZ_SECONDS", "5"))
SEED = int(os.environ.get("FUZZ_SEED", time.time_ns() % 1_000_000_000))
POSTED = ("/com/corvane/DistributedNotificationCenter",
          "com.corvane.DistributedNotificationCenter", "Posted")
SECRET = "Pfeffer&Salz-42"
AT_ONCE = 50       # calls that are under way together
ANSWER = 60_000    # milliseconds within which each has its answer
MOST_GROWTH = 48 * 1024  # KiB
ANSWERS = ("answer", *(f"org.freedesktop.DBus.Error.{reason}" for reason in (
    "InvalidArgs", "UnknownMethod", "UnknownInterface", "UnknownProperty", "PropertyReadOnly")))
# What a panel is told when no window came of the leave that it gave.
UNSPENT = (".ProvideXdgActivationToken(s)", "org.freedesktop.DBus.Error.Failed")


class Caller:
    """Sends calls without waiting, and counts their answers. Needs Listening."""

    def __init__(self, bus):
        self.connection = bus.connect()
        self.outcomes = collections.Counter()
        self.lost = []
        self.sent = 0
        self._under_way = 0
        self._changed = threading.Condition()

    def call(self, owner, path, interface, name, arguments):
        with self._changed:
            self._changed.wait_for(lambda: self._under_way < AT_ONCE, ANSWER / 1000)
            self._under_way += 1
        self.sent += 1
        message = Gio.DBusMessage.new_method_call(owner, path, interface, name)
        message.set_body(arguments)
        self.connection.send_message_with_reply(
            message, Gio.DBusSendMessageFlags.NONE, ANSWER, None, self._answered,
            f"{path} {interface}.{name}{arguments.get_type_string()}")

    def _answered(self, connection, result, what):
        try:
            answer = connection.send_message_with_reply_finish(result)
            outcome = answer.get_error_name() or "answer"
            body = answer.get_body()
            told = body.get_data_as_bytes().get_data() if body else b""
        except GLib.Error as error:
            outcome, told = error.message, b""
        unspent = what.endswith(UNSPENT[0]) and outcome == UNSPENT[1]
        if not (unspent or outcome in ANSWERS) or SECRET.encode() in told:
            self.lost.append(f"{what}: {outcome}")
        with self._changed:
            self.outcomes[outcome] += 1
            self._under_way -= 1
            self._changed.notify_all()

    def wait(self):
        """Waits until each call has come to its end."""
        with self._changed:
            assert self._changed.wait_for(lambda: self._under_way == 0, ANSWER / 1000 + 10), \
                f"{self._under_way} calls without an end"


class Fuzz:
    """One seeded run of calls and signals."""

    def __init__(self, caller, owners, made_up, seeded):
        self._caller = caller
        self._owners = owners
        self._random = seeded
        self._made_up = made_up
        self.methods, self.properties = [], []
        for owner in owners:
            methods, properties = offered(caller.connection, owner)
            self.methods += methods
            self.properties += properties
        made_up.strings += {member.name for member in self.methods + self.properties}
        made_up.strings += {member.interface for member in self.methods + self.properties}

    def call_each(self, arguments):
        """Calls every method there is, with what arguments(signature) gives."""
        for method in self.methods:
            self._caller.call(method.owner, method.path, method.interface, method.name,
                              arguments(method.signature))

    def call_any(self):
        method = self._random.choice(self.methods)
        kind = self._random.randrange(40)
        interface, name = method.interface, method.name
        arguments = self._made_up.arguments(method.signature)
        if kind < 12:
            arguments = self._made_up.wrong_arguments(method.signature)
        elif kind == 12:
            interface = None
        elif kind == 13:
            name = "Nobody"
        elif kind == 14:
            interface = "org.example.Nothing"
        elif kind == 15:
            arguments = self._made_up.huge(method.signature)
        self._caller.call(method.owner, method.path, interface, name, arguments)

    def touch_any_property(self):
        entry = self._random.choice(self.properties)
        place = (entry.owner, entry.path, PROPERTIES)
        which = (entry.interface, entry.name)
        kind = self._random.randrange(4)
        if kind == 0:
            wanted = entry.signature if self._random.random() < 0.5 else self._made_up.type()
            value = self._made_up.value(wanted)
            self._caller.call(*place, "Set", GLib.Variant.new_tuple(
                *[GLib.Variant("s", word) for word in which], GLib.Variant.new_variant(value)))
        elif kind == 1:
            self._caller.call(*place, "GetAll", GLib.Variant("(s)", (entry.interface,)))
        else:
            self._caller.call(*place, "Get", GLib.Variant("(ss)", which))

    def signal_any(self):
        """A signal that the program may listen for, to all or to it alone."""
        arguments = self._made_up.arguments("ss")
        path, interface, name = POSTED
        kind = self._random.randrange(5)
        if kind == 0:
            arguments = self._made_up.wrong_arguments("ss")
        elif kind == 1:
            arguments = GLib.Variant("(ss)", ("Preferences Changed",
                                              "com.corvane.preference.Quillfen"))
        elif kind == 2:  # which only the bus itself may say
            path, interface, name = "/org/freedesktop/DBus", BUS, "NameOwnerChanged"
            arguments = GLib.Variant("(sss)", ("org.kde.StatusNotifierWatcher", ":1.0", ""))
        receiver = self._random.choice([None, *self._owners])
        self._caller.connection.emit_signal(receiver, path, interface, name, arguments)

    def run(self, seconds):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            for _ in range(100):
                kind = self._random.randrange(10)
                if kind < 6:
                    self.call_any()
                elif kind < 9:
                    self.touch_any_property()
                else:
                    self.signal_any()
        self._caller.wait()


def descriptors(pid):
    return len(os.listdir(f"/proc/{pid}/fd"))


def threads(pid):
    return len(os.listdir(f"/proc/{pid}/task"))


def without_opener(folder):
    """Variables by which whatever the program opens in another program is opened by nobody."""
    folder.mkdir()
    opener = folder / "xdg-open"
    opener.write_text("#!/bin/sh\n")
    opener.chmod(0o755)
    return {"PATH": f"{folder}:/usr/bin:/bin:/usr/sbin:/sbin",
            "ASAN_OPTIONS": "quarantine_size_mb=4"}


def test_answers_whatever_it_is_called_with(tmp_path, home, bus, status_area, start):
    print(f"FUZZ_SEED={SEED}")
    seeded = random.Random(SEED)
    settings = {"ExternalAddressService": "http://127.0.0.1:1/", "IncludeExternalIP": True,
                "UserPassword": SECRET}
    home.set(settings)
    program = start(bus, more=without_opener(tmp_path / "opener"))
    until(status_area.labels, "the item's menu")

    caller = Caller(bus)
    numbers = {label: number for number, label in rows(caller.connection, status_area)}
    quit_row = numbers["Quit"]
    made_up = MadeUp(seeded, forbidden=[quit_row])
    made_up.numbers += [number for number in numbers.values() if number != quit_row]
    fuzz = Fuzz(caller, connections_of(caller.connection, program.pid), made_up, seeded)
    interfaces = {member.interface for member in fuzz.methods + fuzz.properties}
    assert interfaces >= {ITEM, MENU, "org.freedesktop.Application", PROPERTIES, INTROSPECTABLE,
                          "com.corvane.Quillfen.Status"}

    # Whatever is made on first use is there afterwards.
    fuzz.call_each(made_up.arguments)
    fuzz.call_each(made_up.huge)
    fuzz.run(SECONDS / 5)
    assert program.alive() and not caller.lost, caller.lost[:5]
    before = program.private_dirty(), descriptors(program.pid), threads(program.pid)
    fuzz.call_each(made_up.arguments)
    fuzz.call_each(made_up.wrong_arguments)
    fuzz.run(SECONDS)

    assert program.alive() and not caller.lost, caller.lost[:5]
    print(f"{caller.sent} calls: {dict(caller.outcomes)}; "
          f"{program.private_dirty() - before[0]} KiB more than before")
    assert status_area.ask("Id") == "quillfen"
    until(lambda: descriptors(program.pid) <= before[1] and threads(program.pid) <= before[2],
          lambda: f"{descriptors(program.pid)} descriptors and {threads(program.pid)} threads, "
                  f"as before: {before}", 60)
    assert program.private_dirty() <= before[0] + MOST_GROWTH
    known = home.settings()
    assert {key: known[key] for key in settings} == settings
    assert program.stop() == 0, program.console()
    assert home.log.lines()[-1] == "stop"


def rows(connection, status_area):
    """The (number, label) of each row of the item's menu that has a label."""
    owner, path = status_area.item()[0], status_area.ask("Menu")
    _, (_, _, children) = ask(connection, owner, path, MENU, "GetLayout",
                              GLib.Variant("(iias)", (0, -1, ["label"])))
    return [(number, properties["label"]) for number, properties, _ in children
            if "label" in properties]
