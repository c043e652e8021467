#!/usr/bin/python3
"""Measures what a refresh costs as the machine has more and more processes: the program in a tray, other
monitors that refresh as often, and a bare loop that makes the same reads. Prints JSON.

    growth.py BUILD-FOLDER [SECONDS]
    growth.py --draw RESULT.json PICTURE.svg
"""

import json
import os
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.dont_write_bytecode = True
sys.path[:0] = [os.path.join(ROOT, folder) for folder in ("tests/desktop", "tests/support", "bench")]

from crowd import Crowd, processes  # noqa: E402
from desktop import Desktop, Failure, wait_for  # noqa: E402
from line_chart import Line, Panel, draw  # noqa: E402
from whole_programs import CONKY, cpu_seconds  # noqa: E402

SETTLED = 25  # seconds after the launch: what only that used has been given back
COUNTS = (100, 300, 1000, 3000, 10000)
NAMES = {"korvel": "Korvel", "bare": "the bare loop", "top": "top", "conky": "conky"}


def measure(build, seconds):
    """For each number of processes the milliseconds of processor time of a refresh, by program."""
    found = []
    with Desktop() as place:
        place.start_panel("xfce4-panel")
        config = os.path.join(place.folder, "conky.lua")
        with open(config, "w", encoding="utf-8") as file:
            file.write(CONKY)
        started = {name: place.spawn(command) for name, command in (
            ("korvel", [os.path.join(build, "bin", "korvel")]), ("top", ["top", "-b", "-d", "5"]),
            ("bare", [os.path.join(build, "bin", "korvel_bare_monitor")]), ("conky", ["conky", "-c", config]))}
        wait_for("the item", place.items)
        time.sleep(SETTLED)
        for count in COUNTS:
            try:
                with Crowd(build, count):
                    time.sleep(12)  # two refreshes, in which it is met
                    before = {name: cpu_seconds(process.pid) for name, process in started.items()}
                    present = processes()
                    time.sleep(seconds)
                    found.append({"processes": present, "asked": count, **{
                        name: (cpu_seconds(process.pid) - before[name]) * 5000 / seconds
                        for name, process in started.items()}})
            except (Failure, OSError) as fault:
                found.append({"processes": count, "fault": str(fault)})
    return found


def main():
    if sys.argv[1] == "--draw":
        with open(sys.argv[2], encoding="utf-8") as file:
            rows = [row for row in json.load(file) if "fault" not in row]
        lines = [Line(name, [(row["asked"], row[key]) for row in rows], True) for key, name in NAMES.items()]
        title = "processor time of a refresh, in milliseconds"
        with open(sys.argv[3], "w", encoding="utf-8") as file:
            file.write(draw([Panel(title, lines)], "processes on the machine", logarithmic=True))
        return
    json.dump(measure(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 40), sys.stdout)


if __name__ == "__main__":
    main()
