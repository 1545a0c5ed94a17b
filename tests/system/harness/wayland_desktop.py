# SPDX-License-Identifier: GPL-3.0-or-later
"""A Wayland compositor that is told what to do, and a keyboard at it."""

import json
import subprocess

from .compositor import Compositor
from .process import Process
from .waiting import until


class WaylandDesktop(Compositor):
    """Its windows, and which of them has the keyboard."""

    def __init__(self, home):
        super().__init__(home)
        self._folder = home.folder
        self._environment = home.environment(WAYLAND_DISPLAY=self.name)
        self._orders, = until(lambda: list((home.runtime / "sway").glob("sway-ipc.*")),
                              "a socket for orders")
        hour = "3600000"  # ms; programs that start from now on find this keyboard
        self._keyboard = self.start("keyboard", "wtype", "-s", hour, "-k", "space")

    def close(self):
        self._keyboard.kill()
        super().close()

    def start(self, name, *argv):
        """Starts a program with its windows here."""
        return Process(argv, self._environment, self._folder / f"{name}.txt")

    def order(self, command):
        """Gives the compositor a command of sway(5)."""
        self._message(command)

    def windows(self):
        """The names of all windows."""
        return [node["name"] for node in self._nodes() if node.get("pid")]

    def has_keyboard(self, name):
        """Whether the window of that name is the one that keys go to."""
        return any(node["name"] == name and node["focused"] for node in self._nodes())

    def press(self, *arguments):
        """Presses keys, in the words of wtype(1)."""
        subprocess.run(["wtype", *arguments], env=self._environment, check=True, timeout=30)

    def _message(self, *words):
        return subprocess.run(["swaymsg", "--socket", self._orders, *words],
                              env=self._environment, check=True, timeout=30,
                              stdout=subprocess.PIPE).stdout

    def _nodes(self):
        """Everything in the tree of outputs, workspaces and windows."""
        unseen = [json.loads(self._message("--raw", "--type", "get_tree"))]
        while unseen:
            node = unseen.pop()
            yield node
            unseen += node["nodes"] + node["floating_nodes"]
