# SPDX-License-Identifier: GPL-3.0-or-later
"""Waiting for something to become true: never without a deadline, never for luck."""

import time

POLL = 0.01  # seconds between two looks


def until(condition, what, within=10.0, pause=POLL):
    """Looks at condition() until it is true and returns what it gave.

    within and pause, the time between two looks, are in seconds. Past within, fails with what, a
    text or a function that makes one.
    """
    deadline = time.monotonic() + within
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {within} s: {what() if callable(what) else what}")
        time.sleep(pause)


def stays(condition, what, during):
    """Fails with what as soon as condition() is not true; looks for during seconds."""
    deadline = time.monotonic() + during
    while time.monotonic() < deadline:
        if not condition():
            raise AssertionError(what() if callable(what) else what)
        time.sleep(POLL)
