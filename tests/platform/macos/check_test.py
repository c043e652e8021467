#!/usr/bin/env python3
"""Breaks each rule of cross/macos/check once, in an executable and a description made here.

    check_test.py SOURCE
"""

import plistlib
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
from tiny_macho import (  # noqa: E402  (the line above keeps the tree clean)
    APPKIT, DEFINED, LOAD, LOAD_WEAK, PAGE, SYSTEM, TEXT, UNDEFINED, executable,
)

SOURCE = Path(sys.argv.pop(1))
CHECK = SOURCE / "cross/macos/check"


def run(*words):
    return subprocess.run(
        [str(word) for word in (CHECK, *words)], capture_output=True, text=True, check=False
    )


class Checked(unittest.TestCase):
    def setUp(self):
        kept = tempfile.TemporaryDirectory(prefix="korvel-check-test-")
        self.addCleanup(kept.cleanup)
        self.top = Path(kept.name)

    def outcome(self, name, *words):
        """The lines that are printed about a file, and whether it is good."""
        done = run(*words)
        self.assertEqual(done.stderr, "")
        prefix = f"{self.top / name}: "
        for line in done.stdout.splitlines():
            self.assertTrue(line.startswith(prefix), line)
        lines = [line.removeprefix(prefix) for line in done.stdout.splitlines()]
        good = lines[-1].startswith(("arm64, ", "version "))
        self.assertEqual(done.returncode, 0 if good else 1)
        return lines


