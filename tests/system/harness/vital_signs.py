# SPDX-License-Identifier: GPL-3.0-or-later
"""What a running process holds: memory, open files, threads."""

import contextlib
import os
from collections import namedtuple

# Memory in KiB.
VitalSigns = namedtuple("VitalSigns", "private_dirty resident descriptors threads")


def vital_signs(pid):
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as rollup:
        memory = {name: int(rest.split()[0]) for name, _, rest
                  in (line.partition(":") for line in rollup) if rest.endswith(" kB\n")}
    return VitalSigns(memory["Private_Dirty"], memory["Rss"],
                      len(os.listdir(f"/proc/{pid}/fd")), len(os.listdir(f"/proc/{pid}/task")))


def open_apart_from_settings(pid):
    """How many files the process has open. It holds its settings from their first reading on."""
    found = 0
    folder = f"/proc/{pid}/fd"
    for name in os.listdir(folder):
        with contextlib.suppress(FileNotFoundError):  # closed meanwhile
            found += not os.readlink(f"{folder}/{name}").endswith("/settings.json")
    return found


def waits(pid):
    """Whether the main thread sleeps, as it does between two events only (proc_pid_stat(5))."""
    with open(f"/proc/{pid}/stat", encoding="ascii", errors="replace") as stat:
        return stat.read().rpartition(") ")[2].startswith("S")
