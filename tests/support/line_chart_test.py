#!/usr/bin/env python3
"""What the charts of the pages show is what they were given.

    line_chart_test.py
"""

import re
import unittest
import xml.etree.ElementTree as ElementTree

from line_chart import HEIGHT, LEFT, RIGHT, TOP, WIDTH, Line, Panel, apart, draw, steps

BOX = {"left": LEFT, "right": WIDTH - RIGHT, "top": TOP, "bottom": TOP + HEIGHT}


def corners(picture):
    """The points of each line, in pixels."""
    found = re.findall("polyline points='([^']*)'", picture)
    return [[tuple(map(float, point.split(","))) for point in line.split()] for line in found]


class LineChart(unittest.TestCase):
    def test_marks_are_round_and_around_what_is_shown(self):
        for low, high, expected in [(0, 10, [0, 2, 4, 6, 8, 10]), (3, 4.1, [3, 3.5, 4, 4.5]),
                                    (0, 120, [0, 50, 100, 150]), (7, 7, [6, 8]), (0, 0, [0, 0.2])]:
            with self.subTest((low, high)):
                seen = steps(low, high, False)
                self.assertLessEqual(seen[0], low)
                self.assertGreaterEqual(seen[-1], high)
                self.assertEqual(len(seen), len(expected), seen)
                for mark, round_number in zip(seen, expected):
                    self.assertAlmostEqual(mark, round_number)
        self.assertEqual(steps(100, 10000, True), [100, 1000, 10000])
        self.assertEqual(steps(0.3, 42, True), [0.1, 1, 10, 100])

    def test_points_stand_where_their_values_are(self):
        line = corners(draw([Panel("", [Line("", [(0, 0), (10, 10), (5, 5)])])], ""))[0]
        self.assertEqual(line, [(BOX["left"], BOX["bottom"]), (BOX["right"], BOX["top"]),
                                ((BOX["left"] + BOX["right"]) / 2, (BOX["top"] + BOX["bottom"]) / 2)])
        line = corners(draw([Panel("", [Line("", [(1, 1), (100, 100), (10, 10)])])], "", logarithmic=True))[0]
        self.assertEqual(line[2], ((BOX["left"] + BOX["right"]) / 2, (BOX["top"] + BOX["bottom"]) / 2))

    def test_a_limit_above_all_lines_is_inside_the_panel(self):
        drawn = draw([Panel("", [Line("", [(0, 1), (1, 2)])], 6)], "")
        limit = float(re.search(r"d='M\d+ ([\d.]+)H\d+' stroke='#dc2626'", drawn).group(1))
        self.assertEqual(limit, BOX["top"])

    def test_names_of_lines_that_end_near_each_other_do_not_overlap(self):
        self.assertEqual(apart([50, 10, 52, 53], 14), [50, 10, 64, 78])

    def test_it_is_well_formed_whatever_the_names_are(self):
        panel = Panel("<a> & 'b'", [Line("x < y & \"z\"", [(0, 1), (1, 1)], marks=True)], 2)
        root = ElementTree.fromstring(draw([panel, panel], "a & b"))
        texts = [element.text for element in root.iter("{http://www.w3.org/2000/svg}text")]
        self.assertEqual(texts.count("x < y & \"z\""), 2)
        self.assertEqual(texts.count("<a> & 'b'"), 2)
        self.assertEqual(len(list(root.iter("{http://www.w3.org/2000/svg}circle"))), 4)


if __name__ == "__main__":
    unittest.main()
