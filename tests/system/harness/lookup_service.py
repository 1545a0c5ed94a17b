# SPDX-License-Identifier: GPL-3.0-or-later
"""A lookup service: a web server in a test's network that answers as it is told to.

Its threads are the test's own; only its socket belongs to the network.
"""

import gzip
import socket
import threading

PAGE = ("<html><head><title>Current IP Check</title></head>"
        "<body>Current IP Address: {}</body></html>\r\n")


def page(address):
    """What a service says to whom it sees at address; bytes are taken as they are."""
    before, after = PAGE.encode().split(b"{}")
    return before + (address if isinstance(address, bytes) else address.encode()) + after


def answer(body, status="200 OK", *fields):
    """A whole answer in bytes, for LookupService.answers()."""
    lines = [f"HTTP/1.1 {status}", "Content-Type: text/html", f"Content-Length: {len(body)}",
             "Connection: close", *fields]
    return "\r\n".join([*lines, "", ""]).encode() + body


def packed(body):
    return answer(gzip.compress(body), "200 OK", "Content-Encoding: gzip")


def in_chunks(body, size=7):
    """The same as answer(), in chunks of size bytes (RFC 9112 section 7.1)."""
    pieces = [body[at:at + size] for at in range(0, len(body), size)] + [b""]
    return (b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n"
            + b"".join(b"%x\r\n%s\r\n" % (len(piece), piece) for piece in pieces))


def redirect(place):
    return answer(b"", "302 Found", f"Location: {place}")


class LookupService:
    """Listens on 127.0.0.1 in network. At first whoever asks is kept waiting."""

    def __init__(self, network):
        self._answers = {}        # path to bytes or a function of a connection
        self.requests = []        # each with all its fields, as text
        self.sent = 0             # bytes, to all together
        self._ended = threading.Event()
        self._released = threading.Event()
        self._threads = []
        self._listener = network.inside(self._listen)
        self.port = self._listener.getsockname()[1]
        self.url = f"http://127.0.0.1:{self.port}/"
        self._run(self._accept)

    @staticmethod
    def _listen():
        listener = socket.create_server(("127.0.0.1", 0), backlog=16)
        listener.settimeout(0.1)
        return listener

    def _run(self, work, *arguments):
        thread = threading.Thread(target=work, args=arguments, daemon=True)
        self._threads.append(thread)
        thread.start()

    def close(self):
        """Nobody listens any more; whoever waits is sent away."""
        self._ended.set()
        self._released.set()
        for thread in self._threads:
            thread.join()
        self._listener.close()

    def answers(self, what, path="/"):
        """From now on path is answered with the bytes what, or by the function what(connection)."""
        self._answers[path] = what

    def keeps_silent(self):
        """From now on whoever asks is kept waiting, until release()."""
        self._answers.clear()

    def release(self):
        """Sends everybody away who waits; whoever asks from now on does not wait."""
        self._released.set()

    def send(self, connection, data):
        connection.sendall(data)
        self.sent += len(data)

    def reset(self, connection):
        """Ends connection by a reset rather than in order (socket(7), SO_LINGER)."""
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, b"\1\0\0\0\0\0\0\0")

    def trickle(self, connection):
        """A letter every tenth of a second, for ever."""
        self.send(connection, b"HTTP/1.1 200 OK\r\n\r\n")
        while not self._ended.wait(0.1):
            self.send(connection, b"x")

    def flood(self, size, opening=b"HTTP/1.1 200 OK\r\n\r\n", wave=b"x"):
        """A function that sends opening, and then wave over and over: size bytes of it."""
        def pour(connection):
            self.send(connection, opening)
            block = wave * (65536 // len(wave))
            for _ in range(size // len(block)):
                if self._ended.is_set():
                    break
                self.send(connection, block)
        return pour

    def _accept(self):
        while not self._ended.is_set():
            try:
                connection, _ = self._listener.accept()
            except TimeoutError:
                continue
            self._run(self._serve, connection)

    def _serve(self, connection):
        with connection:
            connection.settimeout(60)
            try:
                self._answer(connection)
            except OSError:
                pass  # the other side went away, which it may

    def _answer(self, connection):
        request = b""
        while b"\r\n\r\n" not in request:
            piece = connection.recv(4096)
            if not piece:
                return
            request += piece
        text = request.decode("latin-1")
        self.requests.append(text)
        what = self._answers.get(text.split(" ")[1])
        if what is None:
            self._released.wait()
        elif callable(what):
            what(connection)
        else:
            self.send(connection, what)
            if b"\r\nContent-Length: " in what:
                connection.recv(1)  # The client knows the end and hangs up first.


def closed_port(network):
    """A port of 127.0.0.1 in network at which nobody listens."""
    service = LookupService(network)
    service.close()
    return service.port
