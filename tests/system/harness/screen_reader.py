# SPDX-License-Identifier: GPL-3.0-or-later
"""What a screen reader gets to know of programs: the tree that they offer over AT-SPI."""

from gi.repository import Gio, GLib

from .bus import FLAGS
from .waiting import until

ROOT = ("org.a11y.atspi.Registry", "/org/a11y/atspi/accessible/root")
ACCESSIBLE = "org.a11y.atspi.Accessible"
TEXT = "org.a11y.atspi.Text"
ACTION = "org.a11y.atspi.Action"
FOCUSABLE = 11     # AtspiStateType
LABELLED_BY = 2    # AtspiRelationType
# AtspiRole. Names exist as well, but they call a password's field a text like any other.
ROLES = {7: "check box", 11: "combo box", 16: "dialog", 29: "label", 37: "page tab",
         40: "password", 43: "button", 61: "text"}


class ScreenReader:
    """Reads on a session's accessibility bus, which comes up for it."""

    def __init__(self, bus):
        address, = bus.call("org.a11y.Bus", "/org/a11y/bus", "org.a11y.Bus", "GetAddress", None)
        self._connection = Gio.DBusConnection.new_for_address_sync(address, FLAGS, None, None)
        self._connection.set_exit_on_close(False)

    def close(self):
        self._connection.close_sync(None)

    def window(self, name):
        """The window of that name, once a program offers it."""
        def found():
            windows = [window for program in Accessible(self._connection, *ROOT).children()
                       for window in program.children()]
            return next((window for window in windows if window.name == name), None)
        return until(found, f"the window {name!r} over AT-SPI", within=20)


class Accessible:
    """One thing in the tree."""

    def __init__(self, connection, owner, path):
        self._connection = connection
        self._owner, self._path = owner, path

    @property
    def name(self):
        return self._ask("Name")

    @property
    def description(self):
        return self._ask("Description")

    @property
    def role(self):
        """One of ROLES, or the number of another."""
        number = self._call(ACCESSIBLE, "GetRole")
        return ROLES.get(number, number)

    @property
    def text(self):
        """All of its text; None when it has none to read."""
        if TEXT not in self._call(ACCESSIBLE, "GetInterfaces"):
            return None
        return self._call(TEXT, "GetText", GLib.Variant("(ii)", (0, -1)))

    @property
    def focusable(self):
        states, _ = self._call(ACCESSIBLE, "GetState")
        return bool(states >> FOCUSABLE & 1)

    def children(self):
        return [Accessible(self._connection, owner, path)
                for owner, path in self._call(ACCESSIBLE, "GetChildren")]

    def labels(self):
        """The names of what labels it."""
        relations = dict(self._call(ACCESSIBLE, "GetRelationSet"))
        return [Accessible(self._connection, owner, path).name
                for owner, path in relations.get(LABELLED_BY, [])]

    def everything(self):
        """It and all below it, from the top."""
        yield self
        for child in self.children():
            yield from child.everything()

    def act(self, number=0):
        """Does what it offers to do under that number."""
        self._call(ACTION, "DoAction", GLib.Variant("(i)", (number,)))

    def _ask(self, name):
        arguments = GLib.Variant("(ss)", (ACCESSIBLE, name))
        return self._call("org.freedesktop.DBus.Properties", "Get", arguments)

    def _call(self, interface, method, arguments=None):
        answer = self._connection.call_sync(self._owner, self._path, interface, method, arguments,
                                            None, Gio.DBusCallFlags.NONE, 5000, None)
        return answer.unpack()[0]
