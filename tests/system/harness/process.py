# SPDX-License-Identifier: GPL-3.0-or-later
"""One child process with its output in a file."""

import os
import signal
import subprocess

from .waiting import until

STOPPING = 10.0  # seconds that a process gets to end by itself


class Process:
    """A running child in a session of its own; its children end with it."""

    def __init__(self, argv, env, output, pass_fds=()):
        """Starts argv with exactly env; standard output and error go to the file output."""
        self.name = os.path.basename(argv[0])
        self.output = output
        with open(output, "wb") as sink:
            self._popen = subprocess.Popen(
                [str(word) for word in argv], env=env, stdin=subprocess.DEVNULL, stdout=sink,
                stderr=sink, start_new_session=True, pass_fds=pass_fds)

    @property
    def pid(self):
        return self._popen.pid

    def alive(self):
        return self._popen.poll() is None

    def text(self):
        """What the process has written so far."""
        return self.output.read_text(encoding="utf-8", errors="replace")

    def send(self, number):
        self._popen.send_signal(number)

    def exit_code(self, within=STOPPING):
        """Waits for the end. Negative: the signal that ended the process."""
        until(lambda: not self.alive(), lambda: f"{self.name} ended; it says:\n{self.text()}",
              within)
        return self._popen.returncode

    def kill(self):
        """Ends the process and its children at once."""
        try:
            os.killpg(self.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self._popen.wait()
