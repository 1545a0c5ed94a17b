# SPDX-License-Identifier: GPL-3.0-or-later
"""What leaves the programs of a network, packet by packet."""

import ipaddress
import socket
import struct
from collections import namedtuple

ALL_PROTOCOLS = 0x0003  # ETH_P_ALL, linux/if_ether.h
OUTGOING = 4            # PACKET_OUTGOING, linux/if_packet.h
IPV4, IPV6 = 0x0800, 0x86DD
TCP, UDP = 6, 17
SYN_ONLY = 0x02

# interface: where it left. payload: what stands behind the transport header's ports.
Packet = namedtuple("Packet", "interface protocol target source_port target_port payload")


class Capture:
    """Takes in every packet that is sent in network, on any interface, from now on."""

    def __init__(self, network):
        self._socket = network.inside(self._open)

    @staticmethod
    def _open():
        return socket.socket(socket.AF_PACKET, socket.SOCK_DGRAM, socket.htons(ALL_PROTOCOLS))

    def close(self):
        self._socket.close()

    def packets(self):
        """What programs have sent so far by TCP or UDP; the kernel's own packets are neither."""
        packets = []
        while True:
            try:
                data, (interface, ethertype, direction, *_) = self._socket.recvfrom(
                    65536, socket.MSG_DONTWAIT)
            except BlockingIOError:
                return packets
            packet = decode(interface, ethertype, data) if direction == OUTGOING else None
            if packet:
                packets.append(packet)


def decode(interface, ethertype, data):
    """A Packet; None for what is neither TCP nor UDP. IPv6 without extension headers only."""
    if ethertype == IPV4:
        length, protocol, target = (data[0] & 0x0F) * 4, data[9], data[16:20]
    elif ethertype == IPV6:
        length, protocol, target = 40, data[6], data[24:40]
    else:
        return None
    if protocol not in (TCP, UDP):
        return None
    ports = struct.unpack_from(">HH", data, length)
    return Packet(interface, protocol, str(ipaddress.ip_address(target)), *ports,
                  data[length + 4:])


def opens_connection(packet):
    """Whether packet is the first of a TCP connection."""
    return packet.protocol == TCP and packet.payload[9] == SYN_ONLY


def question(packet):
    """The name that the DNS query packet asks for (RFC 1035 section 4.1.2)."""
    message = packet.payload[4:]  # behind length and checksum
    labels, at = [], 12
    while message[at]:
        labels.append(message[at + 1:at + 1 + message[at]].decode())
        at += 1 + message[at]
    return ".".join(labels)
