#!/usr/bin/python3
"""The sample reclaim script in a throw-away home with hostile contents.

    reclaim_test.py SCRIPT
"""

import os
import subprocess
import sys
import tempfile
import time
import unittest

SCRIPT = os.path.abspath(sys.argv.pop(1)) if len(sys.argv) > 1 else ""
OLD = time.time() - 40 * 86400
MEGABYTE = 1 << 20
ODD_NAMES = ["-rf", "a b", "new\nline", "qu'ote\"", "$(touch touched)", "*", "é\udcff", "~",
             "TOTAL RECLAIMABLE 9 TB"]


class Home(unittest.TestCase):
    """One home directory, and a place outside of it that must stay as it is."""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="korvel reclaim '")
        self.addCleanup(self.folder.cleanup)
        self.home = os.path.join(self.folder.name, "home")
        self.outside = os.path.join(self.folder.name, "outside")
        os.makedirs(self.home)
        self.file("../outside/precious", old=True)

    def path(self, name):
        return os.path.join(self.home, name)

    def file(self, name, size=2 * MEGABYTE, old=False):
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(os.urandom(size))
        if old:
            os.utime(path, (OLD, OLD))
        return path

    def run_script(self, *arguments, **environment):
        variables = {"PATH": os.environ["PATH"], "HOME": self.home, **environment}
        return subprocess.run(["/bin/bash", SCRIPT, *arguments], env=variables, check=False,
                              stdin=subprocess.DEVNULL, capture_output=True, cwd=self.folder.name,
                              timeout=60)

    def preview(self, **environment):
        """The amount in GB."""
        result = self.run_script(**environment)
        self.assertEqual(result.returncode, 0, result.stderr)
        lines = [line for line in result.stdout.decode().split("\n") if "TOTAL RECLAIMABLE" in line]
        self.assertEqual(len(lines), 1, result.stdout)
        amount, unit = lines[0].split(" ")[-2:]
        self.assertEqual(unit, "GB")
        return float(amount)

    def clear(self, **environment):
        result = self.run_script("--go", "--yes", **environment)
        self.assertEqual((result.returncode, result.stderr), (0, b""))

    def tree(self):
        return sorted(os.path.join(folder, name) for folder, folders, files in os.walk(self.folder.name)
                      for name in folders + files)

    def assertGone(self, path):
        self.assertFalse(os.path.lexists(path), path)

    def assertThere(self, path):
        self.assertTrue(os.path.lexists(path), path)

    def test_an_empty_home_has_nothing_to_clear(self):
        self.assertEqual(self.preview(), 0)
        self.clear()

    def test_a_preview_changes_nothing_and_adds_up(self):
        self.file(".local/share/Trash/files/film", 64 * MEGABYTE)
        self.file(".cache/pip/wheel", 64 * MEGABYTE, old=True)
        before = self.tree()
        self.assertEqual(self.preview(), 0.1)
        self.assertEqual(self.tree(), before)

    def test_a_run_clears_what_the_preview_showed(self):
        trash = self.file(".local/share/Trash/files/folder/film")
        info = self.file(".local/share/Trash/info/film.trashinfo", 100)
        thumbnail = self.file(".cache/thumbnails/normal/x.png")
        for cache in (".cache/pip", ".npm/_cacache", ".cargo/registry/cache", ".cache/go-build"):
            self.file(cache + "/old", old=True)
            self.file(cache + "/new")
        self.clear()
        for path in (trash, os.path.dirname(trash), info, thumbnail):
            self.assertGone(path)
        for cache in (".cache/pip", ".npm/_cacache", ".cargo/registry/cache", ".cache/go-build"):
            self.assertGone(self.path(cache + "/old"))
            self.assertThere(self.path(cache + "/new"))
        self.assertEqual(self.preview(), 0)

    def test_what_was_read_or_written_lately_stays(self):
        read, written = self.file(".cache/pip/read"), self.file(".cache/pip/written")
        os.utime(read, (time.time(), OLD))
        os.utime(written, (OLD, time.time()))
        self.clear()
        self.assertThere(read)
        self.assertThere(written)

    def test_other_files_are_none_of_its_business(self):
        kept = [self.file(name, old=True) for name in
                ("Documents/thesis", ".cache/browser/page", ".cargo/bin/tool", ".npm/logs",
                 ".local/share/Trash/directorysizes", ".cache/pip-tools/x", "reclaim.sh")]
        self.clear()
        for path in kept:
            self.assertThere(path)

    def test_a_link_in_a_folder_goes_and_what_it_leads_to_stays(self):
        for folder in (".local/share/Trash/files", ".cache/pip"):
            os.makedirs(self.path(folder))
            os.symlink(self.outside, self.path(folder + "/folder"))
            os.symlink(self.outside + "/precious", self.path(folder + "/file"))
        self.clear()
        self.assertThere(self.outside + "/precious")
        self.assertGone(self.path(".local/share/Trash/files/folder"))

    def test_a_folder_that_is_a_link_is_left_alone(self):
        os.makedirs(self.path(".local/share/Trash"))
        os.makedirs(self.path(".cache"))
        for folder in (".local/share/Trash/files", ".cache/thumbnails", ".cache/pip", ".npm"):
            os.symlink(self.outside, self.path(folder))
        self.file("../outside/_cacache/old", old=True)
        self.assertEqual(self.preview(), 0)
        self.clear()
        self.assertThere(self.outside + "/precious")
        self.assertThere(self.outside + "/_cacache/old")

    def test_names_are_only_names(self):
        for name in ODD_NAMES:
            self.file(".local/share/Trash/files/" + name, 4096)
            self.file(".cache/pip/" + name, 4096, old=True)
        self.preview()
        self.clear()
        self.assertEqual(os.listdir(self.path(".local/share/Trash/files")), [])
        self.assertEqual(os.listdir(self.path(".cache/pip")), [])
        self.assertThere(self.outside + "/precious")
        self.assertNotIn("touched", os.listdir(self.folder.name))

    def test_a_pipe_is_not_waited_for(self):
        os.makedirs(self.path(".local/share/Trash/files"))
        os.mkfifo(self.path(".local/share/Trash/files/pipe"))
        self.preview()
        self.clear()
        self.assertGone(self.path(".local/share/Trash/files/pipe"))

    def test_a_second_name_of_a_file_elsewhere_frees_nothing(self):
        precious = self.file("Documents/film", 64 * MEGABYTE)
        os.makedirs(self.path(".local/share/Trash/files"))
        os.link(precious, self.path(".local/share/Trash/files/film"))
        self.assertEqual(self.preview(), 0)
        self.clear()
        self.assertThere(precious)

    def test_the_folders_of_the_variables_count_when_they_are_absolute(self):
        elsewhere = self.file("elsewhere/thumbnails/x", 64 * MEGABYTE)
        self.assertEqual(self.preview(XDG_CACHE_HOME=self.path("elsewhere")), 0.1)
        self.clear(XDG_CACHE_HOME="home/elsewhere", XDG_DATA_HOME="../..")
        self.assertThere(elsewhere)
        self.clear(XDG_CACHE_HOME=self.path("elsewhere"))
        self.assertGone(elsewhere)

    def test_other_arguments_are_refused_and_clear_nothing(self):
        trash = self.file(".local/share/Trash/files/film")
        for arguments in (["--go"], ["--yes"], ["--yes", "--go"], ["--go", "--yes", "x"], ["-h"],
                          ["--go --yes "]):
            result = self.run_script(*arguments)
            self.assertEqual((result.returncode, result.stdout), (2, b""), arguments)
            self.assertIn(b"usage", result.stderr)
        self.assertThere(trash)

    def test_without_a_home_nothing_is_done(self):
        for home in ("", "/", "relative/nowhere", self.path("missing")):
            for arguments in ([], ["--go", "--yes"]):
                result = self.run_script(*arguments, HOME=home)
                self.assertEqual((result.returncode, result.stdout), (1, b""), home)


if __name__ == "__main__":
    unittest.main()
