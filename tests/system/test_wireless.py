# SPDX-License-Identifier: GPL-3.0-or-later
"""The names of the computer and of the joined wireless network in the title, in the log, on a bus
and in MATE's panel."""

import re
import time
from dataclasses import dataclass
from datetime import datetime
from itertools import pairwise
from pathlib import Path

import pytest

from harness.machine import machine_name
from harness.radios import Radios
from harness.transcript import Transcript
from harness.waiting import until

ADDRESS = "192.0.2.7"
STARTED = f"The current (first) internal IP address is:{ADDRESS}"
LOOKUP = "Looking up wireless network name..."
LATER = 86400  # seconds: an initial refresh that no test lives to see
RECORDED = b"Caf\xe9\xff \xf0\x9f\x8d\xb5"  # in data/nl80211; not UTF-8


def shown(name):
    return f"Wireless network: {name}"


@pytest.fixture
def say(version):
    return Transcript(version)


@pytest.fixture(autouse=True)
def wants_the_network(home):
    home.set({"Initial Refresh": LATER, "IncludeCurrentWirelessNetwork": True})


@pytest.fixture
def radios(request, tmp_path):
    program = Path(request.config.getoption("--program"))
    return Radios(tmp_path / "radios", program.with_name("libwireless_kernel.so"))


@pytest.fixture
def start_with_radios(start, radios):
    """start(bus, display), on a machine with these radios."""
    return lambda bus=None, display=None: start(bus, display, radios.environment())


def wait_for(log, expected):
    """The last run's lines become exactly expected."""
    until(lambda: len(log.last_run()) >= len(expected),
          lambda: "the whole log; so far:\n" + "\n".join(log.last_run()))
    assert log.last_run() == expected


def move(network, before, after):
    """The cable "lan" gets another address in place of the one it has."""
    network.ip(f"address add {after}/24 dev lan", f"address del {before}/24 dev lan")


@dataclass(frozen=True)
class Row:
    """One row of the table of titles; None: an icon alone, no address, no network."""

    title: str
    address: str = ADDRESS
    name: str = "HomeNet"
    shows_computer: bool = False
    shows_network: bool = False
    icon_only: bool = False

    def settings(self):
        return {"TitleIconOnly": self.icon_only, "IncludeMachineName": self.shows_computer,
                "IncludeCurrentWirelessNetwork": self.shows_network}

    def titles(self):
        """The lines about the title of the first refresh and of those after it."""
        if not self.shows_network or self.icon_only and self.address:
            return (), ()
        name = shown(self.name or "?")
        return (LOOKUP, name), (name,)


ROWS = {
    "the address": Row("192.0.2.7"),
    "and the computer": Row("192.0.2.7:desk", shows_computer=True),
    "and the network": Row("192.0.2.7:HomeNet", shows_network=True),
    "and both": Row("192.0.2.7:desk:HomeNet", shows_computer=True, shows_network=True),
    "and no network": Row("192.0.2.7:?", name=None, shows_network=True),
    "and the computer and no network":
        Row("192.0.2.7:desk:?", name=None, shows_computer=True, shows_network=True),
    "an icon": Row(None, icon_only=True),
    "an icon, with both": Row(None, icon_only=True, shows_computer=True, shows_network=True),
    "no address": Row("-.-.-.-", address=None),
    "no address, and the computer": Row("-.-.-.-:desk", address=None, shows_computer=True),
    "no address, and the network": Row("-.-.-.-:HomeNet", address=None, shows_network=True),
    "no address, and both":
        Row("-.-.-.-:desk:HomeNet", address=None, shows_computer=True, shows_network=True),
    "no address, and no network": Row("-.-.-.-:?", address=None, name=None, shows_network=True),
    "no address, an icon": Row("-.-.-.-", address=None, icon_only=True),
    "no address, an icon, and both":
        Row("-.-.-.-:desk:HomeNet", address=None, icon_only=True, shows_computer=True,
            shows_network=True),
}


@pytest.mark.parametrize("row", ROWS.values(), ids=ROWS)
def test_the_title_is_composed(row, home, network, bus, status_area, radios, start_with_radios,
                               say):
    home.set(row.settings())
    network.name_machine("PRETTY_HOSTNAME=desk\n")
    radios.leave()
    if row.name:
        radios.join(row.name.encode())
    addresses = [row.address] if row.address else []
    for address in addresses:
        network.cable("lan", f"{address}/24")
    program = start_with_radios(bus)
    titles = row.titles()
    wait_for(home.log, say.opening(*addresses, last=None, titles=titles))
    status_area.wait_for_title(row.title)
    bus.post("Preferences Changed", "com.corvane.preference.Quillfen")
    wait_for(home.log, [*say.opening(*addresses, last=None, titles=titles),
                        *say.refresh(*addresses, last=row.address or "-.-.-.-",
                                     title=titles[1])])
    assert status_area.title() == row.title
    assert program.stop() == 0


