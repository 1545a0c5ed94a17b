# SPDX-License-Identifier: GPL-3.0-or-later
"""A clock for one program, which can be set while it runs. The machine's own is left alone."""

import os

LIBRARY = "/usr/$LIB/faketime/libfaketime.so.1"


class FakeClock:
    """faketime(1) reads the time difference from a file of ours at each look at the clock."""

    def __init__(self, folder, also_monotonic=False, also_of_files=True):
        """Besides the time of day, the clock that no one can set (also_monotonic) may be the fake
        one, and the times of files as the program sees them (also_of_files)."""
        self._file = folder / "time"
        self.shift(0)
        self.environment = {
            "LD_PRELOAD": LIBRARY, "FAKETIME_TIMESTAMP_FILE": str(self._file),
            "FAKETIME_NO_CACHE": "1", "FAKETIME_DONT_FAKE_MONOTONIC": str(int(not also_monotonic)),
            "NO_FAKE_STAT": str(int(not also_of_files))}
        if also_of_files:
            del self.environment["NO_FAKE_STAT"]

    def shift(self, seconds):
        """From now on, the time is seconds later (or earlier) than it really is."""
        fresh = self._file.with_suffix(".fresh")
        fresh.write_text(f"{seconds:+d}s\n", encoding="ascii")
        os.replace(fresh, self._file)
