# SPDX-License-Identifier: GPL-3.0-or-later
"""A private session bus, and what a test says and hears on it."""

import signal
import socket
import threading

from gi.repository import Gio, GLib

from .process import Process
from .waiting import until

FLAGS = (Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT
         | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION)


class Listening:
    """GLib's main loop on a thread of its own, so that a signal is heard when it comes."""

    def __init__(self):
        self._loop = GLib.MainLoop()
        self._thread = threading.Thread(target=self._loop.run, daemon=True)
        self._thread.start()

    def close(self):
        self._loop.quit()
        self._thread.join()


class SilentBus:
    """Takes every call and never answers one."""

    def __init__(self, home):
        path = f"{home.runtime}/silent"
        self.address = f"unix:path={path}"
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.bind(path)
        self._socket.listen(16)

    def close(self):
        self._socket.close()


class Bus:
    """A dbus-daemon of its own; services that it starts live in the given environment."""

    def __init__(self, home):
        self._home = home
        self.address = f"unix:path={home.runtime}/bus"
        self._daemon = None
        self._connections = []
        self.start()

    def start(self):
        self._daemon = Process(
            ["dbus-daemon", "--session", "--nofork", "--nopidfile", f"--address={self.address}"],
            self._home.environment(), self._home.folder / "bus.txt")
        until(self._listens, lambda: f"a bus: {self._daemon.text()}")

    def _listens(self):
        with socket.socket(socket.AF_UNIX) as caller:
            return caller.connect_ex(f"{self._home.runtime}/bus") == 0

    def close(self):
        for connection in self._connections:
            if not connection.is_closed():
                connection.close_sync(None)
        self._daemon.kill()

    def break_down(self):
        """The bus is gone, from one moment to the next."""
        self._connections.clear()
        self._daemon.kill()

    def hang(self):
        """The bus does nothing any more, with its connections open, until resume()."""
        self._daemon.send(signal.SIGSTOP)

    def resume(self):
        self._daemon.send(signal.SIGCONT)

    def set_environment(self, variables):
        """Services that the bus starts from now on get variables, too."""
        self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                  "UpdateActivationEnvironment", GLib.Variant("(a{ss})", (variables,)))

    def connect(self):
        """A new connection; it does not end us when the bus ends."""
        connection = Gio.DBusConnection.new_for_address_sync(self.address, FLAGS, None, None)
        connection.set_exit_on_close(False)
        self._connections.append(connection)
        return connection

    def call(self, name, path, interface, method, arguments):
        """Calls a method and gives its results as a tuple."""
        connection = self.connect()
        answer = connection.call_sync(name, path, interface, method, arguments, None,
                                      Gio.DBusCallFlags.NONE, 5000, None)
        self._connections.remove(connection)
        connection.close_sync(None)
        return answer.unpack()

    def has_owner(self, name):
        return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                         "NameHasOwner", GLib.Variant("(s)", (name,)))[0]

    def post(self, name, subject):
        """Posts a distributed notification, as any process of the session may."""
        connection = self.connect()
        connection.emit_signal(None, "/com/corvane/DistributedNotificationCenter",
                               "com.corvane.DistributedNotificationCenter", "Posted",
                               GLib.Variant("(ss)", (name, subject)))
        connection.flush_sync(None)
