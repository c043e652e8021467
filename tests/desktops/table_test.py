#!/usr/bin/python3
"""What the table's own arithmetic says of places and documents, without a shell."""

import os
import sys
import unittest
import unittest.mock

import PIL.Image

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import checks  # noqa: E402
import table  # noqa: E402
from desktop import Failure, Image  # noqa: E402
from shells import SHELLS  # noqa: E402
from shells.base import Rectangle  # noqa: E402


class Still:
    """A shell that stands still: a panel of 30 pixels at the top, the item at its right."""

    unit = 1
    popover_there = Rectangle(900, 30, 340, 400)

    def item(self):
        return Rectangle(1100, 4, 22, 22)

    def panel_area(self):
        return Rectangle(0, 0, 1280, 30)

    def free_area(self):
        return Rectangle(0, 30, 1280, 770)

    def popover(self):
        return self.popover_there


PLACES = {
    "at the panel": (Rectangle(900, 30, 340, 400), None),
    "as far as it may": (Rectangle(900, 42, 340, 400), None),
    "a pixel further": (Rectangle(900, 43, 340, 400), "13 pixels from the item"),
    "beside the item": (Rectangle(400, 30, 340, 400), "360 pixels from the item"),
    "in the middle of the screen": (Rectangle(470, 200, 340, 400), "pixels from the item"),
    "over the panel": (Rectangle(900, 10, 340, 400), "covers the item"),
    "past the edge": (Rectangle(1000, 30, 340, 400), "not within the free area"),
    "too wide": (Rectangle(900, 30, 356, 400), "356 wide"),
}


class Places(unittest.TestCase):
    def test_popover_is_at_the_item_or_the_cell_says_where(self):
        for name, (place, expected) in PLACES.items():
            with self.subTest(name):
                shell = Still()
                shell.popover_there = place
                said = None
                try:
                    with unittest.mock.patch.multiple(checks, begin_closed=lambda _: None, begin_open=Still.popover):
                        checks.check_place(shell)
                except Failure as failure:
                    said = str(failure)
                if expected is None:
                    self.assertIsNone(said)
                else:
                    self.assertIn(expected, said or "nothing")


class Pictures(unittest.TestCase):
    def test_difference_is_where_enough_has_changed(self):
        before = Image(PIL.Image.new("RGB", (100, 50)))
        after = Image(PIL.Image.new("RGB", (100, 50)))
        after.picture.paste((255, 255, 255), (10, 20, 40, 30))
        self.assertIsNone(checks.difference(before, before, 1, 1))
        self.assertEqual(checks.difference(before, after, 30, 10), (10, 20, 30, 10))
        self.assertIsNone(checks.difference(before, after, 31, 10))
        self.assertIsNone(checks.difference(before, after, 30, 11))


class Documents(unittest.TestCase):
    def test_what_is_written_is_what_is_read(self):
        results = {name: {cell: ["yes", ""] for cell in table.COLUMNS} for name in SHELLS}
        results["xfce"]["panel"] = ["n/a", "for a reason"]
        results["mate"]["dark"] = ["no", "it was light"]
        text = "before\n" + table.BEGIN + table.rows(results) + table.END + "after\n"
        cells = table.document_cells(text)
        self.assertEqual(len(cells), len(SHELLS) * len(table.COLUMNS))
        for name, of_shell in results.items():
            for cell, (result, _) in of_shell.items():
                self.assertEqual(cells[SHELLS[name].title, cell], result)
        self.assertIn("panel: for a reason.", text)


class Titles(unittest.TestCase):
    def test_names_and_titles_are_unique(self):
        titles = [shell.title for shell in SHELLS.values()]
        self.assertEqual(len(set(titles)), len(titles))
        self.assertNotIn("", titles)


if __name__ == "__main__":
    unittest.main()
