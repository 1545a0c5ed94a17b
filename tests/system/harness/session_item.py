# SPDX-License-Identifier: GPL-3.0-or-later
"""The program's item on a session bus that has a real watcher, found by whose process it is of."""

from gi.repository import Gio, GLib

from .status_area import ITEM, MENU
from .waiting import until

PATH = "/org/ayatana/NotificationItem/quillfen"
ROOT = 0  # the menu itself, among its rows


class SessionItem:
    """What a panel asks of the item of the process pid. Without its text it is another item."""

    def __init__(self, bus, pid):
        self._connection = bus.connect()
        self._pid = pid
        self._name = None

    def wait_for_title(self, title):
        """Waits until the text beside the icon is title; None: there is only an icon."""
        until(lambda: self._titles() == [title], lambda: f"{title!r}; there is {self._titles()}")

    def rows(self):
        """The titles of the menu's rows, with their numbers; separators have none."""
        _, (_, _, children) = self._call_menu("GetLayout", "(iias)", ROOT, -1, ["label"])
        return [(number, properties["label"]) for number, properties, _ in children
                if "label" in properties]

    def open_menu(self):
        """Opens the menu as a panel does that waits for it, and lets it close again.

        The item is the one that had the title which was last waited for."""
        self._tell(ROOT, "opened")
        self._call_menu("AboutToShow", "(i)", ROOT)
        self._tell(ROOT, "closed")

    def choose(self, label):
        number, = [number for number, title in self.rows() if title == label]
        self._tell(number, "clicked")

    def _tell(self, number, what):
        self._call_menu("Event", "(isvu)", number, what, GLib.Variant("i", 0), 0)

    def _call_menu(self, method, signature, *arguments):
        return self._call(f"{PATH}/Menu", MENU, method, signature, *arguments)

    def _call(self, path, interface, method, signature, *arguments, name=None):
        return self._connection.call_sync(
            name or self._name, path, interface, method, GLib.Variant(signature, arguments), None,
            Gio.DBusCallFlags.NONE, 5000, None).unpack()

    def _titles(self):
        """What stands beside the icon of each item that the process has on the bus."""
        items = {name: properties for name in self._ask_bus("ListNames", "()")[0]
                 if name.startswith(":") and (properties := self._properties(name))}
        self._name = next(iter(items), None)
        return [properties.get("XAyatanaLabel") for properties in items.values()]

    def _properties(self, name):
        """Those of the item on the connection name; None when it has none, or not any more."""
        try:
            if self._ask_bus("GetConnectionUnixProcessID", "(s)", name) != (self._pid,):
                return None
            return self._call(PATH, "org.freedesktop.DBus.Properties", "GetAll", "(s)", ITEM,
                              name=name)[0]
        except GLib.Error:
            return None

    def _ask_bus(self, method, signature, *arguments):
        return self._call("/org/freedesktop/DBus", "org.freedesktop.DBus", method, signature,
                          *arguments, name="org.freedesktop.DBus")
