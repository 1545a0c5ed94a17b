#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Records what the kernel says of a small network, as tests/unit/net/data/network.bin.

    unshare --net tests/unit/net/data/record.py > tests/unit/net/data/network.bin

(as root). It builds the network in the namespace that it is started in, asks for the tables of
links, addresses and routes, and writes the answers as they came, one after the other, without
anything between them. The tests state what is in it; record anew only together with them.
"""

import socket
import struct
import subprocess
import sys

NETWORK = """
link add eth0 address 02:00:00:00:00:01 type veth peer name far0 address 02:00:00:00:00:02
link add eth1 address 02:00:00:00:00:03 type veth peer name far1 address 02:00:00:00:00:04
link add br0 address 02:00:00:00:00:05 type bridge
link add br1 address 02:00:00:00:00:06 type bridge
link set far1 master br1
link set lo up
link set eth0 up
link set far0 up
link set eth1 up
link set far1 up
link set br0 up
link set br1 up
tuntap add dev tun0 mode tun
address add 169.254.7.7/16 dev eth0 scope link
address add 192.0.2.7/24 dev eth0
address add 192.0.2.8/24 dev eth0 preferred_lft 0
address add 192.0.2.9/24 dev eth0 label eth0:vip
address add 198.51.100.7/24 dev eth1
address add 203.0.113.1/24 dev br0
address add 203.0.113.2/24 dev br1
address add 10.8.0.2 peer 10.8.0.1 dev tun0
route add default via 192.0.2.1 dev eth0 metric 200
route add default metric 100 nexthop via 198.51.100.1 dev eth1 nexthop via 192.0.2.1 dev eth0
route add unreachable default metric 50
route add 203.0.113.128/25 via 192.0.2.1
route add default via 192.0.2.1 table 77
"""

RTM_GETLINK, RTM_GETADDR, RTM_GETROUTE = 18, 22, 26
NLM_F_REQUEST, NLM_F_DUMP = 0x1, 0x300
NLMSG_DONE = 3
IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS = 29, 8


def dump(line, kind, sequence, body):
    """The datagrams of the answer to one dump request."""
    line.send(struct.pack("=IHHII", 16 + len(body), kind, NLM_F_REQUEST | NLM_F_DUMP, sequence, 0)
              + body)
    while True:
        datagram = line.recv(65536)
        yield datagram
        at = 0
        while at < len(datagram):
            size, kind = struct.unpack_from("=IH", datagram, at)
            if kind == NLMSG_DONE:
                return
            at += (size + 3) & ~3


def main():
    subprocess.run(["ip", "-batch", "-"], input=NETWORK, text=True, check=True)
    line = socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, socket.NETLINK_ROUTE)
    line.bind((0, 0))
    requests = [
        (RTM_GETLINK, bytes(16) + struct.pack("=HHI", 8, IFLA_EXT_MASK, RTEXT_FILTER_SKIP_STATS)),
        (RTM_GETADDR, struct.pack("=BBBBI", socket.AF_INET, 0, 0, 0, 0)),
        (RTM_GETROUTE, struct.pack("=BBBBBBBBI", socket.AF_INET, 0, 0, 0, 0, 0, 0, 0, 0)),
    ]
    for sequence, (kind, body) in enumerate(requests, start=1):
        for datagram in dump(line, kind, sequence, body):
            sys.stdout.buffer.write(datagram)


if __name__ == "__main__":
    main()
