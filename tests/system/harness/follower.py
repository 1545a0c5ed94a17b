# SPDX-License-Identifier: GPL-3.0-or-later
"""A bar that follows the program's status: the other end of quillfen --follow."""

import json
import subprocess
import threading
from pathlib import Path

from .waiting import until


class Follower:
    """Runs argv and reads its lines as they come."""

    def __init__(self, argv, environment):
        self._popen = subprocess.Popen(argv, env=environment, stdin=subprocess.DEVNULL,
                                       stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self._lines = []
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        try:
            for line in self._popen.stdout:
                self._lines.append(json.loads(line))
        except ValueError:
            pass  # closed by close_pipe()

    def lines(self):
        """Every line so far, as an object."""
        return list(self._lines)

    def wait_for(self, what):
        """Waits for a last line of which what(line) is true. @returns that line."""
        return until(lambda: next((line for line in self._lines[-1:] if what(line)), None),
                     lambda: f"another line; there are {self._lines}")

    def wait_for_text(self, text):
        return self.wait_for(lambda line: line["text"] == text)

    def exit_code(self):
        return self._popen.wait(20)

    def error(self):
        """What it has written to standard error by its end."""
        return self._popen.stderr.read().decode()

    def wakings(self):
        """How often its threads have gone to sleep so far."""
        statuses = Path(f"/proc/{self._popen.pid}/task").glob("*/status")
        return sum(int(line.split()[1]) for status in statuses
                   for line in status.read_text(encoding="ascii").splitlines()
                   if line.startswith("voluntary_ctxt_switches"))

    def close(self):
        self._popen.kill()
        self._popen.wait()
        self._reader.join()
        self._popen.stdout.close()
        self._popen.stderr.close()
