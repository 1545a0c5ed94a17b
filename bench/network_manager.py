# SPDX-License-Identifier: GPL-3.0-or-later
"""A NetworkManager at work on a network and a system bus of its own."""

import subprocess

from world import Bus, Home, Network, Process, until

CONFIGURATION = """[main]
plugins=keyfile
auth-polkit=false
dns=none
rc-manager=unmanaged
hostname-mode=none
no-auto-default=*
[keyfile]
path={connections}
[device]
managed=1
"""

CONNECTION = """[connection]
id=Office
type=ethernet
interface-name=office
[ipv4]
method=manual
address1=192.0.2.7/24,192.0.2.1
[ipv6]
method=disabled
"""

# Its own state goes to memory disks that nobody else sees. A /sys that cannot be written tells it
# that no udev is there to wait for.
BEGIN = """
mount -t tmpfs tmpfs /run
mount -t tmpfs tmpfs /var/lib/NetworkManager
mount -t sysfs -o ro sysfs /sys
exec NetworkManager --debug --config "$0"
"""


class NetworkManager:
    """The system bus, and on it a NetworkManager once it is started, with one wired connection."""

    def __init__(self, folder):
        self._home = Home(folder / "system")
        self._network = Network(folder / "office")
        self._network.cable("office")
        self._bus = Bus(self._home)
        self._process = None
        self.environment = {"DBUS_SYSTEM_BUS_ADDRESS": self._bus.address}

    def close(self):
        if self._process:
            self._process.kill()
        self._bus.close()
        self._network.close()

    def start(self):
        """NetworkManager runs and has its connection up."""
        connections = self._home.folder / "connections"
        connections.mkdir()
        connection = connections / "office.nmconnection"
        connection.write_text(CONNECTION)
        connection.chmod(0o600)
        configuration = self._home.folder / "configuration"
        configuration.write_text(CONFIGURATION.format(connections=connections))
        self._process = Process(
            [*self._network.enter(), "unshare", "--mount", "sh", "-ec", BEGIN, configuration],
            self._home.environment(**self.environment), self._home.folder / "output.txt")
        until(self._connected, lambda: f"a connection: {self._process.text()}", within=30)

    def _connected(self):
        asked = subprocess.run(["nmcli", "--terse", "--fields", "STATE", "general"],
                               env=self._home.environment(**self.environment),
                               capture_output=True, text=True, check=False)
        return asked.stdout.startswith("connected")
