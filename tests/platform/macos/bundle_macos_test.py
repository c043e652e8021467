#!/usr/bin/env python3
"""Holds the plan of script/bundle-macos against what it is to be, and carries it out with tools that are
made here.

    bundle_macos_test.py SOURCE
"""

import contextlib
import hashlib
import importlib.machinery
import importlib.util
import io
import json
import os
import plistlib
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

SOURCE = Path(sys.argv.pop(1)).resolve()
sys.dont_write_bytecode = True
sys.path[:0] = [str(SOURCE / "packaging/macos"), str(SOURCE / "packaging")]
import bundle_steps  # noqa: E402
import tiny_bundle  # noqa: E402
from first_start import Failed  # noqa: E402
from tiny_macho import SYSTEM  # noqa: E402

SCRIPT = SOURCE / "script/bundle-macos"
APP = "build/macos/bundle/Korvel.app"
OUT = "build/macos/unpacked/Korvel.app"
ZIP = "build/macos/Korvel-1.4.0-42.zip"
NAME = "Developer ID Application: Oxbrook (7QX4D1K9WB)"
SIGN = f"codesign --force --options runtime --timestamp --sign '{NAME}'"
ENTITLED = f"{SIGN} --entitlements packaging/macos/Korvel.entitlements {APP}"
SUBMIT = f"xcrun notarytool submit {ZIP} --keychain-profile korvel --wait --output-format json"
CODESIGN = """Executable=/x/Korvel.app/Contents/MacOS/Korvel
Identifier=com.oxbrook.korvel
Format=app bundle with Mach-O thin (arm64)
CodeDirectory v=20500 size=9081 flags=0x10000(runtime) hashes=272+7 location=embedded
Authority=Developer ID Application: Oxbrook (7QX4D1K9WB)
Timestamp=22 Nov 2026 at 05:00:00
TeamIdentifier=7QX4D1K9WB
Runtime Version=13.3.0
"""


def load_script():
    loader = importlib.machinery.SourceFileLoader("bundle_macos", str(SCRIPT))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("bundle_macos", loader))
    loader.exec_module(module)
    return module


class Folder(unittest.TestCase):
    def setUp(self):
        kept = tempfile.TemporaryDirectory(prefix="korvel-bundle-macos-")
        self.addCleanup(kept.cleanup)
        self.top = Path(kept.name).resolve()
        self.notes = self.top / "notes.txt"
        self.notes.write_text("One “line”\n", encoding="utf-8")

    def ship_words(self):
        return ["--identity", NAME, "--profile", "korvel", "--version", "1.4.0", "--build", "42",
                "--url", "https://updates.example.com/releases/", "--notes", str(self.notes)]


