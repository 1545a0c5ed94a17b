# SPDX-License-Identifier: GPL-3.0-or-later
"""Private sound servers with one loudspeaker, and an ear at it."""

import signal
import subprocess
from pathlib import Path

from .process import Process
from .sound import RATE, SILENCE, heard_part, peak, read_raw
from .waiting import until

# Where the servers are unpacked: installed, they would become this machine's own.
PACKAGES = Path(__file__).parents[3] / "build" / "sound-servers"

LOUDSPEAKER = "loudspeaker"
FORM = f"rate={RATE} channels=1"
STARTING = 30.0  # seconds that a server gets
PAUSE = 0.5  # seconds of silence that end a sound


def unpacked(package, pattern):
    """The path of what matches the pattern in the package."""
    found = next((PACKAGES / package).glob(pattern), None)
    assert found, f"no {pattern} of {package} in {PACKAGES}; see scripts/test"
    return str(found)


class Ear:
    """Hears all that the loudspeaker plays, silence included, from now on."""

    def __init__(self, environment, folder):
        self._file = folder / "heard.raw"
        self._recorder = Process(
            ["parec", f"--device={LOUDSPEAKER}.monitor", "--format=s16be", f"--rate={RATE}",
             "--channels=1", "--latency-msec=20", self._file],
            environment, folder / "recorder.txt")
        until(lambda: self._file.exists() and self._file.stat().st_size > 0,
              lambda: f"a recording; the recorder says:\n{self._recorder.text()}", STARTING)

    def sound(self):
        """Waits for a sound and its end and gives its samples, without the silence around it."""
        def finished():
            samples = read_raw(self._file)
            is_over = peak(samples) > SILENCE >= peak(samples[-round(PAUSE * RATE):])
            return is_over and heard_part(samples)
        return until(finished, "a sound and its end", within=20)

    def close(self):
        self._recorder.kill()


class SoundServer:
    """What the servers have in common; the first of their processes is the one that plays.

    environment: that of a program which is to find the server.
    """

    def __init__(self, home, bus):
        self.environment = home.environment(DBUS_SESSION_BUS_ADDRESS=bus.address)
        self._folder = home.folder
        self._socket = home.runtime / "pulse" / "native"
        self._processes = []
        self._ear = None

    def _start(self, name, *argv, **environment):
        """Starts one of the processes; name is that of the file with what it says."""
        self._processes.append(Process(argv, {**self.environment, **environment},
                                       self._folder / f"{name}.txt"))

    def _pactl(self, *words):
        result = subprocess.run(["pactl", *words], env=self.environment, check=False,
                                capture_output=True, text=True, timeout=STARTING)
        return result.stdout.strip()

    def _wait_for(self, condition, what):
        until(condition, lambda: f"{what}; the servers say:\n" + "\n".join(
            process.text() for process in self._processes), STARTING)

    def _wait_for_loudspeaker(self):
        self._wait_for(lambda: self._pactl("get-default-sink") == LOUDSPEAKER, "a loudspeaker")

    def ear(self):
        self._ear = Ear(self.environment, self._folder)
        return self._ear

    def hang(self):
        """The server takes what it is told, and does nothing any more."""
        self._processes[0].send(signal.SIGSTOP)

    def close(self):
        if self._ear:
            self._ear.close()
        for process in reversed(self._processes):
            process.kill()


class PulseAudio(SoundServer):
    def __init__(self, home, bus):
        super().__init__(home, bus)
        libraries = unpacked("pulseaudio", "usr/lib/*/pulseaudio")
        modules = unpacked("pulseaudio", "usr/lib/pulse-*/modules")
        self._start("pulseaudio", unpacked("pulseaudio", "usr/bin/pulseaudio"), "-n",
                    "--daemonize=no", "--use-pid-file=no", "--disable-shm=yes",
                    "--exit-idle-time=-1", f"--dl-search-path={modules}",
                    "--load=module-native-protocol-unix",
                    f"--load=module-null-sink sink_name={LOUDSPEAKER} {FORM}",
                    LD_LIBRARY_PATH=f"{libraries}:{modules}")
        self._wait_for_loudspeaker()


class PipeWire(SoundServer):
    """With its stand-in for PulseAudio, as desktops have it."""

    def __init__(self, home, bus):
        super().__init__(home, bus)
        self._start("pipewire", "pipewire")
        self._wait_for((home.runtime / "pipewire-0").exists, "PipeWire")
        settings = unpacked("wireplumber", "usr/share/wireplumber")
        self._start("wireplumber", unpacked("wireplumber", "usr/bin/wireplumber"),
                    WIREPLUMBER_CONFIG_DIR=settings, WIREPLUMBER_DATA_DIR=settings)
        self._start("pipewire-pulse", "pipewire", "-c",
                    unpacked("pipewire-pulse", "usr/share/pipewire/pipewire-pulse.conf"))
        self._wait_for(self._socket.exists, "PipeWire in the place of PulseAudio")
        self._wait_for(lambda: self._pactl("load-module", "module-null-sink",
                                           f"sink_name={LOUDSPEAKER}", *FORM.split()),
                       "a null sink")
        self._wait_for_loudspeaker()
