# SPDX-License-Identifier: GPL-3.0-or-later
"""What the real mail servers have in common that the tests send to.

Each listens on 127.0.0.1 and ::1 of a private network and delivers what it takes for DOMAIN and
INTERNATIONAL_DOMAIN to one mailbox. It knows one user, who logs in by PLAIN or LOGIN, over TLS but
for the port CLEAR, which has none and wants no login. It takes nothing for NOBODY, nothing yet for
GREYLISTED, nothing longer than MOST_OCTETS, and no text with the line REFUSED.
"""

import os
import shutil
import socket
import tempfile
from pathlib import Path

from .mail_box import MailBox
from .process import Process
from .waiting import until

STARTTLS, IMPLICIT, CLEAR = 587, 465, 25  # ports
USER, PASSWORD = "quill", "pa ss€é:wörd\\%$"
DOMAIN, INTERNATIONAL_DOMAIN = "example.org", "xn--bcher-kva.example"
NOBODY, GREYLISTED = f"nobody-here@{DOMAIN}", f"grey@{DOMAIN}"
MOST_OCTETS = 51_200
REFUSED = "A line that no server takes."

# Where scripts/test unpacks the packages of the servers, each into a folder of its name.
PACKAGES = Path(__file__).parents[3] / "build" / "mail-servers"

# The accounts that the servers insist on; no machine has all of them.
ACCOUNTS = {"nobody": 65534, "Debian-exim": 901, "postfix": 902, "postdrop": 903}
PASSWD = "root:x:0:0::/:/bin/sh\n" + "".join(
    f"{name}:x:{number}:{number}::/:/bin/false\n" for name, number in ACCOUNTS.items())
GROUP = "root:x:0:\n" + "".join(f"{name}:x:{number}:\n" for name, number in ACCOUNTS.items())


def unpacked(package):
    """The folder with the files of a package, which need not be installed."""
    folder = PACKAGES / package
    assert folder.is_dir(), f"{folder} is missing; scripts/test gets it"
    return folder


class MailServer:
    """What is common to all kinds: a server in a folder of its own, which is gone with it."""

    QUEUED = ""    # its last reply to a mail that it has taken, a pattern
    ENVELOPE = ""  # the header field in which it tells for whom it has taken a mail

    def __init__(self, network, authority, package, account):
        self.network = network
        self.authority = authority.authority  # the certificate that its clients are to trust
        self._package = unpacked(package)
        self._account = account
        self._process = None
        # Not below a test's folder: paths of sockets must be short, and accounts of its own that
        # own files there would keep a user from removing them.
        self.folder = Path(tempfile.mkdtemp())
        self.folder.chmod(0o755)
        # Where its package stands while it runs: a place that its account can reach.
        self.installed = self.folder / "installed"
        self.installed.mkdir()
        self.log = self.write("log/main", "", own=True)
        self.own("log")
        (self.folder / "mail").mkdir()
        self.own("mail")
        self.box = MailBox(self.folder / "mail" / "box")

    def write(self, name, text, own=False):
        """Writes a file of the folder, by default one that only we may change."""
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        if own:
            self.own(name)
        return path

    def own(self, name):
        """Gives a file or folder to the server's account, and nobody else looks into it."""
        path = self.folder / name
        os.chown(path, ACCOUNTS[self._account], ACCOUNTS[self._account])
        path.chmod(0o700 if path.is_dir() else 0o600)

    def start(self, *argv, **environment):
        """Runs the server in the foreground, on a machine that has it and its accounts."""
        binds = "; ".join(f"mount --bind '{source}' {target}" for source, target in (
            (self._package, self.installed), (self.write("passwd", PASSWD), "/etc/passwd"),
            (self.write("group", GROUP), "/etc/group")))
        self._process = Process(
            [*self.network.enter(), "unshare", "--mount", "sh", "-ec", f'{binds}; exec "$@"',
             "sh", *argv],
            {"PATH": "/usr/bin:/bin:/usr/sbin:/sbin", **environment}, self.folder / "output")
        until(self._greets, lambda: f"a mail server: {self._process.text()}{self.log_text()}",
              within=30)

    def _greets(self):
        assert self._process.alive(), f"{self._process.text()}{self.log_text()}"
        with self.network.inside(lambda: socket.socket(socket.AF_INET6)) as there:
            there.settimeout(10)
            try:
                there.connect(("::1", STARTTLS))
                return there.recv(4) == b"220 "
            except OSError:
                return False

    def log_text(self):
        return self.log.read_text(encoding="utf-8", errors="replace")

    def close(self):
        if self._process:
            self._process.kill()
        # What somebody may still be writing goes with the memory disk that all of this is on.
        shutil.rmtree(self.folder, ignore_errors=True)
