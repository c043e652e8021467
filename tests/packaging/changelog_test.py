#!/usr/bin/env python3
"""What packaging/changelog.py makes of a page, what it refuses, and that the project's own page is good.

    changelog_test.py SOURCE
"""

import contextlib
import datetime
import io
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

SOURCE = Path(sys.argv.pop(1)).resolve()
SCRIPT = SOURCE / "packaging/changelog.py"
sys.dont_write_bytecode = True
sys.path.insert(0, str(SCRIPT.parent))
import changelog  # noqa: E402

PAGE = """# Changelog

## Unreleased

- Not yet in anyone's hands.

## 1.10.0 (2027-02-28)

- Bars & more, in [colour](docs/a.md).
- `korvel-snapshot` counts,
  and says so.

### In the tray

- More.

## 1.9.1 (2026-11-22)

- First.
"""


def started(*words):
    return subprocess.run([sys.executable, SCRIPT, *words], capture_output=True, text=True, check=False)


def run(page, *words):
    """The script as a program, on a page."""
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "page.md"
        path.write_text(page, encoding="utf-8")
        return started("--file", path, *words)


def refusal(page, kind):
    """The same within this process: the exit status, and what is said after the page's name."""
    with tempfile.TemporaryDirectory() as folder, contextlib.redirect_stderr(io.StringIO()) as said:
        path = Path(folder) / "page.md"
        path.write_text(page, encoding="utf-8")
        return changelog.main(["--file", str(path), kind]), said.getvalue().partition("page.md: ")[2]


class Made(unittest.TestCase):
    def printed(self, *words, page=PAGE):
        done = run(page, *words)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return done.stdout

    def test_notes_are_the_bullets_under_the_version(self):
        newest = "Bars & more, in colour.\nkorvel-snapshot counts, and says so.\n"
        for name, words, expected in (
                ("the newest", ["notes"], newest),
                ("by its number", ["notes", "1.10.0"], newest),
                ("an older one", ["notes", "1.9.1"], "First.\n")):
            with self.subTest(name):
                self.assertEqual(self.printed(*words), expected)

    def test_metainfo_lists_the_versions_newest_first(self):
        releases = ElementTree.fromstring(self.printed("metainfo"))
        self.assertEqual(releases.tag, "releases")
        self.assertEqual([(one.get("version"), one.get("date"), [item.text for item in one.iter("li")])
                          for one in releases],
                         [("1.10.0", "2027-02-28", ["Bars & more, in colour.", "korvel-snapshot counts, and says so."]),
                          ("1.9.1", "2026-11-22", ["First."])])

    def test_debian_has_an_entry_for_each_version_at_noon_of_its_day(self):
        self.assertEqual(self.printed("debian"), """\
korvel (1.10.0) unstable; urgency=medium

  * Bars & more, in colour.
  * korvel-snapshot counts, and says so.

 -- Korvel developers <korvel@oxbrook.example>  Sun, 28 Feb 2027 12:00:00 +0000

korvel (1.9.1) unstable; urgency=medium

  * First.

 -- Korvel developers <korvel@oxbrook.example>  Sun, 22 Nov 2026 12:00:00 +0000
""")

    def test_what_is_unreleased_may_be_empty_or_missing(self):
        for page in (PAGE.replace("\n- Not yet in anyone's hands.\n", ""),
                     PAGE.replace("## Unreleased\n\n- Not yet in anyone's hands.\n\n", "")):
            with self.subTest(page[:40]):
                self.assertEqual(self.printed("debian", page=page), self.printed("debian"))


class Refused(unittest.TestCase):
    def test_a_page_that_is_not_as_agreed_says_why(self):
        newest = "## 1.10.0 (2027-02-28)\n"
        for old, new, reason in (
                (newest, "## 1.10.0\n", 'line 7: 1.10.0 has no date, as in "1.10.0 (2026-11-22)"'),
                (newest, "## 1.10.0 ()\n", "line 7: '' is no date, as 2026-11-22 is one"),
                (newest, "## 1.10.0 (2027-02-29)\n", "line 7: '2027-02-29' is no date, as 2026-11-22 is one"),
                (newest, "## 1.10.0 (20270228)\n", "line 7: '20270228' is no date, as 2026-11-22 is one"),
                (newest, "## 1.10 (2027-02-28)\n", "line 7: '1.10 (2027-02-28)' is no version"),
                (newest, "## Later\n", "line 7: 'Later' is no version"),
                (newest, "##1.10.0 (2027-02-28)\n", "line 7: '.10.0 (2027-02-28)' is no version"),
                (newest, "## 1.9.1 (2027-02-28)\n", "line 17: 1.9.1 is not older than 1.9.1 above it"),
                (newest, "## 1.9.0 (2027-02-28)\n", "line 17: 1.9.1 is not older than 1.9.0 above it"),
                ("## 1.9.1 (2026-11-22)", "## Unreleased", "line 17: Unreleased is not the first heading"),
                ("- First.", "- 1\n- 2\n- 3\n- 4", "1.9.1 has 4 bullets directly under its heading, not 1 to 3"),
                ("- First.\n", "", "1.9.1 has 0 bullets directly under its heading, not 1 to 3"),
                ("- First.", "First.", "'First.' stands under a version and is no bullet"),
                ("First.", "o" * 65, f"1.9.1: '{'o' * 65}' is longer than 64 characters"),
                (PAGE, "# Changelog\n", "no version"),
                (PAGE, "", "no version")):
            with self.subTest(new):
                self.assertIn(old, PAGE)
                for kind in ("notes", "metainfo", "debian"):
                    self.assertEqual(refusal(PAGE.replace(old, new), kind), (1, reason + "\n"))

    def test_a_note_may_have_64_characters(self):
        self.assertEqual(run(PAGE.replace("First.", "o" * 64), "notes", "1.9.1").stdout, "o" * 64 + "\n")

    def test_a_version_that_is_not_there_is_named(self):
        for version in ("2.0.0", "1.10", "Unreleased", ""):
            with self.subTest(version):
                done = run(PAGE, "notes", version)
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                self.assertTrue(done.stderr.endswith(f": no version {version}\n"), done.stderr)

    def test_a_file_that_cannot_be_read_is_named(self):
        done = started("--file", "/nowhere/page.md", "notes")
        self.assertEqual((done.returncode, done.stderr),
                         (1, "changelog.py: /nowhere/page.md: No such file or directory\n"))

    def test_wrong_usage_is_another_status(self):
        for words in ([], ["news"], ["debian", "1.9.1"]):
            with self.subTest(words):
                self.assertEqual(run(PAGE, *words).returncode, 2)


class Own(unittest.TestCase):
    def test_the_newest_version_is_the_one_that_is_built(self):
        built = re.search(r"^project\(korvel VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text(encoding="utf-8"),
                          re.MULTILINE)
        releases = changelog.read((SOURCE / "CHANGELOG.md").read_text(encoding="utf-8"))
        self.assertEqual(releases[0].version, built[1])
        self.assertGreater(releases[0].date, datetime.date(2026, 1, 1))


if __name__ == "__main__":
    unittest.main()
