# SPDX-License-Identifier: GPL-3.0-or-later
"""A mail server that goes away in mid-session, at the point that it is told.

Its threads are the test's own; only its sockets belong to the network.
"""

import socket
import ssl
import threading

from .mail_server import STARTTLS

PLAIN_LIST = b"250-dying.example\r\n250 STARTTLS\r\n"
SECURE_LIST = b"250-dying.example\r\n250-8BITMIME\r\n250 AUTH PLAIN LOGIN\r\n"
REPLIES = {"AUTH": b"235 welcome\r\n", "MAIL": b"250 go on\r\n", "RCPT": b"250 known\r\n",
           "DATA": b"354 go on\r\n", ".": b"250 taken\r\n", "QUIT": b"221 bye\r\n"}


class Death(Exception):
    """The server goes away."""


class DyingMailServer:
    """Listens on 127.0.0.1 and takes one session at a time; lives through it until dies()."""

    def __init__(self, network, authority):
        self._death = (None, None)
        self._by_reset = False
        self._context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
        self._context.load_cert_chain(authority.certificate, authority.key)
        self._listener = network.inside(lambda: socket.create_server(("127.0.0.1", STARTTLS)))
        self._listener.settimeout(0.1)
        self._ended = threading.Event()
        self._thread = threading.Thread(target=self._accept, daemon=True)
        self._thread.start()

    def close(self):
        self._ended.set()
        self._thread.join()
        self._listener.close()

    def dies(self, point, how, by_reset=False):
        """From now on, it dies in each session; None: it lives.

        point is what it would say next (see _Session.run()); how is "before", "within" or "behind"
        that.
        """
        self._death = (point, how)
        self._by_reset = by_reset

    def _accept(self):
        while not self._ended.is_set():
            try:
                connection, _ = self._listener.accept()
            except TimeoutError:
                continue
            connection.settimeout(20)
            session = _Session(connection, *self._death)
            try:
                session.run(self._context)
            except (Death, OSError):
                session.end(self._by_reset)


class _Session:
    """One client's session."""

    def __init__(self, connection, point, how):
        self._connection = connection
        self._point = point
        self._how = how
        self._heard = b""

    def run(self, context):
        self._say("banner", b"220 dying.example\r\n")
        self._hear("EHLO")
        self._say("EHLO", PLAIN_LIST)
        self._hear("STARTTLS")
        self._say("STARTTLS", b"220 go on\r\n")
        self._shake_hands(context)
        self._hear("EHLO")
        self._say("EHLO again", SECURE_LIST)
        for verb in ("AUTH", "MAIL", "RCPT", "DATA"):
            self._hear(verb)
            self._say(verb, REPLIES[verb])
        while self._line() != b".":
            pass
        self._say(".", REPLIES["."])
        self._hear("QUIT")
        self._say("QUIT", REPLIES["QUIT"])
        raise Death

    def end(self, by_reset):
        if by_reset:  # socket(7), SO_LINGER
            self._connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")
        self._connection.close()

    def _say(self, point, reply):
        if point == self._point:
            if self._how == "within":
                self._connection.sendall(reply[:len(reply) // 2])
            elif self._how == "behind":
                self._connection.sendall(reply)
            raise Death
        self._connection.sendall(reply)

    def _shake_hands(self, context):
        if self._point == "handshake" and self._how != "behind":
            if self._how == "within":
                self._connection.recv(1)  # the client has begun, and hears half a record
                self._connection.sendall(b"\x16\x03\x03\x00\x7a\x02\x00\x00\x76\x03\x03")
            raise Death
        self._connection = context.wrap_socket(self._connection, server_side=True)
        if self._point == "handshake":
            raise Death

    def _hear(self, verb):
        line = self._line()
        assert line.upper().startswith(verb.encode()), f"{verb} is due, not {line!r}"

    def _line(self):
        while b"\n" not in self._heard:
            piece = self._connection.recv(4096)
            if not piece:
                raise Death
            self._heard += piece
        line, _, self._heard = self._heard.partition(b"\n")
        return line.rstrip(b"\r")
