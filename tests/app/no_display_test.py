#!/usr/bin/env python3
"""How the program ends where there is no display: no_display_test.py KORVEL"""

import subprocess
import sys
import tempfile
import unittest


class NoDisplay(unittest.TestCase):
    def start(self, **environment):
        with tempfile.TemporaryDirectory() as home:
            given = {"HOME": home, "XDG_RUNTIME_DIR": home, "PATH": "/usr/bin:/bin", **environment}
            return subprocess.run([KORVEL], env=given, capture_output=True, text=True, timeout=60, check=False)

    def test_it_ends_with_a_failure_and_without_a_word(self):
        for variable in ({}, {"KORVEL_QT_MESSAGES": ""}, {"KORVEL_QT_MESSAGES": "0"}):
            ended = self.start(**variable)
            self.assertEqual((ended.returncode, ended.stdout, ended.stderr), (1, "", ""), variable)

    def test_the_variable_lets_qt_say_why(self):
        ended = self.start(KORVEL_QT_MESSAGES="1")
        self.assertEqual((ended.returncode, ended.stdout), (1, ""))
        self.assertIn("could not connect to display", ended.stderr)
        self.assertIn("no Qt platform plugin could be initialized", ended.stderr)

    def test_the_variable_lets_qt_name_the_plugin_that_is_missing(self):
        ended = self.start(KORVEL_QT_MESSAGES="1", QT_QPA_PLATFORM="absent")
        self.assertEqual((ended.returncode, ended.stdout), (1, ""))
        self.assertIn('Could not find the Qt platform plugin "absent"', ended.stderr)


if __name__ == "__main__":
    KORVEL = sys.argv.pop(1)
    unittest.main()
