# SPDX-License-Identifier: GPL-3.0-or-later
"""The external address, asked of a real web server: start, polls, and servers that misbehave."""

import time

import pytest

from harness.capture import Capture, opens_connection, question
from harness.home import Home
from harness.lookup_service import (LookupService, answer, closed_port, in_chunks, packed, page,
                                    redirect)
from harness.menu_hosts import PlasmaHost
from harness.program import Program
from harness.reader import Reader, duration
from harness.transcript import COPYING, LOADING, Transcript, without_dates
from harness.waiting import until

LOCAL, OTHER = "192.0.2.7", "198.51.100.4"
SEEN = "203.0.113.7"
FAILED = "-.-.-.-"
STARTED = f"The current (first) internal IP address is:{LOCAL}"
BROWSER = ("\r\nUser-Agent: Mozilla/5.0 (Macintosh; U; Intel Mac OS X 10_6_6; en-us) "
           "AppleWebKit/533.20.25 (KHTML, like Gecko) Version/5.0.4 Safari/533.20.27\r\n")
PREFERENCES_CHANGED = ("Preferences Changed", "com.corvane.preference.Quillfen")
ENORMOUS = 10 * 1024 ** 3  # bytes


@pytest.fixture
def say(version):
    return Transcript(version)


@pytest.fixture
def service(network):
    lookup = LookupService(network)
    yield lookup
    lookup.close()


@pytest.fixture
def capture(network):
    everything = Capture(network)
    yield everything
    everything.close()


def asking(service):
    """The settings with which the program asks service, and is seldom busy with other things."""
    return {"Initial Refresh": 86400, "LastIPAddress": LOCAL,
            "ExternalAddressService": service.url}


@pytest.fixture(autouse=True)
def plugged_in(network, home, service):
    network.cable("lan", f"{LOCAL}/24")
    home.set(asking(service))


@pytest.fixture
def neighbour(request, tmp_path, network):
    """Another user of the same machine, with a program and a service of his own."""
    world = Neighbour(request.config.getoption("--program"), tmp_path / "neighbour", network)
    yield world
    world.close()


class Neighbour:
    def __init__(self, binary, folder, network):
        self._binary, self._network = binary, network
        self._program = None
        self.home = Home(folder)
        self.service = LookupService(network)
        self.home.set(asking(self.service))

    def start(self):
        self._program = Program(self._binary, self.home, self._network)
        return self._program

    def close(self):
        if self._program:
            self._program.kill()
        self.service.close()


def run_through(home, start, deadline=15.0):
    """One run, ended when start-up is over. @returns its lines."""
    before = home.log.lines().count(STARTED)
    return through(home, start(), before + 1, deadline)


def through(home, program, starts=1, deadline=15.0):
    """A run that is under way, ended when start-up is over, the starts-th in this home."""
    until(lambda: home.log.lines().count(STARTED) >= starts,
          lambda: "the end of start-up:\n" + "\n".join(home.log.lines()), deadline)
    assert program.stop() == 0
    return without_dates(home.log.last_run())


def page_answer(address):
    return answer(page(address))


def test_polls_over_several_runs(home, start, say, service):
    home.set({"EmailChangesToExternalIPAddress": True})
    last = "0.0.0.0"
    for what, seen in [("the first poll after installation", SEEN), ("the same again", SEEN),
                       ("another", OTHER), ("a failure", FAILED), ("it fails again", FAILED),
                       ("it is back", OTHER)]:
        service.answers(page_answer(seen) if seen != FAILED else b"")
        lines = run_through(home, start)
        assert lines == [*say.opening(LOCAL, last=LOCAL, external=seen, watched=last),
                         "stop"], what
        assert home.settings()["LastExternalIPAddress"] == seen, what
        last = seen


def cut_short(connection):
    connection.sendall(answer(page(SEEN))[:-1])


