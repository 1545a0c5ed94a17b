# SPDX-License-Identifier: GPL-3.0-or-later
"""A user's home: folders, settings, log. It outlives the runs of the program in it."""

import json
import os
import re
import tempfile
import time
from pathlib import Path

from .waiting import until

STAMPED = re.compile(r"\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d [+-]\d{4}\] (.*)")


class ActivityLog:
    """The log file, read without its time stamps."""

    def __init__(self, path):
        self.path = path

    def lines(self):
        """The finished lines so far; none when there is no file."""
        if not self.path.is_file():
            return []
        text = self.path.read_text(encoding="utf-8")
        return [self._unstamped(line) for line in text.split("\n")[:-1]]

    @staticmethod
    def _unstamped(line):
        match = STAMPED.fullmatch(line)
        assert match or not line, f"a line without a time stamp: {line!r}"
        return match[1] if match else ""

    def last_run(self):
        """The lines from the last start marker on."""
        lines = self.lines()
        starts = [number for number, line in enumerate(lines) if line == "start"]
        return lines[starts[-1]:] if starts else []

    def wait_for_line(self, text, deadline=10.0, count=1):
        """Waits until the last run has the line text count times; deadline in seconds."""
        until(lambda: self.last_run().count(text) >= count,
              lambda: f"{count} times {text!r} in the log; it holds\n" + "\n".join(self.lines()),
              deadline)


class Home:
    """Private folders, and the environment that makes them a program's own."""

    def __init__(self, folder):
        folder.mkdir()
        self.folder = folder
        self.runtime = Path(tempfile.mkdtemp())  # short enough for sockets, mode 0700
        self.config = folder / "config"
        self.data = folder / "data"
        self.settings_file = self.config / "com.corvane.Quillfen" / "settings.json"
        self.log = ActivityLog(self.data / "Corvane Software" / "Quillfen" / "Quillfen.log")

    def environment(self, **more):
        """The whole environment of a program that runs here."""
        return {"HOME": str(self.folder), "XDG_CONFIG_HOME": str(self.config),
                "XDG_DATA_HOME": str(self.data), "XDG_CACHE_HOME": str(self.folder / "cache"),
                "XDG_STATE_HOME": str(self.folder / "state"),
                "XDG_RUNTIME_DIR": str(self.runtime), "TMPDIR": str(self.runtime),
                "PATH": "/usr/local/bin:/usr/bin:/bin:/usr/sbin:/sbin", "LANG": "C.UTF-8",
                **more}

    def settings(self):
        """What the settings file holds; it must parse."""
        return json.loads(self.settings_file.read_text(encoding="utf-8"))

    def set(self, values):
        """Writes values over those in the settings file, as another process would."""
        known = self.settings() if self.settings_file.exists() else {}
        self.write_settings(json.dumps(known | values))

    def write_settings(self, text):
        """Makes text the whole contents of the settings file."""
        self.settings_file.parent.mkdir(parents=True, exist_ok=True)
        fresh = self.settings_file.with_suffix(".fresh")
        fresh.write_text(text, encoding="utf-8")
        os.replace(fresh, self.settings_file)

    def leave_settings(self, text):
        """As write_settings, but long enough ago that nobody can still be at it."""
        self.write_settings(text)
        written = self.settings_file.stat().st_ctime
        until(lambda: time.time() - written > 0.2, "a settings file of some age")
