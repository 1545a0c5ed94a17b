# SPDX-License-Identifier: GPL-3.0-or-later
"""The lines that the activity log is to hold, made from what the program should have seen."""

LOADING = "Loading external IP address...(from http://checkip.dyndns.org/)"


class Transcript:
    """Lines of one version of the program; names maps addresses to their DNS names."""

    def __init__(self, version, names=None):
        self._version = version
        self._names = names or {}

    def opening(self, *addresses, last, external="-.-.-.-"):
        """From the start marker to the end of start-up, with the external address not watched.

        last is the address stored before, external what the lookup service has answered.
        """
        first = addresses[0] if addresses else None
        lines = ["start", "Starting up...", *self.refresh(*addresses, last=last),
                 *self.refresh(*addresses, last=first or "-.-.-.-")]
        lines += [LOADING, f"The current external IP address is:{external}"]
        if first:
            lines.append(f"The current (first) internal IP address is:{first}")
        return lines

    def refresh(self, *addresses, last):
        """One refresh that finds addresses, when last (or None) was the one stored before."""
        if not addresses:
            return ["Checking internal IP", "No internal IP could not be found",
                    f"Quillfen {self._version} refreshed. (-.-.-.-)"]
        first = addresses[0]
        lines = ["Checking internal IP",
                 f"Internal IP address:{first} ({self._names.get(first, 'no name')})",
                 "Current internal IP addresses found listed below:",
                 *(f"[{number}] {address}" for number, address in enumerate(addresses, 1))]
        if last:
            lines.append(f"Last internal IP address: {last}")
        if last != first:
            lines.append("(First) Internal IP address changed "
                         f"from:{last or '(null)'} to:{first}")
        return [*lines, self.refreshed(first)]

    def refreshed(self, address):
        """The last line of a refresh."""
        return f"Quillfen {self._version} refreshed. ({address})"
