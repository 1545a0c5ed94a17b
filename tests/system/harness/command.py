# SPDX-License-Identifier: GPL-3.0-or-later
"""A command that does one thing and ends."""

import subprocess
import time
from typing import NamedTuple

# In front of a command: it then starts with its standard output closed.
WITHOUT_OUTPUT = ("/bin/sh", "-c", 'exec "$@" >&-', "sh")


class Finished(NamedTuple):
    """What it left behind."""

    status: int     # its exit status
    out: str        # standard output
    error: str      # standard error
    seconds: float  # from start to end

    def complaint(self):
        """The one line on standard error of a command that failed and printed nothing."""
        assert self.out == "" and self.error.endswith("\n") and self.error.count("\n") == 1, self
        return self.error[:-1]


def finish(argv, environment, stdout=None):
    """Runs argv with exactly that environment to its end; stdout: a file to print into."""
    began = time.monotonic()
    done = subprocess.run([str(word) for word in argv], env=environment, timeout=60,
                          stdin=subprocess.DEVNULL, stdout=stdout or subprocess.PIPE,
                          stderr=subprocess.PIPE)
    took = time.monotonic() - began
    return Finished(done.returncode, (done.stdout or b"").decode(), done.stderr.decode(), took)
