# SPDX-License-Identifier: GPL-3.0-or-later
"""The lint of the house rules finds what it is there for."""

import unittest

import house
import tree

_CPP = "// SPDX-License-Identifier: GPL-3.0-or-later\n"
_HASH = "# SPDX-License-Identifier: GPL-3.0-or-later\n"
_UNFINISHED = "TO" + "DO"

_GOOD = {
    "src/a/A.h": _CPP + "#pragma once\n",
    "src/a/Wide.cpp": _CPP + "// " + 97 * "x" + "\n",
    "src/a/A.cpp": _CPP + '// waitForReadyRead() and QEventLoop: not here.\nauto t = "#if";\n',
    "src/a/CMakeLists.txt": _HASH,
    "cmake/A.cmake": _HASH,
    "scripts/run": "#!/bin/sh\n" + _HASH,
    "tests/a/ATest.cpp": _CPP + "QTRY_VERIFY(x); QTest::qWaitFor(ready); asleep();\n",
    "tests/a/test_a.py": _HASH,
    "README.md": "# Any text\n",
}

_BAD = {
    "a source without a licence": ("src/a/A.cpp", "int a;\n"),
    "the licence on the second line": ("src/a/A.cpp", "\n" + _CPP),
    "another licence": ("src/a/A.cpp", "// SPDX-License-Identifier: MIT\n"),
    "a recipe without a licence": ("src/a/CMakeLists.txt", "add_library(a)\n"),
    "a CMake file without a licence": ("cmake/A.cmake", "set(a b)\n"),
    "a script without a licence": ("scripts/run", "#!/bin/sh\ntrue\n"),
    "a Python file without a licence": ("tests/a/test_a.py", "import re\n"),
    "a long line": ("src/a/A.cpp", _CPP + "// " + 98 * "x" + "\n"),
    "a long line in a script": ("scripts/run", "#!/bin/sh\n" + _HASH + "# " + 99 * "x" + "\n"),
    "a header that can come twice": ("src/a/A.h", _CPP + "int a();\n"),
    "a header's guard in a comment": ("src/a/A.h", _CPP + "/*\n#pragma once\n*/\n"),
    "a test's header that can come twice": ("tests/a/A.h", _CPP + "int a();\n"),
    "a blocking wait": ("src/a/A.cpp", _CPP + "socket.waitForReadyRead(30);\n"),
    "a nested loop": ("src/a/A.cpp", _CPP + "QEventLoop loop;\n"),
    "a hidden nested loop": ("src/a/A.cpp", _CPP + "QCoreApplication::processEvents();\n"),
    "a condition on a macro": ("src/a/A.cpp", _CPP + "#ifdef __linux__\n#endif\n"),
    "a condition": ("src/a/A.cpp", _CPP + "  # if A\n#endif\n"),
    "something unfinished": ("src/a/A.cpp", _CPP + f"// {_UNFINISHED}: later\n"),
    "something unfinished in a recipe": ("cmake/A.cmake", _HASH + f"# {_UNFINISHED} later\n"),
    "a test that sleeps": ("tests/a/ATest.cpp", _CPP + "QTest::qSleep(10);\n"),
    "a test that sleeps as C does": ("tests/a/ATest.cpp", _CPP + "usleep (10);\n"),
    "a test that sleeps as C++ does": ("tests/a/ATest.cpp", _CPP + "sleep_for(1s);\n"),
    "a test whose thread sleeps": ("tests/a/ATest.cpp", _CPP + "QThread::msleep(1);\n"),
}


class HouseTest(tree.TreeTest):
    def setUp(self) -> None:
        super().setUp()
        for name, text in _GOOD.items():
            self.write(name, text)

    def test_a_tree_in_order_passes(self) -> None:
        self.assertEqual(house.lint(self.root), [])

    def test_each_fault_is_found_once(self) -> None:
        for fault, (name, text) in _BAD.items():
            with self.subTest(fault):
                path = self.write(name, text)
                self.assertEqual([finding.path for finding in house.lint(self.root)], [path])
                self.write(name, _GOOD.get(name, _CPP + "#pragma once\n"))

    def test_what_the_build_made_is_not_ours(self) -> None:
        self.write("build/dev/A.cpp", "int a;\n")
        self.write(".git/hooks/run", "#!/bin/sh\n")
        self.assertEqual(house.lint(self.root), [])

    def test_a_picture_is_no_text(self) -> None:
        (self.root / "resources").mkdir()
        (self.root / "resources/a.png").write_bytes(b"\x89PNG\xff\xfe")
        self.assertEqual(house.lint(self.root), [])

    def test_an_empty_tree_fails(self) -> None:
        self.assertEqual(len(house.lint(self.root / "nowhere")), 1)


if __name__ == "__main__":
    unittest.main()
