# SPDX-License-Identifier: GPL-3.0-or-later
"""What the lints share: finding files, and reading C++ without its comments and texts."""

import pathlib
import re
import sys
from typing import Callable, Iterator, NamedTuple

# In this order: what begins a comment inside a text is none, and the other way round.
_COMMENT_OR_TEXT = re.compile(
    r"""(?P<comment>//[^\n]*|/\*.*?\*/)
      | R"(?P<end>[^()\\\s]*)\(.*?\)(?P=end)"      # a raw text
      | "(?:\\.|[^"\\\n])*"
      | (?<!\w)(?:u8|[uUL])?'(?:\\.|[^'\\\n])+'    # a character, not the ' of 1'000
    """,
    re.DOTALL | re.VERBOSE,
)
_NOT_OURS = {".git", ".cache", "__pycache__"}


class Finding(NamedTuple):
    path: pathlib.Path
    line: int
    message: str

    def __str__(self) -> str:
        return f"{self.path}:{self.line}: {self.message}"


def files(root: pathlib.Path, *folders: str) -> Iterator[pathlib.Path]:
    """All files below the folders of root (root itself if none is named), in a fixed order."""
    for folder in folders or (".",):
        for path in sorted((root / folder).rglob("*")):
            parts = path.relative_to(root).parts
            if path.is_file() and not _NOT_OURS.intersection(parts) and parts[0] != "build":
                yield path


def is_cpp(path: pathlib.Path) -> bool:
    return path.suffix in {".h", ".cpp"}


def line_of(text: str, position: int) -> int:
    return text.count("\n", 0, position) + 1


def without_comments(code: str, texts: bool = True) -> str:
    """The C++ with its comments blanked, and, if texts, what stands between quotes as well.

    Every character that remains keeps its position.
    """

    def blank(match: re.Match) -> str:
        found = match.group()
        if match["comment"] is not None:
            return re.sub(r"[^\n]", " ", found)
        if not texts:
            return found
        return '"' + re.sub(r"[^\n]", " ", found[1:-1]) + '"'

    return _COMMENT_OR_TEXT.sub(blank, code)


def run(lint: Callable[[pathlib.Path], list[Finding]]) -> None:
    """Runs the lint over the tree that the command line names; any finding fails it."""
    findings = lint(pathlib.Path(sys.argv[1]))
    for finding in findings:
        print(finding)
    sys.exit(1 if findings else 0)