COMPUTERS = {
    "none of its own": ("", None),
    "an empty one": ('PRETTY_HOSTNAME=""\n', None),
    "with blanks and quotes": ("PRETTY_HOSTNAME=\"Quill's \\\"desk\\\"\"\n", 'Quill\'s "desk"'),
    "with marks": ("PRETTY_HOSTNAME='desk_1 & <b>co</b>'\n", "desk_1 & <b>co</b>"),
    "not ASCII": ("PRETTY_HOSTNAME=Fräulein-🍵\n", "Fräulein-🍵"),
}


@pytest.mark.parametrize("machine_info, name", COMPUTERS.values(), ids=COMPUTERS)
def test_the_computer_has_the_name_that_its_owner_gave_it(machine_info, name, home, network, bus,
                                                          status_area, start):
    home.set({"IncludeMachineName": True, "IncludeCurrentWirelessNetwork": False})
    network.name_machine(machine_info)
    network.cable("lan", f"{ADDRESS}/24")
    start(bus)
    name = name or until(machine_name, "a host name")
    status_area.wait_for_title(f"{ADDRESS}:{name}")


def test_the_name_is_renewed_at_a_change_of_addresses_only(home, network, bus, status_area, radios,
                                                           start_with_radios, say):
    radios.join(b"HomeNet")
    network.cable("lan", f"{ADDRESS}/24")
    start_with_radios(bus)
    lines = say.opening(ADDRESS, last=None,
                        titles=((LOOKUP, shown("HomeNet")), (shown("HomeNet"),)))
    wait_for(home.log, lines)

    radios.join(b"Cafe")
    bus.post("Preferences Changed", "com.corvane.preference.Quillfen")
    lines += say.refresh(ADDRESS, last=ADDRESS, title=(shown("HomeNet"),))
    wait_for(home.log, lines)
    status_area.wait_for_title(f"{ADDRESS}:HomeNet")

    # Not the first address: still a change of addresses.
    network.ip("address add 192.0.2.8/24 dev lan")
    lines += [LOOKUP, *say.refresh(ADDRESS, "192.0.2.8", last=ADDRESS, title=(shown("Cafe"),))]
    wait_for(home.log, lines)
    status_area.wait_for_title(f"{ADDRESS}:Cafe")

    radios.leave()
    network.ip("link set lanx down")
    lines += [LOOKUP, *say.refresh(last=ADDRESS, title=(shown("?"),))]
    wait_for(home.log, lines)
    status_area.wait_for_title("-.-.-.-:?")

    radios.join(b"Hidden", hidden=True)
    network.ip("link set lanx up")
    lines += [LOOKUP, *say.refresh(ADDRESS, "192.0.2.8", last="-.-.-.-", title=(shown("Hidden"),))]
    wait_for(home.log, lines)
    status_area.wait_for_title(f"{ADDRESS}:Hidden")


def test_a_failed_lookup_is_not_repeated_before_a_change(home, network, bus, status_area, radios,
                                                         start_with_radios):
    network.cable("lan", f"{ADDRESS}/24")
    start_with_radios(bus)
    home.log.wait_for_line(STARTED)
    radios.join(b"HomeNet")
    bus.post("Preferences Changed", "com.corvane.preference.Quillfen")
    home.log.wait_for_line(shown("?"), count=3)
    assert home.log.lines().count(LOOKUP) == 1
    network.ip("address add 192.0.2.8/24 dev lan")
    home.log.wait_for_line(shown("HomeNet"))
    status_area.wait_for_title(f"{ADDRESS}:HomeNet")


def test_an_icon_alone_asks_at_a_change_and_shows_the_name_later(home, network, bus, status_area,
                                                                 radios, start_with_radios, say):
    home.set({"TitleIconOnly": True})
    radios.join(b"HomeNet")
    network.cable("lan", f"{ADDRESS}/24")
    start_with_radios(bus)
    lines = say.opening(ADDRESS, last=None)
    wait_for(home.log, lines)
    network.ip("address add 192.0.2.8/24 dev lan")
    lines += [LOOKUP, *say.refresh(ADDRESS, "192.0.2.8", last=ADDRESS)]
    wait_for(home.log, lines)
    home.set({"TitleIconOnly": False})
    bus.post("Preferences Changed", "com.corvane.preference.Quillfen")
    lines += say.refresh(ADDRESS, "192.0.2.8", last=ADDRESS, title=(shown("HomeNet"),))
    wait_for(home.log, lines)
    status_area.wait_for_title(f"{ADDRESS}:HomeNet")


