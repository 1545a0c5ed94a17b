# SPDX-License-Identifier: GPL-3.0-or-later
"""The mailbox of a mail server, a Maildir, and the mails in it as they were delivered."""

from .waiting import until


class Mail:
    """One delivered mail, byte for byte, with line feeds as line ends."""

    def __init__(self, content):
        head, _, self.body = content.partition(b"\n\n")
        self._fields = []  # (name, value) from the top; a folded value keeps its line ends
        for line in head.decode("ascii").split("\n"):
            if line[0] in " \t":
                name, value = self._fields.pop()
                self._fields.append((name, f"{value}\n{line}"))
            else:
                name, value = line.split(": ", 1)
                self._fields.append((name, value))

    def names(self):
        """The names of its header fields, from the top."""
        return [name for name, _ in self._fields]

    def field(self, name):
        """The value of the one field of that name."""
        value, = [value for known, value in self._fields if known.lower() == name.lower()]
        return value


class MailBox:
    """Where a server puts all mails that it delivers."""

    def __init__(self, folder):
        self._new = folder / "new"

    def count(self):
        """How many mails there are to take."""
        return len(list(self._new.iterdir())) if self._new.is_dir() else 0

    def take(self, count=1, within=20.0):
        """Waits for count mails and takes them out; in order of their delivery, if it knows."""
        until(lambda: self.count() >= count, lambda: f"{count} mails; there are {self.count()}",
              within)
        assert self.count() == count, "more mails than there should be"
        return [self._take(path) for path in sorted(self._new.iterdir())]

    @staticmethod
    def _take(path):
        content = path.read_bytes()
        path.unlink()
        return Mail(content)
