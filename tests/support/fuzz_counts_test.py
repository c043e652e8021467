#!/usr/bin/env python3
"""Only executions of the fuzz programs as they stand are counted.

    fuzz_counts_test.py
"""

import tempfile
import unittest
from pathlib import Path

import fuzz_counts
from fuzz_counts import Count


class FuzzCounts(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.source = Path(folder.name)
        self.write("tests/fuzz/fuzz.h", "void fuzz();\n")
        self.write("tests/fuzz/fuzz_entry.cpp", "int entry();\n")
        self.write("tests/fuzz/fuzz_one.cpp", '#include "fuzz/fuzz.h"\n#include "base/part.h"\nvoid fuzz() {}\n')
        self.write("tests/fuzz/fuzz_two.cpp", "void fuzz() {}\n")
        self.write("src/base/part.h", "int part();\n")
        self.write("src/base/part.cpp", '#include "base/piece.h"\nint part() { return 1; }\n')
        self.write("src/base/piece.h", "int piece();\n")
        self.write("src/base/other.cpp", "int other() { return 1; }\n")

    def write(self, path, text):
        file = self.source / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")

    def version(self, name="one"):
        return fuzz_counts.version(name, self.source)

    def test_a_program_is_what_has_a_source_file_but_for_the_entry(self):
        self.assertEqual(fuzz_counts.programs(self.source), ["one", "two"])

    def test_the_version_changes_with_the_program_and_with_what_it_includes(self):
        for path in ["tests/fuzz/fuzz_one.cpp", "tests/fuzz/fuzz.h", "src/base/part.h", "src/base/part.cpp",
                     "src/base/piece.h"]:
            with self.subTest(path):
                before = self.version()
                self.write(path, (self.source / path).read_text(encoding="utf-8") + "int more;\n")
                self.assertNotEqual(self.version(), before)

    def test_the_version_is_the_same_after_any_other_change(self):
        before = self.version()
        self.write("src/base/part.cpp",
                   '// It is one.\n#include "base/piece.h"\nint part() {\n    return 1; // always\n}\n')
        self.write("src/base/other.cpp", "int other() { return 2; }\n")
        self.write("tests/fuzz/fuzz_two.cpp", "void fuzz() { two(); }\n")
        self.assertEqual(self.version(), before)
        self.write("src/base/part.cpp", 'const char* part() { return "https://one"; }\n')
        before = self.version()
        self.write("src/base/part.cpp", 'const char* part() { return "https://two"; }\n')
        self.assertNotEqual(self.version(), before, "an address is no comment")

    def test_a_program_covers_what_it_includes_and_the_base_and_rooms_of_that(self):
        self.write("tests/fuzz/fuzz_one.cpp", '#include "room/door.h"\n')
        self.write("src/room/door.h", '#include "room/hinge.h"\n')
        self.write("src/room/hinge.h", '#include "base/part.h"\n#include "hall/lamp.h"\n')
        self.write("src/room/hinge.cpp", "int hinge();\n")
        self.write("src/hall/lamp.h", "int lamp();\n")
        paths = {str(path.relative_to(self.source)) for path in fuzz_counts.covered("one", self.source)}
        self.assertEqual(paths, {"tests/fuzz/fuzz_one.cpp", "src/room/door.h", "src/room/hinge.h", "src/room/hinge.cpp",
                                 "src/base/part.h", "src/base/part.cpp", "src/base/piece.h"})

    def test_sums_of_another_version_start_again_and_keep_their_findings(self):
        counts = {"one": Count(self.version(), 70, 7, 1), "two": Count("another", 50, 5, 2), "gone": Count("x", 1)}
        self.write(fuzz_counts.SUMS, fuzz_counts.written(counts))
        self.assertEqual(fuzz_counts.read(self.source),
                         {"one": Count(self.version(), 70, 7, 1), "two": Count(self.version("two"), 0, 0, 2)})

    def test_turns_are_added_to_the_sum_of_their_version_alone(self):
        sums = fuzz_counts.read(self.source)
        turns = [("one", Count(self.version(), 1000, 2, 0)), ("one", Count(self.version(), 500, 1, 1)),
                 ("two", Count("another", 900, 9, 1)), ("gone", Count("x", 1, 1, 0))]
        refused = fuzz_counts.add(sums, "".join(fuzz_counts.line(*turn) for turn in turns))
        self.assertEqual(sums, {"one": Count(self.version(), 1500, 3, 1), "two": Count(self.version("two"), 0, 0, 1)})
        self.assertEqual(refused, ["two another 900 9 1", "gone x 1 1 0"])

    def test_a_goal_is_not_said_to_be_reached_before_it_is(self):
        goal = fuzz_counts.goal("one")
        for executions, share in [(0, 0), (goal // 2, 50), (goal - 1, 99), (goal, 100), (3 * goal, 100)]:
            rows = fuzz_counts.table({"one": Count("v", executions, 10, 0)}).splitlines()
            self.assertIn(f"| one | {executions:,} | {goal:,} | {share} % | 0 | {executions / 10:,.0f} |", rows)
        self.assertIn(f"| one | 0 | {goal:,} | 0 % | 2 |  |", fuzz_counts.table({"one": Count("v", 0, 0, 2)}))


if __name__ == "__main__":
    unittest.main()
