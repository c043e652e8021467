#!/usr/bin/python3
"""What opening the popover takes: milliseconds from the click to the first painted frame, and memory that stays.

    openings.py BUILD-FOLDER... [--rounds N]

Each round starts the program of each build on a private desktop of its own; all run at the same time, but one at a
time is clicked on. Prints JSON: for each folder the medians, and the figures of each round.
"""

import argparse
import json
import os
import sys
import threading
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path[:0] = [os.path.join(ROOT, "tests", "desktop"), os.path.join(ROOT, "bench")]

from desktop import Desktop  # noqa: E402
from first_paint import Clicker  # noqa: E402

LAUNCHED = 18  # seconds; the program gives back 15 s after its launch what only that used
LET_GO = 13  # seconds; the views are let go 10 s after a closing


def private_dirty_mib(pid):
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
        return next(int(line.split()[1]) for line in file if line.startswith("Private_Dirty:")) / 1024


class Program:
    """One program on its own desktop; what is timed is done while its thread holds `turn`."""

    def __init__(self, program, turn):
        self.program, self.turn = program, turn
        self.result = {}

    def opened(self, clicker):
        with self.turn:
            time.sleep(0.3)
            took = clicker.open()
            time.sleep(0.7)
            clicker.close()
            time.sleep(0.3)
        return took

    def run(self):
        with Desktop() as place:
            with self.turn:
                place.start_panel("xfce4-panel")
                process = place.spawn([self.program])
                clicker = Clicker(place)
            time.sleep(LAUNCHED)
            closed = private_dirty_mib(process.pid)
            found = {"first_ms": self.opened(clicker)}
            time.sleep(LET_GO)
            found["once_mib"] = private_dirty_mib(process.pid) - closed
            found["later_ms"] = self.opened(clicker)
            again = [self.opened(clicker) for _ in range(3)]
            found["again_ms"] = sorted(again)[1]
            for _ in range(5):
                self.opened(clicker)
            time.sleep(LET_GO)
            found["ten_mib"] = private_dirty_mib(process.pid) - closed
            found["closed_mib"] = closed
            place.end(process)
        self.result = found


def medians(rounds):
    return {name: sorted(one[name] for one in rounds)[len(rounds) // 2] for name in rounds[0]}


def openings(programs, rounds=3):
    """Of each program the medians and all rounds."""
    turn = threading.Lock()
    started = [[Program(program, turn) for program in programs] for _ in range(rounds)]
    threads = [threading.Thread(target=one.run) for each in started for one in each]
    for thread in threads:
        thread.start()
        time.sleep(0.5)
    for thread in threads:
        thread.join()
    of_each = [[each[i].result for each in started] for i in range(len(programs))]
    return [{"median": medians(results), "rounds": results} for results in of_each]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("builds", nargs="+")
    parser.add_argument("--rounds", type=int, default=3)
    asked = parser.parse_args()
    found = openings([os.path.join(build, "bin", "korvel") for build in asked.builds], asked.rounds)
    json.dump(dict(zip(asked.builds, found)), sys.stdout)


if __name__ == "__main__":
    main()
