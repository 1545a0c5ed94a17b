# SPDX-License-Identifier: GPL-3.0-or-later
"""The lines that the activity log is to hold, made from what the program should have seen."""

import re

LOADING = "Loading external IP address...(from http://checkip.dyndns.org/)"
COPYING = "Copying external IP address..."


def without_dates(lines):
    """lines, with a star for each date that one of them tells."""
    return [re.sub(r"\(at \d{4}-\d\d-\d\d \d\d:\d\d:\d\d [+-]\d{4}\)", "(at *)", line)
            for line in lines]


class Transcript:
    """Lines of one version of the program; names maps addresses to their DNS names."""

    def __init__(self, version, names=None):
        self._version = version
        self._names = names or {}

    def opening(self, *addresses, last, external="-.-.-.-", watched=None, titles=((), ())):
        """From the start marker to the end of start-up.

        last is the address stored before, external what the lookup service has answered. Where the
        external address is watched, watched is the one stored before. titles are the lines about
        the title in the first and in the second refresh.
        """
        first = addresses[0] if addresses else None
        poll = self.poll(external, watched) if watched else []
        lines = ["start", "Starting up...", *poll,
                 *self.refresh(*addresses, last=last, title=titles[0]),
                 *self.refresh(*addresses, last=first or "-.-.-.-", title=titles[1])]
        kept = watched and external != "-.-.-.-"
        lines += [COPYING if kept else LOADING, f"The current external IP address is:{external}"]
        if first:
            lines.append(f"The current (first) internal IP address is:{first}")
        return lines

    def refresh(self, *addresses, last, title=()):
        """One refresh that finds addresses, when last (or None) was the one stored before.

        title are the lines about the title.
        """
        if not addresses:
            return ["Checking internal IP", "No internal IP could not be found", *title,
                    f"Quillfen {self._version} refreshed. (-.-.-.-)"]
        first = addresses[0]
        lines = ["Checking internal IP",
                 f"Internal IP address:{first} ({self._names.get(first, 'no name')})",
                 "Current internal IP addresses found listed below:",
                 *(f"[{number}] {address}" for number, address in enumerate(addresses, 1)), *title]
        if last:
            lines.append(f"Last internal IP address: {last}")
        if last != first:
            lines.append("(First) Internal IP address changed "
                         f"from:{last or '(null)'} to:{first}")
        return [*lines, self.refreshed(first)]

    @staticmethod
    def poll(current, last, source=LOADING, minutes=6):
        """One poll that finds current when last was the one stored before; without_dates()."""
        lines = ["Checking external IP", source, f"Current external IP address: {current}",
                 f"Last external IP address: {last}"]
        if current.lower() != last.lower():
            lines.append(f"External IP address changed from:{last} to:{current}")
        return [*lines, f"Next external IP address check in: {minutes} minutes (at *)"]

    def refreshed(self, address):
        """The last line of a refresh."""
        return f"Quillfen {self._version} refreshed. ({address})"
