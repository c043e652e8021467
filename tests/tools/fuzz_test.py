#!/usr/bin/env python3
"""Runs the turns of script/fuzz with programs that only say what a fuzz program would.

    fuzz_test.py SOURCE
"""

import contextlib
import importlib.machinery
import importlib.util
import io
import os
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(sys.argv.pop(1)).resolve()
sys.dont_write_bytecode = True
EXECUTED = 'echo "stat::number_of_executed_units: %d"\n'
KEPT = 'echo "artifact_prefix=x; Test unit written to %s"\n'


class Turns(unittest.TestCase):
    def setUp(self):
        kept = tempfile.TemporaryDirectory(prefix="korvel-fuzz-test-")
        self.addCleanup(kept.cleanup)
        self.folder = Path(kept.name)
        os.environ["KORVEL_FUZZ_FOLDER"] = str(self.folder)
        loader = importlib.machinery.SourceFileLoader("fuzz", str(SOURCE / "script/fuzz"))
        self.fuzz = importlib.util.module_from_spec(importlib.util.spec_from_loader("fuzz", loader))
        loader.exec_module(self.fuzz)
        (self.folder / "bin").mkdir()
        (self.folder / "findings").mkdir()

    def turn(self, text):
        """The count of a turn of a program that is this shell script, and the line that was written of it."""
        program = self.folder / "bin/fuzz_feed"
        program.write_text("#!/bin/sh\n" + text, encoding="utf-8")
        program.chmod(0o755)
        with contextlib.redirect_stdout(io.StringIO()):
            count = self.fuzz.turn("feed", "0123456789ab", "-runs=9")
        return count, (self.folder / "executions").read_text(encoding="utf-8").splitlines()[-1]

    def test_what_was_executed_is_counted_and_written(self):
        count, line = self.turn(EXECUTED % 9)
        self.assertEqual((count.executions, count.findings), (9, 0))
        self.assertEqual(line, "feed 0123456789ab 9 0 0")

    def test_an_input_that_breaks_a_rule_is_a_finding(self):
        kept = self.folder / "findings/feed-crash-1"
        count, line = self.turn(EXECUTED % 5 + KEPT % kept + "exit 77")
        self.assertEqual((count.executions, count.findings), (5, 1))
        self.assertEqual(line, "feed 0123456789ab 5 0 1")

    def test_a_program_that_somebody_ended_found_nothing(self):
        for end in ["exit 72", "kill -9 $$"]:
            with self.subTest(end):
                count, _ = self.turn(end)
                self.assertEqual((count.executions, count.findings), (0, 0))

    def test_an_input_seems_to_hang_only_where_it_does_so_by_itself(self):
        kept = self.folder / "findings/feed-timeout-1"
        for by_itself, findings in [(0, 0), (70, 1)]:
            with self.subTest(by_itself):
                count, _ = self.turn(f'case "$*" in *-timeout=10*) exit {by_itself} ;; esac\n'
                                     f"echo >{kept}\n{KEPT % kept}exit 70")
                self.assertEqual(count.findings, findings)
                self.assertEqual(kept.exists(), bool(findings))


if __name__ == "__main__":
    unittest.main()
