# SPDX-License-Identifier: GPL-3.0-or-later
"""No coroutine steps into what g++ 12 compiles wrongly, without a warning.

It destroys some temporaries of a full expression with co_await in it twice: aggregates,
lambdas, the object of a member call, the result of ?:. So such an expression has no braces, no
lambda, no ?: and no call on what another call returned; the value is given a name first. And a
lambda with captures is no coroutine: the captures die with the lambda, before the coroutine ends.

This reads brackets, not the language: it also refuses a harmless call on a returned reference.
"""

import pathlib
import re

from sources import Finding, files, is_cpp, line_of, run, without_comments

_OPENING = {")": "(", "]": "[", "}": "{"}
_AWAIT = re.compile(r"(?<!operator )\bco_await\b")
_COROUTINE = re.compile(r"(?<!operator )\bco_(?:await|return|yield)\b")
_CONTROL = re.compile(r"\b(?:if|for|while|switch)(?:\s+constexpr)?\s*$")
# What stands before an index, an array's size or the names for the parts of a value.
_NO_LAMBDA = re.compile(r"""\bauto\s*&{0,2}\s*$|[)\]"]\s*$
                            |\b(?!(?:return|co_return|co_await|co_yield|else|do)\b)\w+\s*$""",
                        re.VERBOSE)
_TRAPS = (
    (re.compile(r"\{"), "braces"),
    (re.compile(r"\?"), "?:"),
    (re.compile(r"[)}]\s*(?:\.|->)\s*[A-Za-z_]"), "a call on a temporary"),
    (re.compile(r'"\w*\s*\.\s*[A-Za-z_]'), "a call on a temporary"),
)


def matching(code: str) -> dict[int, int]:
    """Where the partner of each bracket stands, both ways."""
    partner: dict[int, int] = {}
    open_ones: list[int] = []
    for position, char in enumerate(code):
        if char in "([{":
            open_ones.append(position)
        elif char in ")]}":
            if not open_ones or code[open_ones[-1]] != _OPENING[char]:
                raise ValueError(position)
            partner[position] = open_ones.pop()
            partner[partner[position]] = position
    if open_ones:
        raise ValueError(open_ones[-1])
    return partner


def is_block(before: str) -> bool:
    """Whether a { after this code opens statements; if not, it opens a list of values."""
    before = before.rstrip()
    if not before or before[-1] in ")];{}:" or re.search(r"\b(?:else|do|try)$", before):
        return True
    return bool(re.search(r"\)\s*(?:const|noexcept|mutable|override|final|&|\s)*"
                          r"(?:->[^;{}()]*)?$|\]\s*->[^;{}()]*$", before))


def ends_statement(after: str) -> bool:
    """Whether a } before this code ended a statement; if not, it ended a value."""
    return not re.match(r"\(|\s*(?:[,.)\]?:=|+/%^;]|->|<<|>>|&&|==)", after)


def start_of(code: str, partner: dict[int, int], position: int) -> int:
    """Where the full expression around the position starts."""
    while position > 0:
        char = code[position - 1]
        if char == ";":
            return position
        if char == "}" and ends_statement(code[position : position + 80]):
            return position
        if char == "{" and is_block(code[max(0, position - 200) : position - 1]):
            return position
        if char == "(" and _CONTROL.search(code[max(0, position - 30) : position - 1]):
            return position
        if char in ")]}":
            opening = partner[position - 1]
            if char == ")" and _CONTROL.search(code[max(0, opening - 30) : opening]):
                return position
            position = opening
        else:
            position -= 1
    return 0


def end_of(code: str, partner: dict[int, int], start: int) -> int:
    """Where the full expression that starts there ends."""
    position = start
    while position < len(code) and code[position] not in ";)]}":
        position = partner[position] if code[position] in "([{" else position
        position += 1
    return position


def lambdas(code: str, partner: dict[int, int]) -> list[tuple[int, int, int, str]]:
    """Of each lambda: where it starts, where its body starts and ends, and what it captures."""
    found = []
    for match in re.finditer(r"\[", code):
        start = match.start()
        if "[[" in (code[start : start + 2], code[start - 1 : start + 1]):
            continue  # an attribute
        if _NO_LAMBDA.search(code[max(0, start - 40) : start]):
            continue
        body = body_of(code, partner, partner[start] + 1)
        if body is not None:
            captures = code[start + 1 : partner[start]].strip()
            found.append((start, body, partner[body], captures))
    return found


def body_of(code: str, partner: dict[int, int], position: int) -> int | None:
    """Where the body of the lambda opens whose introducer ends there."""
    while position < len(code) and code[position] not in ";)]},":
        if code[position] == "{":
            return position
        position = partner[position] if code[position] == "(" else position
        position += 1
    return None


def check(path: pathlib.Path, text: str) -> list[Finding]:
    code = without_comments(text)
    try:
        partner = matching(code)
    except ValueError as error:
        return [Finding(path, line_of(code, error.args[0]), "this bracket has no partner")]
    all_lambdas = lambdas(code, partner)
    findings = set()
    for match in _AWAIT.finditer(code):
        start = start_of(code, partner, match.start())
        end = end_of(code, partner, start)
        line = line_of(code, match.start())
        traps = {trap for pattern, trap in _TRAPS if pattern.search(code, start, end)}
        if any(start <= begin < end for begin, *_ in all_lambdas):
            traps.add("a lambda")
        for trap in traps:
            findings.add(Finding(path, line, f"{trap} in an expression with co_await"))
    for match in _COROUTINE.finditer(code):
        around = [one for one in all_lambdas if one[1] < match.start() < one[2]]
        if around and max(around)[3]:
            line = line_of(code, max(around)[0])
            findings.add(Finding(path, line, "a lambda with captures is a coroutine"))
    return sorted(findings)


def lint(root: pathlib.Path) -> list[Finding]:
    sources = [path for path in files(root, "src", "tests", "bench") if is_cpp(path)]
    findings = [] if sources else [Finding(root, 1, "no sources here")]
    for path in sources:
        findings += check(path, path.read_text(encoding="utf-8"))
    return findings


if __name__ == "__main__":
    run(lint)
