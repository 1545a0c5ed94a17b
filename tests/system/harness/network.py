# SPDX-License-Identifier: GPL-3.0-or-later
"""A private network: interfaces, routes, addresses, names. Gone with the object."""

import ctypes
import json
import os
import subprocess
import tempfile
import threading
import time
from pathlib import Path

from .process import Process
from .waiting import until

CLONE_NEWNET = 0x40000000  # sched.h
NAME_SERVER = Path(__file__).with_name("name_server.py")


class Network:
    """A network namespace, and a mount namespace for the way in which names are looked up there.

    Its only name server is 127.0.0.1, where at first nobody listens, so that a lookup fails at
    once.
    """

    def __init__(self, folder):
        folder.mkdir()
        self._folder = folder
        self._server = None
        self._etc = None
        binds = ""
        for name, text in (("resolv.conf", "nameserver 127.0.0.1\n"),
                           ("nsswitch.conf", "hosts: files dns\n")):
            (folder / name).write_text(text)
            # Where the file is missing, what we want is the default.
            binds += (f"target=$(readlink -f /etc/{name}); "
                      f"[ ! -e $target ] || mount --bind '{folder}/{name}' $target; ")
        # cat holds the namespaces; it ends with the pipe, that is with us at the latest.
        self._holder = subprocess.Popen(
            ["unshare", "--net", "--mount", "--propagation", "slave", "sh", "-ec",
             f"{binds} ip link set lo up; echo ready; exec cat"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        assert self._holder.stdout.readline() == b"ready\n", "the private network did not come up"

    def close(self):
        if self._server:
            self._server.kill()
        self._holder.stdin.close()
        self._holder.stdout.close()
        self._holder.wait()

    @property
    def pid(self):
        """A process that lives in the namespaces as long as they do."""
        return self._holder.pid

    def enter(self):
        """The words that start a command line inside this network."""
        return ["nsenter", f"--target={self.pid}", "--net", "--mount", "--root", "--"]

    def inside(self, work):
        """What work() gives when it is done in this network; sockets that it makes stay there."""
        results = []

        def move_and_work():
            with open(f"/proc/{self.pid}/ns/net", "rb") as here:
                libc = ctypes.CDLL(None, use_errno=True)
                if libc.setns(here.fileno(), CLONE_NEWNET) != 0:
                    raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))
            results.append(work())
        thread = threading.Thread(target=move_and_work)  # only this thread moves, and it ends
        thread.start()
        thread.join()
        return results[0]

    def ip(self, *commands):
        """Runs commands of ip(8) one after the other, in one process.

        @returns the moment (time.monotonic) at which the last was done.
        """
        subprocess.run([*self.enter(), "ip", "-batch", "-"], input="\n".join(commands) + "\n",
                       text=True, check=True)
        return time.monotonic()

    def cable(self, name, *addresses):
        """Plugs in a cable: an interface that is up, with a living other end name + "x"."""
        self.ip(f"link add {name} type veth peer name {name}x",
                *(f"address add {address} dev {name}" for address in addresses),
                # The other end first: with it up, the interface has a carrier from its start.
                f"link set {name}x up", f"link set {name} up")
        # The kernel says so a little later, and a program that starts before has no address.
        until(lambda: "state UP" in self._look("link", "show", "dev", name), f"a carrier on {name}")

    def _look(self, *words):
        """What ip(8) says here."""
        return subprocess.run([*self.enter(), "ip", *words], stdout=subprocess.PIPE, text=True,
                              check=True).stdout

    def name_machine(self, machine_info):
        """From now on this is the text of /etc/machine-info, which the machine need not have."""
        if not self._etc:
            self._etc = self._another_etc()
        fresh = self._etc / "machine-info.fresh"
        fresh.write_text(machine_info, encoding="utf-8")
        os.replace(fresh, self._etc / "machine-info")

    def _another_etc(self):
        """Here, /etc becomes a folder of our own, whose entries lead to those of the one before."""
        etc, before = Path(tempfile.mkdtemp()), Path(tempfile.mkdtemp())
        etc.chmod(0o755)
        for entry in Path("/etc").iterdir():
            link = os.readlink(entry) if entry.is_symlink() else before / entry.name
            (etc / entry.name).symlink_to(link)
        subprocess.run([*self.enter(), "sh", "-ec",
                        f"mount --rbind /etc {before}; mount --bind {etc} /etc"], check=True)
        return etc

    def know(self, names):
        """From now on, names are known: a dictionary from addresses to their DNS names."""
        self._serve_names(json.dumps(names))

    def silence_names(self):
        """From now on, lookups go to a server that takes them and never answers."""
        self._serve_names("null")

    def _serve_names(self, names):
        assert not self._server, "one name server is enough"
        self._server = Process([*self.enter(), "/usr/bin/python3", NAME_SERVER, names],
                               {"PATH": "/usr/bin:/bin"}, self._folder / "name-server.txt")
        until(lambda: "ready" in self._server.text(),
              lambda: f"a name server: {self._server.text()}")
