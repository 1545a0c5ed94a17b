# SPDX-License-Identifier: GPL-3.0-or-later
"""The rules of the house that a pattern can see."""

import pathlib
import re
from typing import NamedTuple

from sources import Finding, files, is_cpp, line_of, run, without_comments

_LICENSE = re.compile(r"(?:#![^\n]*\n)?(?://|#) SPDX-License-Identifier: GPL-3\.0-or-later\n")
_COLUMNS = 100
_UNFINISHED = re.compile(r"\b(?:TO" r"DO|FIX" r"ME|XX" r"X)\b")


class Rule(NamedTuple):
    """What must not stand in the C++ of a folder, its comments and texts aside."""

    folder: str
    pattern: re.Pattern
    message: str


_RULES = (
    Rule("src", re.compile(r"\bwaitFor\w*\s*\("), "the main thread never blocks"),
    Rule("src", re.compile(r"\b(?:QEventLoop|processEvents)\b"), "no nested event loop"),
    Rule("src", re.compile(r"^[ \t]*#[ \t]*(?:el)?if", re.MULTILINE),
         "no conditional compilation: CMake picks the files of a platform"),
    Rule("tests", re.compile(r"\b(?:[mnu]?sleep|nanosleep|sleep_for|sleep_until|qSleep)\s*\("),
         "a test waits for an event, it does not sleep"),
)


def is_code(path: pathlib.Path, text: str) -> bool:
    return (is_cpp(path) or path.suffix in {".py", ".sh", ".cmake"}
            or path.name == "CMakeLists.txt" or text.startswith("#!"))


def check(path: pathlib.Path, folder: str, text: str) -> list[Finding]:
    """What is wrong with the file at path, in that folder of the tree, that holds the text."""
    findings = []
    if is_code(path, text):
        findings += check_code(path, text)
    for match in _UNFINISHED.finditer(text):
        findings.append(Finding(path, line_of(text, match.start()), "finish it, or say it plainly"))
    if is_cpp(path):
        findings += check_cpp(path, folder, without_comments(text))
    return findings


def check_code(path: pathlib.Path, text: str) -> list[Finding]:
    findings = []
    if not _LICENSE.match(text):
        findings.append(Finding(path, 1, "the licence line is missing (SPDX-License-Identifier)"))
    for number, line in enumerate(text.splitlines(), 1):
        if len(line) > _COLUMNS:
            findings.append(Finding(path, number, f"more than {_COLUMNS} columns"))
    return findings


def check_cpp(path: pathlib.Path, folder: str, code: str) -> list[Finding]:
    findings = []
    if path.suffix == ".h" and not re.search(r"^#pragma once$", code, re.MULTILINE):
        findings.append(Finding(path, 1, "#pragma once is missing"))
    for rule in _RULES:
        if rule.folder == folder:
            for match in rule.pattern.finditer(code):
                findings.append(Finding(path, line_of(code, match.start()), rule.message))
    return findings


def lint(root: pathlib.Path) -> list[Finding]:
    findings = []
    seen = 0
    for path in files(root):
        try:
            text = path.read_text(encoding="utf-8")
        except UnicodeDecodeError:
            continue  # an image or a sound
        seen += is_cpp(path)
        findings += check(path, path.relative_to(root).parts[0], text)
    return findings if seen else [Finding(root, 1, "no sources here")]


if __name__ == "__main__":
    run(lint)
