#!/usr/bin/env python3
"""Holds the stubs that programs for macOS are linked with against the libraries that they are made of.

    stub_libraries_test.py SOURCE
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(sys.argv.pop(1))
MAKE_STUBS = SOURCE / "cross/macos/stub-libraries"
DEPLOY = SOURCE / "cross/macos/tools/macdeployqt"
RUN_HERE = SOURCE / "cross/macos/tools/run-here"
LIBRARY = """
#include <chrono>
#include <string>
extern "C" void needed();
static int own;
namespace house {
int door = 0;
int open(int times) { needed(); return own += times; }
void name(const std::string&) {}
std::string named() { return {}; }
void wait(std::chrono::milliseconds) {}
}
"""
# As the C++ library of macOS has them.
NAME = "_ZN5house4nameERKNSt3__112basic_stringIcNS0_11char_traitsIcEENS0_9allocatorIcEEEE"
NAMED = "_ZN5house5namedEv"
WAIT = "_ZN5house4waitENSt3__16chrono8durationIxNS0_5ratioILl1ELl1000EEEEE"


class Stubs(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        kept = tempfile.TemporaryDirectory(prefix="korvel-stubs-test-")
        cls.addClassCleanup(kept.cleanup)
        cls.libraries = Path(kept.name)
        cls.build("house", LIBRARY)
        cls.build("garden", "int shed = 1;")

    @classmethod
    def build(cls, name, text):
        source = cls.libraries / f"{name}.cpp"
        versions = cls.libraries / "versions"
        source.write_text(text, encoding="utf-8")
        versions.write_text("HOUSE_1 { *; };", encoding="utf-8")
        subprocess.run(
            ["c++", "-shared", "-fPIC", f"-Wl,--version-script={versions}", source, "-o", cls.path_of(name)],
            check=True)

    @classmethod
    def path_of(cls, name):
        return cls.libraries / f"lib{name}.so"

    def setUp(self):
        kept = tempfile.TemporaryDirectory(prefix="korvel-stubs-test-")
        self.addCleanup(kept.cleanup)
        self.top = Path(kept.name)

    def made(self, *names, **libraries):
        (self.top / "names.txt").write_text("".join(name + "\n" for name in names), encoding="utf-8")
        pairs = [f"@rpath/{stub}.framework/{stub}={self.path_of(name)}" for stub, name in libraries.items()]
        return subprocess.run(
            [MAKE_STUBS, "--names", self.top / "names.txt", self.top / "stubs", *pairs],
            capture_output=True, text=True, check=False)

    def symbols(self, stub):
        text = (self.top / f"stubs/{stub}.tbd").read_text(encoding="utf-8")
        self.assertIn(f"install-name:    '@rpath/{stub}.framework/{stub}'\n", text)
        return re.findall(r"'(_[^']*)'", text)

    def test_a_stub_exports_what_the_library_exports_and_no_more(self):
        done = self.made(House="house", Garden="garden")
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual(self.symbols("Garden"), ["_shed"])
        self.assertEqual(self.symbols("House"), [
            "__ZN5house4doorE", "__ZN5house4nameERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            "__ZN5house4openEi", "__ZN5house4waitENSt6chrono8durationIlSt5ratioILl1ELl1000EEEE",
            "__ZN5house5namedB5cxx11Ev"])

    def test_a_name_that_macos_spells_otherwise_is_exported_by_the_library_that_has_it(self):
        self.assertEqual(self.made(NAME, NAMED, WAIT, House="house", Garden="garden").returncode, 0)
        self.assertEqual(self.symbols("Garden"), ["_shed"])
        self.assertIn("_" + NAME, self.symbols("House"))
        self.assertIn("_" + NAMED, self.symbols("House"))
        self.assertIn("_" + WAIT, self.symbols("House"))

    def test_a_name_of_later_releases_is_exported_where_a_library_has_it(self):
        self.assertEqual(self.made("?" + NAME, "?_ZN5house5closeEv", House="house").returncode, 0)
        self.assertIn("_" + NAME, self.symbols("House"))
        self.assertNotIn("__ZN5house5closeEv", self.symbols("House"))

    def test_a_name_that_no_library_has_is_refused(self):
        for name in ("_ZN5house5closeEv", "_ZN5house4openEl", NAME.replace("112basic_stringIc", "112basic_stringIw")):
            with self.subTest(name):
                done = self.made(NAME, name, House="house", Garden="garden")
                self.assertEqual(done.returncode, 1)
                self.assertIn(f"{name}: in 0 libraries, not one: house::", done.stderr)
                self.assertFalse((self.top / "stubs").exists())

    def test_a_name_that_two_libraries_have_is_refused(self):
        done = self.made(NAME, House="house", Other="house")
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"{NAME}: in 2 libraries, not one: house::name(", done.stderr)

    def test_a_library_that_cannot_be_read_is_refused(self):
        self.assertNotEqual(self.made(House="none").returncode, 0)

    def test_a_stub_that_would_not_change_is_left_as_it_is(self):
        self.made(House="house")
        stub = self.top / "stubs/House.tbd"
        os.utime(stub, (1, 1))
        self.made(House="house")
        self.assertEqual(stub.stat().st_mtime, 1)


class Tools(unittest.TestCase):
    def setUp(self):
        kept = tempfile.TemporaryDirectory(prefix="korvel-stubs-test-")
        self.addCleanup(kept.cleanup)
        self.top = Path(kept.name)

    def test_deploying_writes_down_how_it_was_called_and_wants_a_bundle(self):
        bundle = self.top / "Some App.app"
        (bundle / "Contents").mkdir(parents=True)
        refused = subprocess.run([DEPLOY, bundle], capture_output=True, text=True, check=False)
        self.assertEqual((refused.returncode, refused.stderr), (1, f"macdeployqt: no bundle: {bundle}\n"))
        (bundle / "Contents/MacOS").mkdir()
        subprocess.run([DEPLOY, bundle, "-qmldir=a b", "-always-overwrite"], check=True)
        record = self.top / "Some App.app.deployment"
        self.assertEqual(record.read_text(encoding="utf-8"), f"{bundle}\n-qmldir=a b\n-always-overwrite\n")

    def test_a_program_of_the_build_is_run_as_the_one_that_was_built_here(self):
        here = self.top / "tool"
        here.write_text('#!/bin/sh\necho "here: $1 $2"\nexit 3\n', encoding="utf-8")
        here.chmod(0o755)
        done = subprocess.run([RUN_HERE, "/for/macos/tool", "a b", "c"], capture_output=True, text=True,
                              check=False, env={"KORVEL_NATIVE_PROGRAMS": str(self.top), "PATH": "/usr/bin:/bin"})
        self.assertEqual((done.stdout, done.returncode), ("here: a b c\n", 3))


if __name__ == "__main__":
    unittest.main()
