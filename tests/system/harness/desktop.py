# SPDX-License-Identifier: GPL-3.0-or-later
"""A screen with a window manager, and the panels that can stand on it."""

import os
import subprocess

from .process import Process
from .waiting import until

WIDTH, HEIGHT = 1024, 600
BACKGROUND = "#406080"
GTK_SETTINGS = """[Settings]
gtk-icon-theme-name=Adwaita
gtk-theme-name=Adwaita
gtk-enable-animations=0
"""


class Display:
    """An X server on a free display, with openbox as window manager."""

    def __init__(self, home, bus):
        self._home = home
        (home.config / "gtk-3.0").mkdir(parents=True)
        (home.config / "gtk-3.0" / "settings.ini").write_text(GTK_SETTINGS)
        reading, writing = os.pipe()
        self._server = Process(
            ["Xvfb", "-displayfd", str(writing), "-screen", "0", f"{WIDTH}x{HEIGHT}x24",
             "-nolisten", "tcp", "-noreset", "-nolock"],
            home.environment(), home.folder / "xvfb.txt", pass_fds=(writing,))
        os.close(writing)
        with os.fdopen(reading) as pipe:  # a line when the server is ready, nothing if it failed
            number = pipe.readline().strip()
        assert number, f"no X server: {self._server.text()}"
        self.name = f":{number}"
        self.environment = home.environment(
            DISPLAY=self.name, DBUS_SESSION_BUS_ADDRESS=bus.address, NO_AT_BRIDGE="1",
            GDK_BACKEND="x11", XDG_SESSION_TYPE="x11", GSETTINGS_BACKEND="keyfile")
        bus.set_environment(self.environment)
        self._manager = Process(["openbox"], self.environment, home.folder / "openbox.txt")
        until(self._managed, lambda: f"a window manager: {self._manager.text()}")
        self.run("xsetroot", "-solid", BACKGROUND)
        # Away from the panel, which would draw what is under the pointer differently.
        self.run("xdotool", "mousemove", str(WIDTH // 2), str(HEIGHT // 2))

    def close(self):
        self._manager.kill()
        self._server.kill()

    def break_down(self):
        """The X server is gone, from one moment to the next."""
        self._server.kill()

    def run(self, *argv):
        """Runs a tool on this display and gives its standard output."""
        return subprocess.run(argv, env=self.environment, check=True, stdout=subprocess.PIPE,
                              text=True, timeout=30).stdout

    def look(self, *argv):
        """Runs a tool whose failure only means: look again. Its output, or None."""
        try:
            return self.run(*argv)
        except subprocess.CalledProcessError:
            return None

    def start(self, name, *argv):
        return Process(argv, self.environment, self._home.folder / f"{name}.txt")

    def click(self, place, button=1):
        """A real click at place (x, y)."""
        x, y = place
        self.run("xdotool", "mousemove", "--sync", str(x), str(y), "click", str(button))

    def press(self, *keys):
        """Presses keys one after the other, in the names of xdotool(1)."""
        self.run("xdotool", "key", "--delay", "50", *keys)

    def windows(self, name):
        """The ids of the windows of that name that can be seen."""
        found = self.look("xdotool", "search", "--onlyvisible", "--name", f"^{name}$")
        return (found or "").split()

    def has_keyboard(self, name):
        """Whether the window that has the keyboard is called that."""
        return (self.look("xdotool", "getactivewindow", "getwindowname") or "").strip() == name

    def clipboard(self):
        """The text on the clipboard; None while there is none."""
        return self.look("xclip", "-o", "-selection", "clipboard")

    def _managed(self):
        return "window id" in self.run("xprop", "-root", "_NET_SUPPORTING_WM_CHECK")