@pytest.mark.parametrize("machine, name", {
    "joined": RECORDED.decode("mac_roman"), "hidden": RECORDED.decode("mac_roman"), "apart": "?",
}.items())
def test_a_recorded_machine(machine, name, home, network, bus, status_area, radios,
                            start_with_radios, say):
    radios.replay(machine)
    network.cable("lan", f"{ADDRESS}/24")
    start_with_radios(bus)
    wait_for(home.log, say.opening(ADDRESS, last=None,
                                   titles=((LOOKUP, shown(name)), (shown(name),))))
    status_area.wait_for_title(f"{ADDRESS}:{name}")


def test_of_several_stations_that_with_the_first_address_counts(network, bus, status_area, radios,
                                                                start_with_radios):
    radios.have(("wlan0", b"HomeNet"), ("wlan1", b"Cafe"))
    network.cable("wlan1", f"{ADDRESS}/24")
    start_with_radios(bus)
    status_area.wait_for_title(f"{ADDRESS}:Cafe")
    network.cable("wlan0", "198.51.100.4/24")
    network.ip("link set wlan1 down")
    status_area.wait_for_title("198.51.100.4:HomeNet")


# The network's name; what the log says of it; what a label says of it.
HOSTILE = {
    "a line feed and a forged line": (b"\n[2020-01-01 00:00:00 +0000] hi",
                                      " [2020-01-01 00:00:00 +0000] hi", None),
    "all line ends": ("a\r\nb\vc\fd\x85e\u2028f\u2029g".encode(), "a  b c d e f g", None),
    "an escape sequence": (b"\x1b[2J\x1b]0;hi\x07\x7f", " [2J ]0;hi  ", None),
    "zeros": (b"a\0b\0", "a b ", None),
    "the marker": (b"Current Wireless Network: x", "Current Wireless Network: x", None),
    "a line with the marker": (b"\nCurrent Wireless Network: x", " Current Wireless Network: x",
                               None),
    "the other marker": (b"Current Network Information:", "Current Network Information:", None),
    "the other markers' end": (b"a:\nb:\n", "a: b: ", None),
    "markup": (b"<b>a</b>&amp;<img src='x'/>", "<b>a</b>&amp;<img src='x'/>", None),
    "underscores": (b"__a_b__", "__a_b__", None),
    "formats": (b"%@%d%s%n%%%1$s%*d", "%@%d%s%n%%%1$s%*d", None),
    "colons": (b":a::", ":a::", None),
    "blanks": (b"   ", "   ", None),
    "a question mark": (b"?", "?", None),
    "marks that turn text around": ("a\u202eb\u2066c\u200fd".encode(),
                                    "a\u202eb\u2066c\u200fd", "abcd"),
    "letters from right to left": ("שלום".encode(), "שלום", None),
    "32 bytes": ("ü".encode() * 16, "ü" * 16, None),
    "32 bytes, cut in a letter": (b"x" + "ü".encode() * 15 + b"\xc3",
                                  (b"x" + "ü".encode() * 15 + b"\xc3").decode("mac_roman"), None),
    "more bytes than a name has": (b"x" * 33, "?", None),
    "not UTF-8": (b"\xff\xfe\x80", b"\xff\xfe\x80".decode("mac_roman"), None),
    "not UTF-8, and a line feed": (b"\n\xff[", b" \xff[".decode("mac_roman"), None),
    "half of a pair": (b"\xed\xa0\x80", b"\xed\xa0\x80".decode("mac_roman"), None),
    "a byte order mark": ("\ufeffa".encode(), "\ufeffa", None),
    "a stack of accents": ("Z".encode() + "\u0300".encode() * 15, "Z" + "\u0300" * 15, None),
}
FULL_WIDTH = str.maketrans("&<>", "＆＜＞")


