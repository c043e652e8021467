#!/usr/bin/python3
"""Makes a release with all its libraries and looks at the bundle: that nothing it needs is missing, that
it is used from there, and that its licences are there.

    bundle_test.py SOURCE BIN      BIN holds korvel and korvel-release

Releases are made on the oldest system that they start on, and refused on a newer one: there the status is
77, with the reason.
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE, BIN = Path(sys.argv.pop(1)), Path(sys.argv.pop(1))
sys.dont_write_bytecode = True
sys.path[:0] = [str(SOURCE / "tests/desktop"), str(SOURCE / "packaging/linux")]
import collect_libraries  # noqa: E402
from cases import Program  # noqa: E402
from desktop import Desktop, wait_for  # noqa: E402
from update_site import Signer, certificates  # noqa: E402

LARGEST_ARCHIVE = 45_000_000  # bytes
SKIPPED = 77
# What a desktop without Qt has, by the names that are asked for.
SYSTEM = re.compile(r"(ld-linux.*|lib(c|m|dl|pthread|rt|resolv|stdc\+\+|gcc_s|GL|EGL|GLX|GLdispatch|X11|X11-xcb|xcb"
                    r"|wayland-.*|fontconfig|freetype|harfbuzz|dbus-1|glib-2\.0|expat|z))\.so\.[0-9]+")
# What would lead Qt to plugins, modules and libraries of another installation.
ASTRAY = {"QT_QPA_PLATFORM": "wayland-egl", "QT_QPA_PLATFORMTHEME": "gtk3", "QT_STYLE_OVERRIDE": "kvantum"}


def must(*command, **more):
    done = subprocess.run([str(word) for word in command], capture_output=True, check=False, **more)
    assert done.returncode == 0, f"{command}: {done.stderr.decode()}"
    return done.stdout.decode()


def is_object(path):
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


def newer_than_releases():
    """The C library here, when it is newer than the oldest that a release starts with; otherwise None."""
    name, version = os.confstr("CS_GNU_LIBC_VERSION").split()
    newer = tuple(int(number) for number in version.split(".")) > collect_libraries.OLDEST["GLIBC"]
    return f"{name} {version}" if newer else None


class Bundle(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.kept = tempfile.TemporaryDirectory(prefix="korvel-bundle-test-")
        cls.top = Path(cls.kept.name)
        certificates.make_authority(str(cls.top), "root")
        team = Signer(str(cls.top), "team", str(cls.top / "root"))
        (cls.top / "notes").write_text("One line\n", encoding="utf-8")
        must(SOURCE / "script/release", "--version", "1.4.0", "--build", "42", "--notes", cls.top / "notes",
             "--key", team.key, "--cert", team.certificate, "--root", cls.top / "root.pem", "--bin", BIN,
             "--url", "https://updates.example.com", "--out", cls.top / "out")
        cls.archive = cls.top / "out/Korvel-1.4.0-42.zip"
        must(BIN / "korvel-release", "unpack", cls.archive, cls.made("unpacked"))
        cls.contents = cls.top / "unpacked/Korvel.app/Contents"
        cls.objects = [path for path in sorted(cls.contents.rglob("*")) if path.is_file()
                       and not path.is_symlink() and is_object(path)]

    @classmethod
    def tearDownClass(cls):
        cls.kept.cleanup()

    @classmethod
    def made(cls, name):
        (cls.top / name).mkdir()
        return cls.top / name

    def test_the_archive_is_no_larger_than_people_should_download(self):
        self.assertLess(self.archive.stat().st_size, LARGEST_ARCHIVE)

    def test_what_an_object_needs_is_in_the_bundle_or_on_every_desktop(self):
        places = {path.relative_to(self.contents).as_posix() for path in self.objects}
        for place in ("Linux/korvel", "lib/libQt6Core.so.6", "lib/libOpenGL.so.0", "plugins/platforms/libqxcb.so",
                      "plugins/platforms/libqwayland-generic.so", "plugins/tls/libqopensslbackend.so",
                      "qml/QtQuick/Templates/libqtquicktemplates2plugin.so"):
            self.assertIn(place, places)
        for path in self.objects:
            shown = must("readelf", "--dynamic", "--sections", "--version-info", "--wide", path)
            for name in re.findall(r"\(NEEDED\) +Shared library: \[(.+)\]", shown):
                carried = (self.contents / "lib" / name).is_file()
                self.assertNotEqual(carried, bool(SYSTEM.fullmatch(name)), f"{path.name} needs {name}")
            for kind, oldest in (("GLIBC", (2, 36)), ("GLIBCXX", (3, 4, 30))):
                versions = re.findall(rf"Name: {kind}_([0-9.]+) ", shown)
                for version in versions:
                    self.assertLessEqual(tuple(map(int, version.split("."))), oldest, path)
            run_paths = re.findall(r"\((R.*PATH)\) +Library .*: \[(.+)\]", shown)
            self.assertEqual([kind for kind, _ in run_paths], ["RPATH"], path)
            origin = run_paths[0][1].replace("$ORIGIN", str(path.parent))
            self.assertEqual(os.path.normpath(origin), str(self.contents / "lib"), path)
            self.assertNotIn(".symtab", shown, path)

    def test_the_libraries_of_tls_are_found_by_the_names_that_qt_opens(self):
        for name in ("libcrypto.so", "libssl.so"):
            link = self.contents / "lib" / name
            self.assertTrue(link.is_symlink())
            soname = re.search(r"\(SONAME\) +.*\[(.+)\]", must("readelf", "--dynamic", link)).group(1)
            self.assertEqual(os.readlink(link), soname)

    def test_every_file_has_its_licence(self):
        folder = self.contents / "Resources/licences"
        head, *lines = (folder / "LIBRARIES").read_text(encoding="utf-8").splitlines()
        self.assertEqual(len(head.split("\t")), 3)
        self.assertTrue((self.contents / "Resources/LICENSE").is_file())
        listed = dict(line.split("\t")[:2] for line in lines)
        carried = {path.relative_to(self.contents).as_posix() for name in ("lib", "plugins", "qml")
                   for path in (self.contents / name).rglob("*") if path.is_file() and not path.is_symlink()}
        self.assertEqual(set(listed), carried)
        for place, name in listed.items():
            text = (folder / name).read_text(encoding="utf-8", errors="replace")
            self.assertGreater(len(text), 500, place)
            for common in re.findall(r"/usr/share/common-licenses/([\w.+-]*\w)", text):
                self.assertTrue((folder / common).is_file(), f"{name} refers to {common}")

    def test_it_runs_on_its_own_libraries_whatever_the_environment_names(self):
        folders = {name: must("qtpaths6", "--query", "QT_INSTALL_" + name).strip()
                   for name in ("LIBS", "PLUGINS", "QML")}
        astray = {**ASTRAY, "LD_LIBRARY_PATH": folders["LIBS"], "QT_PLUGIN_PATH": folders["PLUGINS"],
                  "QML2_IMPORT_PATH": folders["QML"]}
        with Desktop() as place:
            place.start_panel("xfce4-panel")
            program = Program(place, command=["env", *(f"{name}={value}" for name, value in astray.items()),
                                              str(self.contents / "Linux/korvel")])
            wait_for("the item", place.items)
            place.activate()
            wait_for("the popover", place.popover)
            maps = Path(f"/proc/{program.process.pid}/maps").read_text(encoding="utf-8")
            self.assertEqual(program.send(15), 0)
            program.printed.close()
        mapped = {Path(path) for path in re.findall(r" (/.*\.so.*)$", maps, re.MULTILINE)}
        own = {path.name for path in mapped if self.contents in path.parents}
        self.assertLessEqual({"libQt6Quick.so.6", "libqxcb.so", "libqtquicktemplates2plugin.so"}, own)
        carried = {path.name for path in self.objects}
        for path in mapped:
            if self.contents not in path.parents:
                self.assertNotIn(path.name, carried)
                self.assertNotIn("qt6", str(path).lower())


if __name__ == "__main__":
    if newer := newer_than_releases():
        print(f"SKIPPED: releases are made on Debian 12, and this system has {newer}")
        sys.exit(SKIPPED)
    unittest.main()
