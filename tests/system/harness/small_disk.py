# SPDX-License-Identifier: GPL-3.0-or-later
"""A small disk that can be filled to the byte, in place of a folder. A memory disk (tmpfs(5)).

It has blocks of 4096 bytes. So a file's last block has room where nothing else has any.
"""

import subprocess

BLOCK = 4096


class SmallDisk:
    """Mounted on folder, for this test run alone: it has a mount namespace of its own."""

    def __init__(self, folder, blocks=64, files=64):
        folder.mkdir(parents=True, exist_ok=True)
        self._folder = folder
        self._filler = folder / "filler"
        subprocess.run(["mount", "-t", "tmpfs", "-o", f"size={blocks * BLOCK},nr_inodes={files}",
                        "tmpfs", str(folder)], check=True)

    def close(self):
        subprocess.run(["umount", "--lazy", str(self._folder)], check=True)

    def fill(self, leave=0):
        """Takes all free blocks but leave of them."""
        free = 0
        with open(self._filler, "wb", buffering=0) as filler:
            try:
                while filler.write(bytes(BLOCK)):
                    free += 1
            except OSError:
                pass  # full now
            assert free >= leave
            filler.truncate((free - leave) * BLOCK)

    def fill_but_in(self, path, room):
        """Makes the file path a new one with room bytes in its last block, and no room elsewhere.

        It holds one line of blanks. @returns its length, 0 where room is a whole block.
        """
        self.empty()
        used = BLOCK - room
        path.write_bytes(b" " * (used - 1) + b"\n" if used else b"")
        self.fill(leave=1 if room == BLOCK else 0)
        return used

    def take_all_files(self):
        """Makes files until no more can be made."""
        try:
            for number in range(10_000):
                (self._folder / f"another-{number}").touch()
        except OSError:
            pass  # the last that there was

    def empty(self):
        """Gives everything back that was taken here."""
        self._filler.unlink(missing_ok=True)
        for another in self._folder.glob("another-*"):
            another.unlink()
