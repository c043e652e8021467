#!/usr/bin/python3
"""Holds script/mutants to its rules, without compiling anything.

    engine_test.py SOURCE
"""

import sys
import tempfile
import unittest
from pathlib import Path

import engine
import ui

try:
    import cpp_places
    import cpp_room
except ImportError:
    cpp_places = None
    print("the places of C++ are not held: python3-clang is missing (script/setup mutants)")

SOURCE = Path(sys.argv.pop(1)).resolve()
DIGIT = engine.replace_each(r"\d", lambda it: [str(int(it) + 1), "0"] if it != "9" else [], engine.CPP)
NUMBER = engine.replace_each(r"= (?P<it>\d+);", lambda it: ["7"], engine.QML)


class Places(unittest.TestCase):
    def test_each_way_to_break_a_place_is_a_mutant_and_else_what_stood_there(self):
        plan = engine.Plan()
        self.assertEqual(plan.break_file("a.cpp", "one 3;\nnine 9;", [DIGIT]),
                         "one (::korvel::mutant() == 2 ? (0) : ((::korvel::mutant() == 1 ? (4) : (3))));\nnine 9;")
        self.assertEqual([mutant.name for mutant in plan.mutants],
                         ["a.cpp: one 3; | 3 -> 4", "a.cpp: one 3; | 3 -> 0"])

    def test_what_stands_there_already_is_no_mutant(self):
        plan = engine.Plan()
        self.assertEqual(plan.break_file("a.qml", "x = 7;", [NUMBER]), "x = 7;")
        self.assertEqual(plan.mutants, [])

    def test_where_two_rules_meet_the_first_has_the_place(self):
        self.assertEqual(engine.Plan().break_file("a.qml", "x = 12;", [NUMBER, DIGIT]),
                         "x = (Theme.mutant === 1 ? (7) : (12));")

    def test_a_name_holds_no_line_number_and_is_given_once(self):
        plan = engine.Plan()
        plan.break_file("a.qml", "  x  = 1; // one\n\n  x = 1;", [NUMBER])
        self.assertEqual([mutant.name for mutant in plan.mutants],
                         ["a.qml: x = 1; | 1 -> 7", "a.qml: x = 1; | 1 -> 7 (2)"])

    def test_a_number_becomes_one_that_can_be_told_from_it(self):
        for number, others in (("0.1", ["0"]), ("350", ["910"]), ("9.5", ["11.5"]), ("1", ["3"])):
            self.assertEqual(ui.other_number(number), others)

    def test_sections_are_swapped_with_the_next_that_is_no_line(self):
        plan = engine.Plan()
        lines = "    Column {|    id: column||    One {|    }||    Divider {}||" \
            "    Repeater {|        Two {|        }|    }|}|"
        text = "\n    ".join(lines.split("|"))
        self.assertIn('({1: ["One", "Two"]})[Theme.mutant]', ui.swap_sections(plan, "a.qml", text))
        self.assertEqual(plan.mutants[0].name, "a.qml: Column | One after Two")

    def test_the_views_have_mutants_of_every_kind(self):
        plan = engine.Plan()
        changed = ui.plan(SOURCE, plan)
        names = [mutant.name for mutant in plan.mutants]
        self.assertEqual(len(set(names)), len(names))
        for kind, least in (("popover_fonts.h", 60), ("popover_sizes.h", 60), ("palette.cpp", 5), ("Opacity", 5),
                            ("kScoreAnimation = 350; | 350 -> 910", 1), ("Inks.texts -> Inks.fills", 20),
                            ('"tertiary" -> "cyan"', 5), ("-> Theme.", 20), ('"trash" -> "xmark"', 1),
                            ("Cap -> ", 4), ("Join -> ", 3), ('"Off" -> "Off?"', 1), ("-> undefined", 30),
                            ("UpdateStatusLine after Footer", 1), ("Ink::", 15)):
            with self.subTest(kind):
                self.assertGreaterEqual(sum(kind in name for name in names), least)
        self.assertIn("int mutant() const", changed["src/ui/quick/theme.h"])
        listed = set(engine.read_survivors(SOURCE / "tests/mutants/ui.survivors"))
        self.assertEqual(listed - set(names), set(), "listed, and no longer made")