class Executable(Checked):
    GOOD = ["arm64, macOS 13.0, libraries: 2, imports: 2, of Qt: 0, signature valid"]

    def setUp(self):
        super().setUp()
        (self.top / "libraries.txt").write_text(f"{SYSTEM}\n{APPKIT}\n", encoding="utf-8")
        (self.top / "imports.txt").write_text(
            "AppKit _NSApp\nlibSystem.B.dylib _abort\n", encoding="utf-8"
        )

    def judged(self, content, *words):
        (self.top / "tiny").write_bytes(content)
        return self.outcome(
            "tiny", "executable", self.top / "tiny", "--lists", self.top, *words
        )

    def refused(self, *faults, content=None, **changes):
        found = self.judged(executable(**changes) if content is None else content)
        self.assertEqual(found, list(faults))

    def flipped(self, at):
        content = bytearray(executable())
        content[at] ^= 1
        return bytes(content)

    def test_what_keeps_every_rule_is_good(self):
        self.assertEqual(self.judged(executable()), self.GOOD)

    def test_another_processor(self):
        self.refused("processor: 0x1000007, not arm64", cpu=0x01000007)

    def test_a_library_is_no_executable(self):
        self.refused("kind of file: 6, not an executable", kind=6)

    def test_a_file_for_several_processors(self):
        self.refused("a file for several processors", content=struct.pack(">2I", 0xCAFEBABE, 2))

    def test_another_platform(self):
        self.refused("platform: 2, not macOS", builds=((2, 13 << 16),))

    def test_a_newer_minimum_system(self):
        self.refused("minimum system: 14.0.0, not 13.0", builds=((1, 14 << 16),))

    def test_a_minimum_system_that_is_newer_by_a_little(self):
        self.refused("minimum system: 13.3.0, not 13.0", builds=((1, 13 << 16 | 3 << 8),))

    def test_an_older_minimum_system(self):
        self.refused("minimum system: 12.0.0, not 13.0", builds=((1, 12 << 16),))

    def test_no_platform_and_two(self):
        self.refused("platforms: 0, not one", builds=())
        self.refused("platforms: 2, not one", builds=((1, 13 << 16), (1, 13 << 16)))

    def test_a_library_more(self):
        path = "/usr/lib/libobjc.A.dylib"
        self.refused(
            f"libraries.txt: + {path}", libraries=((SYSTEM, LOAD), (APPKIT, LOAD), (path, LOAD))
        )

    def test_a_library_less(self):
        self.refused(
            f"libraries.txt: - {APPKIT}",
            "imports.txt: - AppKit _NSApp",
            libraries=((SYSTEM, LOAD),),
            symbols=(("_abort", UNDEFINED, 1, 0),),
        )

    def test_a_library_that_may_be_there_or_not(self):
        path = "/usr/lib/libobjc.A.dylib"
        for form, libraries in (("without it", 2), ("with it", 3)):
            with self.subTest(form):
                (self.top / "libraries.txt").write_text(f"{SYSTEM}\n{APPKIT}\n? {path}\n", encoding="utf-8")
                linked = ((SYSTEM, LOAD), (APPKIT, LOAD), (path, LOAD))[:libraries]
                good = [self.GOOD[0].replace("libraries: 2", f"libraries: {libraries}")]
                self.assertEqual(self.judged(executable(libraries=linked)), good)
                listed = (self.top / "libraries.txt").read_text(encoding="utf-8")
                self.judged(executable(libraries=linked), "--accept")
                self.assertEqual((self.top / "libraries.txt").read_text(encoding="utf-8"), listed)

    def test_a_library_that_may_be_missing_is_another(self):
        self.refused(
            f"libraries.txt: - {APPKIT}",
            f"libraries.txt: + {APPKIT} (weak)",
            libraries=((SYSTEM, LOAD), (APPKIT, LOAD_WEAK)),
        )

    def test_an_import_more(self):
        self.refused(
            "imports.txt: + libSystem.B.dylib _system",
            symbols=(
                ("_abort", UNDEFINED, 1, 0), ("_NSApp", UNDEFINED, 2, 0),
                ("_system", UNDEFINED, 1, 0),
            ),
        )

    def test_an_import_less(self):
        self.refused("imports.txt: - AppKit _NSApp", symbols=(("_abort", UNDEFINED, 1, 0),))

    def test_an_import_from_another_library(self):
        self.refused(
            "imports.txt: - libSystem.B.dylib _abort",
            "imports.txt: + AppKit _abort",
            symbols=(("_abort", UNDEFINED, 2, 0), ("_NSApp", UNDEFINED, 2, 0)),
        )

    def test_an_import_from_anywhere(self):
        self.refused(
            "imports.txt: - libSystem.B.dylib _abort",
            "imports.txt: + any library _abort",
            symbols=(("_abort", UNDEFINED, 0xFE, 0), ("_NSApp", UNDEFINED, 2, 0)),
        )

    def test_an_import_that_may_be_missing_is_another(self):
        self.refused(
            "imports.txt: - AppKit _NSApp",
            "imports.txt: + AppKit _NSApp (weak)",
            symbols=(("_abort", UNDEFINED, 1, 0), ("_NSApp", UNDEFINED, 2, 0x40)),
        )

    def of_qt(self, *names, library="@rpath/QtCore.framework/Versions/A/QtCore", parts="_main"):
        """What is said of a program with these imports from a library."""
        (self.top / "libraries-korvel.txt").write_text(f"{SYSTEM}\n{library}\n", encoding="utf-8")
        (self.top / "imports-korvel.txt").write_text("libSystem.B.dylib _abort\n", encoding="utf-8")
        (self.top / "parts-korvel.txt").write_text(parts, encoding="utf-8")
        symbols = [("_main", DEFINED, 0, 0), ("_abort", UNDEFINED, 1, 0)]
        symbols += [(name, UNDEFINED, 2, 0) for name in names]
        content = executable(libraries=((SYSTEM, LOAD), (library, LOAD)), symbols=symbols)
        return self.judged(content, "--program", "korvel")

    def test_what_is_qts_by_its_name_is_in_no_list(self):
        names = [
            "_qt_version_tag_6_4", "_qVersion", "__Z5qHash11QStringViewm", "__Z17qmlRegisterModulePKcii",
            "__ZN7QObjectD2Ev", "__ZNK7QObject4nameEv", "__ZN9QtPrivate3runEv", "__ZN2Qt6strideEv",
            "__ZTI7QObject", "__ZTV7QObject", "__ZN7QObject16staticMetaObjectE", "__ZGVN7QObject4onceE",
            "__ZThn16_N10QQuickItem10classBeginEv", "__ZTv0_n24_N7QObjectD1Ev", "__ZlsR11QDataStreamRK5QFont",
            "__ZeqRK7QStringS1_",
        ]
        good = f"arm64, macOS 13.0, libraries: 2, imports: 1, of Qt: {len(names)}, signature valid"
        self.assertEqual(self.of_qt(*names), [good])

    def test_what_qts_libraries_have_besides_is_not_taken_from_them(self):
        for name in (
            "_malloc", "_quick_exit", "__ZdlPv", "__ZnwmRKSt9nothrow_t", "__ZN6korvel5ScoreC1Ev", "__ZTI5Score",
            "__ZNSt3__16vectorIiNS_9allocatorIiEEE9push_backEv", "__ZSt9terminatev", "__Z5storeR7QString",
            "__ZNSt3__16vectorI7QStringNS_9allocatorIS1_EEE9push_backEv", "__ZlsRSoRK5Score",
        ):
            with self.subTest(name):
                self.assertEqual(self.of_qt("__ZN7QObjectD2Ev", name), [f"not Qt's by its name: QtCore {name}"])

    def test_a_name_as_qts_from_elsewhere_is_an_import_like_any(self):
        library = "/usr/lib/libQuartz.dylib"
        found = self.of_qt("__ZN7QObjectD2Ev", library=library)
        self.assertEqual(found, ["imports-korvel.txt: + libQuartz.dylib __ZN7QObjectD2Ev"])

    def test_the_lists_of_one_program_are_not_those_of_another(self):
        self.of_qt()
        content = executable()
        self.assertEqual(self.judged(content), self.GOOD)
        self.assertEqual(self.judged(content, "--program", "korvel"), [
            "libraries-korvel.txt: - @rpath/QtCore.framework/Versions/A/QtCore", f"libraries-korvel.txt: + {APPKIT}",
            "imports-korvel.txt: + AppKit _NSApp"])

    def test_a_part_of_the_program_that_is_not_in_it(self):
        self.assertEqual(self.of_qt(parts="_ma\n_main\n_mai\n")[-1][:5], "arm64")
        self.assertEqual(self.of_qt(parts="_main\n_main.more\n_abort\n"), [
            "parts-korvel.txt: not in it: _main.more", "parts-korvel.txt: not in it: _abort"])

    def test_accepting_writes_both_lists(self):
        for name in ("libraries.txt", "imports.txt"):
            (self.top / name).unlink()
        self.assertEqual(
            self.judged(executable()),
            [f"{name}: missing; --accept writes it" for name in ("libraries.txt", "imports.txt")],
        )
        changed = executable(symbols=(("_system", UNDEFINED, 1, 0),))
        good = ["arm64, macOS 13.0, libraries: 2, imports: 1, of Qt: 0, signature valid"]
        self.assertEqual(self.judged(changed, "--accept"), good)
        self.assertEqual(self.judged(changed), good)
        imports = (self.top / "imports.txt").read_text(encoding="utf-8")
        self.assertEqual(imports, "libSystem.B.dylib _system\n")

    def test_accepting_lists_accepts_nothing_else(self):
        self.assertEqual(
            self.judged(executable(cpu=0x01000007), "--accept"), ["processor: 0x1000007, not arm64"]
        )

    def test_no_signature(self):
        self.refused("signatures: 0, not one", signed=False)

    def test_a_changed_byte_in_each_page(self):
        for page, at in enumerate((PAGE - 1, PAGE, TEXT + 8)):
            with self.subTest(page):
                content = self.flipped(at)
                self.refused(f"signature: page {page} is not what was signed", content=content)

    def test_a_changed_hash(self):
        content = executable(padding=0)
        content = content[:-1] + bytes([content[-1] ^ 1])
        self.refused("signature: page 2 is not what was signed", content=content)

    def test_something_after_the_signature(self):
        content = executable()
        more, size = content + b"more", len(content)
        self.refused(
            f"signature: its end is {size}, not {size + 4}",
            f"signature: the end of __LINKEDIT is {size}, not {size + 4}",
            content=more,
        )

    def test_something_in_the_padding_of_the_signature(self):
        self.refused("signature: the signature is not as long as it says", content=self.flipped(-1))

    def test_a_signature_that_is_none(self):
        at = executable().index(struct.pack(">I", 0xFADE0CC0))
        self.refused("signature: the signature does not begin as one", content=self.flipped(at))

    def test_a_signature_without_a_code_directory(self):
        at = executable().index(struct.pack(">I", 0xFADE0C02))
        self.refused("signature: the signature's code directory is none", content=self.flipped(at))

    def test_a_signature_with_more_in_it(self):
        at = executable().index(struct.pack(">I", 0xFADE0CC0)) + 11
        content = bytearray(executable())
        content[at] = 2
        self.refused(
            "signature: the signature holds something else than a code directory",
            content=bytes(content),
        )

    def test_a_signature_that_the_linker_did_not_make(self):
        self.refused("signature: its flags is 0x2, not 0x20002", flags=0x2)
        self.refused("signature: its flags is 0x10000, not 0x20002", flags=0x10000)

    def test_a_signature_of_another_version(self):
        self.refused("signature: its version is 0x20300, not 0x20400", version=0x20300)

    def test_a_signature_under_another_name(self):
        self.refused("signature: its identifier is other, not tiny", name="other")
        content = executable(name="other")
        self.assertEqual(self.judged(content, "--identifier", "other"), self.GOOD)

    def test_a_signature_with_special_slots(self):
        self.refused("signature: the number of its special slots is 2, not 0", special=2)

    def test_a_signature_that_covers_less(self):
        end = TEXT + 80
        self.refused(
            f"signature: the end of what it covers is {TEXT}, not {end}", limit=TEXT
        )

    def test_a_signature_of_no_main_program(self):
        self.refused(
            f"signature: the code segment is (0, {TEXT}, 0), not (0, {TEXT}, 1)", segment_flags=0
        )

    def test_a_load_command_without_a_length(self):
        self.refused("a load command of 8 bytes at 32", content=struct.pack(
            "<8I", 0xFEEDFACF, 0x0100000C, 0, 2, 1, 4, 0, 0) + struct.pack("<II", 2, 8))

    def test_another_kind_of_file(self):
        self.refused("no Mach-O file for 64 bits", content=b"\x7fELF" + bytes(60))

    def test_a_file_that_is_cut_off_anywhere_is_refused(self):
        sys.path.insert(0, str(CHECK.parent))
        import macho  # pylint: disable=import-outside-toplevel

        content = executable()
        for length in range(len(content)):
            try:
                file = macho.MachO(content[:length])
                file.imports()
                self.assertNotEqual(macho.signature_faults(file, "tiny"), [], length)
            except macho.Malformed:
                pass
        self.refused("cut off: nothing at 0", content=b"")

    def test_a_file_that_is_not_there(self):
        self.assertEqual(
            self.outcome("none", "executable", self.top / "none"), ["No such file or directory"]
        )


