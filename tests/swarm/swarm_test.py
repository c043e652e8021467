#!/usr/bin/env python3
"""Tests of what script/swarm does with what the swarm finds."""

import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))

import planted  # noqa: E402
import shrink  # noqa: E402
import swarm  # noqa: E402


class Shrink(unittest.TestCase):
    def test_leaves_the_least_list_that_still_fails(self):
        events = [f"{at} load 1" for at in range(200)]
        needed = {events[17], events[18], events[161]}
        self.assertEqual(set(shrink.shrunk(events, lambda some: needed <= set(some))), needed)

    def test_keeps_the_order(self):
        events = list("abcdefgh")
        self.assertEqual(shrink.shrunk(events, lambda some: "".join(some).find("c") < "".join(some).find("f") and
                                       "c" in some), ["c", "f"])

    def test_finds_a_single_event(self):
        for at in range(7):
            self.assertEqual(shrink.shrunk(list(range(7)), lambda some, needed=at: needed in some), [at])


class Figures(unittest.TestCase):
    def test_adds_up_what_the_processes_counted(self):
        one = '{"worlds": 2, "ran": 86400, "seconds": 10, "events": {"load": 3}}'
        other = '{"worlds": 1, "ran": 0, "seconds": 10, "events": {"load": 1, "click": 5}}'
        figures, events = swarm.total([(one, 0), (other, 0)])
        self.assertEqual((figures["worlds"], figures["ran"], figures["seconds"]), (3, 86400, 20))
        self.assertEqual((events["load"], events["click"]), (4, 5))

    def test_a_long_run_without_a_kind_of_event_is_noticed(self):
        kinds = ["load", *swarm.OUTCOMES]
        swarm.event_kinds = lambda: ["load"]
        events = dict.fromkeys(kinds, 1)
        for name in kinds:
            self.assertEqual(swarm.never_happened({"worlds": swarm.LONG_ENOUGH}, {**events, name: 0}), [name])
        self.assertEqual(swarm.never_happened({"worlds": swarm.LONG_ENOUGH}, events), [])


class Planted(unittest.TestCase):
    def test_every_fault_has_its_place_in_the_tree(self):
        source = Path(__file__).resolve().parents[2]
        self.assertEqual(set(planted.planted_files(source)), {fault[0] for fault in planted.FAULTS})
        self.assertGreaterEqual(len(planted.FAULTS), 40)

    def test_a_place_chooses_between_what_stands_there_and_the_fault(self):
        self.assertEqual(planted.planted(7, ("f", "a > b", "a < b", ""), "if (a > b)"),
                         "if ((::korvel::mutant() == 7 ? (a < b) : (a > b)))")
        self.assertEqual(planted.planted(7, ("f", "go();", "", ""), "go();"),
                         "if (::korvel::mutant() == 7) {  } else { go(); }")
        with self.assertRaises(SystemExit):
            planted.planted(7, ("f", "go();", "", ""), "go(); go();")


if __name__ == "__main__":
    unittest.main()