@pytest.mark.parametrize("name, logged, label", HOSTILE.values(), ids=HOSTILE)
def test_a_hostile_name_does_no_harm(name, logged, label, home, network, bus, status_area, radios,
                                     start_with_radios, say):
    home.set({"IncludeMachineName": True})
    network.name_machine("PRETTY_HOSTNAME=desk\n")
    radios.join(name)
    network.cable("lan", f"{ADDRESS}/24")
    program = start_with_radios(bus)
    lines = say.opening(ADDRESS, last=None, titles=((LOOKUP, shown(logged)), (shown(logged),)))
    wait_for(home.log, lines)
    title = f"{ADDRESS}:desk:{label or logged}"
    status_area.wait_for_title(title)
    assert status_area.ask("ToolTip")[2] == title.translate(FULL_WIDTH)
    assert "Copy IP Address" in status_area.labels()
    assert program.stop() == 0
    assert home.log.lines() == [*lines, "stop"]
    console = program.console()
    assert "\n[2020" not in console
    assert not set(console) & set("\x1b\x07\x7f\0\r\u2028\u202e\u2066")


def lookup_times(console):
    """How long each lookup at a change took, in seconds, by the console's stamps."""
    times = re.findall(f"^(.{{23}}) .*{re.escape(LOOKUP)}\n(.{{23}}) .*Checking internal IP$",
                       console, re.MULTILINE)
    return [(datetime.fromisoformat(after) - datetime.fromisoformat(before)).total_seconds()
            for before, after in times]


def test_a_machine_without_radios_shows_a_question_mark_at_once(home, network, bus, status_area,
                                                                start, say):
    network.cable("lan", f"{ADDRESS}/24")
    program = start(bus)
    wait_for(home.log, say.opening(ADDRESS, last=None,
                                   titles=((LOOKUP, shown("?")), (shown("?"),))))
    status_area.wait_for_title(f"{ADDRESS}:?")
    addresses = [ADDRESS, *(f"198.51.{number}.4" for number in range(10))]
    for before, after in pairwise(addresses):
        move(network, before, after)
        home.log.wait_for_line(say.refreshed(after))
        status_area.wait_for_title(f"{after}:?")
    times = lookup_times(program.console())
    assert len(times) >= 10
    # Less than a millisecond, which is the stamps' unit, when nothing else has the processor.
    assert min(times) <= 0.001, times
    assert program.children() == 0
    assert program.stop() == 0


def test_a_silent_kernel_is_not_waited_for_long(home, network, bus, status_area, radios,
                                                start_with_radios):
    radios.join(b"HomeNet")
    network.cable("lan", f"{ADDRESS}/24")
    program = start_with_radios(bus)
    home.log.wait_for_line(STARTED)
    status_area.wait_for_title(f"{ADDRESS}:HomeNet")
    radios.fall_silent()
    changed = time.monotonic()
    move(network, ADDRESS, "198.51.100.4")
    # The address is shown while the answer is waited for.
    ahead = status_area.arrival("198.51.100.4:HomeNet", since=changed)
    status_area.arrival("198.51.100.4:?", since=ahead)
    assert program.stop() == 0


def test_a_program_that_ends_while_the_kernel_is_silent(home, network, bus, status_area, radios,
                                                        start_with_radios):
    radios.join(b"HomeNet")
    radios.fall_silent()
    network.cable("lan", f"{ADDRESS}/24")
    program = start_with_radios(bus)
    home.log.wait_for_line(LOOKUP)
    assert program.stop() == 0
    assert home.log.lines()[-1] == "stop"


def test_marks_in_names_stay_in_label_tool_tip_and_menu(home, network, bus, status_area, radios,
                                                        start_with_radios):
    home.set({"IncludeMachineName": True})
    network.know({ADDRESS: "my_desk.example"})
    network.name_machine("PRETTY_HOSTNAME='desk_one & two'\n")
    radios.join(b"HOME_NET & CO")
    network.cable("lan", f"{ADDRESS}/24")
    start_with_radios(bus)
    status_area.wait_for_title(f"{ADDRESS}:desk_one & two:HOME_NET & CO")
    assert status_area.ask("ToolTip")[2] == f"{ADDRESS}:desk_one ＆ two:HOME_NET ＆ CO"
    status_area.open_menu()
    # A single underscore would mark a key there.
    until(lambda: status_area.labels()[0] == "my__desk.example",
          lambda: f"the address's name in the menu: {status_area.labels()}")


@pytest.fixture
def screen(mate, screen_of):
    return screen_of(mate)


def test_names_with_marks_stand_in_mates_panel(home, network, bus, display, mate, screen, radios,
                                               start_with_radios):
    home.set({"IncludeMachineName": True})
    network.name_machine("PRETTY_HOSTNAME='desk_one & two'\n")
    radios.join(b"HOME_NET & CO")
    network.cable("lan", "192.168.77.45/24")
    mate.start_watcher()
    mate.start_panel()
    start_with_radios(bus, display)
    screen.wait_for_text("192.168.77.45:desk_one & two:HOME_NET & CO")
