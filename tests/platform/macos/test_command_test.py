#!/usr/bin/env python3
"""Runs script/test as on a Mac, with tools that only write down how they were called.

    test_command_test.py SOURCE
"""

import json
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(sys.argv.pop(1))
CONFIGURE = "cmake --preset macos -DKORVEL_TESTS=all"
BUILD = "cmake --build --preset macos"
TEST = "ctest --preset macos"
SELFCHECK = "build/macos/bin/korvel-snapshot --selfcheck"
RECORDING = """#!/bin/sh
echo "{name} $*" >>"$TOP/calls"
[ "{name} $*" != "$FAILING" ]
"""
UNAME = """#!/bin/sh
echo "$SYSTEM"
"""


class Command(unittest.TestCase):
    def setUp(self):
        kept = tempfile.TemporaryDirectory(prefix="korvel-test-command-")
        self.addCleanup(kept.cleanup)
        self.top = Path(kept.name)
        (self.top / "script").mkdir()
        shutil.copy(SOURCE / "script/test", self.top / "script/test")
        for name in ("cmake", "ctest"):
            self.add_program(f"tools/{name}", RECORDING.format(name=name))
        self.add_program("build/macos/bin/korvel-snapshot",
                         RECORDING.format(name="build/macos/bin/korvel-snapshot"))  # fmt: skip
        self.add_program("script/setup", RECORDING.format(name="script/setup"))
        self.add_program("tools/uname", UNAME)

    def add_program(self, name, text):
        program = self.top / name
        program.parent.mkdir(parents=True, exist_ok=True)
        program.write_text(text, encoding="utf-8")
        program.chmod(0o755)

    def run_with(self, *words, system="Darwin", failing=""):
        """The status, what ran, and what was printed."""
        calls = self.top / "calls"
        calls.write_text("", encoding="utf-8")
        done = subprocess.run(
            [self.top / "script/test", *words], capture_output=True, text=True, check=False,
            env={"PATH": f"{self.top}/tools:/usr/bin:/bin", "TOP": str(self.top), "SYSTEM": system, "FAILING": failing},
        )
        return done.returncode, calls.read_text(encoding="utf-8").splitlines(), done.stdout.splitlines()

    def test_on_a_mac_the_tests_are_built_and_run_and_the_readings_checked(self):
        wanted = [CONFIGURE, BUILD, TEST, SELFCHECK]
        status, ran, printed = self.run_with()
        self.assertEqual((status, ran), (0, wanted))
        self.assertEqual(printed, [f"== {line}" for line in wanted])

    def test_the_first_that_fails_ends_it(self):
        wanted = [CONFIGURE, BUILD, TEST, SELFCHECK]
        for count, failing in enumerate(wanted, 1):
            status, ran, _ = self.run_with(failing=failing)
            self.assertEqual((status, ran), (1, wanted[:count]))

    def test_settings_are_for_the_first_command(self):
        _, ran, _ = self.run_with("-DKORVEL_WERROR=ON", "-DCMAKE_PREFIX_PATH=/a")
        self.assertEqual(ran[0], f"{CONFIGURE} -DKORVEL_WERROR=ON -DCMAKE_PREFIX_PATH=/a")

    def test_the_plan_runs_nothing_on_any_system(self):
        for system in ("Darwin", "Linux"):
            status, ran, printed = self.run_with("--plan", "-DKORVEL_WERROR=ON", system=system)
            self.assertEqual((status, ran), (0, []))
            self.assertEqual(printed, [f"{CONFIGURE} -DKORVEL_WERROR=ON", BUILD, TEST, SELFCHECK])

    def test_elsewhere_a_setting_is_refused(self):
        self.assertEqual(self.run_with("-DKORVEL_WERROR=ON", system="Linux"), (2, [], []))

    def test_on_linux_its_own_run_begins_with_the_packages(self):
        status, ran, printed = self.run_with(system="Linux", failing="script/setup test")
        self.assertEqual((status, ran), (1, ["script/setup test"]))
        self.assertEqual(printed, ["== packages (at 0 s)"])

    def test_what_it_names_is_there(self):
        presets = json.loads((SOURCE / "CMakePresets.json").read_text(encoding="utf-8"))
        named = {name: [each["name"] for each in presets[f"{name}Presets"]] for name in ("configure", "build", "test")}
        _, _, printed = self.run_with("--plan")
        kinds = []
        for line in printed[:3]:
            words = shlex.split(line)
            kind = "test" if words[0] == "ctest" else "build" if "--build" in words else "configure"
            self.assertIn(words[words.index("--preset") + 1], named[kind])
            kinds.append(kind)
        self.assertEqual(kinds, ["configure", "build", "test"])

    def test_a_mac_is_not_stopped_by_a_warning_unless_asked(self):
        presets = json.loads((SOURCE / "CMakePresets.json").read_text(encoding="utf-8"))["configurePresets"]
        asked = {}
        for preset in presets:
            inherited = next((each for each in presets if each["name"] == preset.get("inherits")), {})
            variables = {**inherited.get("cacheVariables", {}), **preset.get("cacheVariables", {})}
            asked[preset["name"]] = variables["KORVEL_WERROR"]
        self.assertEqual(asked.pop("macos"), "OFF")
        self.assertEqual(set(asked.values()), {"ON"})


if __name__ == "__main__":
    unittest.main()
