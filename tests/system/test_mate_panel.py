# SPDX-License-Identifier: GPL-3.0-or-later
"""MATE's panel with the indicator applet: the address is read back from the screen."""

import re

import pytest

from harness.menu_on_screen import MenuOnScreen
from harness.screen import darkest, difference
from harness.waiting import until

BEFORE, AFTER = "192.168.77.45", "10.24.68.139"


@pytest.fixture(autouse=True)
def plugged_in(network):
    network.cable("lan", f"{BEFORE}/24")


@pytest.fixture
def screen(mate, screen_of):
    return screen_of(mate)


def change_address(network):
    network.ip(f"address add {AFTER}/24 dev lan", f"address del {BEFORE}/24 dev lan")


def test_the_address_stands_in_the_panel_and_follows_a_change(network, bus, display, mate,
                                                              screen, start):
    mate.start_watcher()
    mate.start_panel()
    program = start(bus, display)
    screen.wait_for_text(BEFORE)
    change_address(network)
    screen.wait_for_text(AFTER)
    assert BEFORE not in screen.text()
    assert program.stop() == 0
    screen.wait_without_text(AFTER)


def test_the_icon_is_drawn_beside_the_address(bus, display, mate, screen, start):
    mate.start_watcher()
    mate.start_panel()
    empty = screen.still()
    start(bus, display)
    screen.wait_for_text(BEFORE)
    full = screen.still()
    width, height, x, y = difference(empty, full)
    # The icon stands in the item's first quarter, as dark as the text. The picture that a host
    # shows in place of an icon that it cannot load is a pale one.
    assert darkest(full, (width // 4, height, x, y)) < 0.35


def test_the_address_is_there_again_after_a_restart_of_the_panel(network, bus, display, mate,
                                                                 screen, start):
    mate.start_watcher()
    mate.start_panel()
    start(bus, display)
    screen.wait_for_text(BEFORE)
    mate.stop_panel()
    change_address(network)
    mate.start_panel()
    screen.wait_for_text(AFTER)


def test_the_address_is_there_again_after_a_restart_of_the_watcher(network, bus, display, mate,
                                                                   screen, start):
    mate.start_watcher()
    mate.start_panel()
    start(bus, display)
    screen.wait_for_text(BEFORE)
    for _ in range(2):  # the second time is not the first
        mate.stop_watcher()
        screen.wait_without_text(BEFORE)
        mate.start_watcher()
        screen.wait_for_text(BEFORE)
    change_address(network)
    screen.wait_for_text(AFTER)


def test_a_start_before_any_watcher_exists(home, bus, display, mate, screen, start):
    start(bus, display)
    home.log.wait_for_line(f"The current (first) internal IP address is:{BEFORE}")
    mate.start_panel()
    mate.start_watcher()
    screen.wait_for_text(BEFORE)


def test_no_network_is_shown_as_such(network, bus, display, mate, screen, start):
    mate.start_watcher()
    mate.start_panel()
    start(bus, display)
    screen.wait_for_text(BEFORE)
    network.ip("link set lanx down")
    screen.wait_without_text(BEFORE)
    assert not re.search(r"\d\.\d", screen.text())
    network.ip("link set lanx up")
    screen.wait_for_text(BEFORE)


def test_an_address_is_copied_by_real_clicks(network, bus, display, mate, screen, whole_screen,
                                             start):
    network.ip(f"address add {AFTER}/24 dev lan")
    mate.start_watcher()
    mate.start_panel()
    empty = screen.still()
    start(bus, display)
    screen.wait_for_text(BEFORE)
    width, height, x, y = difference(empty, screen.still())
    for address in (AFTER, BEFORE):
        menu = MenuOnScreen(display, whole_screen, (x + width // 2, y + height // 2))
        menu.wait_for_text("Include external IP is off")
        menu.choose(address)
        until(lambda: display.clipboard() == address,
              lambda: f"{address} on the clipboard, not {display.clipboard()!r}")


def test_the_last_of_a_thousand_addresses_is_copied(home, network, bus, display, mate, screen,
                                                    whole_screen, start):
    addresses = [f"10.1.{number // 250}.{number % 250 + 1}" for number in range(999)]
    network.ip(*(f"address add {address}/16 dev lan" for address in addresses))
    mate.start_watcher()
    mate.start_panel()
    empty = screen.still()
    start(bus, display)
    screen.wait_for_text(BEFORE)
    home.log.wait_for_line(f"[1000] {addresses[-1]}")
    width, height, x, y = difference(empty, screen.still())
    menu = MenuOnScreen(display, whole_screen, (x + width // 2, y + height // 2))
    menu.wait_for_text("All local Addresses:")
    # Scrolls to the end, and then up past Quit, About, Log, Preferences and the two pages.
    display.run("xdotool", "key", "Up")
    menu.wait_for_text(addresses[-1])
    display.run("xdotool", "key", "--repeat", "6", "--delay", "50", "Up")
    display.run("xdotool", "key", "Return")
    until(lambda: display.clipboard() == addresses[-1],
          lambda: f"{addresses[-1]} on the clipboard, not {display.clipboard()!r}")