ANSWERS = {
    "an error page with the markers": (answer(page(SEEN), "500 Internal Server Error"), SEEN),
    "an error page without": (answer(b"no", "503 Service Unavailable"), FAILED),
    "no end marker": (answer(b"Current IP Address: 203.0.113.7"), FAILED),
    "markers in capitals": (answer(page(SEEN).upper()), SEEN),
    "not UTF-8": (page_answer(b"caf\x8e"), "caf\u00e9"),
    "a blank behind": (page_answer(SEEN + " "), SEEN + " "),
    "empty": (answer(b""), FAILED),
    "closed at once": (b"", FAILED),
    "cut short": (cut_short, FAILED),
    "chunked": (in_chunks(page(SEEN)), SEEN),
    "gzip": (packed(page(SEEN)), SEEN),
    "a redirect loop": (redirect("/"), FAILED),
    "a redirect to a file": (redirect("file:///etc/hostname"), FAILED),
    "a forged log line": (page_answer("1\n[2026-01-01 00:00:00 +0000] stop\x1b[2J"),
                          "1 [2026-01-01 00:00:00 +0000] stop [2J"),
    "percent signs": (page_answer("%@%n%s%%"), "%@%n%s%%"),
}


@pytest.mark.parametrize("name", ANSWERS)
def test_an_answer(name, home, start, say, service):
    served, address = ANSWERS[name]
    service.answers(served)
    lines = run_through(home, start)
    assert lines == [*say.opening(LOCAL, last=LOCAL, external=address), "stop"]


def test_a_reset(home, start, say, service):
    service.answers(service.reset)
    lines = run_through(home, start)
    assert lines == [*say.opening(LOCAL, last=LOCAL), "stop"]
    assert {BROWSER in request for request in service.requests} == {False, True}


def test_nobody_listens(home, network, start, say):
    home.set({"ExternalAddressService": f"http://127.0.0.1:{closed_port(network)}/"})
    assert run_through(home, start) == [*say.opening(LOCAL, last=LOCAL), "stop"]


def test_a_redirect_is_followed(home, start, say, service):
    service.answers(redirect("/elsewhere"))
    service.answers(page_answer(SEEN), "/elsewhere")
    lines = run_through(home, start)
    assert lines == [*say.opening(LOCAL, last=LOCAL, external=SEEN), "stop"]


def test_the_second_attempt_is_a_browsers(home, start, say, service):
    def serve_browsers(connection):
        if BROWSER in service.requests[-1]:
            service.send(connection, page_answer(SEEN))
    service.answers(serve_browsers)
    lines = run_through(home, start)
    assert lines == [*say.opening(LOCAL, last=LOCAL, external=SEEN), "stop"]
    assert BROWSER not in service.requests[0]


@pytest.mark.parametrize("stored, asked", [
    (7, "http://checkip.dyndns.com/"),
    (None, "http://checkip.dyndns.com/"),
    ("not a URL", "not a URL"),
    ("ftp://127.0.0.1/", "ftp://127.0.0.1/"),
])
def test_a_service_key_that_is_of_no_use(stored, asked, home, start, say):
    home.set({"ExternalAddressService": stored})
    program = start()
    home.log.wait_for_line(STARTED)
    assert home.log.last_run() == say.opening(LOCAL, last=LOCAL)
    assert f"Downloading URL: {asked}\n" in program.console()


def test_a_silent_server_and_one_that_trickles(home, start, say, service, neighbour):
    neighbour.service.answers(neighbour.service.trickle)
    begun = time.monotonic()
    programs = [(home, start()), (neighbour.home, neighbour.start())]
    for whose, program in programs:
        lines = through(whose, program, deadline=60)
        assert lines == [*say.opening(LOCAL, last=LOCAL), "stop"]
        # Ten seconds for the first attempt and thirty for the second.
        assert 39.9 <= time.monotonic() - begun <= 45
    assert [len(asked.requests) for asked in (service, neighbour.service)] == [2, 2]


def test_a_body_without_end_is_cut(home, start, say, service):
    service.answers(service.flood(ENORMOUS))
    program = start()
    home.log.wait_for_line(STARTED)
    assert home.log.last_run() == say.opening(LOCAL, last=LOCAL)
    # A mebibyte is read; the rest is what the system's buffers took.
    assert service.sent < 64 * 1024 ** 2
    assert most_memory(program) < 64 * 1024
    assert program.stop() == 0


FELT = 0.2  # seconds; sending a flood takes time from this process too, which measures
OK = b"HTTP/1.1 200 OK\r\n"
FLOODS = {
    "a status line": (b"HTTP/1.1 200 ", b"A"),
    "lines of a head": (OK, b"X: y\r\n"),
    "a chunk's extension": (OK + b"Transfer-Encoding: chunked\r\n\r\n5;", b"a=b;"),
}


