#!/usr/bin/env python3
"""Runs script/release with keys made by the commands of docs/releasing.md, and looks at what comes out
with tools that are not the program's own.

    release_test.py SOURCE BIN      BIN holds korvel and korvel-release
"""

import json
import os
import re
import shutil
import stat
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

SOURCE, BIN = Path(sys.argv.pop(1)), Path(sys.argv.pop(1))
NOTES = 'First "quoted" line\n- second, with a \\ and a \t tab\n• drei: größer\n'
HASH = re.compile(r"^[0-9a-f]{64}$")


def run(*command, cwd=None, given=None):
    words = [str(word) for word in command]
    return subprocess.run(words, cwd=cwd, input=given, capture_output=True, check=False)


def must(*command, cwd=None):
    done = run(*command, cwd=cwd)
    assert done.returncode == 0, f"{command}: {done.stderr.decode()}"
    return done.stdout


def documented_commands():
    """The shell blocks of the guide, in order."""
    guide = (SOURCE / "docs/releasing.md").read_text(encoding="utf-8")
    blocks = re.findall(r"^```sh\n(.*?)^```$", guide, re.MULTILINE | re.DOTALL)
    assert len(blocks) == 3, "the guide has other commands than this test knows"
    return blocks


def make_keys(folder, change=lambda text: text):
    """Makes a root and a team certificate as the guide says."""
    folder.mkdir()
    for block in documented_commands():
        must("sh", "-ec", change(block), cwd=folder)