class Plan(Folder):
    """The commands as they are printed; the script runs none here."""

    def run_script(self, *words):
        return subprocess.run([str(SCRIPT), *words], capture_output=True, text=True, check=False,
                              env={"PATH": os.path.dirname(sys.executable) + ":/usr/bin:/bin", "HOME": "/home/a"})

    def plan(self, *words, system="Linux"):
        """The plan in a tree without a bundle."""
        script, out, err = load_script(), io.StringIO(), io.StringIO()
        with mock.patch.object(script, "SOURCE", self.top), mock.patch.object(sys, "argv", [str(SCRIPT), *words]), \
                mock.patch.object(script.platform, "system", return_value=system), \
                mock.patch.object(script.subprocess, "Popen", side_effect=AssertionError("a command was run")), \
                contextlib.redirect_stdout(out), contextlib.redirect_stderr(err):
            self.assertEqual(script.main(), 0, err.getvalue())
        return out.getvalue().splitlines()

    def given(self, **more):
        return bundle_steps.Given(top=self.top, version="1.4.0", build="42", **more)

    def planned(self, step, **more):
        return [str(item) for item in bundle_steps.STEPS[step](self.given(**more))]

    def test_a_trial_on_this_mac(self):
        self.assertEqual(self.plan("trial", "start", "--adhoc"), [
            "cmake --preset macos",
            "cmake --build --preset macos",
            "cmake -E rm -rf build/macos/bundle",
            f"cmake --install build/macos --prefix {self.top}/build/macos/bundle",
            "# for each run path that leads out of the bundle: install_name_tool -delete_rpath PATH FILE",
            "# looks into the bundle: nothing leads out of it, and Qt's plugins and modules are there",
            f"codesign --force --deep --sign - {APP}",
            f"codesign --verify --strict --deep {APP}",
            "cmake -E rm -rf build/macos/first-start",
            "cmake -E make_directory build/macos/first-start",
            "# starts the bundle once, looks whether it takes the front or ends by itself, and ends it: lsappinfo, "
            "open, pgrep, screencapture, kill; the picture of the screen and Qt's messages are kept in "
            "build/macos/first-start",
        ])

    def test_what_is_shipped_is_packed_sent_in_stapled_packed_again_and_judged_unpacked(self):
        self.assertEqual(self.plan("deploy", "sign", "verify", "notarise", "inspect", "feed", *self.ship_words())[4:], [
            "# for each framework, plugin and library in the bundle, from the inside out:",
            f"# {SIGN} FILE",
            ENTITLED,
            f"codesign --verify --strict --deep {APP}",
            f"codesign -dv --verbose=4 {APP}",
            f"cmake -E rm -f {ZIP}",
            f"ditto -c -k --keepParent {APP} {ZIP}",
            SUBMIT,
            f"xcrun stapler staple {APP}",
            f"xcrun stapler validate {APP}",
            f"cmake -E rm -f {ZIP}",
            f"ditto -c -k --keepParent {APP} {ZIP}",
            "cmake -E rm -rf build/macos/unpacked",
            f"ditto -x -k {ZIP} build/macos/unpacked",
            f"codesign --verify --strict --deep {OUT}",
            f"codesign -dv --verbose=4 {OUT}",
            f"xcrun stapler validate {OUT}",
            f"spctl --assess --type execute --verbose=4 {OUT}",
            f"# prints the feed that announces {ZIP}, with its digest",
        ])

    def test_what_is_shipped_is_built_with_its_own_libraries_and_version(self):
        lines = self.plan("ship", "--qt", "/q/6.5.3/macos", "--set", "KORVEL_UPDATE_HOST=a.example", *self.ship_words())
        configured = [number for number, line in enumerate(lines) if line.startswith("cmake --preset")]
        self.assertEqual([lines[number - 1:number + 1] for number in configured], [[
            "cmake -E rm -f build/macos/CMakeCache.txt",
            f"cmake --preset macos '-DCMAKE_PREFIX_PATH=/q/6.5.3/macos;{self.top}/build/macos-libraries' "
            "-DKORVEL_VERSION=1.4.0 -DKORVEL_BUILD=42 -DKORVEL_UPDATE_HOST=a.example",
        ]])
        for name, tag in (("fmt", "9.1.0"), ("simdjson", "v3.0.1")):
            made = [line for line in lines if f"/{name}" in line]
            self.assertEqual(len(made), 4)
            self.assertIn(f"--branch {tag} ", made[0])
            self.assertIn(" -DCMAKE_OSX_ARCHITECTURES=arm64 -DCMAKE_OSX_DEPLOYMENT_TARGET=13.0 "
                          "-DBUILD_SHARED_LIBS=OFF", made[1])

    def test_the_oldest_system_is_the_one_of_the_description_and_of_the_preset(self):
        presets = json.loads((SOURCE / "CMakePresets.json").read_text(encoding="utf-8"))["configurePresets"]
        preset = next(each for each in presets if each["name"] == "macos")["cacheVariables"]
        self.assertEqual(preset["CMAKE_OSX_DEPLOYMENT_TARGET"], bundle_steps.OLDEST_SYSTEM)
        description = plistlib.loads((SOURCE / "packaging/macos/Info.plist.in").read_bytes())
        self.assertEqual(description["LSMinimumSystemVersion"], bundle_steps.OLDEST_SYSTEM)

    def test_a_bundle_that_is_there_is_signed_file_by_file_and_itself_at_last(self):
        tiny_bundle.make(self.top / "build/macos/bundle")
        lines = self.planned("sign", identity=NAME)
        self.assertEqual(lines[-1], ENTITLED)
        self.assertEqual(sorted(lines[:-1]), sorted(f"{SIGN} {APP}/Contents/{name}" for name in (
            "Frameworks/QtCore.framework", tiny_bundle.COCOA, tiny_bundle.TLS, tiny_bundle.QUICK,
            tiny_bundle.TEMPLATES)))
        self.assertEqual(self.planned("sign", adhoc=True), [f"codesign --force --deep --sign - {APP}"])

    def test_run_paths_that_lead_out_of_a_bundle_are_taken_out(self):
        contents = tiny_bundle.make(self.top / "build/macos/bundle")
        tiny_bundle.put(contents / tiny_bundle.QUICK, tiny_bundle.in_both(SYSTEM, run_paths=["/opt/lib"]))
        self.assertEqual(self.planned("deploy")[2:-1],
                         [f"install_name_tool -delete_rpath /opt/lib {APP}/Contents/{tiny_bundle.QUICK}"])

    def test_a_plan_is_a_plan_on_a_mac_too_and_the_same(self):
        words = ["ship", *self.ship_words()]
        self.assertEqual(self.plan("--plan", *words, system="Darwin"), self.plan(*words))
        self.assertGreater(len(self.plan(*words)), 20)

    def test_the_steps_are_in_order(self):
        for words in (["sign", "deploy"], ["notarise", "sign"], ["verify", "verify"], ["trial", "configure"],
                      ["feed", "notarise"], ["ship", "trial"]):
            with self.subTest(words):
                done = self.run_script("--plan", *words, *self.ship_words())
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertIn("not in the order of the steps, or one twice", done.stderr)

    def test_what_is_given_is_looked_at_before_anything_is_run(self):
        good = {"--identity": NAME, "--profile": "korvel", "--version": "1.4.0", "--build": "42",
                "--url": "https://updates.example.com", "--notes": str(self.notes)}
        latin = self.top / "latin"
        latin.write_bytes("größer".encode("latin-1"))
        cases = [
            (["ship"], {name: None}, f"needs {name}") for name in good if name != "--identity"
        ] + [
            (["ship"], {"--identity": None}, "notarise needs --identity"),
            (["sign"], {"--identity": None}, "sign and verify need --adhoc or --identity"),
            (["verify"], {"--identity": None}, "sign and verify need --adhoc or --identity"),
            (["sign", "--adhoc"], {}, "not both"),
            (["ship"], {"--version": "one"}, "no version"),
            (["ship"], {"--build": "0"}, "no number of a build"),
            (["ship"], {"--url": "http://updates.example.com"}, "no plain https address"),
            (["ship"], {"--notes": "/none"}, "cannot be read"),
            (["ship"], {"--notes": str(latin)}, "is not UTF-8"),
            (["polish"], {}, "invalid choice"),
            ([], {}, "required"),
        ]
        for words, changed, said in cases:
            with self.subTest(words, changed=changed):
                options = {**good, **changed}
                given = [word for name, value in options.items() if value is not None for word in (name, value)]
                done = self.run_script("--plan", *words, *given)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertIn(said, done.stderr)


