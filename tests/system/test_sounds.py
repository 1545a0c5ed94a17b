# SPDX-License-Identifier: GPL-3.0-or-later
"""The program's sounds: what is in the files, and what a real sound server gets to hear."""

import shutil
import subprocess
import time
from pathlib import Path

import pytest

from harness.reader import duration
from harness.sound import heard_part, peak, read_aiff, seconds, strength
from harness.sound_servers import PipeWire, PulseAudio
from harness.waiting import stays, until

SENT, NOT_SENT = "Mail Sent.aiff", "Mail Not Sent.aiff"
LOW, HIGH = 587.33, 880.00  # Hz, the two tones
AT_ONCE = 1.0  # seconds, on a machine that has much else to do
MOST_PLAYERS = 4
PATIENCE = 5.0  # seconds that a player gets
NIGHT = 2.0  # seconds in which nothing wakes up who sleeps


class Player:
    """The program's way to play its sounds, running for itself."""

    def __init__(self, tool, environment):
        self._popen = subprocess.Popen([tool], env=environment, stdin=subprocess.PIPE,
                                       stdout=subprocess.PIPE, text=True)
        self._tasks = Path(f"/proc/{self._popen.pid}/task")

    def play(self, name):
        """Plays the sound. @returns what the tool says to it."""
        self._popen.stdin.write(f"{name}\n")
        self._popen.stdin.flush()
        return self._popen.stdout.readline().strip()

    def children(self):
        """Its children's process ids, those included that nobody has waited for."""
        return [child for task in self._tasks.glob("*/children")
                for child in task.read_text(encoding="ascii").split()]

    def _wake_ups(self):
        """How often it has gone to sleep so far."""
        return sum(int(line.split()[1]) for task in self._tasks.glob("*/status")
                   for line in task.read_text(encoding="ascii").splitlines()
                   if line.startswith("voluntary_ctxt_switches:"))

    def falls_asleep(self):
        """Waits until nothing has woken it up for a whole night."""
        seen, since = None, 0.0

        def has_slept():
            nonlocal seen, since
            if seen != self._wake_ups():
                seen, since = self._wake_ups(), time.monotonic()
            return time.monotonic() - since >= NIGHT
        until(has_slept, "a sound sleep", within=20)

    def end(self):
        """Ends it and gives its exit code."""
        self._popen.stdin.close()
        return self._popen.wait(timeout=20)

    def kill(self):
        self._popen.kill()
        self._popen.wait()
        self._popen.stdout.close()


@pytest.fixture
def tool(request):
    return Path(request.config.getoption("--program")).with_name("play_sound")


@pytest.fixture
def player(tool):
    """player(environment): one that runs in that environment."""
    started = []

    def start(environment):
        started.append(Player(tool, environment))
        return started[-1]
    yield start
    for each in started:
        each.kill()


@pytest.fixture
def server_of(session, bus):
    """server_of(kind): a sound server of that kind."""
    started = []

    def start(kind):
        started.append(kind(session, bus))
        return started[-1]
    yield start
    for each in started:
        each.close()


@pytest.fixture
def only(tmp_path):
    """only(program): a search path on which there is nothing else."""
    def path(program):
        folder = tmp_path / "path"
        folder.mkdir()
        (folder / program).symlink_to(shutil.which(program))
        return str(folder)
    return path


def is_running(process):
    """Whether the process is there and has not ended."""
    try:
        stat = Path(f"/proc/{process}/stat").read_text(encoding="ascii", errors="replace")
    except FileNotFoundError:
        return False
    return stat.rpartition(")")[2].split()[0] != "Z"


def assert_tones(samples, first, second):
    """The samples are those of one tone and then the other, on a busy machine with gaps."""
    begin, later = seconds(samples, 0.02, 0.14), seconds(samples, 0.22, 0.34)
    assert strength(begin, first) > 1.5 * strength(begin, second)
    assert strength(later, second) > 1.5 * strength(later, first)


@pytest.mark.parametrize("name, tones", [(SENT, (LOW, HIGH)), (NOT_SENT, (HIGH, LOW))])
def test_the_files_are_short_and_soft(tool, name, tones):
    samples = read_aiff(tool.parent.parent / "share" / "quillfen" / "sounds" / name)
    assert len(seconds(samples, 1.0)) == 0
    assert 32767 / 8 <= peak(samples) <= 32767 / 4
    assert peak(seconds(samples, 0, 0.01)) == peak(samples[-480:]) == 0  # they begin and end softly
    assert_tones(heard_part(samples), *tones)


@pytest.mark.parametrize("kind, program", [
    (PulseAudio, "paplay"), (PipeWire, "paplay"), (PipeWire, "pw-play"),
])
@pytest.mark.parametrize("name, tones", [(SENT, (LOW, HIGH)), (NOT_SENT, (HIGH, LOW))])
def test_a_sound_is_heard(server_of, player, only, tool, kind, program, name, tones):
    server = server_of(kind)
    ear = server.ear()
    playing = player({**server.environment, "PATH": only(program)})
    assert playing.play(name) == "played"
    heard = ear.sound()
    played = heard_part(read_aiff(tool.parent.parent / "share" / "quillfen" / "sounds" / name))
    assert peak(played) / 2 <= peak(heard) <= peak(played) * 1.1
    assert len(heard) >= 0.8 * len(played)
    assert_tones(heard, *tones)
    assert playing.end() == 0


def test_a_sound_that_is_missing_is_left_out(player, home):
    assert player(home.environment()).play("Mail Lost.aiff") == "missing"


def test_it_is_idle_after_a_sound(server_of, player):
    server = server_of(PulseAudio)
    ear = server.ear()
    playing = player(server.environment)
    playing.play(SENT)
    ear.sound()
    until(lambda: not playing.children(), "the end of the player")
    playing.falls_asleep()
    assert playing.end() == 0


@pytest.mark.parametrize("installed", [True, False], ids=["", "nor a player"])
def test_without_a_server_there_is_silence(player, home, tmp_path, installed):
    environment = home.environment(PULSE_SERVER=f"unix:{home.runtime}/nobody")
    if not installed:
        environment["PATH"] = str(tmp_path)
    playing = player(environment)
    for _ in range(20):
        assert duration(lambda: playing.play(SENT)) <= AT_ONCE
    until(lambda: not playing.children(), "the end of all players")
    playing.falls_asleep()
    assert playing.end() == 0


def test_a_server_that_hangs_is_given_up(server_of, player):
    server = server_of(PulseAudio)
    server.hang()
    playing = player(server.environment)
    for _ in range(20):
        assert duration(lambda: playing.play(SENT)) <= AT_ONCE
    stays(lambda: 1 <= len(playing.children()) <= MOST_PLAYERS, "a few players", during=1)
    until(lambda: not playing.children(), "the end of all players", within=4 * PATIENCE)
    assert playing.end() == 0


def test_a_server_that_hangs_does_not_hold_up_the_end(server_of, player):
    server = server_of(PulseAudio)
    server.hang()
    playing = player(server.environment)
    playing.play(SENT)
    playing.play(NOT_SENT)
    processes = playing.children()
    assert len(processes) == 2
    assert duration(playing.end) <= AT_ONCE
    until(lambda: not any(map(is_running, processes)), "the end of the players")
