# SPDX-License-Identifier: GPL-3.0-or-later
"""The lint of the coroutines finds what it is there for."""

import pathlib
import unittest

import coroutines
import tree

_FINE = (
    "co_await later;",
    "auto name = co_await m_host.name(address);",
    "const Reply reply = co_await std::move(task);",
    "const bool both = co_await first() && co_await second();",
    "co_await send(m_lines[i], table[key], QString(kGreeting), u'?', 1'000);",
    "auto [code, text] = co_await reply;",
    "const auto &[code, text] = co_await reply;",
    "[[maybe_unused]] const int n = co_await reply;",
    "use(co_await m_part->read());",
    "if (const auto name = co_await look(); name)\n  { use({1, 2}); }",
    "for (const Step &step : co_await steps()) { run({step}); }",
    "while (co_await more()) { f([x] { g(x); }); }",
    "if (kind == Kind{1}) co_await look();",
    "for (int i : {1, 2}) co_await look();",
    "f({1}, [x] { g(x); }); co_await look(); use({2}).then(x ? y : z);",
    "if (a) { b(Agg{1}); } *result = co_await look();",
    "const Agg made{1};\nauto v = co_await use(made);",
    "try { co_await look(); } catch (...) { f = Agg{1}; }",
    'co_await say(u"a ? b { [ ("_s);',
    "// co_await f({1});\nco_await look(); /* ? */",
    "co_return Agg{1};",
    "switch (x) { case 1: co_await look(); break; default: co_await look(); }",
    "do { co_await look(); } while (a ? b : c);",
    "auto run = [](Day *day) -> Task<void> { co_await day->end(); };",
    "auto run = [] { co_return; };",
    "f([x] { g([](int y) -> Task<void> { co_await h(y); }); use(x); });",
    "auto kept = [x] { return x; }; co_await look();",
)

_TRAPS = {
    "a temporary aggregate": ("co_await f(Agg{name, value});", "braces"),
    "named members": ("auto r = co_await f(Agg{.name = n});", "braces"),
    "a list": ('co_await f({"a", "b"});', "braces"),
    "a list elsewhere in the expression": ("g(co_await f(), {1, 2});", "braces"),
    "a list in front": ("g({1, 2}, co_await f());", "braces"),
    "a list that awaits": ("Agg a = {co_await f()};", "braces"),
    "a made value that awaits": ("g(Agg{co_await f()});", "braces"),
    "a condition": ("if (co_await f(Agg{1})) { g(); }", "braces"),
    "a loop's head": ("for (int i : co_await f({1})) { g(); }", "braces"),
    "over several lines": ("co_await f(\n    a,\n    Agg{\n        1});", "braces"),
    "a returned value": ("co_return co_await f({1});", "braces"),
    "after a block": ("if (a) { b(); }\nco_await f({1});", "braces"),
    "a choice": ("co_await f(c ? X() : std::move(x));", "?:"),
    "a choice of awaits": ("x = c ? co_await f() : y;", "?:"),
    "a made object's call": ("co_await Foo(x).run();", "a call on a temporary"),
    "a returned object's call": ("co_await makeFoo().run(1);", "a call on a temporary"),
    "a call on what came": ("use((co_await f()).size());", "a call on a temporary"),
    "a call on a text": ('co_await f(u"a %1"_s.arg(b));', "a call on a temporary"),
    "a call behind a line end": ("co_await makeFoo()\n    .run(1);", "a call on a temporary"),
}

_LAMBDAS = {
    "as an argument": "co_await call([cap] { return cap; });",
    "without captures": "co_await call([] { return 1; });",
    "called at once": "co_await [] { return f(); }();",
    "with parameters": "co_await call(x, [&](int a) mutable noexcept -> int { return a; });",
}

_CAPTURING = {
    "by copy": "auto run = [x] { co_return x; };",
    "by reference": "auto run = [&]() -> Task<int> { co_return co_await f(); };",
    "of this": "take([this](int a) -> Task<void> { if (a) { co_await f(a); } }(1));",
    "with a parameter list of a template": "auto run = [x]<typename T>(T t) { co_await t; };",
    "returned": "return [x]() -> Task<void> { co_return; };",
    "inside another": "f([] { g([y] { co_await h(y); }); });",
}


def messages(statement: str) -> list[str]:
    code = "Task<void> flow()\n{\n    g();\n    " + statement + "\n}\n"
    return [finding.message for finding in coroutines.check(pathlib.Path("a.cpp"), code)]


class CoroutinesTest(tree.TreeTest):
    def test_what_is_compiled_rightly_passes(self) -> None:
        for statement in _FINE:
            with self.subTest(statement):
                self.assertEqual(messages(statement), [])

    def test_each_trap_is_found(self) -> None:
        for name, (statement, trap) in _TRAPS.items():
            with self.subTest(name):
                self.assertEqual(messages(statement), [f"{trap} in an expression with co_await"])

    def test_a_lambda_in_the_expression_is_found(self) -> None:
        for name, statement in _LAMBDAS.items():
            with self.subTest(name):
                self.assertIn("a lambda in an expression with co_await", messages(statement))

    def test_a_coroutine_with_captures_is_found(self) -> None:
        for name, statement in _CAPTURING.items():
            with self.subTest(name):
                self.assertIn("a lambda with captures is a coroutine", messages(statement))

    def test_the_line_is_that_of_the_wait(self) -> None:
        findings = coroutines.check(pathlib.Path("a.cpp"), "f(\n1,\nco_await g({1}));\n")
        self.assertEqual([finding.line for finding in findings], [3])

    def test_a_stray_bracket_fails(self) -> None:
        for text in ("void f() { co_await g(; }", "}", "{"):
            self.assertEqual(len(coroutines.check(pathlib.Path("a.cpp"), text)), 1)

    def test_the_whole_tree_is_read(self) -> None:
        for folder in ("src/a", "tests/unit/a", "bench"):
            self.write(f"{folder}/A.cpp", "Task<void> f() { co_await g({1}); }\n")
        self.write("src/a/Good.h", "auto operator co_await() && { return A{1}; }\n")
        self.assertEqual(len(coroutines.lint(self.root)), 3)

    def test_an_empty_tree_fails(self) -> None:
        self.assertEqual(len(coroutines.lint(self.root)), 1)


if __name__ == "__main__":
    unittest.main()
