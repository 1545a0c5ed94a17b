# SPDX-License-Identifier: GPL-3.0-or-later
"""The command line: what each option does, and what is said of one that makes no sense."""

import shutil
import subprocess

import pytest
from gi.repository import Gio

from harness.command import WITHOUT_OUTPUT
from harness.waiting import until

STARTED = "The current (first) internal IP address is:192.0.2.7"
TITLE = "Quillfen Preferences"
ENTRY = "com.corvane.Quillfen.desktop"


@pytest.fixture(autouse=True)
def plugged_in(network, home):
    home.set({"Initial Refresh": 86400, "ExternalAddressService": "http://127.0.0.1:1/"})
    network.cable("lan", "192.0.2.7/24")


def traces(home):
    """All files in a home, but the settings that were there before."""
    return [path for path in home.folder.rglob("*") if path.is_file()
            and path != home.settings_file]


def test_the_version(home, command, version):
    done = command("--version")
    assert (done.status, done.out, done.error) == (0, f"Quillfen {version}\n", "")
    assert not traces(home)


def test_the_help_names_the_options(home, command):
    done = command("--help")
    assert (done.status, done.error) == (0, "")
    for option in ("--preferences", "--quit", "--autostart on|off", "--headless", "--status",
                   "--status=json", "--follow", "--help", "--version"):
        assert option in done.out
    assert not traces(home)


def test_neither_needs_anything_of_its_surroundings(request, network):
    binary = request.config.getoption("--program")
    for option in ("--version", "--help"):
        done = subprocess.run([*network.enter(), binary, option], env={}, cwd="/",
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60)
        assert (done.returncode, done.stderr) == (0, b"")


@pytest.mark.parametrize("words, complaint", [
    (["--bogus"], 'there is no option "--bogus"'),
    (["stray"], 'there is nothing to be done with "stray"'),
    (["--autostart"], "a value is missing behind --autostart"),
    (["--autostart", "maybe"], '--autostart takes on or off, not "maybe"'),
    (["--status=xml"], '--status takes json or no value, not "xml"'),
    (["--quit", "--follow"], "--quit and --follow do not go together"),
    (["--a\x1b[31m\nb"], 'there is no option "--a\\x1b[31m\\x0ab"'),
], ids=lambda value: value if isinstance(value, str) else None)
def test_a_command_line_that_makes_no_sense(words, complaint, home, bus, command):
    done = command(*words, bus=bus)
    assert done.status == 2
    assert done.complaint() == f"quillfen: {complaint} (quillfen --help tells more)."
    assert not traces(home)


@pytest.mark.parametrize("option", ["--version", "--help"])
def test_what_cannot_be_printed_is_said(option, command):
    said = "quillfen: nothing can be printed: "
    with open("/dev/full", "wb") as full:
        done = command(option, stdout=full)
    assert (done.status, done.complaint()) == (1, f"{said}No space left on device.")
    done = command(option, through=WITHOUT_OUTPUT)
    assert (done.status, done.complaint()) == (1, f"{said}Bad file descriptor.")


def test_options_of_the_toolkit_are_taken(home, start):
    program = start(arguments=["-platform", "minimal", "-style", "fusion"])
    home.log.wait_for_line(STARTED)
    assert program.stop() == 0


def test_the_program_starts_with_its_preferences(home, bus, display, start):
    program = start(bus, display, arguments=["--preferences"])
    until(lambda: display.windows(TITLE), "the window")
    home.log.wait_for_line(STARTED)
    assert program.stop() == 0


def test_the_running_program_shows_its_preferences(home, bus, display, start):
    program = start(bus, display)
    home.log.wait_for_line(STARTED)
    assert not display.windows(TITLE)
    assert start(bus, arguments=["--preferences"]).exit_code() == 0
    until(lambda: display.windows(TITLE), "the window")
    assert home.log.lines().count("start") == 1
    assert program.stop() == 0


def test_quit_ends_the_running_program_in_order(home, bus, start, command):
    program = start(bus)
    home.log.wait_for_line(STARTED)
    done = command("--quit", bus=bus)
    assert (done.status, done.out, done.error) == (0, "", "")
    assert home.log.last_run()[-1] == "stop"
    assert not bus.has_owner("com.corvane.Quillfen")
    assert program.exit_code() == 0