@unittest.skipIf(cpp_places is None, "python3-clang is missing")
class PlacesOfCpp(unittest.TestCase):
    """Each is written as a file of its own, of which the mutants are named and the text is read again."""

    HEAD = "namespace korvel { extern bool on; inline bool mutant(int) { return on; } }\n" \
        "int act(); void one(int); void two(int);\n"

    def broken(self, text):
        unit = cpp_places.parse("/a.cpp", self.HEAD + text, ["-x", "c++", "-std=c++20"])
        self.assertEqual([str(fault) for fault in unit.diagnostics], [])
        source, plan = cpp_places.Source("/a.cpp", self.HEAD + text, unit), engine.Plan()
        written = source.written(plan)
        faults = cpp_places.parse("/a.cpp", written, ["-x", "c++", "-std=c++20", "-w"]).diagnostics
        self.assertEqual([str(fault) for fault in faults], [], written)
        return [mutant.name.split(" | ")[1].split(" (")[0] for mutant in plan.mutants], written[len(self.HEAD):], source

    def test_each_kind_of_place_has_its_mutants(self):
        for text, names in (
                ("bool f(int a) { return a < 7; }", ["return false", "return true", "< -> <=", "7 -> 8"]),
                ("bool f(int a, int b) { return a == b; }", ["return false", "return true", "== -> !="]),
                ("int f(int a, int b) { return a + b; }", ["return {}", "+ -> -"]),
                ("int f() { return 0; }", ["0 -> 1"]),
                ("bool f(bool a, bool b) { return a && b; }",
                 ["return false", "return true", "&& -> ||", "&&: left alone", "&&: right alone"]),
                ("bool f(bool a) { return !a; }", ["!a without !"]),
                ("bool f() { return true; }", ["true -> false"]),
                ("double k = 0.5;", ["0.5 -> 0.5 * 2"]), ("double k = 8.0;", ["8.0 -> 8.0 + 1"]),
                ("constexpr int k = 0x1F;", ["0x1F -> 32"]), ("char k = 'a';", ["'a' -> '?'"]),
                ('const char* const k = "text";', ['"text" -> ?']),
                ("enum class E { a, b }; E f() { return E::b; }", ["return {}", "E::b -> a"]),
                ("void f(bool a) { if (a) { act(); } }", ["left out", "not", "left out"]),
                ("void f() { if (int a = act()) { one(a); } }", ["left out", "never", "left out"]),
                ("int f(int a) { switch (a) { case 1: return 4; default: break; } return 5; }",
                 ["returns at once", "left out", "return {}", "left out", "4 -> 5", "return {}", "5 -> 6"]),
                ("void f() { one(act()); two(act()); }",
                 ["returns at once", "after the next", "left out", "left out"]),
                ("void f(int& a) { ++a; }", ["left out", "++a -> --"])):
            with self.subTest(text):
                self.assertEqual(self.broken(text)[0], names)

    def test_what_the_compiler_has_to_know_is_left_as_it_is(self):
        for text in ("static_assert(1 + 1 == 2);", "enum E { a = 3 };", "int f(int);", "using A = int[4];",
                     'int a = sizeof("b");'):
            self.assertEqual(self.broken(text)[:2], ([], text))

    def test_a_constant_becomes_a_variable(self):
        self.assertEqual(self.broken("constexpr int k = 3;")[1], " int k = (::korvel::mutant(1) ? (4) : (3));")
        self.assertIn("static int k = (", self.broken("int f() { constexpr int k = 3; return k; }")[1])
        self.assertIn("inline static int k =", self.broken("struct A { static constexpr int k = 3; };")[1].replace(
            "static inline", "inline static"))

    def test_a_mutant_that_does_not_compile_is_found_by_the_place_of_the_fault_and_is_none(self):
        text = self.HEAD + "constexpr int k = 3;\nint a[k];\nint b = 3;\n"
        source = cpp_places.Source("/a.cpp", text, cpp_places.parse("/a.cpp", text, ["-x", "c++", "-std=c++20"]))
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "a.cpp"
            while True:
                cpp_room.write(path, source.written())
                faults = cpp_room.faults_of(str(path), ["-std=c++20", "-w"])
                if not faults:
                    break
                gone = set()
                self.assertTrue(all([cpp_room.leave_out_at(fault, {str(path): source}, gone) for fault in faults]))
                self.assertTrue(gone)
        plan = engine.Plan()
        self.assertIn("constexpr int k = 3;", source.written(plan))
        self.assertEqual([mutant.name for mutant in plan.mutants], ["/a.cpp: int b = 3; | 3 -> 4"])


