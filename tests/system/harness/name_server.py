#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A name server on 127.0.0.1 for reverse lookups of IPv4 addresses (RFC 1035).

Its argument is a JSON object from addresses to names; null: it never answers. It says "ready".
"""

import ipaddress
import json
import socket
import struct
import sys

HEADER = struct.Struct(">6H")  # id, flags, questions, answers, authorities, additional
POINTER = struct.Struct(">HHHIH")  # to the question's name; type, class, seconds to live, length
PTR, INTERNET = 12, 1
FOUND, NO_SUCH_NAME = 0x8580, 0x8583  # an authoritative answer and its code


def labels(name):
    return b"".join(bytes([len(label)]) + label.encode() for label in name.split(".")) + b"\0"


def answer(query, names):
    """names: from a question's name, as it stands in a query, to the name that it asks for."""
    number, _, _, _, _, _ = HEADER.unpack_from(query)
    name_end = query.index(b"\0", HEADER.size) + 1
    question = query[HEADER.size:name_end + 4]
    name = names.get(query[HEADER.size:name_end])
    if not name or question[-4:] != struct.pack(">HH", PTR, INTERNET):
        return HEADER.pack(number, NO_SUCH_NAME, 1, 0, 0, 0) + question
    record = POINTER.pack(0xC000 | HEADER.size, PTR, INTERNET, 60, len(labels(name)))
    return HEADER.pack(number, FOUND, 1, 1, 0, 0) + question + record + labels(name)


def serve(names):
    server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    server.bind(("127.0.0.1", 53))
    print("ready", flush=True)
    while True:
        query, asker = server.recvfrom(512)
        if names is not None:
            server.sendto(answer(query, names), asker)


known = json.loads(sys.argv[1])
serve(known and {labels(ipaddress.ip_address(address).reverse_pointer): name
                 for address, name in known.items()})
