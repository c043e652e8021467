#!/usr/bin/env python3
"""Starts the bundle on a Mac that is made here: each thing that can go wrong, once.

    first_start_test.py SOURCE
"""

import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(sys.argv.pop(1))
sys.dont_write_bytecode = True
sys.path.insert(0, str(SOURCE / "packaging/macos"))
import first_start  # noqa: E402

TERMINAL, KORVEL = "ASN:0x0-0x1001", "ASN:0x0-0x9009"


class Mac:
    """Runs nothing; the clock is what was waited for."""

    def __init__(self, **changed):
        self.now = 0
        self.asked = []
        self.started = self.ended = None  # seconds
        self.front = TERMINAL
        self.number = "501"
        self.told = {"opens": True, "starts_after": 2, "takes_front": False, "falls_after": None, "ends_after": 1,
                     "picture": first_start.PNG, "front_said": 0, "running": False, **changed}

    def wait(self, seconds):
        self.now += seconds

    def runs(self):
        if self.told["running"]:
            return True
        if self.started is None or self.now < self.started:
            return False
        fell = self.told["falls_after"] is not None and self.now >= self.started + self.told["falls_after"]
        return not fell and (self.ended is None or self.now < self.ended)

    def run(self, *words):
        self.asked.append(words)
        return getattr(self, words[0])(*words[1:])

    def open(self, *words):
        if not self.told["opens"]:
            return 1, ""
        self.started = self.now + self.told["starts_after"]
        if self.told["takes_front"]:
            self.front = KORVEL
        return 0, ""

    def pgrep(self, *words):
        return (0, self.number) if self.runs() else (1, "")

    def lsappinfo(self, *words):
        return self.told["front_said"], self.front if self.told["front_said"] == 0 else ""

    def screencapture(self, *words):
        if self.told["picture"] is None:
            return 1, ""
        Path(words[-1]).write_bytes(self.told["picture"])
        return 0, ""

    def kill(self, signal, number):
        assert number == self.number
        self.ended = self.now + (self.told["ends_after"] if signal == "-TERM" else 0)
        return 0, ""


class FirstStart(unittest.TestCase):
    def setUp(self):
        kept = tempfile.TemporaryDirectory(prefix="korvel-first-start-")
        self.addCleanup(kept.cleanup)
        self.folder = Path(kept.name)

    def start(self, mac):
        return first_start.start_once(Path("/x/Korvel.app"), self.folder, mac)

    def test_a_start_that_goes_well_is_told_and_ended(self):
        mac = Mac()
        self.assertIn(f"left {TERMINAL} in front", self.start(mac))
        self.assertFalse(mac.runs())
        self.assertTrue((self.folder / "screen.png").is_file())

    def test_the_messages_of_qt_are_let_through_and_kept(self):
        mac = Mac()
        self.start(mac)
        opened = next(words for words in mac.asked if words[0] == "open")
        self.assertEqual(opened, ("open", "-n", "--env", "KORVEL_QT_MESSAGES=1", "--stderr",
                                  str(self.folder / "messages.txt"), "/x/Korvel.app"))

    def test_the_program_gets_its_time(self):
        self.start(Mac(starts_after=first_start.STARTED_WITHIN))
        self.start(Mac(ends_after=first_start.ENDED_WITHIN))

    def test_each_thing_that_goes_wrong_is_told(self):
        cases = (
            ({"running": True}, "runs already"),
            ({"front_said": 1}, "lsappinfo"),
            ({"opens": False}, "did not start"),
            ({"starts_after": first_start.STARTED_WITHIN + 1}, "did not start"),
            ({"falls_after": 3}, "ended by itself"),
            ({"takes_front": True}, "changed the application in front"),
            ({"ends_after": first_start.ENDED_WITHIN + 1}, "did not end within 10 seconds"),
            ({"picture": None}, "no picture"),
            ({"picture": b""}, "no picture"),
        )
        for changed, said in cases:
            with self.subTest(changed), self.assertRaisesRegex(first_start.Failed, said):
                self.start(Mac(**changed))

    def test_a_start_that_went_wrong_leaves_nothing_running(self):
        for changed in ({"takes_front": True}, {"ends_after": 60}, {"picture": None}):
            with self.subTest(changed):
                mac = Mac(**changed)
                with self.assertRaises(first_start.Failed):
                    self.start(mac)
                self.assertFalse(mac.runs())


if __name__ == "__main__":
    unittest.main()
