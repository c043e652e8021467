#!/usr/bin/python3
"""Runs korvel-icons and takes apart what it writes.

    icons_test.py KORVEL_ICONS
"""

import functools
import io
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import PIL.Image

ICONS = sys.argv.pop(1)
SIDES = {
    "ic04": 16, "ic11": 32, "ic05": 32, "ic12": 64, "ic07": 128, "ic13": 256, "ic08": 256,
    "ic14": 512, "ic09": 512, "ic10": 1024,
}
PACKED = {"ic04", "ic05"}
CYAN = (56, 224, 255)


def run(*words):
    return subprocess.run([ICONS, *map(str, words)], capture_output=True, text=True, check=False)


def blocks(content):
    """The entries of an icon file, in order, as pairs of type and content."""
    found, at = [], 0
    while at < len(content):
        kind, length = struct.unpack_from(">4sI", content, at)
        assert 8 <= length <= len(content) - at, f"{kind}: length {length} leads out of the file"
        found.append((kind.decode("ascii"), content[at + 8 : at + length]))
        at += length
    return found


def png(content):
    """The picture of a PNG, read to its end: a wrong check sum is an error."""
    picture = PIL.Image.open(io.BytesIO(content), formats=["PNG"])
    picture.load()
    return picture


@functools.cache  # two entries of a side hold the same picture
def png_pixels(content):
    """Rows of (red, green, blue, alpha) of a PNG with eight bits a channel and alpha."""
    picture = png(content)
    assert picture.mode == "RGBA", "another kind of PNG"
    width, height = picture.size
    pixels = list(picture.getdata())
    return [pixels[y * width : (y + 1) * width] for y in range(height)]


def packed_pixels(content, side):
    """The same of an entry whose four channels are packed one after the other."""
    assert content[:4] == b"ARGB", "no ARGB"
    channels, at = [], 4
    for _ in range(4):
        channel = bytearray()
        while len(channel) < side * side:
            head = content[at]
            if head < 0x80:
                channel += content[at + 1 : at + 2 + head]
                at += 2 + head
            else:
                channel += content[at + 1 : at + 2] * (head - 0x80 + 3)
                at += 2
        assert len(channel) == side * side, "a run leads out of its channel"
        channels.append(channel)
    assert at == len(content), "more than four channels"
    alpha, red, green, blue = channels
    pixels = list(zip(red, green, blue, alpha))
    return [pixels[i : i + side] for i in range(0, side * side, side)]


def near(pixel, colour):
    return pixel[3] > 250 and all(abs(a - b) <= 3 for a, b in zip(pixel, colour))


def of_each_picture(check):
    """Makes a test of a check of one picture."""

    def test(self):
        for kind, rows in self.pictures.items():
            with self.subTest(kind):
                check(self, rows, SIDES[kind])

    return test


class Icons(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.kept = tempfile.TemporaryDirectory(prefix="korvel-icons-test-")
        cls.top = Path(cls.kept.name)
        done = run(cls.top / "korvel.icns")
        assert (done.returncode, done.stdout, done.stderr) == (0, "", ""), done
        cls.file = (cls.top / "korvel.icns").read_bytes()
        cls.entries = blocks(cls.file[8:])
        cls.pictures = {
            kind: packed_pixels(content, SIDES[kind]) if kind in PACKED else png_pixels(content)
            for kind, content in cls.entries
        }

    @classmethod
    def tearDownClass(cls):
        cls.kept.cleanup()

    def test_the_container_is_as_long_as_it_says(self):
        self.assertEqual(struct.unpack_from(">4sI", self.file), (b"icns", len(self.file)))

    def test_every_size_is_there_once(self):
        self.assertEqual(sorted(kind for kind, _ in self.entries), sorted(SIDES))

    @of_each_picture
    def test_every_picture_has_the_size_of_its_type(self, rows, side):
        self.assertEqual((len(rows), {len(row) for row in rows}), (side, {side}))

    def test_the_colours_are_said_to_be_srgb(self):
        for kind, content in self.entries:
            if kind not in PACKED:
                with self.subTest(kind):
                    info = png(content).info
                    self.assertTrue({"srgb", "icc_profile"} & set(info), set(info))

    @of_each_picture
    def test_the_corners_are_transparent(self, rows, side):
        for y in (0, side - 1):
            for x in (0, side - 1):
                self.assertEqual(rows[y][x][3], 0)

    @of_each_picture
    def test_nothing_is_painted_in_the_margin(self, rows, side):
        margin = side * 100 // 1024
        for i in range(margin):
            line = rows[i] + rows[-1 - i] + [p for row in rows for p in (row[i], row[-1 - i])]
            self.assertEqual({pixel[3] for pixel in line}, {0})

    @of_each_picture
    def test_the_ground_is_dark_and_opaque(self, rows, side):
        for x, y in ((side // 2, side * 7 // 64), (side * 11 // 64, side // 2)):
            red, green, blue, alpha = rows[y][x]
            self.assertEqual(alpha, 255)
            self.assertLess(max(red, green, blue), 120)

    @of_each_picture
    def test_the_edges_of_the_ground_are_sharp(self, rows, side):
        margin = side * 100 // 1024
        middle = rows[side // 2]
        self.assertEqual([middle[margin - 1][3], middle[margin][3]], [0, 255])
        self.assertEqual([middle[-margin][3], middle[-margin - 1][3]], [0, 255])

    @of_each_picture
    def test_the_mark_is_cyan(self, rows, side):
        cyan = sum(near(pixel, CYAN) for row in rows for pixel in row)
        self.assertGreater(cyan, side * side // 50)
        self.assertLess(cyan, side * side // 4)

    @of_each_picture
    def test_the_sides_of_the_shield_are_sharp_and_alike(self, rows, side):
        middle = rows[side * 3 // 8]
        first = next(x for x in range(side) if near(middle[x], CYAN))
        last = next(x for x in reversed(range(side)) if near(middle[x], CYAN))
        self.assertEqual(first + last, side - 1)
        self.assertLess(middle[first - 1][0:3], (60, 90, 110))

    @of_each_picture
    def test_the_heartbeat_crosses_the_middle(self, rows, side):
        middle = [row[side // 2 - 1] for row in rows[side * 3 // 8 : side * 5 // 8]]
        self.assertTrue(any(pixel[1] > 150 for pixel in middle))

    def test_the_same_file_comes_out_again(self):
        self.assertEqual(run(self.top / "again.icns").returncode, 0)
        self.assertEqual((self.top / "again.icns").read_bytes(), self.file)

    def test_other_arguments_are_refused(self):
        for words in ((), (self.top / "a.icns", self.top / "b.icns")):
            with self.subTest(words):
                done = run(*words)
                self.assertEqual(done.returncode, 2)
                self.assertEqual(done.stderr, "korvel-icons: usage: korvel-icons OUT.icns\n")
        self.assertFalse((self.top / "a.icns").exists())

    def test_a_path_that_cannot_be_written_is_told(self):
        for path in (self.top / "no" / "korvel.icns", self.top):
            with self.subTest(path):
                done = run(path)
                self.assertEqual(done.returncode, 1)
                self.assertTrue(
                    done.stderr.startswith(f"korvel-icons: {path}: cannot be written: "), done.stderr
                )


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], "--verbose"])
