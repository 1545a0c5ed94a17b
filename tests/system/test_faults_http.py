# SPDX-License-Identifier: GPL-3.0-or-later
"""A lookup service that lies in every way in which a web server can (RFC 9112).

What it says is either understood or it is no answer. Never is it a third thing, and the next true
answer is taken.
"""

import gzip
import zlib

import pytest

from harness.lookup_service import LookupService, answer, page
from harness.transcript import Transcript, without_dates
from harness.vital_signs import open_apart_from_settings, vital_signs
from harness.waiting import until

LOCAL = "192.0.2.7"
SEEN, FAILED = "203.0.113.7", "-.-.-.-"
STARTED = f"The current (first) internal IP address is:{LOCAL}"
PREFERENCES_CHANGED = ("Preferences Changed", "com.corvane.preference.Quillfen")
PAGE = page(SEEN)
ALLOWED_GROWTH = 1024  # KiB, after all lies


def head(*fields, status=b"HTTP/1.1 200 OK"):
    return b"\r\n".join([status, *fields, b"Connection: close", b"", b""])


def chunked(*chunks):
    """An answer in chunks, each as it is to be sent: with its size."""
    return head(b"Transfer-Encoding: chunked") + b"".join(chunks)


def chunk(size, data):
    return size + b"\r\n" + data + b"\r\n"


SIZE = b"%x" % len(PAGE)
END = chunk(b"0", b"")
GZIP = gzip.compress(PAGE)


def encoded(coding, body):
    return head(b"Content-Encoding: " + coding, b"Content-Length: %d" % len(body)) + body


# What is said, and what may come of it; where that is more than one, the standard leaves it open.
LIES = {
    "a length that is too long": (head(b"Content-Length: %d" % (len(PAGE) + 1)) + PAGE, [FAILED]),
    "a length that is far too long": (head(b"Content-Length: " + b"9" * 18) + PAGE, [FAILED]),
    "a length beyond all numbers": (head(b"Content-Length: " + b"9" * 40) + PAGE,
                                    [FAILED, SEEN]),
    "a length that is too short": (head(b"Content-Length: 40") + PAGE, [FAILED]),
    "a length of nothing": (head(b"Content-Length: 0") + PAGE, [FAILED]),
    "a negative length": (head(b"Content-Length: -5") + PAGE, [FAILED]),
    "a length that is no number": (head(b"Content-Length: many") + PAGE, [FAILED, SEEN]),
    "two lengths": (head(b"Content-Length: 40", b"Content-Length: %d" % len(PAGE)) + PAGE,
                    [FAILED, SEEN]),
    "a chunk that is longer than it says": (chunked(chunk(b"5", PAGE), END), [FAILED]),
    "a chunk that is shorter than it says": (chunked(chunk(b"fff", PAGE), END), [FAILED]),
    "a chunk without end": (chunked(chunk(b"7fffffffffffffff", PAGE)), [FAILED]),
    "a chunk of a size beyond all numbers": (chunked(chunk(b"f" * 40, PAGE), END), [FAILED]),
    "a chunk of a negative size": (chunked(chunk(b"-" + SIZE, PAGE), END), [FAILED]),
    "a chunk of a size that is no number": (chunked(chunk(b"zz", PAGE), END), [FAILED]),
    "a chunk without a size": (chunked(PAGE), [FAILED]),
    "chunks without the last": (chunked(chunk(SIZE, PAGE)), [FAILED]),
    "chunks that are not": (head(b"Transfer-Encoding: chunked", b"Content-Length: 9") + PAGE,
                            [FAILED]),
    "an unknown transfer coding": (head(b"Transfer-Encoding: mystery") + PAGE, [FAILED, SEEN]),
    "gzip that is none": (encoded(b"gzip", PAGE), [FAILED]),
    "gzip cut off": (encoded(b"gzip", GZIP[:-20]), [FAILED]),
    "gzip with a wrong sum": (encoded(b"gzip", GZIP[:-8] + b"\0" * 8), [FAILED]),
    "gzip with rubbish in the middle": (encoded(b"gzip", GZIP[:20] + b"\xff" * 8 + GZIP[28:]),
                                        [FAILED]),
    "gzip with something behind it": (encoded(b"gzip", GZIP + b"more"), [FAILED, SEEN]),
    "gzip that is not said": (answer(GZIP), [FAILED]),
    "gzip twice": (encoded(b"gzip, gzip", gzip.compress(GZIP)), [FAILED]),
    "deflate that is gzip": (encoded(b"deflate", GZIP), [FAILED]),
    "a bomb": (encoded(b"gzip", gzip.compress(b"x" * 200_000_000, 9)), [FAILED]),
    "an unknown coding": (encoded(b"mystery", PAGE), [FAILED, SEEN]),
    "deflate that is cut off": (encoded(b"deflate", zlib.compress(PAGE)[:-6]), [FAILED, SEEN]),
    "no head at all": (PAGE, [FAILED]),
    "a head of zeros": (b"\0" * 1000, [FAILED]),
    "an empty status line": (b"\r\n\r\n" + PAGE, [FAILED]),
    "half a status line": (b"HTTP/1.", [FAILED]),
    "a status that is no number": (head(status=b"HTTP/1.1 abc OK") + PAGE, [FAILED]),
    "a status with too many digits": (head(status=b"HTTP/1.1 2000 OK") + PAGE, [FAILED, SEEN]),
    "a status below all": (head(status=b"HTTP/1.1 007 OK") + PAGE, [FAILED, SEEN]),
    "a version of the future": (head(status=b"HTTP/9.7 200 OK") + PAGE, [FAILED]),
    "another protocol": (b"SSH-2.0-OpenSSH_9.2\r\n", [FAILED]),
    "a mail server": (b"220 mail.example ESMTP\r\n", [FAILED]),
    "a TLS alert": (b"\x15\x03\x01\x00\x02\x02\x46", [FAILED]),
    "a head without end": (b"HTTP/1.1 200 OK\r\nA: b\r\n", [FAILED]),
    "a field without a colon": (head(b"garbage", b"Content-Length: %d" % len(PAGE)) + PAGE,
                                [FAILED, SEEN]),
    "a field without a name": (head(b": garbage") + PAGE, [FAILED, SEEN]),
    "a field with a zero in it": (head(b"A: \0garbage") + PAGE, [FAILED, SEEN]),
    "a field of all bytes": (head(b"A: " + bytes(set(range(256)) - {10, 13})) + PAGE,
                             [FAILED, SEEN]),
    "a field of a mebibyte": (head(b"A: " + b"x" * 2 ** 20) + PAGE, [FAILED]),
    "a hundred thousand fields": (head(*[b"A: b"] * 100_000) + PAGE, [FAILED]),
    "bare line feeds": ((head(b"Content-Length: %d" % len(PAGE)) + PAGE).replace(b"\r\n", b"\n"),
                        [FAILED, SEEN]),
    "continue for ever": (b"HTTP/1.1 100 Continue\r\n\r\n" * 20_000, [FAILED]),
    "another protocol from here on": (head(b"Upgrade: mystery", status=b"HTTP/1.1 101 Switch")
                                      + PAGE, [FAILED, SEEN]),
    "nothing new": (head(status=b"HTTP/1.1 304 Not Modified") + PAGE, [FAILED]),
    "no content": (head(status=b"HTTP/1.1 204 No Content") + PAGE, [FAILED]),
    "a part": (head(b"Content-Range: bytes 5-9/3", status=b"HTTP/1.1 206 Part") + PAGE,
               [FAILED, SEEN]),
    "a redirect to itself": (head(b"Location: ", status=b"HTTP/1.1 302 Found"), [FAILED]),
    "a redirect without a place": (head(status=b"HTTP/1.1 302 Found"), [FAILED]),
    "a redirect to rubbish": (head(b"Location: http://[::1", status=b"HTTP/1.1 302 Found"),
                              [FAILED]),
    "a login": (head(b"WWW-Authenticate: Negotiate", status=b"HTTP/1.1 401 No"), [FAILED]),
    "two answers": (answer(page("198.51.100.9")[:-30]) + answer(PAGE), [FAILED]),
}