@pytest.mark.parametrize("name", FLOODS)
def test_a_flood_before_the_body_is_not_felt(name, home, bus, status_area, start, service):
    home.set({"EmailChangesToExternalIPAddress": True, "LastExternalIPAddress": FAILED})
    service.answers(service.flood(ENORMOUS, *FLOODS[name]))
    program = start(bus)
    home.log.wait_for_line(STARTED)
    reader = Reader(status_area, program)
    for _ in range(5):
        asked = len(service.requests)
        checks = home.log.last_run().count("Checking internal IP")
        bus.post(*PREFERENCES_CHANGED)
        until(lambda: home.log.last_run().count("Checking internal IP") > checks,
              "the end of a poll")
        assert len(service.requests) == asked + 2
    reader.stop()
    assert reader.longest <= FELT + reader.noise
    assert service.sent <= 64 * 1024 ** 2 * len(service.requests)
    assert most_memory(program) < 64 * 1024
    bus.post(*PREFERENCES_CHANGED)
    assert duration(program.stop) <= 1.0
    assert program.exit_code() == 0


def test_a_body_that_unpacks_to_much_is_cut(home, start, say, service):
    service.answers(packed(page(SEEN) + b"\0" * 100 * 1024 ** 2))
    program = start()
    home.log.wait_for_line(STARTED)
    assert home.log.last_run() == say.opening(LOCAL, last=LOCAL, external=SEEN)
    assert len(service.requests) == 1
    assert most_memory(program) < 64 * 1024
    assert program.stop() == 0


HOSTILE = {
    # What stands in the page; in the log; in the menu; on the console.
    "marks, markup and controls": (
        "<b>1</b>&amp;_%@%n%s\u202e7\u200f\x07\x1b[2J\u2028\0tail",
        "<b>1</b>&amp;_%@%n%s\u202e7\u200f  [2J ",
        "<b>1</b>&amp;_%@%n%s7  [2J  tail",
        r"<b>1</b>&amp;_%@%n%s\u202e7\u200f\x07\x1b[2J\u2028\x00tail"),
    "900 kB": ("9" * 900_000, None, "9" * 999 + "\u2026", "9" * 900_000),
}


@pytest.mark.parametrize("name", HOSTILE)
def test_a_hostile_address(name, home, bus, status_area, start, service):
    address, logged, shown, told = HOSTILE[name]
    home.set({"IncludeExternalIP": True, "EmailChangesToExternalIPAddress": True})
    service.answers(page_answer(address))
    program = start(bus)
    home.log.wait_for_line(STARTED)
    # A line that is too long for the log is an empty one.
    for text in ("Current external IP address: ", "The current external IP address is:"):
        assert (text + logged if logged else "") in home.log.last_run()
    assert home.settings()["LastExternalIPAddress"] == address

    host = PlasmaHost(bus, status_area)
    host.open()
    until(lambda: host.titles()[1] == shown,
          lambda: f"the row {shown!r}; it is {host.titles()[1]!r}")
    assert host.rows()[1].tips == ["Copy the external IP address to the clipboard"] * 2
    assert "<" not in str(status_area.ask("ToolTip")[2:])
    assert status_area.title() == LOCAL

    assert f"External ip = {told}\n" in program.console()
    assert all(line.isprintable() for line in program.console().split("\n"))
    assert duration(program.stop) <= 1.0
    assert program.exit_code() == 0


def most_memory(program):
    """The most that the process ever had in memory, shared libraries included, in KiB."""
    with open(f"/proc/{program.pid}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmHWM:"))


def test_a_silent_service_is_not_felt(home, network, bus, status_area, start, say, service,
                                      version):
    home.set({"EmailChangesToExternalIPAddress": True})
    begun = time.monotonic()
    program = start(bus)
    status_area.wait_for_title(LOCAL)
    assert time.monotonic() - begun <= 1.0
    until(lambda: service.requests, "a request")

    reader = Reader(status_area, program)
    changed = network.ip("address add 198.51.100.4/24 dev lan", "address del 192.0.2.7/24 dev lan")
    assert status_area.arrival(OTHER, since=changed - 1) - changed <= 0.1
    until(lambda: reader.count > 100, "a hundred answers")
    reader.stop()
    assert reader.longest <= 0.05 + reader.noise
    assert home.log.last_run() == ["start", "Starting up...", "Checking external IP", LOADING]

    # What came meanwhile is handled when the turn is over, in its order.
    service.release()
    home.log.wait_for_line(f"The current (first) internal IP address is:{OTHER}")
    expected = ["start", "Starting up...", *say.poll(FAILED, "0.0.0.0"),
                *say.refresh(OTHER, last=LOCAL), *say.refresh(OTHER, last=OTHER), LOADING,
                f"The current external IP address is:{FAILED}",
                f"The current (first) internal IP address is:{OTHER}"]
    assert without_dates(home.log.last_run())[:len(expected)] == expected


