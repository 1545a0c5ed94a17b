# SPDX-License-Identifier: GPL-3.0-or-later
import unittest

from security import lint
from tree import TreeTest

HEAD = "| Claim | Shown by |\n|---|---|\n"


class SecurityTest(TreeTest):
    def setUp(self) -> None:
        super().setUp()
        self.write("tests/unit/ATest.cpp", "void holds()\n{\n}\n")
        self.write("tests/system/test_b.py", "def test_holds(home):\n    pass\n")
        self.write("tests/fuzz/c/CMakeLists.txt", "quillfen_fuzz(fuzz_c SOURCES C.cpp NEEDS c)\n")

    def findings(self, *rows: str) -> list[str]:
        table = "".join(f"{row}\n" for row in rows)
        self.write("docs/security.md", f"# Security\n\n{HEAD}{table}")
        return [finding.message for finding in lint(self.root)]

    def test_claims_with_their_tests_are_well(self) -> None:
        self.assertEqual(self.findings("| one | `ATest: holds`, `test_b.py: test_holds` |",
                                       "| two | `fuzz_c` |"), [])

    def test_a_claim_without_a_test_is_found(self) -> None:
        self.assertEqual(self.findings("| one | `fuzz_c` |", "| two | surely |"),
                         ["a claim without a test"])

    def test_a_test_that_is_not_there_is_found(self) -> None:
        self.assertEqual(self.findings("| one | `ATest: lacks`, `CTest: holds`, `fuzz_c` |"),
                         ["no test lacks in ATest", "no test holds in CTest"])

    def test_a_fuzz_target_that_is_not_there_is_found(self) -> None:
        self.assertEqual(self.findings("| one | `fuzz_c`, `fuzz_d` |"), ["no fuzz target fuzz_d"])

    def test_a_fuzz_target_that_nobody_mentions_is_found(self) -> None:
        self.assertEqual(self.findings("| one | `ATest: holds` |"), ["fuzz_c is not mentioned"])


if __name__ == "__main__":
    unittest.main()
