# SPDX-License-Identifier: GPL-3.0-or-later
"""Looking at a display: screenshots, what differs between two, and the text in one."""

import itertools
import re
import subprocess
import time

from .desktop import WIDTH
from .waiting import until

CONVERT = "/usr/bin/convert"  # ImageMagick's


class Screen:
    """The strip of a display in which its panel stands."""

    def __init__(self, display, height, folder):
        self._display = display
        self._strip = f"{WIDTH}x{height}+0+0"
        self._folder = folder
        self._numbers = itertools.count(1)
        folder.mkdir()

    def shot(self):
        """A picture of the panel as it is now."""
        picture = self._folder / f"{next(self._numbers):03}.png"
        take = ("import", "-window", "root", "-crop", self._strip, "+repage", str(picture))
        until(lambda: self._display.look(*take) is not None, "a screenshot")
        return picture

    def still(self):
        """A picture of the panel once it has not changed for half a second."""
        pictures = [self.shot()]
        since = time.monotonic()

        def at_rest():
            nonlocal since
            pictures.append(self.shot())
            if difference(*pictures[-2:]):
                since = time.monotonic()
            return time.monotonic() - since > 0.5
        until(at_rest, "a panel at rest", within=30)
        return pictures[-1]

    def text(self):
        """What stands in the panel, as a reader sees it."""
        return read(self.shot())

    def wait_for_text(self, text, within=30.0):
        seen = []

        def readable():
            seen.append(self.text())
            return text in seen[-1]
        until(readable, lambda: f"{text!r} in the panel; it reads {seen[-1]!r}", within)

    def wait_without_text(self, text, within=30.0):
        until(lambda: text not in self.text(), f"a panel without {text!r}", within)


def difference(before, after):
    """The box (width, height, x, y) of what differs between two pictures; None: nothing."""
    box = _output(CONVERT, before, after, "-compose", "difference", "-composite", "-colorspace",
                  "Gray", "-threshold", "8%", "-format", "%@ %[fx:maxima]", "info:")
    found = re.fullmatch(r"(\d+)x(\d+)\+(\d+)\+(\d+) 1", box)
    return tuple(int(number) for number in found.groups()) if found else None


def read(picture, box=None):
    """The text in a picture of a panel, or in a box of it, dark on light; enlarged first, as
    small type needs."""
    large = picture.with_suffix(".large.png")
    crop = ("-crop", "{}x{}+{}+{}".format(*box), "+repage") if box else ()
    _output(CONVERT, picture, *crop, "-filter", "Lanczos", "-resize", "400%", "-colorspace", "Gray",
            "-normalize", large)
    return _output("tesseract", large, "-", "--psm", "7").strip()


def lines(picture, box):
    """The lines of text in a box of a picture, from the top: each a text and its middle (x, y)."""
    width, height, left, top = box
    large = picture.with_suffix(".lines.png")
    _output(CONVERT, picture, "-crop", f"{width}x{height}+{left}+{top}", "+repage", "-filter",
            "Lanczos", "-resize", "300%", "-colorspace", "Gray", "-normalize", large)
    table = _output("tesseract", large, "-", "--psm", "6", "tsv").splitlines()
    words = [dict(zip(table[0].split("\t"), row.split("\t"))) for row in table[1:]]
    found = {}
    for word in words:
        # A word; the others are what it is part of. A bar is an end of the line between two rows.
        if word["level"] == "5" and word["text"].strip("|"):
            found.setdefault((word["block_num"], word["par_num"], word["line_num"]),
                             []).append(word)
    return [_line(words, left, top) for words in found.values()]


def _line(words, left, top):
    first, last = words[0], words[-1]
    right = int(last["left"]) + int(last["width"])
    return (" ".join(word["text"] for word in words),
            (left + (int(first["left"]) + right) // 6,
             top + (2 * int(first["top"]) + int(first["height"])) // 6))


def darkest(picture, box):
    """How bright the darkest pixel in a box of a picture is, from 0 to 1."""
    width, height, x, y = box
    return float(_output(CONVERT, picture, "-crop", f"{width}x{height}+{x}+{y}", "+repage",
                         "-colorspace", "Gray", "-format", "%[fx:minima]", "info:"))


def _output(*argv):
    return subprocess.run([str(word) for word in argv], check=True, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL, text=True, timeout=60,
                          env={"PATH": "/usr/bin:/bin", "OMP_THREAD_LIMIT": "1"}).stdout
