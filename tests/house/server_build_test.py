#!/usr/bin/env python3
"""Configures the build that has korvel-snapshot alone, and looks at what it asks for and what it would make.

    server_build_test.py SOURCE CMAKE
"""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE, CMAKE = Path(sys.argv.pop(1)).resolve(), sys.argv.pop(1)
# What a server need not have; asking for one of them then ends the configuration.
REFUSED = ("Qt6", "OpenSSL", "LibArchive", "PkgConfig", "GTest", "benchmark")
STUB = "systemd_query_absent.cpp.o"


class ServerBuild(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="korvel-server-build-test-")
        self.addCleanup(folder.cleanup)
        self.tree = folder.name

    def configured(self, *words):
        command = [CMAKE, "-S", SOURCE, "-B", self.tree, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", *words]
        refused = [f"-DCMAKE_DISABLE_FIND_PACKAGE_{name}=ON" for name in REFUSED]
        return subprocess.run(command + refused, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              check=False)

    def targets(self):
        """All that could be made: files, by their names in the build folder."""
        told = subprocess.run([CMAKE, "--build", self.tree, "--", "-t", "targets", "all"], stdout=subprocess.PIPE,
                              text=True, check=True).stdout
        return [line.partition(":")[0] for line in told.splitlines()]

    def test_it_takes_no_library_of_the_other_programs_and_makes_korvel_snapshot_alone(self):
        done = self.configured("-DKORVEL_QT=OFF", "-DKORVEL_TESTS=OFF")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertEqual([name for name in self.targets() if name.startswith("bin/")], ["bin/korvel-snapshot"])

    def test_without_the_service_manager_it_compiles_what_answers_in_its_place(self):
        done = self.configured("-DKORVEL_QT=OFF", "-DKORVEL_TESTS=OFF", "-DKORVEL_SYSTEMD=OFF")
        self.assertEqual(done.returncode, 0, done.stdout)
        self.assertIn("Service manager: not in this korvel-snapshot", done.stdout)
        stub, = (name for name in self.targets() if name.endswith("/" + STUB))
        subprocess.run([CMAKE, "--build", self.tree, "--target", stub], stdout=subprocess.DEVNULL, check=True)

    def test_the_other_programs_do_ask_for_what_is_refused_here(self):
        done = self.configured("-DKORVEL_TESTS=OFF")
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("CMAKE_DISABLE_FIND_PACKAGE_", done.stdout)


if __name__ == "__main__":
    unittest.main()
