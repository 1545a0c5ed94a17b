# SPDX-License-Identifier: GPL-3.0-or-later
"""The private world that a measurement takes place in: processes, network, session bus.

Built from the same parts as the worlds of the system tests (tests/system/harness).
"""

import argparse
import contextlib
import os
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(ROOT / "tests" / "system"))

# The measurements take their parts from here, where the path to them is known.
from gi.repository import Gio, GLib  # noqa: E402
from harness.bus import Bus, Listening  # noqa: E402
from harness.desktop import Display  # noqa: E402, F401
from harness.home import Home  # noqa: E402
from harness.network import Network  # noqa: E402
from harness.panels import MATE_LAYOUT, MatePanel  # noqa: E402, F401
from harness.process import Process  # noqa: E402
from harness.program import Program  # noqa: E402
from harness.waiting import until  # noqa: E402

import counters  # noqa: E402

CABLE = "cable"  # the interface whose addresses are changed
ITEM = "/org/ayatana/NotificationItem/quillfen"
PROGRAMS = ["quillfen", *(f"bench_{name}" for name in (
    "floor", "changes", "starts", "menus", "log_lines", "wireless", "bare_tray"))]
# Seconds after a change until all is at rest that it set going: the pause of the kernel's listener
# between two batches, and the time in which a settings file just stored counts as unfinished.
REST = 0.07
FLOOR_ITEM = "/org/ayatana/NotificationItem/floor"
WATCHER = "org.kde.StatusNotifierWatcher"
WATCHER_INTERFACE = f"""
<node><interface name="{WATCHER}">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
</interface></node>"""


def arguments(description, *more):
    """The command line, read. Runs the rest of the script in namespaces of its own: what it
    starts, mounts or plugs in is gone when it ends, however it ends.

    more: further options, as pairs of a name and the keywords of add_argument.
    """
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("build", type=Path,
                        help="the build folder; its programs are in bin/ (see bench/README.md)")
    parser.add_argument("--json", type=Path, help="a file for the results, for bench/all")
    for name, keywords in more:
        parser.add_argument(name, **keywords)
    options = parser.parse_args()
    for name in PROGRAMS:
        if not os.access(options.build / "bin" / name, os.X_OK):
            parser.error(f"no {options.build}/bin/{name}: see bench/README.md for how to build")
    if os.getpid() != 1:
        _begin_again_inside()
    with contextlib.suppress(PermissionError):
        # As on a machine with nothing else to do: all that is measured, floors and peers too, goes
        # before whatever runs here beside it. (A nice value would count within a session only.)
        os.sched_setscheduler(0, os.SCHED_RR, os.sched_param(1))
    options.build = options.build.resolve()
    return options


def _begin_again_inside():
    user = [] if os.geteuid() == 0 else ["--user", "--map-root-user"]
    os.makedirs("/tmp/.X11-unix", mode=0o1777, exist_ok=True)
    inside = "mount -t tmpfs tmpfs /mnt; mount -t tmpfs tmpfs /tmp/.X11-unix; exec \"$@\""
    os.execvp("unshare", ["unshare", *user, "--pid", "--fork", "--kill-child", "--mount",
                          "--mount-proc", "--net", "--", "env", "TMPDIR=/mnt", "sh", "-ec",
                          inside, "sh", "/usr/bin/python3", *sys.argv])


class QuietWatcher:
    """Takes registrations of status items and does nothing else, so that it costs nothing."""

    def __init__(self, bus):
        self._listening = Listening()
        connection = bus.connect()
        self.registered = 0
        connection.register_object("/StatusNotifierWatcher",
                                   Gio.DBusNodeInfo.new_for_xml(WATCHER_INTERFACE).interfaces[0],
                                   self._called, None, None)
        connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus",
                             "org.freedesktop.DBus", "RequestName",
                             GLib.Variant("(su)", (WATCHER, 0)), None,
                             Gio.DBusCallFlags.NONE, 5000, None)

    def close(self):
        self._listening.close()

    def _called(self, _connection, _sender, _path, _interface, _method, _arguments, invocation):
        self.registered += 1
        invocation.return_value(None)


