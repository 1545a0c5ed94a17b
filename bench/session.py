# SPDX-License-Identifier: GPL-3.0-or-later
"""A MATE session in which quillfen and its peers stand side by side."""

from network_manager import NetworkManager
from world import MATE_LAYOUT, Display, MatePanel, until

# MATE's own panel has both areas: nm-applet shows itself in the older one.
NOTIFICATION_AREA = """[org/mate/panel/objects/area]
applet-iid='NotificationAreaAppletFactory::NotificationArea'
object-type='applet'
panel-right-stick=false
position=300
toplevel-id='top'
locked=true
"""

# Whom the panel's indicators ask what to show.
INDICATORS = ("org.ayatana.indicator.application", "/org/ayatana/indicator/application/service",
              "org.ayatana.indicator.application.service")


class Session:
    """A MATE desktop with indicators and a notification area, and the bus of the system.

    Each of the programs is shown by the panel when its method returns.
    """

    def __init__(self, world, folder):
        self._world = world
        self._manager = world.add(NetworkManager(folder))
        self._display = world.add(Display(world.session, world.bus))
        self._display.environment.update(self._manager.environment)
        self._panel = world.add(MatePanel(world.session, world.bus, self._display))
        layout = world.session.config / "glib-2.0" / "settings" / "keyfile"
        layout.write_text(MATE_LAYOUT.replace("['tray']", "['tray', 'area']") + NOTIFICATION_AREA)
        self._panel.start_watcher()
        self._panel.start_panel()

    def start_network_manager(self):
        self._manager.start()

    def quillfen(self):
        return self._in_panel(lambda: self._world.start_program(self._display))

    def bare_tray(self):
        return self._in_panel(lambda: self._world.start_bare_tray(self._display))

    def bare_indicator(self):
        return self._in_panel(lambda: self._world.start_bare_indicator(self._display))

    def applet(self):
        """nm-applet, with its icon in the notification area."""
        applet = self._display.start("nm-applet", "nm-applet")
        self._world.add(applet, ending="kill")
        until(self._has_icon, lambda: f"nm-applet's icon: {applet.text()}", within=30)
        return applet

    def photograph(self, path):
        self._display.run("import", "-window", "root", path)

    def _in_panel(self, start):
        """What start() gives, once the panel has one item more to show."""
        before = self._items()
        program = start()
        until(lambda: self._items() > before, lambda: f"{before + 1} items in the panel",
              within=30)
        return program

    def _items(self):
        return len(self._world.bus.call(*INDICATORS, "GetApplications", None)[0])

    def _has_icon(self):
        return any("nm-applet" in line and "IsViewable" in self._state(line.split()[0])
                   for line in self._display.run("xwininfo", "-root", "-tree").splitlines())

    def _state(self, window):
        return self._display.run("xwininfo", "-id", window)
