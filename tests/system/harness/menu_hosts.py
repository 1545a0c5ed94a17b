# SPDX-License-Identifier: GPL-3.0-or-later
"""Panels as the item's menu sees them: one class for each of the ways in which they call it."""

import time

from gi.repository import Gio, GLib

from .status_area import MENU
from .waiting import until


class Row:
    """A row as a panel would draw it."""

    def __init__(self, properties):
        self.separator = properties["type"] == "separator"
        self.title = "" if self.separator else drawn(properties["label"])
        self.enabled = properties["enabled"]
        self.tips = [properties.get(key, "") for key in ("accessible-desc", "x-tooltip")]


def drawn(label):
    """A label as it is drawn: an underscore marks an access key unless it is doubled."""
    assert "_" not in label.replace("__", ""), f"an access key in {label!r}"
    return label.replace("__", "_")


class MenuHost:
    """A panel and what it knows of the menu. Needs Listening, on whose thread it hears signals."""

    LAYOUT = (0, -1, [])  # parent, depth and property names of its GetLayout

    def __init__(self, bus, status_area):
        self._owner, self._path = status_area.item()[0], status_area.ask("Menu")
        self._connection = bus.connect()
        self._revision = 0
        self._announced = 0   # the newest revision that the menu has told of
        self._properties = {}
        self.ids = []
        for name, hear in (("LayoutUpdated", self._layout_updated),
                           ("ItemsPropertiesUpdated", self._properties_updated)):
            self._connection.signal_subscribe(self._owner, MENU, name, self._path, None,
                                              Gio.DBusSignalFlags.NONE, hear)
        self.fetch()

    def call(self, method, signature, *arguments):
        """The results of a method of the menu."""
        return self._connection.call_sync(
            self._owner, self._path, MENU, method, GLib.Variant(signature, arguments), None,
            Gio.DBusCallFlags.NONE, 5000, None).unpack()

    def send(self, method, signature, *arguments):
        """Calls a method of the menu and does not wait for its answer."""
        self._connection.call(
            self._owner, self._path, MENU, method, GLib.Variant(signature, arguments), None,
            Gio.DBusCallFlags.NONE, 5000, None, None)

    def flush(self):
        self._connection.flush_sync(None)

    def fetch(self):
        """Reads the layout, with the properties that come with it."""
        revision, (root, _, children) = self.call("GetLayout", "(iias)", *self.LAYOUT)
        assert root == 0 and revision >= self._revision
        for number, properties, _ in children:
            self._properties.setdefault(number, {}).update(properties)
        self.ids = [number for number, _, _ in children]
        self._revision = revision
        self.fetched(children)

    def fetched(self, rows):
        """What this panel does when it has read a layout."""

    def _fetch_properties(self, ids):
        found = self.call("GetGroupProperties", "(aias)", ids, [])[0]
        self._properties.update(found)

    def _layout_updated(self, _connection, _sender, _path, _interface, _name, arguments):
        self._announced = arguments.unpack()[0]

    def _properties_updated(self, _connection, _sender, _path, _interface, _name, arguments):
        updated, removed = arguments.unpack()
        for number, news in updated:
            self._properties.setdefault(number, {}).update(news)
        for number, names in removed:
            for name in names:
                self._properties.get(number, {}).pop(name, None)

    def rows(self):
        """The rows as this panel would draw them now."""
        if self._announced > self._revision:
            self.fetch()
        return [Row(self._properties[number]) for number in self.ids]

    def titles(self):
        return [row.title for row in self.rows()]

    def open(self):
        """The user opens the menu. Ends when the panel would draw it."""
        raise NotImplementedError

    def choose(self, title):
        """The user chooses the first row called title, as soon as there is one."""
        until(lambda: title in self.titles(), lambda: f"{title!r} in {self.titles()}")
        self.click(self.ids[self.titles().index(title)])

    def click(self, number):
        raise NotImplementedError


class GtkHost(MenuHost):
    """Panels on libdbusmenu-gtk: calls for groups only; nothing when the menu opens or closes."""

    LAYOUT = (0, -1, ["type", "label", "visible", "enabled", "children-display",
                      "accessible-desc"])

    def fetched(self, rows):
        self._fetch_properties([number for number, _, _ in rows])

    def open(self):
        self.send("AboutToShowGroup", "(ai)", [0])
        self.flush()

    def click(self, number):
        event = (number, "clicked", GLib.Variant("i", 0), int(time.monotonic()))
        assert self.call("EventGroup", "(a(isvu))", [event]) == ([],)


class PlasmaHost(MenuHost):
    """Plasma and LXQt: one level at a time, waits for the answer, closes before the click."""

    LAYOUT = (0, 1, [])

    def open(self):
        if self.call("AboutToShow", "(i)", 0)[0]:
            self.fetch()
        self._tell(0, "opened")

    def click(self, number):
        self._tell(0, "closed")
        self._tell(number, "clicked")

    def _tell(self, number, what):
        self.call("Event", "(isvu)", number, what, GLib.Variant("s", ""), 0)


class GnomeHost(MenuHost):
    """GNOME Shell's extension: the layout bare, then the properties of rows that are new to it."""

    LAYOUT = (0, -1, ["type", "children-display"])

    def fetched(self, rows):
        new = [number for number, _, _ in rows if "enabled" not in self._properties[number]]
        if new:
            self._fetch_properties(new)

    def open(self):
        self.send("Event", "(isvu)", 0, "opened", GLib.Variant("i", 0), 0)
        if self.call("AboutToShow", "(i)", 0)[0]:
            self.fetch()

    def click(self, number):
        self.send("Event", "(isvu)", number, "clicked", GLib.Variant("i", 0), 0)
        self.send("Event", "(isvu)", 0, "closed", GLib.Variant("i", 0), 0)
        self.flush()