class Table(unittest.TestCase):
    def test_a_run_replaces_the_row_of_its_room_alone(self):
        results = {"a": ["one"], "b": [], "c": ["two"], "d": ["one"]}
        row = engine.row_of("core", results, 95, 3.6, "today")
        self.assertEqual(row, "| core | 4 | 3 | 1 | 75.0 % | over 95 % | 4 | today |")
        rows = [*engine.HEADER, "| core | 1 |", "| model | 2 |"]
        self.assertEqual(engine.with_row(rows, "core", row), [*engine.HEADER, row, "| model | 2 |"])
        self.assertEqual(engine.with_row([], "core", row), [*engine.HEADER, row])

    def test_a_share_that_is_not_over_the_goal_is_a_fault(self):
        plan = engine.Plan()
        for line in "abcd":
            plan.add("a.cpp", line, "left out")
        with tempfile.TemporaryDirectory() as folder:
            test = engine.program_test("one", ["sh", "-c", f'[ "${engine.VARIABLE}" -le 1 ]'])
            known = {plan.mutants[0].name: "why"}
            for goal, faults in ((74, []), (75, ["75.0 % are noticed, and not over 75 %"]), (None, [])):
                found = engine.run(plan, [test], Path(folder), plan.mutants, False, known, goal)[0]
                self.assertEqual(found, faults)


class Survivors(unittest.TestCase):
    def test_a_survivor_needs_a_reason_and_a_reason_a_survivor(self):
        known = {"listed": "why", "noticed": "why", "gone": "why"}
        results = {"killed": ["a"], "listed": [], "noticed": ["a"], "new": []}
        self.assertEqual(engine.judge(results, known, True), [
            "nobody notices new", "is listed as a survivor, but a notices noticed",
            "is listed as a survivor, but is no mutant: gone"])
        self.assertEqual(len(engine.judge(results, known, False)), 2)
        self.assertEqual(engine.judge({"killed": ["a"], "listed": []}, {"listed": "why"}, True), [])

    def test_a_paragraph_of_the_list_is_a_reason_and_those_that_have_it(self):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / "some.survivors"
            path.write_text("# not\n# seen\nfirst | a\nsecond | b\n\n# else\nthird | c\n", encoding="utf-8")
            self.assertEqual(engine.read_survivors(path),
                             {"first | a": "not seen", "second | b": "not seen", "third | c": "else"})
            path.write_text("first | a\n", encoding="utf-8")
            with self.assertRaises(SystemExit):
                engine.read_survivors(path)

    def test_a_test_notices_when_its_program_fails_or_does_not_end(self):
        mutant = engine.Mutant(3, "any")
        with tempfile.TemporaryDirectory() as folder:
            script = f'[ "${engine.VARIABLE}" != 3 ]'
            for tests, every, noticed in (
                    ([["true"], ["false"], ["false"]], False, ["1"]),
                    ([["true"], ["false"], ["false"]], True, ["1", "2"]),
                    ([["true"]], True, []), ([["sh", "-c", script]], False, ["0"]), ([["sleep", "600"]], False, ["0"])):
                named = [engine.program_test(str(at), command, 0.5 if command[0] == "sleep" else 60)
                         for at, command in enumerate(tests)]
                self.assertEqual(engine.noticed_by(mutant, named, Path(folder), every), noticed)

    def test_a_test_is_asked_only_of_what_it_reaches_and_ends_in_time(self):
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            reach = f'[ -z "${engine.REACHED}" ] || printf "\\0\\1\\0\\1" >"${engine.REACHED}"; '
            test = engine.traced_test("one", ["sh", "-c", reach + f'[ -z "${engine.VARIABLE}" ]'], folder)
            self.assertEqual(test.reaches, {1, 3})
            for number, noticed in ((1, ["one"]), (2, []), (3, ["one"])):
                self.assertEqual(engine.noticed_by(engine.Mutant(number, "any"), [test], folder, False), noticed)
            self.assertFalse(engine.limited(["sh", "-c", "while :; do :; done"], None, folder, 1, 60))
            self.assertFalse(engine.limited(["sleep", "600"], None, folder, 60, 0.2))
            self.assertTrue(engine.limited(["true"], None, folder, 60, 60))
            with self.assertRaises(SystemExit):
                engine.traced_test("one", ["false"], folder)

    def test_a_test_is_not_asked_of_what_it_is_not_made_of(self):
        with tempfile.TemporaryDirectory() as folder:
            test = engine.program_test("one", ["false"], made_of="src/a/")
            for number, name, noticed in ((1, "src/a/x.cpp: ...", ["one"]), (1, "src/b/x.cpp: ...", []),
                                          (0, "nothing", ["one"])):
                self.assertEqual(engine.noticed_by(engine.Mutant(number, name), [test], Path(folder), False), noticed)


if __name__ == "__main__":
    unittest.main()