class Turns:
    """Several processes of which one at a time runs, so that none disturbs the others' numbers."""

    def __init__(self, processes):
        for process in processes:
            process.send(signal.SIGSTOP)

    @contextlib.contextmanager
    def of(self, process):
        """The turn of process: it runs, and is at rest when it begins."""
        process.send(signal.SIGCONT)
        counters.rest(process.pid)
        yield process.pid
        process.send(signal.SIGSTOP)


class World:
    """A network with one cable, a session bus, and the programs in them.

    The session's own processes and the user's programs have a home each.
    """

    def __init__(self, build):
        self._bin = build / "bin"
        self._stack = contextlib.ExitStack()
        folder = Path(self._stack.enter_context(tempfile.TemporaryDirectory()))
        self.session = Home(folder / "session")
        self.home = Home(folder / "home")
        self.home.set({"Initial Refresh": 1})
        self.bus = self._closing(Bus(self.session))
        self.network = self._closing(Network(folder / "network"))
        self.network.cable(CABLE)
        self.address = 0  # index of the first address on the cable, see AddressChanger.h
        self.changes(CABLE, "add", self.address, 1)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._stack.close()

    def add(self, part, ending="close"):
        """Takes part into the world: its method named ending is called at the end."""
        self._stack.callback(getattr(part, ending))
        return part

    def _closing(self, part):
        return self.add(part)

    def start_program(self, display=None):
        """quillfen, at rest again after its start and the refresh that follows it."""
        program = Program(self.path("quillfen"), self.home, self.network, self.bus, display,
                          more=display and self._user_environment(display))
        self.add(program, ending="kill")
        self.home.log.wait_for_line("Checking internal IP", count=3)
        return program

    def start_bare_tray(self, display):
        """The bare Qt program."""
        return self.start("bare-tray", display, self.path("bench_bare_tray"))

    def start_bare_indicator(self, display):
        """The bare indicator in Python."""
        return self.start("bare-indicator", display, "/usr/bin/python3",
                          ROOT / "bench" / "bare_indicator.py")

    def start(self, name, display, *argv):
        """Another program of the user's, as quillfen is one, called name."""
        return self.add(Process([*self.network.enter(), *argv], self._user_environment(display),
                                self.session.folder / f"{name}.txt"), ending="kill")

    def path(self, name):
        """Where in the build folder a program is."""
        return self._bin / name

    def start_floor(self):
        floor = self.add(
            Process([*self.network.enter(), self.path("bench_floor"), FLOOR_ITEM],
                    self._environment(), self.session.folder / "floor.txt"), ending="kill")
        until(lambda: "ready" in floor.text(), lambda: f"the floor: {floor.text()}")
        return floor

    def time_changes(self, item, count, pause=REST):
        """Changes the first address count times, one after the other, at least pause apart.

        @returns what bench_changes tells: a name and a tuple of numbers a line.
        """
        return self._change_first_address("time", item, count, round(1000 * pause))

    def storm(self, item, count):
        """Changes the first address count times as fast as the kernel takes it.

        @returns what bench_changes tells: a dictionary from names to tuples of numbers.
        """
        return dict(self._change_first_address("storm", item, count))

    def _change_first_address(self, order, item, count, *more):
        lines = self.changes(CABLE, order, item, self.address, count, *more)
        self.address = int(dict(lines)["address"][0])
        return lines

    def changes(self, *words):
        """Runs bench_changes and gives its lines."""
        ran = subprocess.run(
            [*self.network.enter(), self.path("bench_changes"), *map(str, words)],
            env=self._environment(), stdout=subprocess.PIPE, text=True, check=False)
        if ran.returncode != 0:
            raise RuntimeError("bench_changes broke off")
        lines = [line.split() for line in ran.stdout.splitlines()]
        return [(name, tuple(map(float, numbers))) for name, *numbers in lines]

    def _environment(self):
        return self.session.environment(DBUS_SESSION_BUS_ADDRESS=self.bus.address)

    def _user_environment(self, display):
        return self.home.environment(
            DBUS_SESSION_BUS_ADDRESS=self.bus.address, DISPLAY=display.name, NO_AT_BRIDGE="1",
            XDG_SESSION_TYPE="x11")
