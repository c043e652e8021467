#!/usr/bin/python3
"""Compares the popover of every scenario with the reference pictures, and holds the comparison to its rules.

    pictures_test.py SOURCE KORVEL_PICTURES OUT
"""

import shutil
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

from PIL import Image

import pictures

SOURCE, DRAWER, OUT = sys.argv[1:4]
REASON = pictures.why_not_compared()


def plain(size=(8, 6), colour=(10, 20, 30, 255)):
    return Image.new("RGBA", size, colour)


def dotted(colour):
    image = plain()
    image.putpixel((3, 2), colour)
    return image


class Comparison(unittest.TestCase):
    def test_one_pixel_that_is_off_by_more_than_the_tolerance_is_seen(self):
        for colour, seen in (((10, 20, 30, 255), False), ((12, 18, 32, 255), False), ((13, 20, 30, 255), True),
                             ((10, 17, 30, 255), True), ((10, 20, 33, 255), True), ((10, 20, 30, 252), True),
                             ((255, 255, 255, 255), True)):
            with self.subTest(colour):
                self.assertEqual(pictures.difference(plain(), dotted(colour)) is not None, seen)

    def test_what_is_transparent_has_no_colour(self):
        clear = plain(colour=(0, 0, 0, 0))
        self.assertIsNone(pictures.difference(clear, plain(colour=(255, 255, 255, 0))))

    def test_a_difference_is_told_by_its_pixels_its_size_and_its_place(self):
        told, mask = pictures.difference(plain(), dotted((10, 20, 80, 255)))
        self.assertEqual(told, "differs in 1 pixels, by up to 50 levels, within (3, 2, 4, 3)")
        shown = pictures.picture_of_difference(plain(), dotted((10, 20, 80, 255)), mask)
        self.assertEqual(shown.size, (24, 6))
        self.assertEqual(shown.getpixel((16 + 3, 2)), (255, 0, 0))
        self.assertNotEqual(shown.getpixel((16 + 4, 2)), (255, 0, 0))

    def test_a_picture_of_another_size_is_seen(self):
        told, mask = pictures.difference(plain(), plain((8, 7)))
        self.assertEqual(told, "is 8 by 7 pixels and not 8 by 6")
        self.assertEqual(pictures.picture_of_difference(plain(), plain((8, 7)), mask).size, (24, 7))

    def test_a_reference_loses_nothing(self):
        image = Image.effect_noise((40, 30), 80).convert("RGBA")
        image.putalpha(Image.linear_gradient("L").resize((40, 30)))
        with tempfile.TemporaryDirectory() as folder:
            for name in ("one.png", "one.webp"):
                pictures.write(image, Path(folder) / name)
                self.assertEqual(pictures.read(Path(folder) / name).tobytes(), image.tobytes(), name)


class Popover(unittest.TestCase):
    maxDiff = None

    @unittest.skipIf(REASON, REASON)
    def test_it_looks_as_on_the_reference_pictures(self):
        found = pictures.compare_all(pictures.Tree(SOURCE), DRAWER, Path(OUT))
        if found:
            self.fail("\n".join([f"{len(found)} faults", *found, "if all is well: script/pictures --accept"]))

    @unittest.skipIf(REASON, REASON)
    def test_what_has_no_reference_and_what_has_no_scene_is_told(self):
        with tempfile.TemporaryDirectory() as folder:
            tree = pictures.Tree(folder)
            scenario = tree.source / "docs/scenarios/healthy.json"
            scenario.parent.mkdir(parents=True)
            shutil.copy(Path(SOURCE) / "docs/scenarios/healthy.json", scenario)
            fonts = tree.source / "tests/ui/pictures/fonts.conf"
            fonts.parent.mkdir(parents=True)
            shutil.copy(Path(SOURCE) / "tests/ui/pictures/fonts.conf", fonts)
            out = tree.source / "out"
            with mock.patch.dict(pictures.SCENES, clear=True):
                missing = [f"{out}/healthy@{scale}-{colour}.png: there is no {name}" for scale, colour, name in (
                    ("1", "light", "tests/ui/pictures/references/healthy-light@1.webp"),
                    ("1", "dark", "tests/ui/pictures/references/healthy-dark@1.webp"),
                    ("2", "light", "docs/pictures/healthy-light.png"),
                    ("2", "dark", "docs/pictures/healthy-dark.png"))]
                self.assertEqual(pictures.compare_all(tree, DRAWER, out), missing)
                self.assertEqual(len(pictures.compare_all(tree, DRAWER, out, accept=True)), 4)
                self.assertEqual(pictures.compare_all(tree, DRAWER, out), [])
                stale = tree.documents / "gone-dark.png"
                shutil.copy(tree.documents / "healthy-dark.png", stale)
                self.assertEqual(pictures.compare_all(tree, DRAWER, out),
                                 ["docs/pictures/gone-dark.png: belongs to no scene"])
                pictures.compare_all(tree, DRAWER, out, accept=True)
                self.assertFalse(stale.exists())
                with mock.patch.object(pictures, "LARGEST", 1000):
                    self.assertRegex(pictures.compare_all(tree, DRAWER, out)[0], "^the references take .* than 1000$")
                pictures.write(plain(), tree.documents / "healthy-dark.png")
                told = pictures.compare_all(tree, DRAWER, out)
                self.assertEqual(len(told), 1)
                self.assertRegex(told[0], "^docs/pictures/healthy-dark.png: the popover is .* and not 8 by 6; see ")
                self.assertTrue(Path(told[0].rsplit(" ", 1)[1]).is_file())


if __name__ == "__main__":
    result = unittest.main(argv=sys.argv[:1], exit=False).result
    if not result.wasSuccessful():
        sys.exit(1)
    if REASON:
        print(f"SKIPPED: {REASON}")
        sys.exit(77)
