# SPDX-License-Identifier: GPL-3.0-or-later
"""What other programs learn of the running one: --status, --follow, and the bus itself."""

import json
import os
import signal
import subprocess
import time

import pytest
from gi.repository import GLib

from harness.command import WITHOUT_OUTPUT
from harness.follower import Follower
from harness.lookup_service import LookupService, answer, page
from harness.program import environment
from harness.waiting import stays, until

BEFORE, SECOND, AFTER = "192.0.2.7", "198.51.100.4", "203.0.113.9"
SEEN = "203.0.113.7"
NAME, PATH = "com.corvane.Quillfen", "/com/corvane/Quillfen/Status"
INTERFACE, PROPERTIES = "com.corvane.Quillfen.Status", "org.freedesktop.DBus.Properties"


@pytest.fixture
def service(network):
    world = LookupService(network)
    world.answers(answer(page(SEEN)))
    yield world
    world.close()


@pytest.fixture(autouse=True)
def plugged_in(network, home, service):
    network.name_machine('PRETTY_HOSTNAME="Desk & <Co>"\n')
    home.set({"Initial Refresh": 86400, "ExternalAddressService": service.url})
    network.cable("lan", f"{BEFORE}/24", f"{SECOND}/24")


@pytest.fixture
def run(home, bus, start):
    """run(): the program on the bus, its start-up over."""
    def running(**more):
        program = start(bus, **more)
        home.log.wait_for_line(f"The current (first) internal IP address is:{BEFORE}")
        return program
    return running


@pytest.fixture
def follow(request, home, network, bus):
    followers = []

    def following(*words):
        argv = [*network.enter(), request.config.getoption("--program"), *(words or ["--follow"])]
        followers.append(Follower(argv, environment(home, bus)))
        return followers[-1]
    yield following
    for follower in followers:
        follower.close()


def test_people_read_lines(network, bus, run, command):
    network.know({BEFORE: "quill.example"})
    run()
    done = command("--status", bus=bus)
    assert (done.status, done.error) == (0, "")
    assert done.out.splitlines() == [
        f"Title: {BEFORE}", f"First address: {BEFORE}", "DNS name: quill.example",
        f"Local addresses: {BEFORE}, {SECOND}", "Computer name: Desk & <Co>",
        "Wireless network: not known", f"External address: {SEEN}"]


def test_programs_read_an_object(network, home, bus, run, command):
    home.set({"IncludeMachineName": True})
    network.know({BEFORE: "quill.example"})
    run()
    done = command("--status=json", bus=bus)
    assert (done.status, done.error, done.out.count("\n")) == (0, "", 1)
    assert json.loads(done.out) == {
        "title": f"{BEFORE}:Desk & <Co>", "address": BEFORE, "addresses": [BEFORE, SECOND],
        "dnsName": "quill.example", "computerName": "Desk & <Co>", "wirelessNetwork": None,
        "externalAddress": SEEN}


def test_without_a_network(network, bus, run, command, home, version):
    run()
    network.ip("link set lanx down")
    home.log.wait_for_line(f"Quillfen {version} refreshed. (-.-.-.-)")
    told = json.loads(command("--status=json", bus=bus).out)
    assert (told["title"], told["address"], told["addresses"]) == ("-.-.-.-", None, [])


def test_it_is_what_is_known_already(network, service, bus, start, status_area, command):
    """Neither a name server nor the lookup service is asked, or waited for."""
    network.silence_names()
    start(bus)
    status_area.wait_for_title(BEFORE)
    for _ in range(3):
        done = command("--status=json", bus=bus)
        assert json.loads(done.out)["title"] == BEFORE
        assert json.loads(done.out)["externalAddress"] is None
        assert done.seconds < 1.8  # a name server that is waited for takes 2
    assert not service.requests


def test_what_comes_from_outside_does_not_steer_the_terminal(bus, service, run, command):
    service.answers(answer(page("a\x1b[31mb\nTitle: c")))
    run()
    done = command("--status", bus=bus)
    assert done.out.splitlines()[-1] == "External address: a\\x1b[31mb\\x0aTitle: c"
    told = json.loads(command("--status=json", bus=bus).out)
    assert told["externalAddress"] == "a\x1b[31mb\nTitle: c"


@pytest.mark.parametrize("option", ["--status", "--status=json", "--follow"])
def test_nobody_to_ask(option, bus, command):
    done = command(option, bus=bus)
    assert (done.status, done.complaint()) == (1, "quillfen: Quillfen is not running.")
    assert not bus.has_owner(NAME)


@pytest.mark.parametrize("option", ["--status", "--follow"])
def test_what_cannot_be_printed_is_said(option, bus, run, command):
    run()
    said = "quillfen: nothing can be printed: "
    with open("/dev/full", "wb") as full:
        done = command(option, bus=bus, stdout=full)
    assert (done.status, done.complaint()) == (1, f"{said}No space left on device.")
    done = command(option, bus=bus, through=WITHOUT_OUTPUT)
    assert (done.status, done.complaint()) == (1, f"{said}Bad file descriptor.")