class Release(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.kept = tempfile.TemporaryDirectory(prefix="korvel-release-test-")
        cls.top = Path(cls.kept.name)
        cls.keys = cls.top / "keys"
        make_keys(cls.keys)
        (cls.top / "notes.txt").write_text(NOTES, encoding="utf-8")

    @classmethod
    def tearDownClass(cls):
        cls.kept.cleanup()

    def setUp(self):
        self.out = self.top / self.id().rsplit(".", 1)[1] / "out"

    def words(self, **changed):
        given = {
            "version": "1.4.0",
            "build": "42",
            "notes": self.top / "notes.txt",
            "key": self.keys / "team-key.pem",
            "cert": self.keys / "team.pem",
            "root": self.keys / "root.pem",
            "url": "https://updates.example.com/releases/",
            "out": self.out,
            "bin": BIN,
        }
        given.update(changed)
        return [w for name, v in given.items() if v is not None for w in ("--" + name.replace("_", "-"), v)]

    def release(self, **changed):
        return run(SOURCE / "script/release", "--system-libraries", *self.words(**changed))

    def assert_nothing_left(self):
        self.assertFalse(self.out.exists())
        left = [p.name for p in self.out.parent.iterdir()] if self.out.parent.exists() else []
        self.assertEqual(left, [])

    def made(self, **changed):
        done = self.release(**changed)
        self.assertEqual(done.returncode, 0, done.stderr.decode())
        return json.loads((self.out / "appcast.json").read_bytes().decode("utf-8"))

    def test_the_feed_announces_the_archive(self):
        feed = self.made()
        name = "Korvel-1.4.0-42.zip"
        self.assertEqual(sorted(os.listdir(self.out)), [name, "appcast.json"])
        self.assertEqual(list(feed), ["version", "build", "url", "sha256", "notes", "minimumOS"])
        self.assertEqual(feed["version"], "1.4.0")
        self.assertIs(type(feed["build"]), int)
        self.assertEqual(feed["build"], 42)
        self.assertEqual(feed["url"], "https://updates.example.com/releases/" + name)
        self.assertEqual(feed["notes"], NOTES)
        self.assertRegex(feed["sha256"], HASH)
        self.assertEqual(must("sha256sum", self.out / name).split()[0].decode(), feed["sha256"])
        self.assertEqual([p.name for p in self.out.parent.iterdir()], ["out"])

    def test_other_tools_find_the_bundle_as_the_manifest_lists_it(self):
        self.made()
        archive = self.out / "Korvel-1.4.0-42.zip"
        must("unzip", "-t", archive)
        unpacked = self.out.parent / "unpacked"
        must("unzip", "-q", archive, "-d", unpacked)
        bundle = unpacked / "Korvel.app"
        folder = bundle / "Contents/_CodeSignature"
        must("openssl", "cms", "-verify", "-binary", "-inform", "DER", "-in", folder / "Manifest.p7s",
             "-content", folder / "Manifest", "-CAfile", self.keys / "root.pem", "-purpose", "any",
             "-out", os.devnull)

        lines = (folder / "Manifest").read_text(encoding="utf-8").splitlines()
        head = ["korvel-manifest 1", "identifier\tcom.oxbrook.korvel", "version\t1.4.0", "build\t42"]
        self.assertEqual(lines[:4], head)
        listed = {}
        for line in lines[4:]:
            parts = line.split("\t")
            listed[parts[-1]] = parts[:-1]
        there = {".": bundle, **{str(p.relative_to(bundle)): p for p in bundle.rglob("*")}}
        for name in ("Manifest", "Manifest.p7s"):
            del there["Contents/_CodeSignature/" + name]
        self.assertEqual(sorted(listed), sorted(there))
        for path, fields in listed.items():
            info = there[path].lstat()
            mode = f"{stat.S_IMODE(info.st_mode):o}"
            if stat.S_ISDIR(info.st_mode):
                self.assertEqual(fields, ["folder", mode], path)
                self.assertEqual(mode, "755", path)
            else:
                digest = must("sha256sum", there[path]).split()[0].decode()
                self.assertEqual(fields, ["file", mode, str(info.st_size), digest], path)
                self.assertEqual(mode, "755" if path == "Contents/Linux/korvel" else "644", path)
        self.assertIn("Contents/Resources/com.oxbrook.korvel.svg", listed)
        symbols = run("nm", bundle / "Contents/Linux/korvel")
        self.assertIn(b"no symbols", symbols.stderr)

    def test_the_same_files_pack_to_the_same_bytes(self):
        self.made()
        archive = self.out / "Korvel-1.4.0-42.zip"
        again = self.out.parent / "again"
        self.assertEqual(self.release(out=again).returncode, 0)
        # Each signature is another, by its time and by the nature of these keys.
        with zipfile.ZipFile(archive) as one, zipfile.ZipFile(again / archive.name) as two:
            self.assertEqual(one.namelist(), two.namelist())
            self.assertEqual(one.namelist(), sorted(one.namelist()))
            self.assertEqual(one.namelist()[0], "Korvel.app/")
            for first, second in zip(one.infolist(), two.infolist()):
                if not first.filename.endswith(".p7s"):
                    self.assertEqual(one.read(first), two.read(second))
                self.assertEqual(first.external_attr, second.external_attr)
                self.assertEqual(first.date_time, (1980, 1, 1, 0, 0, 0))
                self.assertEqual((first.extra, first.comment, first.create_system), (b"", b"", 3))

    def test_the_verdict_on_what_was_tampered_with(self):
        self.made()
        unpacked = self.out.parent / "unpacked"
        must("unzip", "-q", self.out / "Korvel-1.4.0-42.zip", "-d", unpacked)
        bundle = unpacked / "Korvel.app"
        tool, root = BIN / "korvel-release", self.keys / "root.pem"

        def verdict(*words):
            done = run(tool, "verify", *words)
            self.assertEqual(done.stdout.count(b"\n") + done.stderr.count(b"\n"), 1)
            return done.returncode, (done.stdout + done.stderr).decode().strip()

        good = (0, "good: com.oxbrook.korvel, build 42, signed by 7QX4D1K9WB")
        self.assertEqual(verdict(bundle, "42", "--root", root), good)
        self.assertEqual(verdict(bundle, "43", "--root", root), (1, "refused: the bundle is another build"))
        (bundle / "Contents/Linux/extra").write_text("x")
        (bundle / "Contents/Linux/extra").chmod(0o644)
        reason = "refused: Contents/Linux/extra: is not in the manifest"
        self.assertEqual(verdict(bundle, "42", "--root", root), (1, reason))
        self.assertEqual(verdict(self.top, "42", "--root", root), (1, "refused: the bundle is not signed"))
        for words in ([], [bundle], [bundle, "x"], [bundle, "0"], [bundle, "42", "--root"],
                      [bundle, "42", "--roots", root], [bundle, "42", "--root", self.top / "gone"]):
            self.assertEqual(verdict(*words)[0], 2, words)

    def test_an_authority_in_between_goes_with_the_signature(self):
        keys = self.top / "between"
        make_keys(keys)
        (keys / "ca.ext").write_text("basicConstraints=critical,CA:TRUE\nkeyUsage=critical,keyCertSign\n"
                                     "subjectKeyIdentifier=hash\nauthorityKeyIdentifier=keyid:always\n")
        must("sh", "-ec", """
            openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out ca-key.pem
            openssl req -new -key ca-key.pem -subj /CN=Between -out ca.csr
            openssl x509 -req -in ca.csr -CA root.pem -CAkey root-key.pem -set_serial 7 -days 9 \
                -extfile ca.ext -out ca.pem
            openssl x509 -req -in team.csr -CA ca.pem -CAkey ca-key.pem -set_serial 8 -days 9 \
                -extfile team.ext -out team.pem
            """, cwd=keys)
        given = {"key": keys / "team-key.pem", "cert": keys / "team.pem", "root": keys / "root.pem"}
        done = self.release(**given)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"unable to get local issuer certificate; nothing was released", done.stderr)
        self.assert_nothing_left()
        self.made(chain=keys / "ca.pem", **given)

    def test_a_certificate_that_the_program_refuses_makes_no_release(self):
        def other(old, new):
            return lambda text: text.replace(old, new)

        for name, change, reason in (
            ("team", other("7QX4D1K9WB", "ZZZZZZZZZZ"), b"the signer is of another team"),
            ("usage", other("codeSigning", "serverAuth"), b"is not meant for code"),
            ("units", other("/OU=7QX4D1K9WB", "/OU=7QX4D1K9WB/OU=x"), b"names no one team"),
        ):
            keys = self.top / ("keys-" + name)
            make_keys(keys, change)
            done = self.release(key=keys / "team-key.pem", cert=keys / "team.pem", root=keys / "root.pem")
            self.assertEqual(done.returncode, 1, name)
            self.assertIn(reason, done.stderr)
            self.assertIn(b"nothing was released", done.stderr)
            self.assert_nothing_left()
        # Under another root, and under the one of this build's own, which is none.
        self.assertEqual(self.release(root=self.top / "keys-team/root.pem").returncode, 1)
        done = self.release(root=None)
        self.assertIn(b"there is no root to trust", done.stderr)
        self.assert_nothing_left()

    def test_a_release_that_changes_the_root_is_signed_under_the_old_one(self):
        make_keys(self.top / "new")
        new_root = self.top / "new/root.pem"
        self.assertEqual(self.release(root=new_root).returncode, 1)
        self.made(root=new_root, old_root=self.keys / "root.pem")

    def test_wrong_input_is_told_in_a_line(self):
        (self.top / "latin1.txt").write_bytes(b"gr\xf6\xdfer")
        (self.top / "long.txt").write_text("ä" * (32 << 10) + "x", encoding="utf-8")
        (self.top / "full").mkdir(exist_ok=True)
        (self.top / "full/file").write_text("x")
        (self.top / "garbage.pem").write_text("garbage")
        for changed in (
            {"version": "1.4 beta"}, {"version": ""}, {"version": "../1"}, {"version": None},
            {"build": "0"}, {"build": "-1"}, {"build": "042"}, {"build": "4.2"}, {"build": "x"},
            {"build": "9223372036854775808"}, {"build": None},
            {"notes": self.top / "gone"}, {"notes": self.top / "latin1.txt"}, {"notes": self.top / "long.txt"},
            {"url": "http://updates.example.com"}, {"url": "HTTPS://updates.example.com"},
            {"url": "https://"}, {"url": "https://a b"}, {"url": "https://a/?q"}, {"host": "a/b"},
            {"host": "updates.oxbrook.example"}, {"url": "https://Updates.Oxbrook.example/releases"},
            {"key": self.top / "gone"}, {"key": self.top / "garbage.pem"}, {"key": self.keys / "root-key.pem"},
            {"cert": self.top / "garbage.pem"}, {"chain": self.top / "gone"}, {"root": self.top / "gone"},
            {"old_root": self.top / "gone"}, {"bin": self.top}, {"out": self.top / "full"},
            {"bin": None, "root": None}, {"surprise": "x"},
        ):
            done = self.release(**changed)
            self.assertEqual(done.returncode, 2, (changed, done.stderr))
            self.assertTrue(done.stderr.startswith(b"script/release: "), changed)
            self.assertNotIn(b"Traceback", done.stderr)
            self.assert_nothing_left()

    def test_the_longest_notes_are_kept_whole(self):
        notes = "ä" * (32 << 10)
        (self.top / "longest.txt").write_text(notes, encoding="utf-8")
        self.assertEqual(self.made(notes=self.top / "longest.txt")["notes"], notes)

    def test_the_largest_build_is_kept_exactly(self):
        feed = self.made(build="9223372036854775807")
        self.assertEqual(feed["build"], 9223372036854775807)

    def test_a_warning_of_the_compiler_stops_no_release(self):
        programs = self.out.parent / "programs"
        programs.mkdir(parents=True)
        told = self.out.parent / "told.cmake"
        told.write_text('message(FATAL_ERROR "errors: ${KORVEL_WERROR}, kind: ${CMAKE_BUILD_TYPE}")', encoding="utf-8")
        # What a release configures, ended where the project begins, in a folder of its own.
        stand_in = programs / "cmake"
        stand_in.write_text(f"""#!/bin/bash
            while [ $# -gt 0 ]; do
                words+=("$1")
                [ "$1" != -B ] || {{ words+=('{self.out.parent}/tree') && shift; }}
                shift
            done
            exec '{shutil.which("cmake")}' "${{words[@]}}" '-DCMAKE_PROJECT_INCLUDE_BEFORE={told}'
            """, encoding="utf-8")
        stand_in.chmod(0o755)
        done = subprocess.run([SOURCE / "script/release", *map(str, self.words(bin=None))], capture_output=True,
                              env=os.environ | {"PATH": f"{programs}:{os.environ['PATH']}"}, text=True, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn("errors: OFF, kind: Release", done.stderr)


if __name__ == "__main__":
    unittest.main()
