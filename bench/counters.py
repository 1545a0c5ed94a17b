# SPDX-License-Identifier: GPL-3.0-or-later
"""What the kernel knows about a running process: wake-ups, processor time, memory."""

import os
import re
import time
from pathlib import Path

# A process counts as at rest when it used no processor time for so many seconds.
REST = 1.0
MAPPING = re.compile(r"[0-9a-f]+-[0-9a-f]+ \S+ \S+ \S+ \S+ *(.*)")


def wake_ups(pid):
    """How often the threads that live now began to wait: voluntary context switches, summed."""
    return sum(wake_ups_by_thread(pid).values())


def wake_ups_by_thread(pid):
    """The same for each thread, called by its name and number."""
    return {f"{(task / 'comm').read_text(encoding='utf-8').strip()}/{task.name}":
            _number(task / "status", "voluntary_ctxt_switches") for task in _tasks(pid)}


def processor_time(pid):
    """Seconds that all threads have used, those that have ended too, in steps of nanoseconds."""
    return time.clock_gettime(~pid << 3 | 2)  # CPUCLOCK_SCHED of a process, clock_getcpuclockid(3)


def memory(pid):
    """Private dirty, proportional and resident memory in KiB."""
    rollup = Path(f"/proc/{pid}/smaps_rollup")
    return {name: _number(rollup, name) for name in ("Private_Dirty", "Pss", "Rss")}


def threads(pid):
    """How many there are."""
    return len(_tasks(pid))


def private_dirty_by_mapping(pid):
    """Pairs of what is mapped (a file's name, [heap], "anonymous") and KiB, largest first."""
    found = {}
    name = ""
    for line in Path(f"/proc/{pid}/smaps").read_text(encoding="utf-8").splitlines():
        if mapping := MAPPING.fullmatch(line):
            name = os.path.basename(mapping[1]) or "anonymous"
        elif line.startswith("Private_Dirty:"):
            found[name] = found.get(name, 0) + int(line.split()[1])
    return sorted(found.items(), key=lambda pair: -pair[1])


def rest(pid, within=120.0):
    """Waits until the process does nothing any more."""
    deadline = time.monotonic() + within
    used, since = processor_time(pid), time.monotonic()
    while time.monotonic() - since < REST:
        if time.monotonic() > deadline:
            raise TimeoutError(f"process {pid} is still busy after {within} s")
        time.sleep(REST / 10)
        if (now := processor_time(pid)) != used:
            used, since = now, time.monotonic()


def _tasks(pid):
    return list(Path(f"/proc/{pid}/task").iterdir())


def _number(path, name):
    for line in path.read_text(encoding="ascii").splitlines():
        if line.startswith(name + ":"):
            return int(line.split()[1])
    raise KeyError(f"{name} in {path}")
