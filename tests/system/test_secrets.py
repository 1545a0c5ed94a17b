# SPDX-License-Identifier: GPL-3.0-or-later
"""What the program keeps to itself: the mail password, its files, its descriptors."""

import base64
import os
import socket
import stat
from pathlib import Path

import pytest
from gi.repository import GLib

from harness import mail_transcript
from harness.bus_objects import PROPERTIES, ask, connections_of, offered
from harness.capture import Capture
from harness.mail_certificates import Authority
from harness.process import Process
from harness.waiting import until

BEFORE, AFTER = "192.0.2.7", "198.51.100.4"
STARTED = f"The current (first) internal IP address is:{BEFORE}"
SENT = "Message sent. Closing the connection."
USER, PASSWORD = "quill", "Pfeffer&Salz-42"
SERVER = Path(mail_transcript.__file__).with_name("mail_slow_server.py")
PORT = 587
# Notes in its folder what it was started with: arguments, variables, open descriptors.
WITNESS = """#!/bin/sh
{ printf '%s\\n' "$0" "$@"; env; ls -l /proc/$$/fd; cat; } >{folder}/$$.fresh 2>&1
mv {folder}/$$.fresh {folder}/$$.seen
"""


def forms(user, password):
    """How a password may be written."""
    both = [password, f"\0{user}\0{password}"]
    return [password.encode(), *(base64.b64encode(text.encode()) for text in both)]


@pytest.fixture(autouse=True)
def settings(home, network):
    network.cable("lan", f"{BEFORE}/24")
    network.cable("wlan", f"{AFTER}/24")
    network.ip("route add default dev lan")
    home.set({"Initial Refresh": 86400, "LastIPAddress": BEFORE,
              "ExternalAddressService": "http://127.0.0.1:1/", "SendEmailNotifications": True,
              "Email": "a@example.org", "MailServer": "localhost", "Port": str(PORT),
              "Authentication": 1, "Username": USER, "UserPassword": PASSWORD})


@pytest.fixture
def authority(tmp_path):
    return Authority(tmp_path)


@pytest.fixture
def mails(network, tmp_path, authority):
    """A mail server that wants a login; the folder of its mails."""
    folder = tmp_path / "mails"
    folder.mkdir()
    process = Process([*network.enter(), "/usr/bin/python3", SERVER, str(PORT), "0",
                       authority.certificate, authority.key, folder],
                      {"PATH": "/usr/bin:/bin"}, tmp_path / "server.txt")
    until(lambda: "ready" in process.text(), lambda: f"a mail server: {process.text()}")
    yield folder
    process.kill()


@pytest.fixture
def witnesses(tmp_path):
    """A folder with what stands for all programs that ours may start, and their notes."""
    folder = tmp_path / "witnesses"
    folder.mkdir()
    for name in ("xdg-open", "paplay", "pw-play", "wl-copy"):
        witness = folder / name
        witness.write_text(WITNESS.replace("{folder}", str(folder)))
        witness.chmod(0o755)
    return folder


@pytest.fixture
def temporary(tmp_path):
    folder = tmp_path / "temporary"
    folder.mkdir()
    return folder


@pytest.fixture
def run(start, bus, display, status_area, witnesses, temporary, authority):
    """Starts the program, by a user who shares all that he makes."""
    def started():
        before = os.umask(0)
        try:
            program = start(bus, display, {
                "PATH": f"{witnesses}:/usr/bin:/bin:/usr/sbin:/sbin", "TMPDIR": str(temporary),
                "SSL_CERT_FILE": str(authority.authority)})
        finally:
            os.umask(before)
        until(status_area.labels, "the item's menu")
        program.home.log.wait_for_line(STARTED)
        return program
    return started


def notes_of(witnesses, count):
    """What the programs noted that ours has started, count of them."""
    until(lambda: len(list(witnesses.glob("*.seen"))) >= count,
          lambda: f"{count} programs; started: {os.listdir(witnesses)}", 20)
    return [note.read_bytes() for note in sorted(witnesses.glob("*.seen"))]


def files_below(*folders):
    return [path for folder in folders for path in folder.rglob("*")]


