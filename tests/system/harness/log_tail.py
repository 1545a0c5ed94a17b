# SPDX-License-Identifier: GPL-3.0-or-later
"""The activity log, read along while it is written."""

from .home import STAMPED
from .waiting import until

PAUSE = 0.0005  # seconds between two looks: whoever reads along wants the line when it is there


class LogTail:
    """Takes one finished line after the other, each once, with its time stamp taken off."""

    def __init__(self, path):
        self._file = open(path, "rb")
        self._rest = b""
        self._lines = []
        self.count = 0  # lines taken so far

    def close(self):
        self._file.close()

    def take(self, within=20.0):
        """The next line, which has to come within so many seconds."""
        if not self._lines:
            until(self._read, lambda: f"another line after the first {self.count}", within, PAUSE)
        self.count += 1
        return self._lines.pop(0)

    def waiting(self):
        """How many lines are there to be taken."""
        self._read()
        return len(self._lines)

    def _read(self):
        *lines, self._rest = (self._rest + self._file.read()).split(b"\n")
        self._lines += map(unstamped, lines)
        return lines


def unstamped(line):
    """A line's text. Every line has a time stamp, and is UTF-8."""
    match = STAMPED.fullmatch(line.decode())
    assert match, f"a line without a time stamp: {line!r}"
    return match[1]
