# SPDX-License-Identifier: GPL-3.0-or-later
"""The real program, running."""

import signal
from pathlib import Path

from .process import Process

NOBODY_THERE = "unix:path=/nonexistent/bus"


def environment(home, bus=None, more=None):
    """The whole environment of a run in a home and, where there is one, on a bus."""
    address = bus.address if bus else NOBODY_THERE
    return home.environment(DBUS_SESSION_BUS_ADDRESS=address) | (more or {})


class Program:
    """One run of the binary in a home, a network and, where they exist, on a bus and a display."""

    def __init__(self, binary, home, network, bus=None, display=None, number=1, more=None,
                 arguments=()):
        """number tells runs in one home apart: it names the file with the console's text.
        more: variables of its environment beside those that all of this brings.
        """
        on_display = {"DISPLAY": display.name} if display else {}
        self.home = home
        self.log = home.log
        self._process = Process([*network.enter(), binary, *arguments],
                                environment(home, bus, on_display | (more or {})),
                                home.folder / f"console-{number}.txt")

    @property
    def pid(self):
        return self._process.pid

    def alive(self):
        return self._process.alive()

    def console(self):
        """What the program has told the system console."""
        return self._process.text()

    def send(self, number):
        self._process.send(number)

    def exit_code(self, within=10.0):
        """Waits for the end by itself. Negative: the signal that ended the program."""
        return self._process.exit_code(within)

    def stop(self, number=signal.SIGTERM):
        """Asks the program to end and gives its exit code."""
        self.send(number)
        return self.exit_code()

    def kill(self):
        self._process.kill()

    def private_dirty(self):
        """The memory that is this process's own, in KiB."""
        with open(f"/proc/{self.pid}/smaps_rollup", encoding="ascii") as rollup:
            return next(int(line.split()[1]) for line in rollup
                        if line.startswith("Private_Dirty:"))

    def seconds_in_line(self):
        """How long its main thread has been ready to run while others had the processors.

        From the kernel's scheduler statistics, /proc/<pid>/schedstat.
        """
        waited = Path(f"/proc/{self.pid}/schedstat").read_text(encoding="ascii").split()[1]
        return int(waited) / 1e9

    def children(self):
        """How many processes it has now that are its children; at least 1 if it ever had any.

        Those that it has waited for left their page faults behind (proc(5), cminflt).
        """
        stat = Path(f"/proc/{self.pid}/stat").read_text(encoding="ascii", errors="replace")
        faults = int(stat.rpartition(")")[2].split()[8])
        now = sum(len(tasks.read_text(encoding="ascii").split())
                  for tasks in Path(f"/proc/{self.pid}/task").glob("*/children"))
        return now or min(faults, 1)
