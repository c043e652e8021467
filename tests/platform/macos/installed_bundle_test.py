#!/usr/bin/env python3
"""Looks into the bundle that the build installs, before Qt is put into it: what the check of a deployed
bundle reads out of a real linker's program.

    installed_bundle_test.py SOURCE BUNDLE
"""

import sys
import unittest
from pathlib import Path

SOURCE, BUNDLE = Path(sys.argv.pop(1)), Path(sys.argv.pop(1))
sys.dont_write_bytecode = True
sys.path.insert(0, str(SOURCE / "packaging/macos"))
import bundle_contents  # noqa: E402


class Installed(unittest.TestCase):
    def setUp(self):
        self.bundle = bundle_contents.Bundle(BUNDLE)

    def test_its_libraries_are_looked_for_in_the_bundle_alone(self):
        (program,) = self.bundle.objects[self.bundle.program]
        self.assertEqual(program.run_paths, ["@executable_path/../Frameworks"])
        self.assertEqual(self.bundle.stray_run_paths(), [])

    def test_the_check_misses_each_library_and_part_of_qt(self):
        lists = (SOURCE / "cross/macos/libraries-korvel.txt").read_text(encoding="utf-8").splitlines()
        found = bundle_contents.faults(self.bundle, SOURCE / "src/ui/quick")
        allowed = [line[2:] for line in lists if line.startswith("? ") and any(line[2:] in fault for fault in found)]
        wanted = sorted(allowed + [library for library in lists if library.startswith("@rpath/")])
        self.assertIn("@rpath/QtCore.framework/Versions/A/QtCore", wanted)
        self.assertEqual(found, [
            *(f"MacOS/Korvel: wants {library}, which is neither in the bundle nor the system's" for library in wanted),
            "Resources/qt.conf: missing",
            "PlugIns/platforms/libqcocoa.dylib: missing",
            "PlugIns/tls: no plugin that can speak TLS: there would be no updates",
            "Resources/qml: the module QtQuick is missing",
            "Resources/qml: the module QtQuick.Templates is missing",
        ])

    def test_the_program_runs_on_the_oldest_system(self):
        self.assertEqual(list(bundle_contents.built_for_newer(self.bundle)), [])


if __name__ == "__main__":
    unittest.main()
