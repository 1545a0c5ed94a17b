# SPDX-License-Identifier: GPL-3.0-or-later
"""A status area without a screen: takes a registration, hears the item's titles, asks it."""

import time

from gi.repository import Gio, GLib

from .waiting import until

WATCHER = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
MENU = "com.canonical.dbusmenu"
GONE = [f"org.freedesktop.DBus.Error.{reason}"
        for reason in ("UnknownObject", "ServiceUnknown", "NameHasNoOwner", "NoReply")]
INTERFACE = f"""
<node><interface name="{WATCHER}">
  <method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
  <method name="RegisterStatusNotifierHost"><arg type="s" direction="in"/></method>
  <property name="RegisteredStatusNotifierItems" type="as" access="read"/>
  <property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
  <property name="ProtocolVersion" type="i" access="read"/>
  <signal name="StatusNotifierItemRegistered"><arg type="s"/></signal>
  <signal name="StatusNotifierHostRegistered"/>
</interface></node>"""


class StatusArea:
    """The watcher of a session. Needs Listening, on whose thread its callbacks run."""

    def __init__(self, bus):
        self._connection = bus.connect()
        self._items = []   # (connection's name, object path), in order of registration
        self.titles = []   # (time.monotonic of its arrival, text), as signalled
        self._connection.register_object("/StatusNotifierWatcher",
                                         Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0],
                                         self._called, self._property, None)
        self._connection.signal_subscribe(None, ITEM, "XAyatanaNewLabel", None, None,
                                          Gio.DBusSignalFlags.NONE, self._retitled)
        self._connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus", "RequestName",
                                   GLib.Variant("(su)", (WATCHER, 0)), None,
                                   Gio.DBusCallFlags.NONE, 5000, None)

    def leave(self):
        """The watcher is gone from the bus; another one may come."""
        self._connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus", "ReleaseName",
                                   GLib.Variant("(s)", (WATCHER,)), None,
                                   Gio.DBusCallFlags.NONE, 5000, None)

    def hang_up(self):
        """The watcher's process is gone, from one moment to the next."""
        self._connection.close_sync(None)

    def items(self):
        """The (connection's name, object path) of every registration so far."""
        return list(self._items)

    def _called(self, _connection, sender, _path, _interface, method, arguments, invocation):
        if method == "RegisterStatusNotifierItem":
            argument, = arguments.unpack()
            path = argument if argument.startswith("/") else "/StatusNotifierItem"
            self._items.append((sender, path))
        invocation.return_value(None)

    def _property(self, _connection, _sender, _path, _interface, name):
        return {"RegisteredStatusNotifierItems":
                GLib.Variant("as", [name + path for name, path in self._items]),
                "IsStatusNotifierHostRegistered": GLib.Variant("b", True),
                "ProtocolVersion": GLib.Variant("i", 0)}[name]

    def _retitled(self, _connection, _sender, _path, _interface, _name, arguments):
        self.titles.append((time.monotonic(), arguments.unpack()[0]))

    def item(self, within=10.0):
        """The (connection's name, object path) of the item that registered last."""
        until(lambda: self._items, "an item in the status area", within)
        return self._items[-1]

    def ask(self, name):
        """The item's property name as it is now; None when it has none of that name."""
        properties = until(self._properties, "an item that answers")
        # Only the one is unpacked: the icons' pixels take Python longer than the whole call.
        value = properties.get_child_value(0).lookup_value(name, None)
        return value.unpack() if value else None

    def _properties(self):
        """What the item answers; None when it went away meanwhile, as one does for another."""
        owner, path = self.item()
        try:
            return self._connection.call_sync(owner, path, "org.freedesktop.DBus.Properties",
                                              "GetAll", GLib.Variant("(s)", (ITEM,)), None,
                                              Gio.DBusCallFlags.NONE, 5000, None)
        except GLib.Error as error:
            if Gio.DBusError.get_remote_error(error) not in GONE:
                raise
            return None

    def labels(self):
        """What the rows of the item's menu are called, from the top; separators are not."""
        return [properties["label"] for _, properties, _ in self._rows() if "label" in properties]

    def open_menu(self):
        """Has the item make its menu ready, as a panel does before it shows it."""
        self._call_menu("AboutToShow", GLib.Variant("(i)", (0,)))

    def choose(self, label):
        """Chooses the row of the item's menu that is called label, as a click does."""
        row, = [number for number, properties, _ in self._rows()
                if properties.get("label") == label]
        self._call_menu("Event", GLib.Variant("(isvu)", (row, "clicked", GLib.Variant("i", 0), 0)))

    def provide_token(self, token):
        """Leave for a window that comes of the row chosen next, as a panel gives it on Wayland."""
        owner, path = self.item()
        self._connection.call_sync(owner, path, ITEM, "ProvideXdgActivationToken",
                                   GLib.Variant("(s)", (token,)), None, Gio.DBusCallFlags.NONE,
                                   5000, None)

    def _rows(self):
        return self._call_menu("GetLayout", GLib.Variant("(iias)", (0, -1, ["label"])))[1][2]

    def _call_menu(self, method, arguments):
        return self._connection.call_sync(self.item()[0], self.ask("Menu"), MENU, method,
                                          arguments, None, Gio.DBusCallFlags.NONE, 5000,
                                          None).unpack()

    def ask_bus(self):
        """A question that the bus itself answers."""
        self._connection.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus", "GetId", None, None,
                                   Gio.DBusCallFlags.NONE, 5000, None)

    def title(self):
        """The text beside the icon; None when there is only an icon."""
        return self.ask("XAyatanaLabel")

    def wait_for_title(self, title, within=10.0):
        until(lambda: self.title() == title,
              lambda: f"the title {title!r}; it is {self.title()!r}", within)

    def arrival(self, title, since, within=10.0):
        """When, after since, title first arrived by signal (time.monotonic)."""
        def found():
            return [moment for moment, text in list(self.titles)
                    if text == title and moment >= since]
        return until(found, lambda: f"{title!r} signalled; came: {self.titles}", within)[0]
