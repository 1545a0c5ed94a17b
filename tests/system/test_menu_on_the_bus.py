# SPDX-License-Identifier: GPL-3.0-or-later
"""The menu on the session bus, called as each family of panels calls it."""

import itertools
import time

import pytest
from gi.repository import GLib

from harness.lookup_service import LookupService, answer, closed_port, page
from harness.menu_hosts import GnomeHost, GtkHost, PlasmaHost
from harness.reader import duration
from harness.waiting import stays, until

ADDRESSES = ["192.0.2.7", "192.0.2.8", "192.0.2.9"]
NAMES = {"192.0.2.7": "attic.example.org", "203.0.113.9": "outside.example.org"}
EXTERNAL = "203.0.113.9"
STARTED = "The current (first) internal IP address is:{}"
OFF = "Include external IP is off"
NO_NAME, NO_EXTERNAL = "DNS name unavailable", "External IP unavailable"
NO_EXTERNAL_NAME = "External DNS name unavailable"
PROMISED = 0.2  # seconds within which a panel that waits can show the menu
SEPARATOR = ("", False, "")
NAME_TIP = "Copy this machines DNS (domain name system) name to the clipboard"
EXTERNAL_TIP = "Copy the external IP address to the clipboard"
EXTERNAL_NAME_TIP = ("Copy this machines external DNS (domain name system) name to the "
                     "clipboard")
ADDRESS_TIP = "Copy this machines IP address to the clipboard"


def expected(titles, addresses):
    """The whole menu as (title, enabled, tool tip), its first three rows saying titles."""
    tips = (NAME_TIP, EXTERNAL_TIP, EXTERNAL_NAME_TIP)
    return [*((title, True, tip) for title, tip in zip(titles, tips)),
            SEPARATOR,
            ("Copy IP Address", True, ADDRESS_TIP),
            ("Copy External IP Address", True, EXTERNAL_TIP),
            ("Copy DNS Name", True, NAME_TIP),
            ("Copy External DNS Name", True, EXTERNAL_NAME_TIP),
            SEPARATOR,
            ("All local Addresses:", False, ""),
            *((address, True, f"Copy addres {number} ({address}) to the clipboard")
              for number, address in enumerate(addresses, 1)),
            SEPARATOR,
            ("View in Corvane Website...", True, ""),
            ("View in Mac App Store...", True, ""),
            SEPARATOR,
            ("Preferences...", True, ""),
            ("Console Log...", True, ""),
            SEPARATOR,
            ("About Quillfen", True, ""),
            ("Quit", True, "")]


def menu(host):
    """The rows that host shows, in the same form. Both ways of sending a tool tip must agree."""
    for row in host.rows():
        assert row.tips[0] == row.tips[1]
    return [(row.title, row.enabled, row.tips[0]) for row in host.rows()]


def wait_for_menu(host, rows):
    until(lambda: menu(host) == rows,
          lambda: f"the rows {[row for row in rows if row not in menu(host)]}; "
                  f"there are {[row for row in menu(host) if row not in rows]}")


@pytest.fixture
def service(network):
    world = LookupService(network)
    yield world
    world.close()


@pytest.fixture(params=[GtkHost, PlasmaHost, GnomeHost], ids=["gtk", "plasma", "gnome"])
def host_of(request, bus, status_area):
    """host_of(): a panel of one of the families, which has just found the item."""
    return lambda: request.param(bus, status_area)


@pytest.fixture
def settings(home):
    """settings(...): settings, and no refresh except for those that a test is about."""
    def write(**values):
        home.set({"Initial Refresh": 86400} | values)
    write()
    return write


@pytest.fixture
def running(home, bus, display, start, settings):
    """running(last): the program once its start-up, whose last line is given, is over."""
    def run(last=STARTED.format(ADDRESSES[0])):
        program = start(bus, display)
        home.log.wait_for_line(last)
        return program
    return run


@pytest.fixture
def clipboard_is(display):
    """clipboard_is(text): waits until the clipboard holds text."""
    return lambda text: until(lambda: display.clipboard() == text,
                              lambda: f"{text!r} on the clipboard, not {display.clipboard()!r}")


