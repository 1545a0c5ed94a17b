# SPDX-License-Identifier: GPL-3.0-or-later
"""A Wayland compositor without a screen."""

import shutil

from .process import Process
from .waiting import until

NOBODY = 65534
CONFIGURATION = "output HEADLESS-1 resolution 800x600\nxwayland disable\n"


class Compositor:
    """sway, drawing into memory. It has no keyboard, so no window ever gets it."""

    def __init__(self, home):
        configuration = home.runtime / "sway.conf"
        configuration.write_text(CONFIGURATION)
        runtime = home.runtime / "sway"
        runtime.mkdir(mode=0o700)
        # It refuses to run as root; so somebody without rights has to get at its files.
        shutil.chown(runtime, NOBODY, NOBODY)
        home.runtime.chmod(0o711)
        self._sway = Process(
            ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups",
             "sway", "--config", configuration],
            home.environment(HOME=str(runtime), XDG_RUNTIME_DIR=str(runtime),
                             WLR_BACKENDS="headless", WLR_LIBINPUT_NO_DEVICES="1",
                             WLR_RENDERER="pixman"),
            home.folder / "sway.txt")
        place, = until(lambda: [path for path in runtime.glob("wayland-*") if path.is_socket()],
                       lambda: f"a compositor: {self._sway.text()}", within=30)
        self.name = str(place)  # for WAYLAND_DISPLAY

    def close(self):
        self._sway.kill()
