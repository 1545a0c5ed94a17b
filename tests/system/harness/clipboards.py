# SPDX-License-Identifier: GPL-3.0-or-later
"""The clipboard of a desktop, as its other programs use it."""

import subprocess

from .process import Process
from .waiting import until


class Clipboard:
    """What another program copies and pastes with."""

    def __init__(self, home, environment, copying, pasting):
        """copying keeps the text of a file, named last, on the clipboard while it runs."""
        self._folder = home.folder
        self._environment = environment
        self._copying = copying
        self._pasting = pasting
        self._owners = []

    def set(self, text):
        """Another program copies text."""
        number = len(self._owners)
        source = self._folder / f"copied-{number}.txt"
        source.write_bytes(text)
        self._owners.append(Process([*self._copying, source], self._environment,
                                    self._folder / f"copying-{number}.txt"))
        self.wait_for(text)

    def text(self):
        """The bytes that another program pastes; None when it finds no text."""
        pasted = subprocess.run(self._pasting, env=self._environment, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, timeout=30)
        return pasted.stdout if pasted.returncode == 0 else None

    def wait_for(self, text):
        until(lambda: self.text() == text,
              lambda: f"{text!r} on the clipboard; it has {self.text()!r}")

    def close(self):
        for owner in self._owners:
            owner.kill()


def x11_clipboard(home, display):
    """The CLIPBOARD selection of an X server."""
    tool = ["xclip", "-selection", "clipboard"]
    return Clipboard(home, display.environment, [*tool, "-quiet", "-in"],
                     [*tool, "-target", "UTF8_STRING", "-out"])


def wayland_clipboard(home, compositor):
    """The clipboard of a compositor, by a way that needs no keyboard."""
    kind = ["--type", "text/plain;charset=utf-8"]
    return Clipboard(home, home.environment(WAYLAND_DISPLAY=compositor.name),
                     ["sh", "-c", f"exec wl-copy --foreground --type '{kind[1]}' <\"$0\""],
                     ["wl-paste", "--no-newline", *kind])