class Judged(unittest.TestCase):
    """What a tool said, with which it succeeded."""

    def test_a_signature_is_the_teams_hardened_and_stamped(self):
        bundle_steps.judge_signature(CODESIGN)
        for line, other, said in (("TeamIdentifier=7QX4D1K9WB", "TeamIdentifier=ABCDEFGHIJ", "team 7QX4D1K9WB"),
                                  ("TeamIdentifier=7QX4D1K9WB", "TeamIdentifier=7QX4D1K9WBX", "team"),
                                  ("TeamIdentifier=7QX4D1K9WB", "TeamIdentifier=not set", "team"),
                                  ("flags=0x10000(runtime)", "flags=0x0(none)", "hardened"),
                                  ("flags=0x10000(runtime)", "flags=0x2(adhoc)", "hardened"),
                                  ("flags=0x10000(runtime) ", "", "hardened"),
                                  ("Timestamp=22", "Signed Time=22", "time stamp")):
            with self.subTest(other):
                self.assertIn(line, CODESIGN)
                with self.assertRaisesRegex(Failed, said):
                    bundle_steps.judge_signature(CODESIGN.replace(line, other))

    def test_only_what_was_accepted_is_notarised(self):
        accepted = '{"id":"a1","status":"Accepted","message":"Processing complete"}'
        bundle_steps.judge_notarisation(accepted, "korvel")
        bundle_steps.judge_notarisation("Uploading\n" + accepted + "\n", "korvel")
        for said in (accepted.replace("Accepted", "Invalid"), accepted.replace("Accepted", "In Progress"), "",
                     "Accepted", "{Accepted}", "{}"):
            with self.subTest(said), self.assertRaisesRegex(Failed, "not notarised"):
                bundle_steps.judge_notarisation(said, "korvel")
        with self.assertRaisesRegex(Failed, "notarytool log a1 --keychain-profile 'my profile'"):
            bundle_steps.judge_notarisation(accepted.replace("Accepted", "Invalid"), "my profile")


