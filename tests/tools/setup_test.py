#!/usr/bin/env python3
"""Runs script/setup with a package manager of its own.

    setup_test.py SOURCE
"""

import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SETUP = Path(sys.argv.pop(1)) / "script/setup"
RUNNER = "llvm-19"
LAYERS = "liblayershellqtinterface-dev"
REAL = ["bash", "cat", "dirname", "env", "grep", "id", "mktemp", "rm", "touch"]
# Every package is there but those in the file "missing". The lists know the runner from the start, after
# an update, or never.
DPKG_QUERY = """#!/bin/bash
while read -r package; do [ "$package" != "${!#}" ] || exit 1; done <"$TOP/missing"
printf installed
"""
APT_GET = """#!/bin/bash
echo "$*" >>"$TOP/calls"
case "$*" in
update) [ ! -e "$TOP/offline" ] && touch "$TOP/updated" ;;
"install --simulate RUNNER")
    [ "$KNOWN" = always ] || { [ "$KNOWN" = later ] && [ -e "$TOP/updated" ]; } ;;
"install --simulate LAYERS")
    [ -e "$TOP/no-layers" ] && exit 100
    echo "Inst liblayershellqtinterface6 (6.3.4-1 Debian:13/stable [amd64])"
    echo "Inst LAYERS ($(cat "$TOP/layers") Debian:13/stable [amd64])" ;;
esac
""".replace("RUNNER", RUNNER).replace("LAYERS", LAYERS)


class Setup(unittest.TestCase):
    def setUp(self):
        kept = tempfile.TemporaryDirectory(prefix="korvel-setup-test-")
        self.addCleanup(kept.cleanup)
        self.top = Path(kept.name)
        self.programs = self.top / "bin"
        self.programs.mkdir()
        for name in REAL:
            (self.programs / name).symlink_to(shutil.which(name))
        (self.top / "layers").write_text("6.3.4-1", encoding="utf-8")
        self.add_program("dpkg-query", DPKG_QUERY)
        self.add_program("apt-get", APT_GET)
        self.add_program("sudo", '#!/bin/bash\nexec "$@"\n')

    def add_program(self, name, text):
        program = self.programs / name
        program.write_text(text, encoding="utf-8")
        program.chmod(0o755)

    def setup_for(self, purpose, known, missing=(RUNNER,)):
        """What ran, and what was told."""
        (self.top / "missing").write_text("".join(name + "\n" for name in missing), encoding="utf-8")
        (self.top / "calls").write_text("", encoding="utf-8")
        done = subprocess.run(
            ["/bin/bash", str(SETUP), purpose], capture_output=True, text=True, check=False,
            env={"PATH": str(self.programs), "TOP": str(self.top), "TMPDIR": str(self.top), "KNOWN": known},
        )
        self.assertEqual(done.returncode, 0, done.stderr)
        return (self.top / "calls").read_text(encoding="utf-8").splitlines(), done.stderr

    def test_the_runner_of_objects_is_installed_for_tests_and_for_building_for_macos(self):
        for purpose in ("test", "cross"):
            calls, told = self.setup_for(purpose, "always")
            self.assertEqual(calls[-1], f"install -y --no-install-recommends {RUNNER}")
            self.assertEqual(told, "")

    def test_a_list_of_packages_that_does_not_know_the_runner_yet_is_renewed_first(self):
        calls, told = self.setup_for("test", "later")
        self.assertEqual(calls, ["update", f"install --simulate {RUNNER}",
                                 f"install -y --no-install-recommends {RUNNER}"])  # fmt: skip
        self.assertEqual(told, "")

    def test_a_release_without_the_runner_says_so_and_has_the_rest_installed(self):
        calls, told = self.setup_for("test", "never", (RUNNER, "clang", "lld"))
        self.assertEqual(calls[-1], "install -y --no-install-recommends clang lld")
        self.assertEqual(told, f"This system has no package {RUNNER}: objects for macOS are not run here\n")

    def test_without_a_network_the_runner_is_asked_of_the_list_that_is_there(self):
        (self.top / "offline").touch()
        calls, told = self.setup_for("test", "never")
        self.assertEqual(calls, ["update", f"install --simulate {RUNNER}"])
        self.assertIn(RUNNER, told)

    def test_nothing_is_asked_where_the_runner_is_there(self):
        self.add_program("llvm-jitlink-19", "#!/bin/bash\n")
        for purpose in ("test", "cross"):
            self.assertEqual(self.setup_for(purpose, "always", ()), ([], ""))

    def test_other_purposes_need_no_runner(self):
        for purpose in ("run", "release", "pictures"):
            self.assertEqual(self.setup_for(purpose, "always", ()), ([], ""))

    def test_the_fonts_of_the_pictures_are_installed_for_tests_and_for_pictures(self):
        for purpose in ("test", "pictures"):
            for font in ("fonts-inter", "fonts-jetbrains-mono", "fonts-dejavu-core"):
                calls, _ = self.setup_for(purpose, "always", (font,))
                self.assertEqual(set(calls[-1].split()), {"install", "-y", "--no-install-recommends", font}, purpose)

    def test_the_library_of_the_layer_shell_is_installed_where_the_system_has_it(self):
        for purpose in ("run", "release"):
            calls, told = self.setup_for(purpose, "always", (LAYERS,))
            self.assertEqual(calls, [f"install --simulate {LAYERS}", "update",
                                     f"install -y --no-install-recommends {LAYERS}"])  # fmt: skip
            self.assertEqual(told, "")
        calls, _ = self.setup_for("run", "always", (LAYERS, "cmake"))
        self.assertEqual(calls[-1], f"install -y --no-install-recommends cmake {LAYERS}")

    def test_a_system_without_the_library_of_the_layer_shell_is_not_asked_twice(self):
        (self.top / "no-layers").touch()
        self.assertEqual(self.setup_for("run", "always", (LAYERS,)), ([f"install --simulate {LAYERS}"], ""))
        calls, told = self.setup_for("run", "always", (LAYERS, "cmake"))
        self.assertEqual(calls[-1], "install -y --no-install-recommends cmake")
        self.assertEqual(told, "")
        self.assertEqual(self.setup_for("cross", "always", (RUNNER, LAYERS))[0][-1],
                         f"install -y --no-install-recommends {RUNNER}")  # fmt: skip

    def test_the_library_of_the_layer_shell_for_an_older_qt_is_left_out(self):
        for version, wanted in (("5.27.5-2", False), ("4:5.27.5-2", False), ("4:6.3.4-1", True),
                                ("10.0-1", True)):  # fmt: skip
            with self.subTest(version):
                (self.top / "layers").write_text(version, encoding="utf-8")
                calls, _ = self.setup_for("run", "always", (LAYERS, "cmake"))
                self.assertEqual(calls[-1].endswith(LAYERS), wanted)


if __name__ == "__main__":
    unittest.main()
