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

    def test_a_test_is_not_asked_of_what_it_is_not_made_of(self):
        with tempfile.TemporaryDirectory() as folder:
            test = engine.program_test("one", ["false"], made_of="src/a/")
            for number, name, noticed in ((1, "src/a/x.cpp: ...", ["one"]), (1, "src/b/x.cpp: ...", []),
                                          (0, "nothing", ["one"])):
                self.assertEqual(engine.noticed_by(engine.Mutant(number, name), [test], Path(folder), False), noticed)


if __name__ == "__main__":
    unittest.main()
