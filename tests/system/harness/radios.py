# SPDX-License-Identifier: GPL-3.0-or-later
"""A machine with radios: what the kernel's wireless part says, for a machine that has none."""

import os
import struct
from pathlib import Path

RECORDINGS = Path(__file__).parents[2] / "unit" / "net" / "data" / "nl80211"

# Numbers of <linux/netlink.h>, <linux/genetlink.h> and <linux/nl80211.h>.
NLMSG_DONE, NLM_F_MULTI = 3, 2
GENL_ID_CTRL, CTRL_CMD_GETFAMILY = 16, 3
WIRELESS = 35  # nl80211's number in the recordings
GET_INTERFACE, NEW_INTERFACE = 5, 7
GET_SCAN, NEW_SCAN_RESULTS = 32, 34
ATTR_IFINDEX, ATTR_IFNAME, ATTR_IFTYPE, ATTR_BSS = 3, 4, 5, 47
STATION = 2
BSS_INFORMATION_ELEMENTS, BSS_STATUS, BSS_BEACON_IES = 6, 9, 11
ASSOCIATED = 1


def number(value):
    return struct.pack("=I", value)


def attribute(kind, payload):
    padding = bytes(-len(payload) % 4)
    return struct.pack("=HH", 4 + len(payload), kind) + payload + padding


def message(kind, payload):
    """A message of a table; the sequence number is for others to fill in."""
    return struct.pack("=IHHII", 16 + len(payload), kind, NLM_F_MULTI, 0, 0) + payload


def wireless_message(command, *attributes):
    return message(WIRELESS, struct.pack("=BBH", command, 1, 0) + b"".join(attributes))


def network(name, joined, hidden=False):
    """A network within reach. A hidden one says its name only to those that join it."""
    def named(text):
        return bytes([0, len(text)]) + text
    parts = attribute(BSS_INFORMATION_ELEMENTS, named(name))
    parts += attribute(BSS_BEACON_IES, named(bytes(len(name)) if hidden else name))
    if joined:
        parts += attribute(BSS_STATUS, number(ASSOCIATED))
    return wireless_message(NEW_SCAN_RESULTS, attribute(ATTR_BSS, parts))


END = message(NLMSG_DONE, number(0))


class Radios:
    """The radios of the machine that a program runs on. At first it has none.

    The program is to be started with environment(), and needs tests/tools/wireless_kernel.cpp as
    the library library.
    """

    def __init__(self, folder, library):
        folder.mkdir()
        self._folder = folder
        self._library = library

    def environment(self):
        return {"LD_PRELOAD": str(self._library), "KERNEL_ANSWERS": str(self._folder)}

    def replay(self, machine):
        """From now on it says what data/nl80211 has on that machine."""
        self._add_family()
        self._answer(WIRELESS, GET_INTERFACE, 0, self._recorded(f"{machine}-interfaces"))
        self._answer(WIRELESS, GET_SCAN, 4, self._recorded(f"{machine}-networks-4"))
        for lonely in (3, 5):
            self._answer(WIRELESS, GET_SCAN, lonely, END)

    def join(self, name, hidden=False):
        """From now on its only station is joined to the network name (bytes)."""
        self.have(("wlan0", name), hidden=hidden)

    def leave(self):
        """From now on its only station is joined to no network."""
        self.have(("wlan0", None))

    def have(self, *stations, hidden=False):
        """From now on it has these stations: the interface's name, and that of the network that it
        is joined to (bytes), or None.
        """
        self._add_family()
        self._answer(WIRELESS, GET_INTERFACE, 0, b"".join(
            wireless_message(NEW_INTERFACE, attribute(ATTR_IFINDEX, number(index)),
                             attribute(ATTR_IFNAME, interface.encode() + b"\0"),
                             attribute(ATTR_IFTYPE, number(STATION)))
            for index, (interface, _) in enumerate(stations, 3)) + END)
        for index, (_, name) in enumerate(stations, 3):
            joined = b"" if name is None else network(name, True, hidden)
            self._answer(WIRELESS, GET_SCAN, index, network(b"Neighbour", False) + joined + END)

    def fall_silent(self):
        """From now on the wireless part takes questions and answers none."""
        self._answer(WIRELESS, GET_INTERFACE, 0, b"")

    def _add_family(self):
        self._answer(GENL_ID_CTRL, CTRL_CMD_GETFAMILY, 0, self._recorded("family") + END)

    @staticmethod
    def _recorded(name):
        return (RECORDINGS / f"{name}.bin").read_bytes()

    def _answer(self, family, command, interface, messages):
        """The question is answered so, from one moment to the next."""
        fresh = self._folder / "fresh"
        fresh.write_bytes(messages)
        os.replace(fresh, self._folder / f"{family}.{command}.{interface}")