class Description(Checked):
    GOOD = ["version 1.4.0, build 42"]

    def setUp(self):
        super().setUp()
        template = (SOURCE / "packaging/macos/Info.plist.in").read_text(encoding="utf-8")
        for key, value in (
            ("IDENTIFIER", "com.oxbrook.korvel"),
            ("VERSION", "1.4.0"),
            ("BUILD", "42"),
        ):
            template = template.replace(f"@KORVEL_{key}@", value)
        self.text = template

    def judged(self, text, version="1.4.0", build="42"):
        (self.top / "Info.plist").write_text(text, encoding="utf-8")
        return self.outcome("Info.plist", "plist", self.top / "Info.plist", version, build)

    def changed(self, key, value):
        found = plistlib.loads(self.text.encode())
        self.assertIn(key, found)
        found[key] = value
        if value is None:
            del found[key]
        return plistlib.dumps(found).decode()

    def test_the_description_of_the_bundle_is_good(self):
        self.assertEqual(self.judged(self.text), self.GOOD)

    def test_each_key_has_to_be_there_with_its_value(self):
        for key, value in (
            ("CFBundleExecutable", "Korvel"),
            ("CFBundleIconFile", "Korvel.icns"),
            ("CFBundleIdentifier", "com.oxbrook.korvel"),
            ("CFBundlePackageType", "APPL"),
            ("CFBundleShortVersionString", "1.4.0"),
            ("CFBundleVersion", "42"),
            ("LSMinimumSystemVersion", "13.0"),
            ("LSUIElement", True),
        ):
            with self.subTest(key):
                self.assertEqual(self.judged(self.changed(key, None)), [f"{key}: missing"])
                other = self.judged(self.changed(key, "other"))
                self.assertEqual(other, [f"{key}: 'other', not {value!r}"])

    def test_a_program_in_the_dock(self):
        found = self.judged(self.changed("LSUIElement", False))
        self.assertEqual(found, ["LSUIElement: False, not True"])
        self.assertEqual(
            self.judged(self.changed("LSUIElement", 1)), ["LSUIElement: 1, not True"]
        )

    def test_another_version_or_build_than_what_was_built(self):
        self.assertEqual(
            self.judged(self.text, "1.4.1", "43"),
            ["CFBundleShortVersionString: '1.4.0', not '1.4.1'", "CFBundleVersion: '42', not '43'"],
        )

    def test_a_key_that_is_there_twice(self):
        for value in ("other", "com.oxbrook.korvel"):
            key = "<key>CFBundleIdentifier</key>"
            text = self.text.replace(key, f"{key}<string>{value}</string>{key}")
            self.assertEqual(self.judged(text), ["CFBundleIdentifier: twice"])

    def test_a_place_that_was_not_filled_in(self):
        for mark in ("@KORVEL_BUILD@", "${EXECUTABLE_NAME}", "$(PRODUCT_NAME)"):
            with self.subTest(mark):
                text = self.changed("CFBundleDisplayName", mark)
                self.assertEqual(self.judged(text), [f"{mark}: not filled in"])

    def test_what_is_no_property_list(self):
        for text in ("", "no", self.text[:200], self.text.replace("<true/>", "<maybe/>")):
            with self.subTest(text[:20]):
                found = self.judged(text)
                self.assertEqual(len(found), 1)
                self.assertTrue(found[0].startswith("no property list: "), found)
        text = plistlib.dumps(["a list"]).decode()
        self.assertEqual(self.judged(text), ["no property list of keys and values"])


if __name__ == "__main__":
    unittest.main()