@pytest.mark.parametrize("option", ["--status", "--follow"])
def test_a_program_that_hangs_is_given_up(option, bus, run, command):
    program = run()
    program.send(signal.SIGSTOP)
    done = command(option, bus=bus)
    program.send(signal.SIGCONT)
    assert done.status == 1
    assert done.complaint() == "quillfen: the running Quillfen does not tell its status."
    assert done.seconds < 3


def test_following_prints_a_line_at_once_and_at_each_change(network, home, run, follow):
    home.set({"IncludeMachineName": True})
    network.know({BEFORE: "quill.example", AFTER: "other.example"})
    run()
    bar = follow()
    line = bar.wait_for_text(f"{BEFORE}:Desk &amp; &lt;Co&gt;")
    assert line == {"text": f"{BEFORE}:Desk &amp; &lt;Co&gt;", "class": "connected",
                    "tooltip": f"Local addresses: {BEFORE}, {SECOND}\nDNS name: quill.example\n"
                               f"Computer: Desk &amp; &lt;Co&gt;\nExternal address: {SEEN}"}
    network.ip("link set lanx down")
    line = bar.wait_for_text("-.-.-.-:Desk &amp; &lt;Co&gt;")
    assert line["class"] == "disconnected"
    network.ip(f"address add {AFTER}/24 dev lan", f"address del {BEFORE}/24 dev lan",
               f"address del {SECOND}/24 dev lan", "link set lanx up")
    bar.wait_for(lambda line: line["text"].startswith(AFTER)
                 and "DNS name: other.example" in line["tooltip"])
    assert len({json.dumps(line) for line in bar.lines()}) == len(bar.lines())


def test_following_the_status_is_the_same(run, follow):
    run()
    for words in (["--status", "--follow"], ["--status=json", "--follow"]):
        assert follow(*words).wait_for_text(BEFORE)["class"] == "connected"


def test_following_ends_with_the_program(run, follow):
    program = run()
    bars = [follow(), follow()]
    for bar in bars:
        bar.wait_for_text(BEFORE)
    assert program.stop() == 0
    assert [bar.exit_code() for bar in bars] == [0, 0]
    assert bars[0].error() == ""


def test_following_ends_with_a_program_that_is_killed(run, follow):
    program = run()
    bar = follow()
    bar.wait_for_text(BEFORE)
    program.kill()
    assert bar.exit_code() == 0


def test_following_ends_with_the_bus(bus, run, follow):
    run()
    bar = follow()
    bar.wait_for_text(BEFORE)
    bus.break_down()
    assert bar.exit_code() == 0


def test_following_ends_with_its_reader(request, home, network, bus, run):
    """At once, and not with the next change."""
    run()
    reading, writing = os.pipe()
    with subprocess.Popen([*network.enter(), request.config.getoption("--program"), "--follow"],
                          env=environment(home, bus), stdin=subprocess.DEVNULL, stdout=writing,
                          stderr=subprocess.PIPE) as following:
        os.close(writing)
        assert json.loads(os.read(reading, 65536))["text"] == BEFORE
        os.close(reading)
        assert following.wait(20) == 0
        assert following.stderr.read() == b""


def test_following_sleeps_while_nothing_changes(run, follow):
    run()
    bar = follow()
    bar.wait_for_text(BEFORE)
    last, since = bar.wakings(), time.monotonic()

    def at_rest():
        nonlocal last, since
        now = bar.wakings()
        if now != last:
            last, since = now, time.monotonic()
        return time.monotonic() - since > 0.5
    until(at_rest, "a follower at rest")
    stays(lambda: bar.wakings() == last, "the follower wakes", during=1.5)


def test_a_storm_of_changes_ends_with_the_last(network, run, follow):
    run()
    bar = follow()
    bar.wait_for_text(BEFORE)
    swaps = []
    for number in range(1, 200):
        swaps += [f"address add 10.0.{number}.1/24 dev lan",
                  f"address del {f'10.0.{number - 1}.1' if number > 1 else BEFORE}/24 dev lan"]
    network.ip(f"address del {SECOND}/24 dev lan", *swaps)
    bar.wait_for_text("10.0.199.1")


def test_the_bus_tells_of_changes_and_of_nothing_else(network, home, bus, listening, run, version):
    run()
    heard = []
    connection = bus.connect()
    connection.signal_subscribe(None, PROPERTIES, "PropertiesChanged", PATH, None, 0,
                                lambda *signal: heard.append(signal[5].unpack()))
    refreshed = f"Quillfen {version} refreshed. ({BEFORE})"
    before = home.log.last_run().count(refreshed)
    bus.post("Preferences Changed", "com.corvane.preference.Quillfen")
    home.log.wait_for_line(refreshed, count=before + 1)
    home.set({"IncludeMachineName": True})
    bus.post("Preferences Changed", "com.corvane.preference.Quillfen")
    until(lambda: heard, "a change")
    home.log.wait_for_line(refreshed, count=before + 2)
    assert heard == [(INTERFACE, {"Title": f"{BEFORE}:Desk & <Co>"}, [])]
    network.ip(f"address del {SECOND}/24 dev lan")
    until(lambda: len(heard) > 1, "another change")
    assert heard[1] == (INTERFACE, {}, ["Addresses"])
    addresses, = bus.call(NAME, PATH, PROPERTIES, "Get",
                          GLib.Variant("(ss)", (INTERFACE, "Addresses")))
    assert addresses == [BEFORE]
