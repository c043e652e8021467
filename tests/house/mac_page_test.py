#!/usr/bin/env python3
"""Holds docs/building-on-macos.md to what is there: each proof that its table names is a test, a script's
step or a point of the first run.

    mac_page_test.py SOURCE
"""

import os
import re
import sys
import unittest
from pathlib import Path

SOURCE = Path(sys.argv.pop(1)).resolve()
sys.dont_write_bytecode = True
sys.path.insert(0, str(SOURCE / "packaging/macos"))
import bundle_steps  # noqa: E402

PAGE = (SOURCE / "docs/building-on-macos.md").read_text(encoding="utf-8")
STEPS = {*bundle_steps.STEPS, *bundle_steps.RECIPES}
REGISTERED = r"(add_test\(NAME |korvel_(built_test|add_test|test|test_program)\()(\w+)"


def texts(folder, *endings):
    return "\n".join(path.read_text(encoding="utf-8") for path in sorted((SOURCE / folder).rglob("*"))
                     if path.name.endswith(endings))


CASES = set(re.findall(r"^TEST(?:_F|_P)?\((\w+),\s*(\w+)\)", texts("tests", ".cpp", ".mm", ".h"), re.MULTILINE))
SUITES = {suite for suite, _ in CASES}
TESTS = {found[2] for found in re.findall(REGISTERED, texts("tests", "CMakeLists.txt")
                                          + texts("cross/macos", "CMakeLists.txt"))}


def known(name):
    if name == "--selfcheck":
        return f'"{name}"' in (SOURCE / "src/report/snapshot_arguments.cpp").read_text(encoding="utf-8")
    if name.startswith("script/"):
        script, *words = name.split()
        steps_known = script != "script/bundle-macos" or set(words) <= STEPS
        return os.access(SOURCE / script, os.X_OK) and steps_known
    if "." in name:
        return tuple(name.split(".")) in CASES
    return name in (TESTS if name.islower() else SUITES)


def rows(page):
    """The rule and the proof of each row of the page's last chapter."""
    for line in page.split("\n## What proves what\n")[1].splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")] if line.startswith("|") else []
        if len(cells) == 2 and cells[0] != "rule" and set(cells[0]) != {"-"}:
            yield cells


def points(page):
    chapter = page.split("\n## The first run\n")[1].split("\n## ")[0]
    return len(re.findall(r"^[0-9]+\. ", chapter, re.MULTILINE))


def faults(page):
    for rule, proof in rows(page):
        names = re.findall(r"`([^`]+)`", proof)
        numbers = [int(number) for number in re.findall(r"first run ([0-9]+)", proof)]
        if not names and not numbers:
            yield f"{rule}: nothing proves it"
        yield from (f"{rule}: there is no {name}" for name in names if not known(name))
        yield from (f"{rule}: there is no point {number}" for number in numbers if not 0 < number <= points(page))
    for script, words in re.findall(r"(script/[a-z-]+)((?: [a-z]+)*)", page):
        if not known(script) or script == "script/bundle-macos" and words and words.split()[0] not in STEPS:
            yield f"there is no {script}{words}"
    described = set(re.findall(r"`(\w+)`", "\n".join(
        line.split("|")[1] for line in page.split("\n## To ship it\n")[1].split("\n## ")[0].splitlines()
        if line.startswith("| `"))))
    yield from (f"the step {step} is not described" for step in sorted(set(bundle_steps.STEPS) - described))
    yield from (f"there is no step {step}" for step in sorted(described - STEPS))


class Page(unittest.TestCase):
    def test_every_proof_is_there(self):
        self.assertEqual(list(faults(PAGE)), [])
        self.assertGreater(len(list(rows(PAGE))), 40)

    def test_a_proof_that_is_not_there_is_seen(self):
        rule = "no place in the Dock, no menus until active"
        cases = (
            ("IsAnAccessoryWithoutAPlaceInTheDock", "IsNothing", f"{rule}: there is no ApplicationOnAppKit.IsNothing"),
            ("`info_plist` |", "`info_list` |", f"{rule}: there is no info_list"),
            ("first run 6 alone", "first run 66", "the item of each display's menu bar: there is no point 66"),
            ("first run 6 alone", "yes", "the item of each display's menu bar: nothing proves it"),
            ("`DittoArchive`", "`ZipArchiveOfNobody`", "unpacking and signatures by the system's tools: there is no "
             "ZipArchiveOfNobody"),
            ("on a Mac `script/bundle-macos check`", "on a Mac `script/bundle-macos polish`", "nothing in a deployed "
             "bundle leads out of it, nothing is missing: there is no script/bundle-macos polish"),
            ("    script/bundle-macos trial", "    script/bundle-macos tryit", "there is no script/bundle-macos tryit"),
            ("    script/cross-macos\n", "    script/cross-mac\n", "there is no script/cross-mac"),
            ("| `check` |", "| `inspect` |", "the step check is not described"),
            ("| `check` |", "| `polish` |", "there is no step polish"),
        )
        for old, new, fault in cases:
            with self.subTest(new):
                self.assertIn(old, PAGE)
                self.assertIn(fault, list(faults(PAGE.replace(old, new, 1))))


if __name__ == "__main__":
    unittest.main()
