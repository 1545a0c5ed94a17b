# SPDX-License-Identifier: GPL-3.0-or-later
"""A desktop session that programs belong to, and its end, as at a log-out."""

import socket

from gi.repository import GLib

from .waiting import until

NAME = "org.xfce.SessionManager"
# A session that starts nothing that stays; one that starts nothing at all is refused.
LAYOUT = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-session" version="1.0">
 <property name="general" type="empty">
  <property name="FailsafeSessionName" type="string" value="Failsafe"/>
  <property name="SaveOnExit" type="bool" value="false"/>
 </property>
 <property name="sessions" type="empty">
  <property name="Failsafe" type="empty">
   <property name="IsFailsafe" type="bool" value="true"/>
   <property name="Count" type="int" value="1"/>
   <property name="Client0_Command" type="array">
    <value type="string" value="true"/>
   </property>
  </property>
 </property>
 <property name="startup" type="empty">
  <property name="ssh-agent" type="empty">
   <property name="enabled" type="bool" value="false"/>
  </property>
  <property name="gpg-agent" type="empty">
   <property name="enabled" type="bool" value="false"/>
  </property>
 </property>
</channel>
"""


class XfceSession:
    """xfce4-session, which programs join by the X Session Management Protocol."""

    def __init__(self, home, bus, display):
        self._bus = bus
        channels = home.config / "xfce4" / "xfconf" / "xfce-perchannel-xml"
        channels.mkdir(parents=True)
        (channels / "xfce4-session.xml").write_text(LAYOUT)
        display.environment["ICEAUTHORITY"] = str(home.runtime / "ICEauthority")
        self._manager = display.start("xfce4-session", "xfce4-session", "--disable-tcp")
        until(lambda: bus.has_owner(NAME), lambda: f"a session: {self._manager.text()}")
        sockets = f"unix/{socket.gethostname()}:/tmp/.ICE-unix/{self._manager.pid}"
        self.environment = {"SESSION_MANAGER": sockets,
                            "ICEAUTHORITY": display.environment["ICEAUTHORITY"]}

    def clients(self):
        """The object paths of the programs in the session."""
        return self._call("ListClients", None)[0]

    def log_out(self):
        """Without a question to anybody and without saving anything."""
        self._call("Logout", GLib.Variant("(bb)", (False, False)))

    def close(self):
        self._manager.kill()

    def _call(self, method, arguments):
        return self._bus.call(NAME, "/org/xfce/SessionManager", "org.xfce.Session.Manager",
                              method, arguments)
