# SPDX-License-Identifier: GPL-3.0-or-later
"""The lint of the includes finds what it is there for."""

import unittest

import includes
import tree

_HEADERS = (
    "app/App.h", "prefs/Prefs.h", "netinfo/Net.h", "mail/Mail.h", "support/Log.h",
    "platform/Host.h", "platform/linux/LinuxPlatform.h", "platform/linux/Shared.h",
    "platform/linux/net/Netlink.h", "platform/linux/panel/Panel.h", "platform/linux/bus/Bus.h",
    "platform/linux/commands/Commands.h",
)

_ALLOWED = (
    ("main.cpp", "app/App.h"), ("main.cpp", "mail/Mail.h"), ("main.cpp", "platform/Host.h"),
    ("main.cpp", "platform/linux/LinuxPlatform.h"), ("main.cpp", "platform/linux/panel/Panel.h"),
    ("app/App.cpp", "app/App.h"), ("app/App.cpp", "prefs/Prefs.h"),
    ("app/App.cpp", "netinfo/Net.h"), ("app/App.cpp", "platform/Host.h"),
    ("prefs/Prefs.cpp", "mail/Mail.h"), ("netinfo/Net.cpp", "support/Log.h"),
    ("mail/Mail.cpp", "platform/Host.h"), ("support/Log.cpp", "platform/Host.h"),
    ("platform/linux/net/Netlink.cpp", "platform/linux/net/Netlink.h"),
    ("platform/linux/net/Netlink.cpp", "platform/Host.h"),
    ("platform/linux/LinuxPlatform.cpp", "platform/linux/panel/Panel.h"),
    ("platform/linux/LinuxPlatform.h", "platform/linux/net/Netlink.h"),
    ("platform/linux/Shared.cpp", "platform/linux/Shared.h"),
    ("platform/linux/panel/Panel.cpp", "platform/linux/bus/Bus.h"),
    ("platform/linux/commands/Commands.cpp", "platform/linux/panel/Panel.h"),
    ("platform/linux/commands/Commands.cpp", "platform/linux/bus/Bus.h"),
    ("platform/linux/commands/Commands.cpp", "platform/Host.h"),
)

_FORBIDDEN = (
    ("app/App.cpp", "platform/linux/net/Netlink.h"), ("prefs/Prefs.cpp", "app/App.h"),
    ("netinfo/Net.cpp", "mail/Mail.h"), ("mail/Mail.cpp", "netinfo/Net.h"),
    ("mail/Mail.cpp", "prefs/Prefs.h"), ("support/Log.cpp", "netinfo/Net.h"),
    ("platform/Host.cpp", "support/Log.h"), ("platform/Host.cpp", "platform/linux/Shared.h"),
    ("platform/linux/net/Netlink.cpp", "support/Log.h"),
    ("platform/linux/net/Netlink.cpp", "platform/linux/panel/Panel.h"),
    ("platform/linux/net/Netlink.cpp", "platform/linux/Shared.h"),
    ("platform/linux/Shared.cpp", "platform/linux/net/Netlink.h"),
    ("platform/linux/LinuxPlatform.cpp", "support/Log.h"),
    ("platform/linux/bus/Bus.cpp", "platform/linux/panel/Panel.h"),
    ("platform/Host.cpp", "platform/linux/bus/Bus.h"),
    ("platform/linux/panel/Panel.cpp", "platform/linux/commands/Commands.h"),
    ("platform/linux/bus/Bus.cpp", "platform/linux/commands/Commands.h"),
    ("platform/linux/commands/Commands.cpp", "platform/linux/LinuxPlatform.h"),
    ("platform/linux/commands/Commands.cpp", "app/App.h"),
    ("stray/Stray.cpp", "platform/Host.h"),
)