def plug_in(network):
    network.cable("lan", *(f"{address}/24" for address in ADDRESSES))


def test_the_whole_menu_before_and_after_its_first_opening(network, running, host_of,
                                                           clipboard_is):
    network.know(NAMES)
    plug_in(network)
    running()
    host = host_of()
    wait_for_menu(host, expected([NO_NAME, NO_EXTERNAL, NO_EXTERNAL_NAME], ADDRESSES))
    host.open()
    wait_for_menu(host, expected([NAMES[ADDRESSES[0]], OFF, NO_EXTERNAL_NAME], ADDRESSES))
    ids = host.ids
    for address in reversed(ADDRESSES):
        host.choose(address)
        clipboard_is(address)
    host.open()
    wait_for_menu(host, expected([NAMES[ADDRESSES[0]], OFF, NO_EXTERNAL_NAME], ADDRESSES))
    assert host.ids == ids  # rows that survive keep their widgets


def test_commands_copy_what_the_fresh_menu_says(network, service, running, host_of, settings,
                                                display):
    settings(IncludeExternalIP=True, ExternalAddressService=service.url)
    service.answers(answer(page(EXTERNAL)))
    network.know(NAMES)
    plug_in(network)
    running()
    host = host_of()
    host.open()
    wait_for_menu(host, expected([NAMES[ADDRESSES[0]], EXTERNAL, NAMES[EXTERNAL]], ADDRESSES))
    for title, copied in ((NAMES[EXTERNAL], NO_EXTERNAL_NAME), ("Copy IP Address", ADDRESSES[0]),
                          ("Copy External DNS Name", NO_EXTERNAL_NAME),
                          ("Copy External IP Address", EXTERNAL), ("Copy DNS Name", NO_NAME),
                          (EXTERNAL, EXTERNAL), (NAMES[ADDRESSES[0]], NO_NAME)):
        # The fresh menu comes after the titles of the opening, or of the two that some hosts make
        # of it: until then a row copies what the one before says.
        def is_copied(row=title, text=copied):
            host.choose(row)
            return display.clipboard() == text
        until(is_copied, f"{copied!r} on the clipboard by {title!r}")
        host.open()


def test_without_addresses_the_heading_stands_alone(network, running, host_of, clipboard_is):
    running("The current external IP address is:-.-.-.-")
    host = host_of()
    host.open()
    wait_for_menu(host, expected([NO_NAME, OFF, NO_EXTERNAL_NAME], []))
    host.choose("Copy IP Address")
    clipboard_is("-.-.-.-")


@pytest.mark.parametrize("value", [1, "true", 1.0, False], ids=repr)
def test_only_a_true_boolean_includes_the_external_address(network, running, bus, status_area,
                                                           settings, value):
    settings(IncludeExternalIP=value)
    plug_in(network)
    running()
    host = PlasmaHost(bus, status_area)
    host.open()
    wait_for_menu(host, expected([NO_NAME, OFF, NO_EXTERNAL_NAME], ADDRESSES))


def test_a_lookup_that_fails_is_shown_and_copied_as_dashes(network, running, bus, status_area,
                                                           settings, clipboard_is):
    settings(IncludeExternalIP=True,
             ExternalAddressService=f"http://127.0.0.1:{closed_port(network)}/")
    plug_in(network)
    running()
    host = PlasmaHost(bus, status_area)
    host.open()
    wait_for_menu(host, expected([NO_NAME, "-.-.-.-", NO_EXTERNAL_NAME], ADDRESSES))
    host.choose("Copy External IP Address")
    clipboard_is("-.-.-.-")


