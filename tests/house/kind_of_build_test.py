#!/usr/bin/env python3
"""Configures the tree up to where its project begins, and looks at the kind of build that it has then.

    kind_of_build_test.py SOURCE CMAKE
"""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE, CMAKE = Path(sys.argv.pop(1)).resolve(), sys.argv.pop(1)
NINJA, SEVERAL = "Ninja", "Ninja Multi-Config"


def configured(*words, generator=NINJA, **environment):
    """The kind of build in brackets, or "none" where the variable is not there, and all that was printed."""
    with tempfile.TemporaryDirectory(prefix="korvel-kind-of-build-test-") as top:
        told = Path(top, "told.cmake")
        told.write_text('set(shown none)\nif(DEFINED CMAKE_BUILD_TYPE)\nset(shown "<${CMAKE_BUILD_TYPE}>")\nendif()\n'
                        'message(FATAL_ERROR "kind: ${shown};")\n', encoding="utf-8")
        kept = {name: value for name, value in os.environ.items() if name != "CMAKE_BUILD_TYPE"}
        done = subprocess.run([CMAKE, "-S", SOURCE, "-B", Path(top, "tree"), "-G", generator, *words,
                               f"-DCMAKE_PROJECT_INCLUDE_BEFORE={told}"],
                              capture_output=True, text=True, check=False, env=kept | environment)
        printed = done.stdout + done.stderr
        return printed.partition("kind: ")[2].partition(";")[0], printed


class KindOfBuild(unittest.TestCase):
    def test_who_names_none_gets_an_optimised_one_and_is_told(self):
        kind, printed = configured()
        self.assertEqual(kind, "<Release>")
        self.assertIn("-- CMAKE_BUILD_TYPE is not given: Release\n", printed)

    def test_what_is_given_is_left_alone(self):
        for given in ("Debug", "None", "RelWithDebInfo", ""):
            with self.subTest(given):
                kind, printed = configured(f"-DCMAKE_BUILD_TYPE={given}")
                self.assertEqual(kind, f"<{given}>")
                self.assertNotIn("is not given", printed)

    def test_what_the_environment_gives_is_left_to_cmake(self):
        self.assertEqual(configured(CMAKE_BUILD_TYPE="Debug")[0], "none")

    def test_a_generator_of_several_kinds_keeps_its_own(self):
        self.assertEqual(configured(generator=SEVERAL)[0], "none")


if __name__ == "__main__":
    unittest.main()
