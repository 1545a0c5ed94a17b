# SPDX-License-Identifier: GPL-3.0-or-later
"""The external address, asked of a real web server: start, polls, and servers that misbehave."""

import time

import pytest

from harness.capture import Capture, opens_connection, question
from harness.lookup_service import (LookupService, answer, closed_port, in_chunks, packed, page,
                                    redirect)
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


@pytest.fixture(autouse=True)
def plugged_in(network, home, service):
    network.cable("lan", f"{LOCAL}/24")
    home.set({"Initial Refresh": 86400, "LastIPAddress": LOCAL,
              "ExternalAddressService": service.url})


def run_through(home, start, deadline=15.0):
    """One run, ended when start-up is over. @returns its lines."""
    before = home.log.lines().count(STARTED)
    program = start()
    until(lambda: home.log.lines().count(STARTED) > before,
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


@pytest.mark.parametrize("behaviour", ["silent", "trickling"])
def test_a_server_that_never_ends(behaviour, home, start, say, service):
    if behaviour == "trickling":
        service.answers(service.trickle)
    begun = time.monotonic()
    lines = run_through(home, start, deadline=60)
    assert lines == [*say.opening(LOCAL, last=LOCAL), "stop"]
    # Ten seconds for the first attempt and thirty for the second.
    assert 39.9 <= time.monotonic() - begun <= 45
    assert len(service.requests) == 2


def test_a_body_without_end_is_cut(home, start, say, service):
    service.answers(service.flood(ENORMOUS))
    program = start()
    home.log.wait_for_line(STARTED)
    assert home.log.last_run() == say.opening(LOCAL, last=LOCAL)
    # A mebibyte is read; the rest is what the system's buffers took.
    assert service.sent < 64 * 1024 ** 2
    assert most_memory(program) < 64 * 1024
    assert program.stop() == 0


def most_memory(program):
    """The most that the process ever had in memory, shared libraries included, in KiB."""
    with open(f"/proc/{program.pid}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith("VmHWM:"))


def test_a_silent_service_is_not_felt(home, network, bus, status_area, start, say, service,
                                      version):
    home.set({"EmailChangesToExternalIPAddress": True})
    begun = time.monotonic()
    start(bus)
    status_area.wait_for_title(LOCAL)
    assert time.monotonic() - begun <= 1.0
    until(lambda: service.requests, "a request")

    reader = Reader(status_area)
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