def test_a_list_that_shrank_copies_nothing(network, home, running, host_of, display, version,
                                           clipboard_is):
    plug_in(network)
    running()
    host = host_of()
    host.open()
    host.choose(ADDRESSES[1])
    clipboard_is(ADDRESSES[1])
    network.ip(f"address del {ADDRESSES[1]}/24 dev lan", f"address del {ADDRESSES[2]}/24 dev lan")
    refreshed = f"Quillfen {version} refreshed. ({ADDRESSES[0]})"
    until(lambda: home.log.lines()[-1] == refreshed
          and f"[2] {ADDRESSES[1]}" not in last_list(home), "a refreshed list")
    host.choose(ADDRESSES[2])
    stays(lambda: display.clipboard() == ADDRESSES[1], "nothing copied", during=1)
    for addresses in (ADDRESSES, ADDRESSES[:1]):  # the menu that was built last; the next one
        refreshes = home.log.lines().count(refreshed)
        host.open()
        until(lambda: home.log.lines().count(refreshed) > refreshes, "the opening's refresh")
        wait_for_menu(host, expected([NO_NAME, OFF, NO_EXTERNAL_NAME], addresses))


def last_list(home):
    """The list of addresses as it was last logged."""
    lines = home.log.lines()
    heading = "Current internal IP addresses found listed below:"
    return lines[len(lines) - 1 - lines[::-1].index(heading):]


def test_dead_names_and_a_silent_service_hold_nothing_up(network, bus, display, service, start,
                                                         home, status_area, host_of, settings,
                                                         clipboard_is):
    settings(IncludeExternalIP=True, ExternalAddressService=service.url)
    network.silence_names()
    plug_in(network)
    program = start(bus, display)
    until(lambda: service.requests, "a lookup under way", within=20)
    host = host_of()
    assert duration(host.open) <= PROMISED
    assert menu(host)[1] == (NO_EXTERNAL, True, EXTERNAL_TIP)
    host.choose("Copy IP Address")
    clipboard_is(ADDRESSES[0])
    assert duration(host.open) <= PROMISED  # once more, while the work for the first goes on
    host.choose(ADDRESSES[2])
    clipboard_is(ADDRESSES[2])
    host.choose("Copy External DNS Name")
    clipboard_is(NO_EXTERNAL_NAME)
    assert duration(host.open) <= PROMISED
    service.answers(answer(page(EXTERNAL)))
    service.release()
    until(lambda: menu(host)[1] == (EXTERNAL, True, EXTERNAL_TIP),
          lambda: f"the address in the open menu; it is\n{menu(host)}", within=30)
    assert menu(host) == expected([NO_NAME, EXTERNAL, NO_EXTERNAL_NAME], ADDRESSES)
    begun = time.monotonic()
    host.choose("Quit")
    assert program.exit_code() == 0
    assert time.monotonic() - begun <= 1.0


def test_a_thousand_addresses(network, home, running, host_of, display, version, clipboard_is):
    many = [f"10.1.{number // 250}.{number % 250 + 1}" for number in range(1000)]
    network.cable("wide")
    network.ip(*(f"address add {address}/16 dev wide" for address in many))
    running(STARTED.format(many[0]))
    host = host_of()
    assert duration(host.open) <= PROMISED
    wait_for_menu(host, expected([NO_NAME, OFF, NO_EXTERNAL_NAME], many))
    host.choose(many[-1])
    clipboard_is(many[-1])
    host.open()
    network.ip(f"address del {many[-1]}/16 dev wide")
    until(lambda: home.log.lines()[-1] == f"Quillfen {version} refreshed. ({many[0]})"
          and f"[1000] {many[-1]}" not in last_list(home), "a refreshed list", within=30)
    host.choose(many[0])
    clipboard_is(many[0])
    host.choose(many[-1])
    stays(lambda: display.clipboard() == many[0], "nothing copied", during=1)


