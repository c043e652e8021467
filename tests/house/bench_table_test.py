#!/usr/bin/env python3
"""What the table of script/bench says of figures within their limits, over them, and missing.

    bench_table_test.py SOURCE
"""

import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(sys.argv.pop(1)).resolve()


def median(name, time, unit):
    return {"run_name": name, "aggregate_name": "median", "real_time": 3 * time, "cpu_time": time, "peak": 1,
            "time_unit": unit}


def growth(processes, korvel, bare, top):
    return {"processes": processes, "korvel": korvel, "bare": bare, "top": top, "conky": 9}


class Table(unittest.TestCase):
    def printed(self, *parts, **left):
        """Exit status and lines for these parts, of which only `left` left something there."""
        with tempfile.TemporaryDirectory() as folder:
            for part, found in left.items():
                (Path(folder) / f"{part}.json").write_text(json.dumps(found), encoding="utf-8")
            ended = subprocess.run([sys.executable, "-B", str(SOURCE / "bench/table.py"), folder, *parts],
                                   stdout=subprocess.PIPE, text=True, check=False)
        return ended.returncode, ended.stdout.splitlines()

    def row(self, lines, begin):
        found = [line for line in lines if line.startswith("| " + begin)]
        self.assertEqual(len(found), 1, lines)
        return found[0]

    def test_a_row_over_its_limit_stays_and_is_marked(self):
        run = {"benchmarks": [median("saveHistory", 4.004, "ms"), median("writeHistory", 1, "ms"),
                              median("loadHistory", 3, "ms"), median("readHistory", 0.5, "ms")]}
        _, lines = self.printed("benchmarks", benchmarks=run)
        self.assertEqual(self.row(lines, "processor time of saving"), "| processor time of saving a full history; of "
                         "that, writing its bytes (4.00 and 1.00 ms) | 4.00 ms | 4 ms | **1.00, over** |")
        self.assertTrue(self.row(lines, "processor time of loading").endswith("| 3.00 ms | 3 ms | 1.00 |"))

    def test_what_was_not_measured_is_a_row_with_its_reason(self):
        run = {"benchmarks": [median("sample/120", 60, "us"), median("bareLoop/120", 50, "us"),
                              median("sample/2000", 60, "us"),
                              {"run_name": "bareLoop/2000", "error_occurred": True, "error_message": "too few"}]}
        status, lines = self.printed("benchmarks", benchmarks=run)
        self.assertEqual(status, 1)
        self.assertTrue(self.row(lines, "a sample at 120").endswith("| 1.20 x | 1.2 x | 1.00 |"))
        self.assertTrue(self.row(lines, "a sample at 2000").endswith("| **not measured: too few** | 1.2 |  |"))
        self.assertIn("not measured: there is no sample/520", self.row(lines, "a sample at 520"))

    def test_of_the_ways_to_let_the_views_go_the_programs_own_counts(self):
        ways = [{"way": "nothing", "later_ms": 20, "once_mib": 5, "fifty_mib": 9},
                {"way": "types", "later_ms": 30, "once_mib": 4, "fifty_mib": 4.5},
                {"way": "engine", "later_ms": 10, "once_mib": 8, "fifty_mib": 8}]
        _, lines = self.printed("views", views=ways)
        once = self.row(lines, "private dirty more after the popover's views")
        self.assertTrue(once.endswith("(30.0 ms for the next opening) | 4.00 MiB | 2 MiB | **2.00, over** |"), once)
        fifty = self.row(lines, "private dirty more after fifty")
        self.assertTrue(fifty.endswith("| 0.50 MiB | 1 MiB | 0.50 |"), fifty)

    def test_a_part_that_left_nothing_is_a_row(self):
        status, lines = self.printed("programs", "growth", growth=[growth(100, 1, 1, 2), growth(10000, 12, 10, 20)])
        self.assertEqual(status, 1)
        self.assertIn("not measured: FileNotFoundError", self.row(lines, "programs"))

    def test_growth_is_held_against_the_bare_loop_at_the_end_and_against_top_where_it_is_worst(self):
        status, lines = self.printed("growth", growth=[growth(100, 3, 1, 2), growth(10000, 12, 10, 20)])
        self.assertEqual(status, 0)
        self.assertTrue(self.row(lines, "processor time of a refresh at 10000").endswith("| 1.20 x | 1.3 x | 0.92 |"))
        self.assertTrue(self.row(lines, "the same against top, at 100").endswith("| 1.50 x | 1 x | **1.50, over** |"))
        status, lines = self.printed("growth", growth=[growth(100, 3, 1, 2), {"processes": 10000, "fault": "no room"}])
        self.assertEqual(status, 1)
        self.assertIn("not measured: no room", self.row(lines, "processor time of a refresh at 10000"))


if __name__ == "__main__":
    unittest.main()
