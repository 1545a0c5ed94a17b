# SPDX-License-Identifier: GPL-3.0-or-later
"""An open menu on a display: what its rows say, and where to click on them."""

from .screen import difference, lines
from .waiting import until

SMALLEST = 100  # pixels; what changes more than this in both directions is a menu


class MenuOnScreen:
    """The menu that opens at a click. screen must show the whole display."""

    def __init__(self, display, screen, place, button=1):
        """Clicks at place (x, y) with a button of the pointer, and waits for the menu."""
        self._display = display
        self._screen = screen
        self._before = screen.still()
        display.click(place, button)
        until(self._is_open, "a menu on the screen", within=30)
        self.picture = screen.still()

    def _box(self):
        return difference(self._before, self._screen.shot())

    def _is_open(self):
        box = self._box()
        return box and box[0] > SMALLEST and box[1] > SMALLEST

    def rows(self):
        """What the rows say, as a reader sees them, each with its middle (x, y)."""
        return lines(self.picture, difference(self._before, self.picture))

    def text(self):
        return "\n".join(text for text, _ in self.rows())

    def wait_for_text(self, text, within=30.0):
        """Waits until a row says text, which it may not have done when the menu opened."""
        def readable():
            self.picture = self._screen.shot()
            return text in self.text()
        until(readable, lambda: f"{text!r} in the menu; it reads\n{self.text()}", within)

    def click(self, text):
        """Clicks on the row that says text."""
        places = [place for said, place in self.rows() if said == text]
        assert len(places) == 1, f"{text!r} once in the menu; it reads\n{self.text()}"
        self._display.click(places[0])

    def choose(self, text):
        """Clicks on the row that says text, and waits until nothing but the menu's end is seen."""
        self.click(text)
        until(lambda: not self._is_open(), "the menu's end")
