# SPDX-License-Identifier: GPL-3.0-or-later
"""Settings that another process changes, and settings files that are not as they should be."""

import stat
import subprocess

import pytest

from harness.machine import machine_name
from harness.waiting import until

STARTED = "The current (first) internal IP address is:192.0.2.7"


@pytest.fixture(autouse=True)
def plugged_in(network):
    network.cable("lan", "192.0.2.7/24")


def announce(bus):
    bus.post("Preferences Changed", "com.corvane.preference.Quillfen")


def test_the_title_follows_changed_settings(home, bus, status_area, start):
    program = start(bus)
    status_area.wait_for_title("192.0.2.7")
    home.log.wait_for_line(STARTED)

    home.set({"IncludeMachineName": True})
    announce(bus)
    machine = machine_name()
    status_area.wait_for_title(f"192.0.2.7:{machine}")

    home.set({"TitleIconOnly": True})
    announce(bus)
    status_area.wait_for_title(None)
    icon_only = status_area.ask("IconName")

    home.set({"TitleIconOnly": False, "IncludeMachineName": False})
    announce(bus)
    status_area.wait_for_title("192.0.2.7")
    assert icon_only
    assert program.stop() == 0


def test_a_change_shows_the_change_icon_until_the_next_title(home, network, bus, status_area,
                                                             start):
    home.set({"DisplayChangedIconWhenAddressChangeDetected": True})
    start(bus)
    home.log.wait_for_line(STARTED)
    status_area.wait_for_title("192.0.2.7")
    plain = status_area.ask("IconName")
    network.ip("address add 192.0.2.8/24 dev lan")
    until(lambda: status_area.ask("IconName") != plain, "another icon after a change")
    announce(bus)
    until(lambda: status_area.ask("IconName") == plain, "the plain icon after a refresh")


def test_another_object_or_name_is_not_for_us(home, bus, start):
    start(bus)
    home.log.wait_for_line(STARTED)
    lines = home.log.lines()
    bus.post("Preferences Changed", "com.example.Other")
    bus.post("Something Else", "com.corvane.preference.Quillfen")
    announce(bus)
    # The last of the three is one refresh of five lines and the closing one; nothing more came.
    until(lambda: len(home.log.lines()) > len(lines) + 5, "a refresh")
    announce(bus)
    until(lambda: len(home.log.lines()) >= len(lines) + 12, "another refresh")
    assert len(home.log.lines()) == len(lines) + 12


def test_keys_of_others_survive(home, bus, start):
    home.set({"Email": "a@example.org", "Foreign": [1, {"two": None}]})
    program = start(bus)
    home.log.wait_for_line(STARTED)
    assert program.stop() == 0
    stored = home.settings()
    assert stored["Email"] == "a@example.org"
    assert stored["Foreign"] == [1, {"two": None}]
    assert stored["LastIPAddress"] == "192.0.2.7"
    assert stat.S_IMODE(home.settings_file.stat().st_mode) == 0o600


@pytest.mark.parametrize("text", ["{", "", "[]", '{"TitleIconOnly": tru', "\0\0\0\0"],
                         ids=["cut", "empty", "a list", "cut in a word", "zeros"])
def test_a_damaged_file_is_put_aside_and_said_so(home, start, text):
    home.leave_settings(text)
    program = start()
    home.log.wait_for_line(STARTED)
    aside = [path for path in home.settings_file.parent.iterdir() if ".damaged-" in path.name]
    assert [path.read_text(encoding="utf-8") for path in aside] == [text]
    assert str(home.settings_file) in program.console()
    assert home.settings()["LastIPAddress"] == "192.0.2.7"
    assert program.stop() == 0


def test_values_of_wrong_types_read_as_absent(home, bus, status_area, start):
    home.set({"TitleIconOnly": 1, "IncludeMachineName": "YES", "LastIPAddress": 7,
              "logToPrivateConsoleLog": True, "Initial Refresh": "soon"})
    program = start(bus)
    home.log.wait_for_line(STARTED)
    status_area.wait_for_title("192.0.2.7")
    assert "(First) Internal IP address changed from:(null) to:192.0.2.7" in home.log.lines()
    assert program.stop() == 0


def test_a_file_of_100_megabytes_is_put_aside_untouched(home, start):
    home.leave_settings(" " * 100_000_000)
    program = start()
    home.log.wait_for_line(STARTED)
    aside = [path for path in home.settings_file.parent.iterdir()
             if path.name.startswith("settings.json.")]
    assert [path.stat().st_size for path in aside if path.stat().st_size > 1000] == [100_000_000]
    assert str(home.settings_file) in program.console()
    assert program.private_dirty() < 50_000
    assert program.stop() == 0


def mount(*arguments):
    """Mounts for this test run alone: it has a mount namespace of its own."""
    subprocess.run(["mount", *arguments], check=True)


@pytest.fixture
def unmounted():
    """Folders that are mount points until the test's end."""
    folders = []
    yield folders
    for folder in folders:
        subprocess.run(["umount", "--lazy", folder], check=True)


def test_a_read_only_folder_is_said_so_and_watching_goes_on(tmp_path, home, network, start,
                                                            version, unmounted):
    home.set({"Initial Refresh": 3600})
    folder = str(home.settings_file.parent)
    # Made read-only elsewhere first: other namespaces hear of a mount, not of its later options.
    elsewhere = tmp_path / "elsewhere"
    elsewhere.mkdir()
    mount("--bind", folder, str(elsewhere))
    mount("-o", "remount,bind,ro", str(elsewhere))
    mount("--bind", str(elsewhere), folder)
    unmounted += [folder, str(elsewhere)]
    program = start()
    home.log.wait_for_line(STARTED)
    assert str(home.settings_file) in program.console()
    network.ip("address add 198.51.100.4/24 dev lan", "address del 192.0.2.7/24 dev lan")
    home.log.wait_for_line(f"Quillfen {version} refreshed. (198.51.100.4)")
    assert program.stop() == 0
    assert home.settings() == {"Initial Refresh": 3600}


def test_a_full_disk_keeps_the_settings_until_there_is_room(home, network, start, unmounted):
    folder = home.settings_file.parent
    folder.mkdir(parents=True)
    mount("-t", "tmpfs", "-o", "size=16k", "tmpfs", str(folder))
    unmounted.append(str(folder))
    home.write_settings('{"Initial Refresh": 3600}')
    with open(folder / "filler", "wb", buffering=0) as filler:
        try:
            while filler.write(bytes(4096)):
                pass
        except OSError:
            pass  # full now
    program = start()
    home.log.wait_for_line(STARTED)
    assert str(home.settings_file) in program.console()
    assert home.settings()["Initial Refresh"] == 3600
    (folder / "filler").unlink()
    network.ip("address add 198.51.100.4/24 dev lan", "address del 192.0.2.7/24 dev lan")
    until(lambda: home.settings().get("LastIPAddress") == "198.51.100.4", "stored after all")
    assert program.stop() == 0