def test_a_change_waits_for_the_poll_that_is_under_way(home, network, bus, start, say, service):
    home.set({"EmailChangesToExternalIPAddress": True, "LastExternalIPAddress": FAILED})
    service.answers(b"")
    start(bus)
    home.log.wait_for_line(STARTED)
    before = len(home.log.last_run())
    asked = len(service.requests)
    service.keeps_silent()
    bus.post(*PREFERENCES_CHANGED)
    until(lambda: len(service.requests) > asked, "a request")
    network.ip("address add 198.51.100.4/24 dev lan", "address del 192.0.2.7/24 dev lan")
    service.release()
    expected = [*say.poll(FAILED, FAILED), *say.refresh(OTHER, last=LOCAL),
                *say.refresh(OTHER, last=OTHER)]
    until(lambda: len(home.log.last_run()) >= before + len(expected), "the lines of both")
    assert without_dates(home.log.last_run())[before:] == expected


@pytest.mark.parametrize("way", ["a signal", "the menu"])
def test_it_quits_while_the_service_is_silent(way, home, bus, status_area, start, service):
    home.set({"EmailChangesToExternalIPAddress": True})
    program = start(bus)
    status_area.wait_for_title(LOCAL)
    until(lambda: service.requests, "a request")
    if way == "a signal":
        assert duration(program.stop) <= 1.0
    else:
        assert duration(lambda: (status_area.choose("Quit"), program.exit_code())) <= 1.0
    assert program.exit_code() == 0
    assert home.log.last_run()[-1] == "stop"


def test_changed_preferences_take_effect_at_once(home, bus, start, say, service):
    service.answers(page_answer(SEEN))
    start(bus)
    home.log.wait_for_line(STARTED)
    lines = say.opening(LOCAL, last=LOCAL, external=SEEN)
    assert home.log.last_run() == lines

    for settings, poll in [
            ({"EmailChangesToExternalIPAddress": True}, say.poll(SEEN, "0.0.0.0", COPYING)),
            ({"MinutesInterval": 10}, say.poll(SEEN, SEEN, COPYING, minutes=10)),
            ({"MinutesInterval": 547}, say.poll(SEEN, SEEN, COPYING, minutes=547)),
            ({"EmailChangesToExternalIPAddress": False}, [])]:
        home.set(settings)
        bus.post(*PREFERENCES_CHANGED)
        lines += [*poll, *say.refresh(LOCAL, last=LOCAL)]
        until(lambda: len(home.log.last_run()) >= len(lines), f"the lines after {settings}")
        assert without_dates(home.log.last_run()) == lines
    assert len(service.requests) == 1


def test_nothing_leaves_but_one_lookup(home, network, start, service, capture):
    """With the external address not watched: one connection, and the first address's name."""
    network.know({LOCAL: "desk.example"})
    capture.packets()
    service.answers(page_answer(SEEN))
    program = start()
    home.log.wait_for_line(STARTED)
    assert program.stop() == 0

    sent = capture.packets()
    connections = [packet for packet in sent if opens_connection(packet)]
    assert [(packet.target, packet.target_port) for packet in connections] == [
        ("127.0.0.1", service.port)]
    queries = [packet for packet in sent if packet.target_port == 53]
    assert {question(packet) for packet in queries} == {"7.2.0.192.in-addr.arpa"}
    assert {packet.target for packet in queries} == {"127.0.0.1"}
    # All else belongs to these: packets of the one connection, answers to the queries.
    others = [packet for packet in sent
              if packet not in connections + queries and packet.source_port != 53
              and service.port not in (packet.source_port, packet.target_port)]
    assert others == []
    assert {packet.interface for packet in sent} == {"lo"}
    assert len(service.requests) == 1
