# SPDX-License-Identifier: GPL-3.0-or-later
"""waybar on a Wayland compositor, with one custom module."""

import json
import subprocess

from . import screen
from .process import Process
from .waiting import until

HEIGHT = 36
STYLE = """* { font-family: "DejaVu Sans"; font-size: 20px; border-radius: 0; }
window#waybar { background: #ffffff; color: #000000; }
#custom-quillfen { padding: 0 12px; }
#custom-quillfen.disconnected { background: #000000; color: #ffffff; }
"""


class Waybar:
    """A light bar at the top of the screen."""

    def __init__(self, home, compositor, bus, module):
        """module: the settings of its custom module, as in waybar's own file."""
        self._picture = home.folder / "waybar.png"
        configuration = home.folder / "waybar.json"
        style = home.folder / "waybar.css"
        style.write_text(STYLE)
        configuration.write_text(json.dumps(
            {"layer": "top", "position": "top", "height": HEIGHT,
             "modules-left": ["custom/quillfen"], "custom/quillfen": module}))
        self._environment = home.environment(
            WAYLAND_DISPLAY=compositor.name, DBUS_SESSION_BUS_ADDRESS=bus.address,
            GDK_BACKEND="wayland", GSETTINGS_BACKEND="memory", NO_AT_BRIDGE="1")
        self._waybar = Process(["waybar", "--config", configuration, "--style", style],
                               self._environment, home.folder / "waybar.txt")

    def close(self):
        self._waybar.kill()

    def text(self):
        """What stands in the bar, as a reader sees it."""
        subprocess.run(["grim", self._picture], env=self._environment, check=True, timeout=30)
        return screen.read(self._picture, (800, HEIGHT, 0, 0))

    def wait_for(self, what, condition):
        """Waits for a text of which condition(text) is true."""
        seen = []

        def readable():
            seen.append(self.text())
            return condition(seen[-1])
        until(readable,
              lambda: (f"{what} in the bar; it reads {seen[-1]!r}; "
                       f"waybar says {self._waybar.text()}"),
              within=30)

    def wait_for_text(self, text):
        self.wait_for(repr(text), lambda seen: text in seen)
