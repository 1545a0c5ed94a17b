# SPDX-License-Identifier: GPL-3.0-or-later
"""docs/security.md keeps its word: each claim, a row of a table, names tests that are there."""

import pathlib
import re

from sources import Finding, files, run

_DOCUMENT = pathlib.PurePath("docs", "security.md")
_TEST = re.compile(r"`(?P<file>\w+(?:\.py)?): (?P<test>\w+)`")
_FUZZER = re.compile(r"`(?P<fuzzer>fuzz_\w+)`")
_RULE_OF_TABLE = re.compile(r"\|(?:\s*:?-+:?\s*\|)+")


def rows(lines: list[str]) -> list[tuple[int, str]]:
    """The rows of all tables, without their heads, each with its line's number."""
    found = []
    for number, line in enumerate(lines, start=1):
        below = lines[number] if number < len(lines) else ""
        is_head = _RULE_OF_TABLE.fullmatch(below.strip())
        if line.startswith("|") and not _RULE_OF_TABLE.fullmatch(line.strip()) and not is_head:
            found.append((number, line))
    return found


def fuzzers(root: pathlib.Path) -> set[str]:
    return {name for path in files(root, "tests/fuzz") if path.name == "CMakeLists.txt"
            for name in re.findall(r"quillfen_fuzz\((\w+)", path.read_text(encoding="utf-8"))}


def lint(root: pathlib.Path) -> list[Finding]:
    document = root / _DOCUMENT
    sources = {path.stem if path.suffix == ".cpp" else path.name: path.read_text(encoding="utf-8")
               for path in files(root, "tests") if path.suffix in {".cpp", ".py"}}
    known = fuzzers(root)
    findings, named = [], set()
    for number, row in rows(document.read_text(encoding="utf-8").split("\n")):
        def complain(what: str, line: int = number) -> None:
            findings.append(Finding(document, line, what))

        tests = list(_TEST.finditer(row))
        targets = {match["fuzzer"] for match in _FUZZER.finditer(row)}
        named |= targets
        if not tests and not targets:
            complain("a claim without a test")
        for match in tests:
            if not re.search(rf"\b{match['test']}\(", sources.get(match["file"], "")):
                complain(f"no test {match['test']} in {match['file']}")
        for target in sorted(targets - known):
            complain(f"no fuzz target {target}")
    for target in sorted(known - named):
        findings.append(Finding(document, 1, f"{target} is not mentioned"))
    return findings


if __name__ == "__main__":
    run(lint)
