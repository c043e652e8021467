#!/usr/bin/python3
"""Runs script/in-root on a small tree, with stand-ins for what takes the superuser and the network.

    in_root_test.py SOURCE
"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(sys.argv.pop(1)).resolve()
TAKEN = ("script/in-root", "tests/roots/make", "tests/roots/enter")
STANDINS = {
    "id": 'echo "${WHO:-0}"',
    # Makes a root with nothing but a name.
    "mmdebstrap": 'echo "$*" >>"$TOP/made"; root=${*: -2:1}; mkdir -p "$root/usr/sbin" "$root/root"; '
                  'echo "${*: -3:1}" >"$root/suite"',
    # Runs the command in the folder that it would be in, without the superuser.
    "unshare": 'while [ "$1" != enter ]; do shift; done; shift; cd "$IN_ROOT$WORK_FOLDER"; exec "$@"',
}  # fmt: skip


class InRoot(unittest.TestCase):
    def setUp(self):
        kept = tempfile.TemporaryDirectory(prefix="korvel-in-root-test-")
        self.addCleanup(kept.cleanup)
        self.top = Path(kept.name)
        self.tree, programs = self.top / "tree", self.top / "bin"
        for name in TAKEN:
            (self.tree / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(SOURCE / name, self.tree / name)
        programs.mkdir()
        for place, text in [*((programs / name, text) for name, text in STANDINS.items()),
                            (self.tree / "script/setup", 'echo "$*" >>"$TOP/installed"')]:
            place.write_text("#!/bin/bash\n" + text + "\n", encoding="utf-8")
            place.chmod(0o755)
        self.environment = {"PATH": f"{programs}:{os.environ['PATH']}", "TOP": str(self.top), "HOME": str(self.top)}
        (self.tree / "committed").write_text("as committed", encoding="utf-8")
        (self.tree / ".gitignore").write_text("build/\n", encoding="utf-8")
        for words in (("init", "-q"), ("add", "."),
                      ("-c", "user.name=A", "-c", "user.email=a@example.com", "commit", "-q", "-m", "All")):
            subprocess.run(["git", "-C", self.tree, *words], env=self.environment, check=True)

    def in_root(self, *words, **more):
        return subprocess.run([self.tree / "script/in-root", *words], env=self.environment | more,
                              capture_output=True, text=True, check=False)

    def left(self):
        return sorted(place.name for place in (self.tree / "build/roots").glob("*"))

    def test_words_that_it_does_not_know_are_refused(self):
        for words in ((), ("trixie",), ("sid", "true"), ("--keep",), ("--keep", "trixie"),
                      ("--other", "trixie", "true")):
            with self.subTest(words):
                done = self.in_root(*words)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertIn("usage: script/in-root", done.stderr)

    def test_it_says_that_it_takes_the_superuser(self):
        done = self.in_root("trixie", "true", WHO="1000")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("superuser", done.stderr)
        self.assertFalse((self.tree / "build").exists())

    def test_a_plan_runs_nothing(self):
        done = self.in_root("--plan", "trixie", "script/test", "two words", WHO="1000")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        lines = done.stdout.splitlines()
        self.assertIn(f"tests/roots/make trixie {self.tree}/build/roots/bare-trixie ", lines)
        self.assertRegex(lines[-1], r"^tests/roots/enter --in /root/korvel \S+/run-trixie script/test two\\ words $")
        self.assertFalse((self.tree / "build").exists())

    def test_each_run_is_on_a_fresh_copy_of_one_root(self):
        look = ("bookworm", "sh", "-c", "cat ../../suite; test ! -e ../../mark; touch ../../mark")
        for _ in range(2):
            done = self.in_root(*look)
            self.assertEqual(done.returncode, 0, done.stderr)
            self.assertTrue(done.stdout.startswith("bookworm\n"), done.stdout)
            self.assertEqual(self.left(), ["bare-bookworm"])
        self.assertEqual(len((self.top / "made").read_text(encoding="utf-8").splitlines()), 1)

    def test_nothing_that_is_installed_in_a_root_starts(self):
        self.in_root("trixie", "true")
        refuses = self.tree / "build/roots/bare-trixie/usr/sbin/policy-rc.d"
        self.assertEqual(subprocess.run([refuses], check=False).returncode, 101)

    def test_the_command_sees_what_was_committed_and_no_more(self):
        (self.tree / "committed").write_text("changed", encoding="utf-8")
        (self.tree / "untracked").touch()
        done = self.in_root("trixie", "sh", "-c", "cat committed; ls; git status --porcelain")
        self.assertEqual(done.stdout.splitlines()[:-1], ["as committedcommitted", "script", "tests"])

    def test_the_roots_can_be_kept_elsewhere(self):
        self.in_root("trixie", "true", KORVEL_ROOTS=str(self.top / "elsewhere"))
        self.assertTrue((self.top / "elsewhere/bare-trixie").is_dir())
        self.assertEqual(self.left(), [])

    def test_its_exit_status_is_that_of_the_command(self):
        done = self.in_root("trixie", "sh", "-c", "exit 3")
        self.assertEqual(done.returncode, 3)
        self.assertRegex(done.stdout, r"sh -c exit 3 in trixie: exit status 3 after \d+ s\n$")
        self.assertEqual(self.left(), ["bare-trixie"])

    def test_what_a_person_looks_at_is_left(self):
        makes = "mkdir -p build/pictures build/release/Testing/Temporary; echo picture >build/pictures/korvel.png;" \
            " echo log >build/release/Testing/Temporary/LastTest.log; echo told; echo trouble >&2"
        self.in_root("trixie", "sh", "-c", makes)
        out = self.tree / "build/in-root/trixie"
        self.assertEqual((out / "pictures/korvel.png").read_text(encoding="utf-8"), "picture\n")
        self.assertEqual((out / "release-tests.log").read_text(encoding="utf-8"), "log\n")
        self.assertRegex((out / "printed").read_text(encoding="utf-8"), r"(?s)^told\ntrouble\n.*exit status 0")

    def test_a_root_is_kept_on_demand(self):
        done = self.in_root("--keep", "trixie", "touch", "mark")
        kept = [name for name in self.left() if name.startswith("run-trixie")]
        self.assertEqual(len(kept), 1)
        root = self.tree / "build/roots" / kept[0]
        self.assertTrue((root / "root/korvel/mark").exists())
        self.assertIn(f"tests/roots/enter --in /root/korvel {root} COMMAND...", done.stdout)


if __name__ == "__main__":
    unittest.main()
