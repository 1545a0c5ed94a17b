# SPDX-License-Identifier: GPL-3.0-or-later
"""Orders to a network, many of them quickly one after the other."""

import subprocess


class Orders:
    """ip(8), kept running in network: an order takes well below a millisecond."""

    def __init__(self, network):
        self._ip = subprocess.Popen([*network.enter(), "ip", "-batch", "-"],
                                    stdin=subprocess.PIPE)

    def give(self, *commands):
        """Has commands done one after the other. That they are is seen by what they bring about."""
        assert self._ip.poll() is None, "ip(8) has ended: a command was wrong"
        self._ip.stdin.write("".join(f"{command}\n" for command in commands).encode())
        self._ip.stdin.flush()

    def close(self):
        """Waits until all are done."""
        self._ip.stdin.close()
        self._ip.wait()