def answers_of(bus, pid):
    """All that a process tells on the bus without being changed by the question."""
    connection = bus.connect()
    for owner in connections_of(connection, pid):
        _, properties = offered(connection, owner)
        for path, interface in {(entry.path, entry.interface) for entry in properties}:
            yield ask(connection, owner, path, PROPERTIES, "GetAll",
                      GLib.Variant("(s)", (interface,)))


def test_the_mail_password_is_in_the_settings_file_and_nowhere_else(
        network, home, bus, status_area, run, mails, witnesses):
    capture = Capture(network)
    program = run()
    network.ip("link set lan down")
    home.log.wait_for_line(SENT, 20)
    assert [mail.name for mail in mails.iterdir()] == ["a@example.org"]
    for row in ("Console Log...", "View in Corvane Website..."):
        status_area.choose(row)
    notes = notes_of(witnesses, 2)
    told = list(answers_of(bus, program.pid))
    process = Path(f"/proc/{program.pid}")
    places = {
        "its arguments": (process / "cmdline").read_bytes(),
        "its variables": (process / "environ").read_bytes(),
        "the console": program.console().encode(),
        "programs that it started": b"\n".join(notes),
        "the bus": repr(told).encode(),
        "the network": b"\n".join(packet.payload for packet in capture.packets()),
        "the mail": b"\n".join(mail.read_bytes() for mail in mails.iterdir())}
    capture.close()
    # Each has been looked at: it holds what it is known for.
    assert all(places.values()) and b"EHLO " in places["the network"]
    assert b"XDG_CONFIG_HOME=" in places["programs that it started"]
    assert program.stop() == 0
    for path in files_below(home.folder, home.runtime):
        if path.is_file() and path != home.settings_file:
            places[str(path)] = path.read_bytes()
    assert str(home.log.path) in places
    assert {place for place, text in places.items() for form in forms(USER, PASSWORD)
            if form in text} == set()
    assert home.settings()["UserPassword"] == PASSWORD


def test_its_files_are_for_their_user_only(network, home, run, mails):
    home.settings_file.chmod(0o644)  # as somebody left it
    program = run()
    network.ip("link set lan down")
    home.log.wait_for_line(SENT, 20)
    until(lambda: home.settings()["LastIPAddress"] == AFTER, "the new address in the settings")
    assert program.stop() == 0
    made = [home.settings_file, home.data, *files_below(home.data)]
    assert home.log.path in made
    modes = {path: oct(stat.S_IMODE(path.stat().st_mode)) for path in made}
    assert modes == {path: "0o700" if path.is_dir() else "0o600" for path in made}


def test_it_leaves_nothing_among_temporary_files(network, home, run, mails, temporary):
    before = set(files_below(home.runtime))
    program = run()
    network.ip("link set lan down")
    home.log.wait_for_line(SENT, 20)
    while_it_runs = set(files_below(home.runtime, temporary))
    assert program.stop() == 0
    assert while_it_runs | set(files_below(home.runtime, temporary)) == before


def test_what_it_starts_gets_no_descriptor_of_its_own(status_area, run, witnesses):
    run()
    for row in ("Console Log...", "View in Corvane Website..."):
        status_area.choose(row)
    for note in notes_of(witnesses, 2):
        kept = [line for line in note.decode().splitlines() if " -> " in line]
        numbers = {line.split(" -> ")[0].split()[-1] for line in kept}
        assert numbers >= {"0", "1", "2"}
        assert not [line for line in kept if "socket:" in line or "anon_inode" in line
                    or "/Quillfen.log" in line], note.decode()


def waiting_for_callers(pid):
    """The sockets by which anybody could reach a process's network: (kind, local address)."""
    found = []
    for kind, open_states in (("tcp", ["0A"]), ("tcp6", ["0A"]), ("udp", ["07"]), ("udp6", ["07"])):
        table = Path(f"/proc/{pid}/net/{kind}").read_text(encoding="ascii").splitlines()[1:]
        found += [(kind, line.split()[1]) for line in table if line.split()[3] in open_states]
    return found


def test_it_listens_on_no_port(network, home, run):
    program = run()
    network.ip("link set lan down")
    home.log.wait_for_line("Connecting to the localhost server...", 20)
    assert waiting_for_callers(program.pid) == []
    with network.inside(lambda: socket.create_server(("127.0.0.1", 0))):
        assert len(waiting_for_callers(program.pid)) == 1  # which is how one would look