class CarriedOut(Folder):
    """The script as on a Mac, with tools that keep what they are told."""

    # One file under each tool's name: keeps its words, then does what `act` says of this tool.
    TOOL = """#!{python}
import os, pathlib, sys
name, words = os.path.basename(sys.argv[0]), sys.argv[1:]
with open({log!r}, "a", encoding="utf-8") as log:
    print(name, *words, file=log)
{act}
"""
    ACTS = {
        "cmake": """
if words[0] == "--install" and words[1] == "build/macos":
    sys.path[:0] = [{tests!r}]
    sys.dont_write_bytecode = True
    import tiny_bundle, tiny_macho
    objects = tiny_bundle.parts()
    objects[tiny_bundle.QUICK] = tiny_bundle.code({wants!r}, run_paths=["/opt/lib"], builds=((1, {newest}),))
    tiny_bundle.make(pathlib.Path(words[3]), objects)
""",
        "install_name_tool": """
sys.path[:0] = [{tests!r}]
import tiny_bundle
pathlib.Path(words[2]).write_bytes(tiny_bundle.code({wants!r}, builds=((1, {newest}),)))
""",
        "ditto": """
if words[0] == "-c":
    pathlib.Path(words[-1]).write_bytes(b"archive")
""",
        "codesign": """
if words[0] == "-dv":
    print({codesign!r}, file=sys.stderr)
""",
        "xcrun": """
if words[0] == "notarytool":
    print({notarised!r})
""",
        "spctl": "sys.exit({assessed})",
    }

    def carry_out(self, *words, **changed):
        """The status, what was printed on the two streams, and the commands that were run."""
        says = {"tests": str(Path(__file__).resolve().parent), "codesign": CODESIGN, "wants": SYSTEM, "assessed": 0,
                "newest": 13 << 16, "notarised": '{"id": "a1", "status": "Accepted"}', **changed}
        log = self.top / "log"
        tools = self.top / "tools"
        tools.mkdir(exist_ok=True)
        for name, act in self.ACTS.items():
            act = re.sub(r"\{(\w+)(!r)?\}", lambda part: ("{!r}" if part[2] else "{}").format(says[part[1]]), act)
            (tools / name).write_text(self.TOOL.format(python=sys.executable, log=str(log), act=act), encoding="utf-8")
            (tools / name).chmod(0o755)
        (self.top / "build/macos").mkdir(parents=True, exist_ok=True)
        script = load_script()
        out, err = io.StringIO(), io.StringIO()
        with mock.patch.object(script, "SOURCE", self.top), mock.patch.object(sys, "argv", [str(SCRIPT), *words]), \
                mock.patch.object(script.platform, "system", return_value="Darwin"), \
                mock.patch.dict(os.environ, {"PATH": f"{tools}:{os.environ['PATH']}"}), \
                contextlib.redirect_stdout(out), contextlib.redirect_stderr(err):
            status = script.main()
        ran = log.read_text(encoding="utf-8").splitlines() if log.exists() else []
        return status, out.getvalue(), err.getvalue(), ran

    def test_a_bundle_goes_all_the_way_to_its_feed(self):
        status, out, err, ran = self.carry_out("deploy", "sign", "verify", "notarise", "inspect", "feed",
                                               *self.ship_words())
        self.assertEqual(status, 0, err)
        self.assertEqual(ran[2], f"install_name_tool -delete_rpath /opt/lib {APP}/Contents/{tiny_bundle.QUICK}")
        self.assertEqual([line.split()[0] for line in ran], ["cmake", "cmake", "install_name_tool"] + ["codesign"] * 8
                         + "cmake ditto xcrun xcrun xcrun cmake ditto".split()
                         + "cmake ditto codesign codesign xcrun spctl".split())
        self.assertEqual(json.loads(out), {
            "version": "1.4.0", "build": 42, "url": "https://updates.example.com/releases/Korvel-1.4.0-42.zip",
            "sha256": hashlib.sha256(b"archive").hexdigest(), "notes": "One “line”\n", "minimumOS": "13.0"})

    def test_the_first_thing_that_goes_wrong_ends_it(self):
        for changed, said, last in (
                ({"wants": "/opt/lib/libfmt.dylib"}, "wants /opt/lib/libfmt.dylib", "install_name_tool"),
                ({"newest": 14 << 16}, "for macOS 14.0, the bundle is for 13.0", "install_name_tool"),
                ({"codesign": CODESIGN.replace("7QX4D1K9WB", "OTHERTEAM1")}, "not signed by", "codesign"),
                ({"notarised": '{"status": "Invalid"}'}, "not notarised, the answer is Invalid", "xcrun"),
                ({"assessed": 3}, "status 3 of: spctl", "spctl")):
            with self.subTest(changed):
                (self.top / "log").unlink(missing_ok=True)
                subprocess.run(["rm", "-rf", str(self.top / "build")], check=True)
                status, out, err, ran = self.carry_out("deploy", "sign", "verify", "notarise", "inspect", "feed",
                                                       *self.ship_words(), **changed)
                self.assertEqual(status, 1)
                self.assertIn(said, err)
                self.assertEqual(ran[-1].split()[0], last)
                self.assertEqual(out, "")

    def test_libraries_for_this_macs_system_will_do_for_this_mac(self):
        status, _, err, _ = self.carry_out("deploy", "sign", "verify", "--adhoc", newest=14 << 16)
        self.assertEqual((status, "6 files of code, good; for this Mac only: 1\n" in err), (0, True), err)

    def test_a_bundle_that_was_not_made_is_missed(self):
        status, _, err, _ = self.carry_out("check", "--adhoc")
        self.assertEqual((status, err.splitlines()[-1]),
                         (1, "script/bundle-macos: build/macos/bundle/Korvel.app is no bundle"))


if __name__ == "__main__":
    unittest.main()