@pytest.fixture
def say(version):
    return Transcript(version)


@pytest.fixture
def service(network):
    lookup = LookupService(network)
    lookup.release()
    yield lookup
    lookup.close()


@pytest.fixture(autouse=True)
def plugged_in(network, home, service):
    network.cable("lan", f"{LOCAL}/24")
    home.set({"Initial Refresh": 86400, "LastIPAddress": LOCAL, "LastExternalIPAddress": FAILED,
              "ExternalAddressService": service.url})


def tell(service, lie):
    """From now on, whoever asks is told that, and then the service hangs up."""
    service.answers(lambda connection: service.send(connection, lie))


def test_lies_are_no_answer(home, bus, start, service, say):
    lies = {name: lie for name, (lie, results) in LIES.items() if results == [FAILED]}
    service.answers(b"")
    program = start(bus)
    lines = say.opening(LOCAL, last=LOCAL)
    home.log.wait_for_line(STARTED)
    home.set({"EmailChangesToExternalIPAddress": True})

    def poll_finds(address, last, what):
        nonlocal lines
        bus.post(*PREFERENCES_CHANGED)
        lines += [*say.poll(address, last), *say.refresh(LOCAL, last=LOCAL)]
        until(lambda: len(home.log.last_run()) >= len(lines), what)
        assert without_dates(home.log.last_run())[-12:] == lines[-12:], what

    open_before = open_apart_from_settings(program.pid)
    before = vital_signs(program.pid)
    for name, lie in lies.items():
        tell(service, lie)
        poll_finds(FAILED, FAILED, name)
    assert {request.split(" ")[1] for request in service.requests} == {"/"}
    until(lambda: open_apart_from_settings(program.pid) <= open_before, "all sockets closed")
    assert vital_signs(program.pid).private_dirty - before.private_dirty <= ALLOWED_GROWTH
    service.answers(answer(PAGE))
    poll_finds(SEEN, FAILED, "the truth")
    assert program.stop() == 0


@pytest.mark.parametrize("name", [name for name, (_, results) in LIES.items() if SEEN in results])
def test_what_may_be_a_lie(name, home, start, service, say):
    lie, results = LIES[name]
    tell(service, lie)
    program = start()
    home.log.wait_for_line(STARTED)
    assert home.log.last_run() in [say.opening(LOCAL, last=LOCAL, external=result)
                                   for result in results]
    assert program.stop() == 0
