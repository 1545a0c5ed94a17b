# SPDX-License-Identifier: GPL-3.0-or-later
"""How long the program takes to answer on the bus while it is busy."""

import threading
import time


class Reader:
    """Reads the item's title from the bus without a pause, and keeps the longest answer.

    The time that the program stood in line for a processor, behind other processes, does not
    count. In turns with it, asks the bus itself. How long that takes at most, for each of the times
    that the program's answer changes hands more often than the bus's, is this machine's noise.
    """

    HANDS = 3  # to the program's thread for the bus, to its main thread, and back

    def __init__(self, status_area, program):
        self._status_area = status_area
        self._program = program
        self._ended = threading.Event()
        self._thread = threading.Thread(target=self._read, daemon=True)
        self.count = 0
        self.longest = 0.0  # seconds
        self.noise = 0.0    # seconds
        self._thread.start()

    def _read(self):
        while not self._ended.is_set():
            in_line = self._program.seconds_in_line()
            answer = duration(self._status_area.title)
            in_line = self._program.seconds_in_line() - in_line
            self.longest = max(self.longest, answer - in_line)
            bus = duration(self._status_area.ask_bus)
            self.noise = max(self.noise, self.HANDS * bus)
            self.count += 1

    def stop(self):
        self._ended.set()
        self._thread.join()


def duration(call):
    """How long call() takes, in seconds."""
    begun = time.monotonic()
    call()
    return time.monotonic() - begun
