# SPDX-License-Identifier: GPL-3.0-or-later
"""All that a process offers on a bus, found by asking it."""

import xml.etree.ElementTree
from dataclasses import dataclass

from gi.repository import Gio, GLib

BUS = "org.freedesktop.DBus"
PROPERTIES = "org.freedesktop.DBus.Properties"
INTROSPECTABLE = "org.freedesktop.DBus.Introspectable"


@dataclass(frozen=True)
class Member:
    """A method, or a property as what Properties.Get takes of it."""
    owner: str      # the connection's unique name
    path: str
    interface: str
    name: str
    signature: str  # of a method's arguments, of a property's value


def ask(connection, owner, path, interface, method, arguments=None):
    """The results of a method as a tuple."""
    return connection.call_sync(owner, path, interface, method, arguments, None,
                                Gio.DBusCallFlags.NONE, 10000, None).unpack()


def connections_of(connection, pid):
    """The unique names of the connections that process pid has to the bus."""
    def process_of(name):
        try:
            return ask(connection, BUS, "/org/freedesktop/DBus", BUS, "GetConnectionUnixProcessID",
                       GLib.Variant("(s)", (name,)))[0]
        except GLib.Error:  # it has gone since
            return None
    names = ask(connection, BUS, "/org/freedesktop/DBus", BUS, "ListNames")[0]
    return sorted(name for name in names if name.startswith(":") and process_of(name) == pid)


def offered(connection, owner):
    """The methods and the properties of all objects of a connection, as two lists of Members."""
    methods, properties = [], []
    waiting, seen = ["/"], set()
    while waiting:
        path = waiting.pop()
        if path in seen:
            continue
        seen.add(path)
        text, = ask(connection, owner, path, INTROSPECTABLE, "Introspect")
        node = xml.etree.ElementTree.fromstring(text)
        for child in node.findall("node"):
            waiting.append(path.rstrip("/") + "/" + child.get("name"))
        for interface in node.findall("interface"):
            name = interface.get("name")
            for method in interface.findall("method"):
                signature = "".join(argument.get("type") for argument in method.findall("arg")
                                    if argument.get("direction", "in") == "in")
                methods.append(Member(owner, path, name, method.get("name"), signature))
            for entry in interface.findall("property"):
                properties.append(Member(owner, path, name, entry.get("name"), entry.get("type")))
                if entry.get("type") == "o":  # an object that belongs to it, such as its menu
                    waiting.append(ask(connection, owner, path, PROPERTIES, "Get",
                                       GLib.Variant("(ss)", (name, entry.get("name"))))[0])
    return methods, properties
