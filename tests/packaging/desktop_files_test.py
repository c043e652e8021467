#!/usr/bin/env python3
"""What desktops and software centres read of the program: the entries, the description, the symbolic icon.

    desktop_files_test.py SOURCE METAINFO     METAINFO is the description as it was built
"""

import re
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

SOURCE, METAINFO = Path(sys.argv.pop(1)).resolve(), Path(sys.argv.pop(1)).resolve()
LINUX = SOURCE / "packaging/linux"
ENTRY = LINUX / "com.oxbrook.korvel.desktop"
SVG = "{http://www.w3.org/2000/svg}"
sys.dont_write_bytecode = True
sys.path.insert(0, str(SOURCE / "packaging"))
import changelog  # noqa: E402

# The developer is named in the old way and in the new: each release of the validator remarks on one of them.
EXPECTED = ({"I developer"}, {"I developer-name-tag-deprecated"})


def remarks(text):
    """What the validator of the descriptions says of a text: its exit status, and each remark's kind and tag."""
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / METAINFO.name
        path.write_text(text, encoding="utf-8")
        done = subprocess.run(["appstreamcli", "validate", "--no-net", "--pedantic", "--no-color", path],
                              capture_output=True, text=True, check=False)
    found = re.findall(r"^([EWIP]): [^ :]+:[0-9~]+: (\S+)(?: (\S+))?$", done.stdout, re.MULTILINE)
    tags = {f"{kind} {about if tag == 'unknown-tag' else tag}" for kind, tag, about in found}
    return done.returncode, tags


def entry_faults(path):
    return subprocess.run(["desktop-file-validate", path], capture_output=True, text=True, check=False).stdout


def fields(path):
    return dict(line.split("=", 1) for line in path.read_text(encoding="utf-8").splitlines() if "=" in line)


def luminance(colour):
    channels = [int(colour[at:at + 2], 16) / 255 for at in (1, 3, 5)]
    linear = [part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4 for part in channels]
    return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2]


def contrast(one, other):
    darker, lighter = sorted((luminance(one), luminance(other)))
    return (lighter + 0.05) / (darker + 0.05)


class Entries(unittest.TestCase):
    def test_both_entries_are_valid(self):
        for path in (ENTRY, LINUX / "autostart" / ENTRY.name):
            with self.subTest(path):
                self.assertTrue(path.is_file())
                self.assertEqual(entry_faults(path), "")

    def test_a_fault_of_an_entry_is_seen(self):
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder) / ENTRY.name
            path.write_text(ENTRY.read_text(encoding="utf-8").replace("Type=Application\n", ""), encoding="utf-8")
            self.assertIn("Type", entry_faults(path))


class Description(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.text = METAINFO.read_text(encoding="utf-8")
        cls.tree = ElementTree.fromstring(cls.text)

    def test_the_validator_has_nothing_to_say_but_of_the_developer(self):
        status, tags = remarks(self.text)
        self.assertEqual(status, 0)
        self.assertIn(tags, EXPECTED)

    def test_a_fault_of_the_description_is_seen(self):
        for name, old, new in (("no summary", r"<summary>.*?</summary>", ""),
                               ("no licence of its own", r"<metadata_license>.*?</metadata_license>", ""),
                               ("an unknown licence", "Apache-2.0", "Apache-20"),
                               ("no rating", r"<content_rating[^>]*>", ""),
                               ("no versions", r"(?s)<releases>.*</releases>", "")):
            with self.subTest(name):
                changed = re.sub(old, new, self.text)
                self.assertNotEqual(changed, self.text)
                self.assertNotIn(remarks(changed)[1], EXPECTED)

    def test_it_names_what_is_installed(self):
        self.assertEqual(self.tree.findtext("id") + ".desktop", ENTRY.name)
        self.assertEqual(self.tree.findtext("launchable"), ENTRY.name)
        entry = fields(ENTRY)
        self.assertEqual([one.text for one in self.tree.findall("provides/binary")], [entry["Exec"]])
        self.assertEqual(self.tree.findtext("icon"), entry["Icon"])
        self.assertTrue((LINUX / f"{entry['Icon']}.svg").is_file())
        self.assertEqual(self.tree.findtext("summary"), entry["Comment"])
        self.assertEqual([one.text for one in self.tree.findall("categories/category")],
                         entry["Categories"].strip(";").split(";"))

    def test_the_developer_is_named_for_older_and_newer_readers(self):
        self.assertEqual((self.tree.findtext("developer_name"), self.tree.findtext("developer/name")),
                         ("Oxbrook", "Oxbrook"))

    def test_its_versions_are_those_of_the_changelog(self):
        listed = changelog.read((SOURCE / "CHANGELOG.md").read_text(encoding="utf-8"))
        self.assertEqual([(one.get("version"), one.get("date"), [item.text for item in one.iter("li")])
                          for one in self.tree.findall("releases/release")],
                         [(one.version, str(one.date), one.notes) for one in listed])

    def test_its_pictures_are_in_the_tree_and_of_the_size_that_it_says(self):
        images = self.tree.findall("screenshots/screenshot/image")
        self.assertGreater(len(images), 2)
        for image in images:
            with self.subTest(image.text):
                home = self.tree.findtext("url[@type='homepage']") + "/pictures/"
                self.assertTrue(image.text.startswith(home))
                head = (SOURCE / "docs/pictures" / image.text[len(home):]).read_bytes()[:24]
                self.assertEqual(struct.unpack(">II", head[16:]), (int(image.get("width")), int(image.get("height"))))

    def test_icon_and_white_text_are_seen_on_its_colours(self):
        drawn = re.search('stroke="(#[0-9a-f]{6})"', (LINUX / "com.oxbrook.korvel.svg").read_text(encoding="utf-8"))[1]
        colours = {one.get("scheme_preference"): one.text for one in self.tree.findall("branding/color")}
        self.assertEqual(set(colours), {"light", "dark"})
        for colour in colours.values():
            with self.subTest(colour):
                self.assertGreaterEqual(contrast(colour, drawn), 3)
                self.assertGreaterEqual(contrast(colour, "#ffffff"), 4.5)


class SymbolicIcon(unittest.TestCase):
    def test_every_path_is_filled_with_the_one_colour_that_desktops_replace(self):
        tree = ElementTree.parse(LINUX / "com.oxbrook.korvel-symbolic.svg").getroot()
        self.assertEqual(tree.get("viewBox"), "0 0 16 16")
        shapes = [one for one in tree if one.tag != SVG + "style"]
        self.assertEqual({one.tag for one in shapes}, {SVG + "path"})
        for shape in shapes:
            self.assertEqual((shape.get("class"), shape.get("fill")), ("ColorScheme-Text", "currentColor"))
            self.assertEqual(set(shape.keys()) - {"class", "fill", "fill-rule", "d"}, set())


if __name__ == "__main__":
    unittest.main()