HOSTILE = [
    ("GetLayout", "(iias)", (4711, -1, [])),
    ("GetLayout", "(iias)", (-1, -1, [])),
    ("GetLayout", "(ii)", (0, -1)),
    ("GetLayout", "(ssas)", ("0", "-1", [])),
    ("GetGroupProperties", "(asas)", (["0"], [])),
    ("GetProperty", "(is)", (4711, "label")),
    ("GetProperty", "(is)", (0, "no such property")),
    ("GetProperty", "(is)", (2147483647, "")),
    ("Event", "(isvu)", (4711, "clicked", GLib.Variant("i", 0), 0)),
    ("Event", "(isvu)", (-2147483648, "clicked", GLib.Variant("i", 0), 0)),
    ("Event", "(is)", (0, "clicked")),
    ("Event", "(isiu)", (0, "clicked", 0, 0)),
    ("EventGroup", "(ai)", ([0, 1, 2],)),
    ("AboutToShow", "(i)", (4711,)),
    ("AboutToShow", "(s)", ("0",)),
    ("AboutToShowGroup", "(i)", (0,)),
    ("NoSuchMethod", "()", ()),
]


def test_calls_that_do_not_fit_get_an_error_each(network, running, bus, status_area):
    plug_in(network)
    program = running()
    host = PlasmaHost(bus, status_area)
    before = menu(host)
    for method, signature, arguments in HOSTILE:
        with pytest.raises(GLib.Error) as refused:
            host.call(method, signature, *arguments)
        assert "NoReply" not in refused.value.message, method
    for depth in (2147483647, -2147483648, 1000):
        assert len(host.call("GetLayout", "(iias)", 0, depth, [])[1][2]) == len(host.ids)
    names = [f"name {number}" for number in range(10_000)]
    assert host.call("GetLayout", "(iias)", 0, -1, names)[1][2][0][1] == {}
    found = host.call("GetGroupProperties", "(aias)", list(range(-5000, 5000)), [])[0]
    assert {number for number, _ in found} == {0, *host.ids}
    unknown = list(range(1000, 11_000))
    assert host.call("AboutToShowGroup", "(ai)", unknown) == ([], unknown)
    deep = GLib.Variant("i", 0)
    for _ in range(30):
        deep = GLib.Variant("v", deep)
    host.call("Event", "(isvu)", host.ids[0], "hovered", deep, 0)
    host.call("Event", "(isvu)", host.ids[0], "x" * 1_000_000, GLib.Variant("i", 0), 0)
    host.fetch()
    assert menu(host) == before
    assert program.alive()


RATE, SECONDS = 10_000, 5
ALLOWED_GROWTH = 1024  # KiB that may stay


def test_a_storm_of_events_does_no_lasting_harm(network, running, bus, status_area):
    plug_in(network)
    program = running()
    host = PlasmaHost(bus, status_area)
    host.open()
    wait_for_menu(host, expected([NO_NAME, OFF, NO_EXTERNAL_NAME], ADDRESSES))
    heading = host.ids[host.titles().index("All local Addresses:")]
    storm(host, heading, RATE)  # its first second is when memory grows that is kept for reuse
    settle(status_area)
    before = program.private_dirty()
    longest = storm(host, heading, RATE * SECONDS)
    settle(status_area)
    assert program.alive()
    host.open()
    wait_for_menu(host, expected([NO_NAME, OFF, NO_EXTERNAL_NAME], ADDRESSES))
    until(lambda: program.private_dirty() - before <= ALLOWED_GROWTH,
          lambda: f"memory back: {before} KiB before, {program.private_dirty()} KiB now")
    assert longest <= SECONDS + 5


def storm(host, heading, count):
    """Sends count events, RATE a second. @returns how long that took in seconds."""
    kinds = itertools.cycle([(heading, "clicked"), (4711, "clicked"), (host.ids[0], "hovered"),
                             (0, "opened"), (host.ids[1], "no such event"), (0, "closed")])
    begun = time.monotonic()
    for number, (row, what) in enumerate(itertools.islice(kinds, count)):
        host.send("Event", "(isvu)", row, what, GLib.Variant("i", 0), 0)
        if number % 100 == 99:
            host.flush()
            time.sleep(max(0.0, begun + number / RATE - time.monotonic()))
    return time.monotonic() - begun


def settle(status_area):
    """Waits until the item answers as quickly as one that has nothing else to do."""
    until(lambda: duration(status_area.title) <= 0.05, "an item at rest", within=60)
