"""The Debian packages that script/package makes of what stands built; lintian looks at them there.

    packages_test.py SOURCE-FOLDER BUILD-FOLDER
"""

import gzip
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE, BUILD = (Path(word).resolve() for word in (sys.argv.pop(1), sys.argv.pop(1)))
PACKAGES = ("korvel", "korvel-snapshot", "korvel-tools")


def output(*command, **options):
    words = [str(word) for word in command]
    return subprocess.run(words, stdout=subprocess.PIPE, text=True, check=True, **options).stdout


def suite():
    """What the version has behind it here: "+deb12"."""
    lines = Path("/etc/os-release").read_text("utf-8").splitlines()
    release = dict(line.split("=", 1) for line in lines if "=" in line)
    name = release["ID"].strip('"').replace("debian", "deb")
    return "+" + name + release.get("VERSION_ID", release.get("VERSION_CODENAME", "")).strip('"')


class Packages(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        cls.out = Path(cls.folder.name) / "packages"
        cls.out.mkdir()
        for name in ("other", "korvel_0.9.0_amd64.deb"):
            (cls.out / name).touch()
        made = subprocess.run([SOURCE / "script/package", "--of", BUILD, "--out", cls.out], stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, check=False)
        if made.returncode != 0:
            raise AssertionError(made.stdout)
        cls.said = made.stdout
        cls.made = {path.name.split("_")[0]: path for path in cls.out.glob("*.deb")}

    def field(self, package, name):
        return output("dpkg-deb", "--field", self.made[package], name).strip()

    def unpacked(self, package):
        folder = Path(self.folder.name) / package
        if not folder.is_dir():
            subprocess.run(["dpkg-deb", "--extract", self.made[package], folder], check=True)
        return folder

    def files(self, package):
        folder = self.unpacked(package)
        return {"/" + str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}

    def test_there_is_one_for_each_component(self):
        self.assertEqual(set(self.made), set(PACKAGES))
        for package in PACKAGES:
            self.assertEqual(self.field(package, "Package"), package)
            self.assertIn(f"{self.made[package].name}\n", self.said)  # beside its digest

    def test_of_what_was_in_the_folder_only_packages_of_before_are_gone(self):
        made = {path.name for path in self.made.values()}
        self.assertEqual({path.name for path in self.out.iterdir()}, {"other"} | made)

    def test_the_version_is_the_programs_for_this_release_of_the_system(self):
        version = output(BUILD / "bin/korvel-snapshot", "--version").split()[-1]
        for package in PACKAGES:
            self.assertEqual(self.field(package, "Version"), version + suite())

    def test_it_holds_what_is_installed_and_what_debian_asks_for(self):
        for package in PACKAGES:
            with self.subTest(package), tempfile.TemporaryDirectory() as destination:
                output("cmake", "--install", BUILD, "--prefix", "/usr", "--component", package,
                       env=os.environ | {"DESTDIR": destination})
                installed = {"/" + str(path.relative_to(destination)) for path in Path(destination).rglob("*")
                             if not path.is_dir()}
                installed = {name + ".gz" if "/man/man" in name else name for name in installed}
                documents = f"/usr/share/doc/{package}/"
                self.assertEqual(self.files(package), installed | {documents + "copyright", documents + "changelog.gz"})

    def test_its_changelog_begins_with_its_own_version(self):
        for package in PACKAGES:
            text = gzip.decompress((self.unpacked(package) / f"usr/share/doc/{package}/changelog.gz").read_bytes())
            self.assertEqual(text.decode().split("\n")[0],
                             f"korvel ({self.field(package, 'Version')}) unstable; urgency=medium")

    def test_it_depends_on_the_modules_that_the_views_import(self):
        tools = output("qmake6", "-query", "QT_INSTALL_LIBEXECS").strip()
        modules = output("qmake6", "-query", "QT_INSTALL_QML").strip()
        scanner = [tools + "/qmlimportscanner", "-rootPath", SOURCE / "src/ui/quick", "-importPath", modules]
        folders = {module["path"] for module in json.loads(output(*scanner)) if "path" in module}
        owners = {output("dpkg", "-S", folder + "/qmldir").split(":")[0] for folder in folders}
        self.assertIn("qml6-module-qtquick", owners)
        for package in ("korvel", "korvel-tools"):
            depends = set(re.findall(r"qml6-module-[a-z0-9-]+", self.field(package, "Depends")))
            self.assertEqual(depends, owners)

    def test_only_the_snapshot_needs_no_qt(self):
        self.assertIn("libqt6core6", self.field("korvel", "Depends"))
        self.assertNotIn("qt", self.field("korvel-snapshot", "Depends"))
        self.assertIn("libc6", self.field("korvel-snapshot", "Depends"))

    def test_what_a_user_may_change_below_etc_is_kept_across_an_upgrade(self):
        for package in PACKAGES:
            control = Path(self.folder.name) / f"{package}.control"
            subprocess.run(["dpkg-deb", "--control", self.made[package], control], check=True)
            listed = control / "conffiles"
            kept = set(listed.read_text("utf-8").split()) if listed.exists() else set()
            self.assertEqual(kept, {name for name in self.files(package) if name.startswith("/etc/")})

    def test_made_again_elsewhere_it_is_the_same(self):
        again = Path(self.folder.name) / "again/packages"
        of_release = (self.unpacked("korvel") / "usr/bin/korvel").stat().st_mtime
        output("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", again,
               env=os.environ | {"SOURCE_DATE_EPOCH": str(int(of_release)), "TZ": "Asia/Kolkata", "LC_ALL": "C"})
        for package, path in self.made.items():
            self.assertEqual((again / path.name).read_bytes(), path.read_bytes(), package)


class Usage(unittest.TestCase):
    def test_settings_reach_the_build_and_a_folder_is_named_from_where_it_is_called(self):
        with tempfile.TemporaryDirectory() as top:
            programs = Path(top) / "programs"
            programs.mkdir()
            for name, body in (("cmake", f'echo "$@" >>"{top}/said"'), ("lintian", "true"),
                               ("cpack", 'while [ "$1" != -B ]; do shift; done; touch "$2/korvel_1.deb"')):
                (programs / name).write_text(f"#!/bin/sh\n{body}\n")
                (programs / name).chmod(0o755)
            command = [SOURCE / "script/package", "-DKORVEL_UPDATE_ROOT=/a root.pem", "--out", "packages"]
            subprocess.run(command, cwd=top, env=os.environ | {"PATH": f"{programs}:{os.environ['PATH']}"},
                           stdout=subprocess.DEVNULL, check=True)
            self.assertIn(" -DKORVEL_UPDATE_ROOT=/a root.pem\n", (Path(top) / "said").read_text())
            self.assertTrue((Path(top) / "packages/korvel_1.deb").exists())

    def test_wrong_words_are_answered_with_the_usage(self):
        for words in (["--out"], ["--of"], ["--elsewhere"], ["folder"]):
            with self.subTest(words):
                command = [SOURCE / "script/package", *words]
                answer = subprocess.run(command, capture_output=True, text=True, check=False)
                self.assertEqual((answer.returncode, answer.stdout), (2, ""))
                self.assertTrue(answer.stderr.startswith("usage: script/package "), answer.stderr)


if __name__ == "__main__":
    unittest.main()
