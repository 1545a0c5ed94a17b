# SPDX-License-Identifier: GPL-3.0-or-later
"""Panels of real desktops, as a user of that desktop has them."""

from .status_area import WATCHER
from .waiting import until

INDICATOR_SERVICE = ("/usr/libexec/ayatana-indicator-application/"
                     "ayatana-indicator-application-service")

MATE_LAYOUT = """[org/mate/panel/general]
toplevel-id-list=['top']
object-id-list=['tray']
history-mate-run=@as []
default-layout='default'
[org/mate/panel/toplevels/top]
expand=true
orientation='top'
screen=0
size=28
y=0
y-bottom=-1
[org/mate/panel/objects/tray]
applet-iid='IndicatorAppletFactory::IndicatorApplet'
object-type='applet'
panel-right-stick=false
position=10
toplevel-id='top'
locked=true
"""

XFCE_LAYOUT = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
 <property name="configver" type="int" value="2"/>
 <property name="panels" type="array"><value type="int" value="1"/>
  <property name="panel-1" type="empty">
   <property name="position" type="string" value="p=6;x=0;y=0"/>
   <property name="position-locked" type="bool" value="true"/>
   <property name="length" type="uint" value="100"/>
   <property name="size" type="uint" value="32"/>
   <property name="icon-size" type="uint" value="22"/>
   <property name="plugin-ids" type="array"><value type="int" value="1"/></property>
  </property>
 </property>
 <property name="plugins" type="empty">
  <property name="plugin-1" type="string" value="systray">
   <property name="square-icons" type="bool" value="true"/>
   <property name="known-legacy-items" type="array"/>
  </property>
 </property>
</channel>
"""

XFCE_THEME = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xsettings" version="1.0">
 <property name="Net" type="empty">
  <property name="ThemeName" type="string" value="Adwaita"/>
  <property name="IconThemeName" type="string" value="Adwaita"/>
 </property>
</channel>
"""


class MatePanel:
    """mate-panel with the indicator applet, and the service that is the session's watcher."""

    height = 28

    def __init__(self, home, bus, display):
        self._bus = bus
        self._display = display
        self._service = None
        self._panel = None
        layout = home.config / "glib-2.0" / "settings" / "keyfile"
        layout.parent.mkdir(parents=True)
        layout.write_text(MATE_LAYOUT)
        display.environment["XDG_CURRENT_DESKTOP"] = "MATE"

    def start_watcher(self):
        self._service = self._display.start("indicator-service", INDICATOR_SERVICE)
        until(lambda: self._bus.has_owner(WATCHER),
              lambda: f"a watcher: {self._service.text()}")

    def stop_watcher(self):
        self._service.kill()
        until(lambda: not self._bus.has_owner(WATCHER), "the watcher's end")

    def start_panel(self):
        self._panel = self._display.start("mate-panel", "mate-panel")
        until(lambda: self._stands() is True, lambda: f"a panel: {self._panel.text()}", within=30)

    def stop_panel(self):
        self._panel.kill()
        until(lambda: self._stands() is False, "the panel's end")

    def close(self):
        for process in (self._panel, self._service):
            if process:
                process.kill()

    def _stands(self):
        """Whether the panel has a window; None when a window closed while we looked."""
        windows = self._display.look("xwininfo", "-root", "-tree")
        return None if windows is None else '"mate-panel"' in windows


class XfcePanel:
    """xfce4-panel with its own status tray, which shows icons only and is its own watcher."""

    height = 32

    def __init__(self, home, bus, display):
        channels = home.config / "xfce4" / "xfconf" / "xfce-perchannel-xml"
        channels.mkdir(parents=True)
        (channels / "xfce4-panel.xml").write_text(XFCE_LAYOUT)
        (channels / "xsettings.xml").write_text(XFCE_THEME)
        display.environment["XDG_CURRENT_DESKTOP"] = "XFCE"
        self._panel = display.start("xfce4-panel", "xfce4-panel", "--disable-wm-check")
        until(lambda: bus.has_owner(WATCHER), lambda: f"a watcher: {self._panel.text()}",
              within=30)

    def close(self):
        self._panel.kill()


class TrayerPanel:
    """trayer: an X11 tray of the old kind, which knows nothing of the session bus."""

    height = 32

    def __init__(self, display):
        self._display = display
        self._panel = None

    def start(self):
        self._panel = self._display.start(
            "trayer", "trayer", "--edge", "top", "--align", "left", "--widthtype", "percent",
            "--width", "100", "--heighttype", "pixel", "--height", str(self.height),
            "--expand", "true")
        until(lambda: "panel" in (self._display.look("xwininfo", "-root", "-tree") or ""),
              lambda: f"a tray: {self._panel.text()}")

    def stop(self):
        self._panel.kill()

    def close(self):
        if self._panel:
            self._panel.kill()
