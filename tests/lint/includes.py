# SPDX-License-Identifier: GPL-3.0-or-later
"""A folder of src/ includes only itself and the folders below it.

The kinds of include lines keep their order: own header, ours, Qt's, the standard library's, the
system's. Every header is also compiled alone: its folder's CMakeLists.txt names it, and the source
of its name, where there is one, includes it before anything else.
"""

import pathlib
import re

from sources import Finding, files, is_cpp, line_of, run, without_comments

_BELOW = {
    "app": {"prefs", "netinfo", "mail", "support", "platform"},
    "prefs": {"netinfo", "mail", "support", "platform"},
    "netinfo": {"support", "platform"},
    "mail": {"support", "platform"},
    "support": {"platform"},
    "platform": set(),
}
_LINUX = "platform/linux"
_BUS = _LINUX + "/bus"  # below the other folders there
_COMMANDS = _LINUX + "/commands"  # above them
_INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(["<])([^">]+)[">]', re.MULTILINE)
_ORDER = "includes in this order: ours, Qt's, the standard library's, the system's"
_HEADERS = re.compile(r"\bHEADERS\b(.*?)(?:\bSOURCES\b|\bNEEDS\b|\bLINKS\b|\))", re.DOTALL)


def may_include(file: pathlib.PurePath, included: pathlib.PurePath) -> bool:
    """Whether the one file may include the other; both relative to src/."""
    here, there = str(file.parent), str(included.parent)
    if str(file) == "main.cpp":
        return there in _BELOW or is_linux(there)
    if here == there:
        return True
    if file.parent == pathlib.PurePath(_LINUX) and file.stem == "LinuxPlatform":
        return there == "platform" or is_linux(there)
    if here == _COMMANDS:
        return there == "platform" or (is_linux(there) and there != _LINUX)
    if is_linux(here):
        return there == "platform" or (there == _BUS and here.startswith(_LINUX + "/"))
    return there in _BELOW.get(here, set())


def is_linux(folder: str) -> bool:
    return folder == _LINUX or folder.startswith(_LINUX + "/")


def made_by_the_build(file: pathlib.PurePath, name: str) -> bool:
    return name in {f"{file.stem}.moc", f"moc_{file.stem}.cpp"} or name.startswith("ui_")


def check_includes(src: pathlib.Path, path: pathlib.Path) -> list[Finding]:
    code = without_comments(path.read_text(encoding="utf-8"), texts=False)
    file = path.relative_to(src)
    findings = []
    for match in _INCLUDE.finditer(code):
        quote, name = match.groups()
        line = line_of(code, match.start(1))
        if (src / name).is_file():
            if quote == "<":
                findings.append(Finding(path, line, f'write "{name}", a file of ours, in quotes'))
            elif not may_include(file, pathlib.PurePath(name)):
                findings.append(Finding(path, line, f'{file} must not include "{name}"'))
        elif quote == '"' and not made_by_the_build(file, name):
            findings.append(Finding(path, line, f'"{name}" is no file below src/'))
    return findings


def kind(quote: str, name: str) -> int:
    """What an include line names: ours 0, Qt's 1, the standard library's 2, the system's 3."""
    if quote == '"':
        return 0
    if name.startswith("Q"):
        return 1
    return 3 if name.endswith(".h") or "/" in name else 2


def check_order(path: pathlib.Path) -> list[Finding]:
    code = without_comments(path.read_text(encoding="utf-8"), texts=False)
    last = 0
    for match in _INCLUDE.finditer(code):
        if match.group(2) == f"{path.stem}.moc":
            continue
        now = kind(*match.groups())
        if now < last:
            return [Finding(path, line_of(code, match.start(1)), _ORDER)]
        last = now
    return []


def check_own_header(src: pathlib.Path, path: pathlib.Path) -> list[Finding]:
    header = path.with_suffix(".h")
    if not header.is_file():
        return []
    code = without_comments(path.read_text(encoding="utf-8"), texts=False)
    first = _INCLUDE.search(code)
    own = header.relative_to(src).as_posix()
    if first and first.group(2) == own:
        return []
    line = line_of(code, first.start(1)) if first else 1
    return [Finding(path, line, f'include "{own}" before anything else')]


def check_listed(path: pathlib.Path) -> list[Finding]:
    recipe = path.parent / "CMakeLists.txt"
    listed = set()
    if recipe.is_file():
        for block in _HEADERS.findall(recipe.read_text(encoding="utf-8")):
            listed.update(block.split())
    if path.name in listed:
        return []
    return [Finding(path, 1, "its folder's CMakeLists.txt does not name it under HEADERS")]


def lint(root: pathlib.Path) -> list[Finding]:
    src = root / "src"
    sources = [path for path in files(root, "src") if is_cpp(path)]
    findings = [] if sources else [Finding(src, 1, "no sources here")]
    for path in sources:
        findings += check_includes(src, path)
        findings += check_order(path)
        if path.suffix == ".h":
            findings += check_listed(path)
        else:
            findings += check_own_header(src, path)
    return findings


if __name__ == "__main__":
    run(lint)
