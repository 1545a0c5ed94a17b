# SPDX-License-Identifier: GPL-3.0-or-later
"""The preferences window of the running program, by keyboard and by real clicks."""

import pytest

from harness.machine import machine_name
from harness.mail_certificates import Authority
from harness.mail_exim import Exim
from harness.mail_server import PASSWORD, STARTTLS, USER
from harness.menu_on_screen import MenuOnScreen
from harness.screen import difference
from harness.sound import seconds, strength
from harness.sound_servers import PulseAudio
from harness.waiting import until

ADDRESS = "192.168.77.45"
STARTED = f"The current (first) internal IP address is:{ADDRESS}"
TITLE = "Quillfen Preferences"
LOW, HIGH = 587.33, 880.00  # Hz, the two tones of the sounds


@pytest.fixture(autouse=True)
def plugged_in(network, home):
    network.cable("lan", f"{ADDRESS}/24")
    home.set({"Initial Refresh": 86400, "ExternalAddressService": "http://127.0.0.1:1/"})


def wait_for_window(display):
    until(lambda: display.has_keyboard(TITLE), "the window with the keyboard")


def close_window(display):
    display.press("Escape")
    until(lambda: not display.windows(TITLE), "the window's end")


def test_a_ticked_box_changes_the_title_when_the_window_closes(home, bus, display, status_area,
                                                               start):
    program = start(bus, display)
    status_area.wait_for_title(ADDRESS)
    for title in (f"{ADDRESS}:{machine_name()}", ADDRESS):
        status_area.choose("Preferences...")
        wait_for_window(display)
        display.press("alt+n")
        included = title != ADDRESS
        until(lambda: home.settings().get("IncludeMachineName") == included, "the box's setting")
        close_window(display)
        status_area.wait_for_title(title)
    assert program.stop() == 0


def test_it_opens_by_a_real_click_in_the_panel(home, bus, display, mate, screen_of, whole_screen,
                                               start):
    mate.start_watcher()
    mate.start_panel()
    screen = screen_of(mate)
    empty = screen.still()
    start(bus, display)
    screen.wait_for_text(ADDRESS)
    width, height, x, y = difference(empty, screen.still())
    menu = MenuOnScreen(display, whole_screen, (x + width // 2, y + height // 2))
    menu.click("Preferences...")
    wait_for_window(display)
    display.press("alt+n")
    until(lambda: home.settings().get("IncludeMachineName"), "the box's setting")
    close_window(display)
    screen.wait_for_text(f"{ADDRESS}:{machine_name()}")


def test_a_second_start_brings_it_up(home, bus, display, status_area, start):
    start(bus, display)
    status_area.wait_for_title(ADDRESS)
    home.log.wait_for_line(STARTED)
    for _ in range(2):
        second = start(bus, display)
        assert second.exit_code() == 0
        wait_for_window(display)
        assert len(display.windows(TITLE)) == 1
    assert home.log.lines().count("start") == 1


def test_a_second_start_finds_it_minimized(bus, display, status_area, start):
    start(bus, display)
    status_area.wait_for_title(ADDRESS)
    status_area.choose("Preferences...")
    wait_for_window(display)
    window, = display.windows(TITLE)
    display.run("xdotool", "windowminimize", "--sync", window)
    assert start(bus, display).exit_code() == 0
    wait_for_window(display)
    assert display.windows(TITLE) == [window]


def test_a_second_start_brings_it_in_front_of_others(bus, display, status_area, start):
    start(bus, display)
    status_area.wait_for_title(ADDRESS)
    status_area.choose("Preferences...")
    wait_for_window(display)
    other = display.start("other", "xev", "-name", "Another Window")
    until(lambda: display.windows("Another Window"), "another window")
    display.run("xdotool", "windowactivate", *display.windows("Another Window"))
    until(lambda: display.has_keyboard("Another Window"), "another window with the keyboard")
    assert start(bus, display).exit_code() == 0
    wait_for_window(display)
    other.kill()


def test_without_any_address_it_can_be_used(home, network, bus, display, status_area, start):
    network.ip("link set lanx down")
    program = start(bus, display)
    status_area.wait_for_title("-.-.-.-")
    status_area.choose("Preferences...")
    wait_for_window(display)
    home.set({"LastIPAddress": 7})  # no text, so that the list's first address is to be shown
    for included in (True, False):
        display.press("alt+n")
        until(lambda: home.settings().get("IncludeMachineName") == included, "the box's setting")
    close_window(display)
    until(lambda: "there is no local address" in program.console(), "a line on the console")
    status_area.choose("Preferences...")
    wait_for_window(display)
    close_window(display)
    assert program.stop() == 0


@pytest.mark.parametrize("recipients, tones", [("a@example.org", (LOW, HIGH)), ("", (HIGH, LOW))],
                         ids=["sent", "not sent"])
def test_a_test_mails_sound_is_heard(home, session, bus, display, status_area, start, recipients,
                                     tones):
    server = PulseAudio(session, bus)
    ear = server.ear()
    home.set({"Email": recipients})
    start(bus, display, {"PULSE_SERVER": f"unix:{session.runtime}/pulse/native"})
    status_area.wait_for_title(ADDRESS)
    status_area.choose("Preferences...")
    wait_for_window(display)
    display.press("alt+m", "alt+t")
    heard = ear.sound()
    first, second = seconds(heard, 0.02, 0.14), seconds(heard, 0.22, 0.34)
    assert strength(first, tones[0]) > strength(first, tones[1])
    assert strength(second, tones[1]) > strength(second, tones[0])
    server.close()


def test_a_test_mail_reaches_the_mailbox(home, network, bus, display, status_area, tmp_path,
                                         start):
    authority = Authority(tmp_path)
    server = Exim(network, authority)
    recipient = "a@example.org"
    home.set({"MailServer": "localhost", "Port": str(STARTTLS), "Authentication": 1,
              "Username": USER, "UserPassword": PASSWORD, "Email": recipient})
    start(bus, display, {"SSL_CERT_FILE": str(authority.authority)})
    status_area.wait_for_title(ADDRESS)
    status_area.choose("Preferences...")
    wait_for_window(display)
    display.press("alt+m", "alt+t")
    mail, = server.box.take()
    assert mail.body == b"If you are reading this, the test passed.\n"
    home.log.wait_for_line("If you are reading this, the test passed.")
    home.log.wait_for_line("Connection terminated.")
    server.close()