class IncludesTest(tree.TreeTest):
    def setUp(self) -> None:
        super().setUp()
        for header in _HEADERS:
            path = self.write(f"src/{header}", "#pragma once\n")
            with (path.parent / "CMakeLists.txt").open("a", encoding="utf-8") as recipe:
                recipe.write(f"quillfen_folder(x\n  HEADERS B.h\n    {path.name}\n  SOURCES A)\n")

    def found(self) -> list[str]:
        return [finding.message for finding in includes.lint(self.root)]

    def test_the_ways_down_are_open(self) -> None:
        for file, included in _ALLOWED:
            with self.subTest(file=file, included=included):
                path = self.write(f"src/{file}", f'#include "{included}"\n')
                self.assertEqual(includes.check_includes(self.root / "src", path), [])

    def test_all_other_ways_are_shut(self) -> None:
        for file, included in _FORBIDDEN:
            with self.subTest(file=file, included=included):
                path = self.write(f"src/{file}", f'// x\n#  include "{included}"\n')
                findings = includes.check_includes(self.root / "src", path)
                self.assertEqual([(one.path, one.line) for one in findings], [(path, 2)])

    def test_a_tree_in_order_passes(self) -> None:
        self.write("src/support/Log.cpp", '#include "support/Log.h"\n#include "platform/Host.h"\n')
        self.assertEqual(self.found(), [])

    def test_an_unknown_file_in_quotes_fails(self) -> None:
        self.write("src/support/Text.cpp", '#include "Log.h"\n')
        self.assertEqual(self.found(), ['"Log.h" is no file below src/'])

    def test_our_own_file_in_angles_fails(self) -> None:
        self.write("src/platform/Turns.cpp", "#include <support/Log.h>\n")
        self.assertEqual(self.found(), ['write "support/Log.h", a file of ours, in quotes'])

    def test_what_the_build_makes_passes(self) -> None:
        self.write("src/prefs/Pane.cpp", '#include "ui_Pane.h"\n#include "Pane.moc"\n')
        self.assertEqual(self.found(), [])

    def test_an_include_in_a_comment_is_none(self) -> None:
        self.write("src/platform/Turns.cpp", '/*\n#include "app/App.h"\n*/\n')
        self.assertEqual(self.found(), [])

    def test_includes_have_their_order(self) -> None:
        ours, qt, std, system = ('"platform/Host.h"', "<QString>", "<vector>", "<sys/stat.h>")
        self.write("src/support/Text.cpp", "".join(
            f"#include {name}\n" for name in (ours, qt, std, system, '"Text.moc"')))
        self.assertEqual(self.found(), [])
        for first, second in ((qt, ours), (std, qt), (system, std), ("<poll.h>", ours)):
            with self.subTest(first=first, second=second):
                self.write("src/support/Text.cpp", f"#include {first}\n#include {second}\n")
                self.assertEqual(self.found(), [includes._ORDER])

    def test_a_source_that_does_not_begin_with_its_own_header_fails(self) -> None:
        own = '#include "support/Log.h"\n'
        other = '#include "platform/Host.h"\n'
        for text in (other + own, other, "int a;\n"):
            with self.subTest(text):
                self.write("src/support/Log.cpp", "// x\n" + text)
                self.assertEqual(self.found(), ['include "support/Log.h" before anything else'])

    def test_a_header_that_is_not_listed_fails(self) -> None:
        self.write("src/mail/Unlisted.h", "#pragma once\n")
        self.assertEqual(len(self.found()), 1)
        self.write("src/bare/Alone.h", "#pragma once\n")
        self.assertEqual(len(self.found()), 2)

    def test_a_header_listed_elsewhere_than_under_headers_fails(self) -> None:
        self.write("src/mail/CMakeLists.txt", "quillfen_folder(mail SOURCES Mail.h)\n")
        self.assertEqual(len(self.found()), 1)

    def test_an_empty_tree_fails(self) -> None:
        self.assertEqual(len(includes.lint(self.root / "nowhere")), 1)


if __name__ == "__main__":
    unittest.main()