def test_nobody_to_quit(bus, command):
    done = command("--quit", bus=bus)
    assert (done.status, done.complaint()) == (1, "quillfen: Quillfen is not running.")
    assert not bus.has_owner("com.corvane.Quillfen")


@pytest.mark.parametrize("option", ["--quit", "--status", "--follow"])
def test_without_a_bus_nobody_can_be_asked(option, silent_bus, command):
    begin = "quillfen: a running Quillfen cannot be asked: "
    done = command(option)
    assert (done.status, done.complaint()) == (1, f"{begin}there is no session bus.")
    done = command(option, bus=silent_bus)
    assert (done.status, done.complaint()) == (1, f"{begin}the session bus does not answer.")
    assert done.seconds < 3


class TestAutostart:
    """--autostart, as the desktops read what it writes."""

    @staticmethod
    def entry(home):
        path = home.config / "autostart" / ENTRY
        return Gio.DesktopAppInfo.new_from_filename(str(path)) if path.exists() else None

    def test_on_and_off(self, request, home, command):
        done = command("--autostart", "on")
        assert (done.status, done.out, done.error) == (0, "", "")
        entry = self.entry(home)
        assert entry.get_commandline() == request.config.getoption("--program")
        assert not entry.get_is_hidden()
        assert command("--autostart", "off").status == 0
        assert self.entry(home) is None
        assert command("--autostart", "off").status == 0

    def test_a_program_in_an_odd_place_starts(self, request, home, bus, tmp_path):
        folder = tmp_path / "it's \"odd\" $HOME `id` a\\b; &"
        folder.mkdir()
        binary = shutil.copy2(request.config.getoption("--program"), folder)
        environment = home.environment(DBUS_SESSION_BUS_ADDRESS=bus.address)
        subprocess.run([binary, "--autostart", "on"], env=environment, check=True, timeout=60)
        context = Gio.AppLaunchContext()
        for name, value in environment.items():
            context.setenv(name, value)
        assert self.entry(home).launch([], context)
        home.log.wait_for_line("Starting up...")
        subprocess.run([binary, "--quit"], env=environment, check=True, timeout=60)

    def test_off_goes_before_what_the_system_says(self, home, command, tmp_path):
        folder = tmp_path / "system" / "autostart"
        folder.mkdir(parents=True)
        (folder / ENTRY).write_text("[Desktop Entry]\nType=Application\nName=x\nExec=quillfen\n")
        system = {"XDG_CONFIG_DIRS": f"/nonexistent:{folder.parent}"}
        assert command("--autostart", "off", more=system).status == 0
        assert self.entry(home).get_is_hidden()
        assert command("--autostart", "on", more=system).status == 0
        assert not self.entry(home).get_is_hidden()

    def test_a_disk_that_cannot_be_written_is_said(self, home, command):
        (home.config / "autostart").mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", "ro", "tmpfs", home.config / "autostart"],
                       check=True)
        done = command("--autostart", "on")
        assert done.status == 1
        assert done.complaint() == (f"quillfen: {home.config}/autostart/{ENTRY} cannot be written: "
                                    "Read-only file system.")

    def test_a_full_disk_leaves_what_was_there(self, home, command):
        folder = home.config / "autostart"
        folder.mkdir()
        subprocess.run(["mount", "-t", "tmpfs", "-o", "size=8k", "tmpfs", folder], check=True)
        (folder / ENTRY).write_text("[Desktop Entry]\nHidden=true\n")
        (folder / "more").write_bytes(b"x" * 4096)
        done = command("--autostart", "on")
        assert done.status == 1
        assert done.complaint() == (f"quillfen: {folder}/{ENTRY} cannot be written: "
                                    "No space left on device.")
        assert (folder / ENTRY).read_text() == "[Desktop Entry]\nHidden=true\n"
        assert len(list(folder.iterdir())) == 2

    def test_without_a_home_it_says_so(self, command):
        done = command("--autostart", "on", more={"HOME": "", "XDG_CONFIG_HOME": ""})
        assert done.status == 1
        assert "HOME" in done.complaint()
