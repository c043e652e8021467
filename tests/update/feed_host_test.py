#!/usr/bin/env python3
"""Which host the build names for the feed, on each system: feed_host_test.py CMAKE SOURCE"""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT = """cmake_minimum_required(VERSION 3.22)
project(feed NONE)
include("{}/src/update/feed_host.cmake")
"""


class FeedHost(unittest.TestCase):
    def configured(self, *settings):
        """The host after a configuration with these settings; none if it fails."""
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, "CMakeLists.txt").write_text(PROJECT.format(SOURCE), encoding="utf-8")
            done = subprocess.run([CMAKE, "-S", folder, "-B", folder + "/build", "-G", "Ninja", *settings],
                                  capture_output=True, check=False)
            if done.returncode != 0:
                return None
            cache = Path(folder, "build/CMakeCache.txt").read_text(encoding="utf-8").splitlines()
        return [line.partition("=")[2] for line in cache if line.startswith("KORVEL_UPDATE_HOST:STRING=")][0]

    def test_each_system_has_a_feed_of_its_own(self):
        for system, host in (("Darwin", "updates.oxbrook.example"), ("Linux", "linux.updates.oxbrook.example")):
            with self.subTest(system):
                self.assertEqual(self.configured("-DCMAKE_SYSTEM_NAME=" + system), host)

    def test_a_host_that_is_named_is_taken_on_every_system(self):
        for system in ("Darwin", "Linux", "Other"):
            with self.subTest(system):
                host = self.configured("-DCMAKE_SYSTEM_NAME=" + system, "-DKORVEL_UPDATE_HOST=feed.example.com")
                self.assertEqual(host, "feed.example.com")

    def test_without_a_host_nothing_is_built(self):
        self.assertIsNone(self.configured("-DCMAKE_SYSTEM_NAME=Other"))
        self.assertIsNone(self.configured("-DCMAKE_SYSTEM_NAME=Linux", "-DKORVEL_UPDATE_HOST="))


if __name__ == "__main__":
    CMAKE, SOURCE = sys.argv[1:]
    unittest.main(argv=sys.argv[:1])
