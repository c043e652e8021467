#!/usr/bin/python3
"""Holds script/coverage to its rules, without compiling anything."""

import collections
import unittest

import branches


class Branches(unittest.TestCase):
    TEXT = "int f(bool é, bool b) {\n    return é && b; // both\n}\n"

    def counts(self, *taken):
        # The columns are bytes: é has two.
        places = [(2, 12, 2, 14), (2, 18, 2, 19)]
        return collections.Counter({(*place, way): count for place, pair in zip(places, taken)
                                    for way, count in zip((True, False), pair)})

    def test_a_branch_is_named_by_its_line_and_its_condition(self):
        found = branches.named("a.cpp", self.TEXT, self.counts((3, 0), (1, 2)))
        self.assertEqual([one.name for one in found], ["a.cpp: return é && b; | é", "a.cpp: return é && b; | b"])
        self.assertEqual([(one.true, one.false) for one in found], [(3, 0), (1, 2)])

    def test_a_way_that_is_not_taken_is_missing(self):
        for taken, names in (((1, 1), []), ((0, 1), ["é is never true"]), ((1, 0), ["é is never false"]),
                             ((0, 0), ["é is never true", "é is never false"])):
            found = branches.named("a.cpp", self.TEXT, self.counts(taken, (1, 1)))
            self.assertEqual([way.split(" | ")[1] for way in branches.missing(found)], names)

    def test_what_is_missing_needs_a_reason_and_a_reason_something_missing(self):
        known = {"src/a/x.cpp: one": "why", "src/a/x.cpp: gone": "why", "src/b/y.cpp: two": "why"}
        self.assertEqual(branches.judge(["src/a/x.cpp: one", "src/a/x.cpp: new"], known, ["src/a/"]), [
            "src/a/x.cpp: new", "is listed as an exception, and is none: src/a/x.cpp: gone"])

    def test_a_row_adds_up(self):
        found = [branches.Branch("one", 1, 1), branches.Branch("two", 0, 1), branches.Branch("three", 1, 0)]
        self.assertEqual(branches.row_of("core", found, {"two is never true": "why"}), "| core | 3 | 1 | 1 | 1 | 0 |")


if __name__ == "__main__":
    unittest.main()
