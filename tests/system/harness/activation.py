# SPDX-License-Identifier: GPL-3.0-or-later
"""What a launcher does under Wayland: asks the compositor for leave to bring a window forward."""

import socket
import struct

# Object ids: the display has the first, the others are ours to give.
DISPLAY, REGISTRY, ACTIVATION, TOKEN = 1, 2, 3, 4
# Requests and events by their place in wayland.xml and xdg-activation-v1.xml.
GET_REGISTRY, BIND, GET_TOKEN, COMMIT = 1, 0, 1, 3
ERROR, GLOBAL, DONE = 0, 0, 0
INTERFACE = "xdg_activation_v1"


class Conversation:
    """The Wayland wire protocol, as far as numbers and texts go."""

    def __init__(self, path):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.settimeout(20)
        self._socket.connect(path)

    def close(self):
        self._socket.close()

    def say(self, target, request, *arguments):
        body = b"".join(map(encode, arguments))
        self._socket.sendall(struct.pack("=IHH", target, request, 8 + len(body)) + body)

    def hear(self):
        """(object, event, its arguments as bytes) of the next event."""
        source, event, size = struct.unpack("=IHH", self._take(8))
        body = self._take(size - 8)
        assert (source, event) != (DISPLAY, ERROR), f"refused: {body!r}"
        return source, event, body

    def _take(self, size):
        taken = b""
        while len(taken) < size:
            more = self._socket.recv(size - len(taken))
            assert more, "the compositor has hung up"
            taken += more
        return taken


def encode(value):
    if isinstance(value, int):
        return struct.pack("=I", value)
    text = value.encode() + b"\0"
    return struct.pack("=I", len(text)) + text + bytes(-len(text) % 4)


def decode_text(body):
    """The text at the front of body."""
    size, = struct.unpack_from("=I", body)
    return body[4:4 + size - 1].decode()


def activation_token(compositor):
    """A fresh token, as it goes into a started program's XDG_ACTIVATION_TOKEN."""
    talk = Conversation(compositor.name)
    try:
        talk.say(DISPLAY, GET_REGISTRY, REGISTRY)
        while True:
            source, event, body = talk.hear()
            if (source, event) == (REGISTRY, GLOBAL) and decode_text(body[4:]) == INTERFACE:
                name, = struct.unpack_from("=I", body)
                talk.say(REGISTRY, BIND, name, INTERFACE, 1, ACTIVATION)
                talk.say(ACTIVATION, GET_TOKEN, TOKEN)
                talk.say(TOKEN, COMMIT)
            elif (source, event) == (TOKEN, DONE):
                return decode_text(body)
    finally:
        talk.close()
