#!/usr/bin/env python3
"""Breaks each rule of packaging/macos/bundle_contents.py once, in a bundle made here.

    bundle_contents_test.py SOURCE
"""

import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(sys.argv.pop(1))
sys.dont_write_bytecode = True
sys.path.insert(0, str(SOURCE / "packaging/macos"))
import bundle_contents  # noqa: E402
import tiny_bundle  # noqa: E402
from tiny_bundle import COCOA, FRAMEWORKS, PROGRAM, QT_CORE, QUICK, TLS, X86, code, in_both, put  # noqa: E402
from tiny_macho import LOAD_WEAK, SYSTEM, universal  # noqa: E402

VIEWS = SOURCE / "src/ui/quick"
HOMEBREW = "/opt/homebrew/opt/fmt/lib/libfmt.11.dylib"
MACOS, IOS = 1, 2
OUT = "its run path {} leads out of the bundle"
WANTS = "wants {}, which is neither in the bundle nor the system's"


class Contents(unittest.TestCase):
    def setUp(self):
        kept = tempfile.TemporaryDirectory(prefix="korvel-bundle-contents-")
        self.addCleanup(kept.cleanup)
        self.top = Path(kept.name).resolve()
        self.contents = tiny_bundle.make(self.top)

    def bundle(self):
        return bundle_contents.Bundle(self.contents.parent)

    def faults(self):
        return bundle_contents.faults(self.bundle(), VIEWS)

    def faults_with(self, place, content):
        put(self.contents / place, content)
        return self.faults()

    def test_a_bundle_that_holds_all_and_leads_nowhere_else_is_good(self):
        self.assertEqual(self.faults(), [])
        self.assertEqual(len(self.bundle().objects), 6)

    def test_a_library_comes_from_the_bundle_or_from_the_system(self):
        core = QT_CORE.removeprefix("Frameworks/")
        loader = "@loader_path/../../Frameworks/"
        cases = {
            "/usr/lib/libobjc.A.dylib": True,
            "/System/Library/Frameworks/IOKit.framework/Versions/A/IOKit": True,
            f"@rpath/{core}": True,
            f"{FRAMEWORKS}/{core}": True,
            loader + core: True,
            HOMEBREW: False,
            "/usr/local/lib/libfmt.dylib": False,
            "/usr/lib/../../opt/lib.dylib": False,
            "/Users/a/Qt/6.5.3/macos/lib/QtGui.framework/Versions/A/QtGui": False,
            "@rpath/QtGui.framework/Versions/A/QtGui": False,
            "@rpath/../../../elsewhere.dylib": False,
            loader + "libmissing.dylib": False,
            "@loader_path/../../../../elsewhere.dylib": False,
            "libfmt.dylib": False,
        }
        put(self.top / "elsewhere.dylib", code(SYSTEM))
        for library, good in cases.items():
            with self.subTest(library):
                wanted = [] if good else [f"{COCOA}: {WANTS.format(library)}"]
                self.assertEqual(self.faults_with(COCOA, code(library, run_paths=["@loader_path/../../Frameworks"])),
                                 wanted)

    def test_every_processors_part_of_a_file_is_looked_at(self):
        for wide in (False, True):
            for first, second in ((HOMEBREW, SYSTEM), (SYSTEM, HOMEBREW)):
                with self.subTest(first=first, wide=wide):
                    both = universal(code(first, cpu=X86), code(second), wide=wide)
                    self.assertEqual(self.faults_with(COCOA, both), [f"{COCOA}: {WANTS.format(HOMEBREW)}"])

    def test_a_weak_library_may_be_missing_but_not_elsewhere(self):
        for library, good in (("@rpath/libmaybe.dylib", True), (HOMEBREW, False)):
            with self.subTest(library):
                wanted = [] if good else [f"{QUICK}: {WANTS.format(library)}"]
                self.assertEqual(self.faults_with(QUICK, code((library, LOAD_WEAK))), wanted)

    def test_a_run_path_stays_in_the_bundle(self):
        cases = {
            "@loader_path/../../Frameworks": True,
            "@loader_path": True,
            "@loader_path/../../lib": True,
            "@executable_path/../Frameworks": True,
            "/usr/lib/swift": True,
            "@loader_path/../../../../lib": False,
            "@executable_path/../../../lib": False,
            "/opt/homebrew/lib": False,
            "/Users/a/Qt/6.5.3/macos/lib": False,
            "/usr/lib/../local": False,
            "lib": False,
        }
        for run_path, good in cases.items():
            with self.subTest(run_path):
                wanted = [] if good else [f"{QUICK}: {OUT.format(run_path)}"]
                self.assertEqual(self.faults_with(QUICK, in_both(SYSTEM, run_paths=[run_path])), wanted)

    def test_a_run_path_through_a_link_is_judged_by_where_it_leads(self):
        (self.contents / "Frameworks/away").symlink_to("../../..")
        faults = self.faults_with(QUICK, code(SYSTEM, run_paths=["@executable_path/../Frameworks/away"]))
        self.assertIn(f"{QUICK}: " + OUT.format("@executable_path/../Frameworks/away"), faults)

    def test_run_paths_that_lead_out_are_listed_once_a_file(self):
        put(self.contents / QUICK, in_both(SYSTEM, run_paths=["@loader_path", "/opt/homebrew/lib", "/a/lib"]))
        self.assertEqual(self.bundle().stray_run_paths(),
                         [(self.contents / QUICK, "/a/lib"), (self.contents / QUICK, "/opt/homebrew/lib")])

    def test_a_library_is_found_by_the_run_paths_of_the_program_too(self):
        core = "@rpath/QtCore.framework/Versions/A/QtCore"
        self.assertEqual(self.faults_with(QUICK, code(core)), [])
        put(self.contents / PROGRAM, code(core, kind=2))
        self.assertEqual(self.faults(), [f"{name}: {WANTS.format(core)}" for name in (
            PROGRAM, QUICK, tiny_bundle.TEMPLATES)])

    def test_code_is_for_macos_on_apple_silicon(self):
        self.assertEqual(self.faults_with(QUICK, code(SYSTEM, cpu=X86)), [f"{QUICK}: has no code for arm64"])
        for builds in ((), ((IOS, 13 << 16),)):
            with self.subTest(builds=builds):
                self.assertEqual(self.faults_with(QUICK, code(SYSTEM, builds=builds)),
                                 [f"{QUICK}: was not built for macOS"])

    def test_links_stay_in_the_bundle(self):
        for target, good in (("QtCore", True), ("missing", False), ("../../../../../..", False),
                             (str(self.contents / PROGRAM), False), ("/usr/lib/libobjc.A.dylib", False)):
            with self.subTest(target):
                link = self.contents / "Frameworks/QtCore.framework/Versions/A/link"
                link.unlink(missing_ok=True)
                link.symlink_to(target)
                wanted = f"{link.relative_to(self.contents)}: a link to {target}, which is not in the bundle"
                self.assertEqual(self.faults(), [] if good else [wanted])

    def test_what_is_opened_while_the_program_runs_is_there(self):
        for name in ("Resources/qt.conf", "Resources/Korvel.icns", COCOA):
            with self.subTest(name):
                kept = (self.contents / name).read_bytes()
                (self.contents / name).unlink()
                self.assertEqual(self.faults(), [f"{name}: missing"])
                put(self.contents / name, kept)

    def test_one_of_the_tls_plugins_works_by_itself(self):
        missing = ["PlugIns/tls: no plugin that can speak TLS: there would be no updates"]
        (self.contents / TLS).unlink()
        self.assertEqual(self.faults(), missing)
        put(self.contents / "PlugIns/tls/libqcertonlybackend.dylib", code(SYSTEM))
        self.assertEqual(self.faults(), missing)
        put(self.contents / "PlugIns/tls/libqopensslbackend.dylib", code(SYSTEM))
        self.assertEqual(self.faults(), missing)
        put(self.contents / "Frameworks/libssl.3.dylib", code(SYSTEM))
        self.assertEqual(self.faults(), [])

    def test_every_module_that_the_views_import_is_there(self):
        self.assertEqual(bundle_contents.imported_modules(VIEWS), ["QtQuick", "QtQuick.Templates"])
        (self.contents / "Resources/qml/QtQuick/Templates/qmldir").unlink()
        self.assertEqual(self.faults(), ["Resources/qml: the module QtQuick.Templates is missing"])

    def test_a_module_has_the_plugins_that_it_names(self):
        (self.contents / QUICK).unlink()
        (self.contents / "Resources/qml/QtQuick/libqtquick2plugin.dylib").unlink()
        self.assertEqual(self.faults(),
                         ["Resources/qml/QtQuick/qmldir: its plugin libqtquick2plugin.dylib is missing"])

    def test_code_that_was_built_for_a_newer_system_is_told_apart(self):
        for version, said in ((11 << 16, None), (13 << 16, None), (13 << 16 | 1 << 8, "13.1"), (14 << 16, "14.0"),
                              (14 << 16 | 2 << 8 | 1, "14.2.1")):
            with self.subTest(version=hex(version)):
                put(self.contents / QUICK, universal(
                    code(SYSTEM, cpu=X86, builds=((MACOS, 11 << 16),)), code(SYSTEM, builds=((MACOS, version),))))
                wanted = [] if said is None else [f"{QUICK}: for macOS {said}, the bundle is for 13.0"]
                self.assertEqual(list(bundle_contents.built_for_newer(self.bundle())), wanted)
                self.assertEqual(self.faults(), [])

    def test_what_is_no_bundle_is_said_to_be_none(self):
        for break_it in (lambda: (self.contents / "Info.plist").unlink(),
                         lambda: put(self.contents / "Info.plist", b"no list"),
                         lambda: put(self.contents / PROGRAM, b"#!/bin/sh\n"),
                         lambda: put(self.contents / QUICK, code(SYSTEM)[:60]),
                         lambda: put(self.contents / QUICK, universal(code(SYSTEM))[:5000]),
                         lambda: put(self.contents / QUICK, universal())):
            tiny = tempfile.TemporaryDirectory(prefix="korvel-bundle-contents-", dir=self.top)
            with self.subTest(), tiny:
                self.contents = tiny_bundle.make(Path(tiny.name).resolve())
                break_it()
                with self.assertRaises(bundle_contents.NoBundle):
                    self.bundle()

    def test_code_is_signed_after_all_that_lies_in_it(self):
        helper = "Frameworks/QtCore.framework/Versions/A/Helpers/helper"
        put(self.contents / helper, code(SYSTEM, kind=2))
        put(self.contents / "MacOS/tool", code(SYSTEM, kind=2))
        order = self.bundle().code_inside_out()
        self.assertEqual(order[-1], self.contents.parent)
        for outer, path in enumerate(order):
            self.assertFalse([str(inner) for inner in order[outer + 1:] if inner.is_relative_to(path)], path)
        names = [path.relative_to(self.contents).as_posix() for path in order[:-1]]
        self.assertEqual(sorted(names), sorted([helper, "Frameworks/QtCore.framework", "MacOS/tool", COCOA, TLS, QUICK,
                                                tiny_bundle.TEMPLATES]))

    def test_all_code_is_signed_by_itself_or_with_what_it_is_the_code_of(self):
        order = set(self.bundle().code_inside_out())
        for path in self.bundle().objects:
            framework = self.contents / "Frameworks/QtCore.framework"
            owner = {self.contents / PROGRAM: self.contents.parent, self.contents / QT_CORE: framework}
            self.assertIn(owner.get(path, path), order)


if __name__ == "__main__":
    unittest.main()
