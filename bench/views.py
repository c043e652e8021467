#!/usr/bin/python3
"""Measures what opening the popover's views takes in processor time, and what stays of their memory, for each of some
ways to let them go. Prints JSON.

    views.py BUILD-FOLDER [ROUNDS]
    views.py --table RESULT.json
    views.py --draw RESULT.json PICTURE.svg
"""

import json
import os
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.dont_write_bytecode = True
sys.path.insert(0, os.path.join(ROOT, "tests", "support"))

from line_chart import Line, Panel, draw  # noqa: E402

# As bench/views_bench.cpp knows them.
WAYS = {"nothing": "nothing forgotten", "fonts": "fonts forgotten", "types": "types forgotten: the program's way",
        "both": "both forgotten", "engine": "engine kept", "views": "views kept"}
OPENINGS = 50


def measure(build, rounds):
    """For each way the medians: milliseconds of the first opening and the second, MiB after one and after fifty."""
    program = os.path.join(build, "bin", "korvel_views_bench")
    runs = {way: [] for way in WAYS}
    for _ in range(rounds):
        for way, found in runs.items():  # in turn, so that all see the same machine
            answer = subprocess.run([program, way, str(OPENINGS)], check=True, stdout=subprocess.PIPE,
                                    stderr=subprocess.DEVNULL, env={**os.environ, "QT_QPA_PLATFORM": "offscreen"})
            found.append(json.loads(answer.stdout))

    def median(way, opening, key):
        return sorted(run[opening][key] for run in runs[way])[rounds // 2]

    return [{"way": way, "first_ms": median(way, 0, "ms"), "later_ms": median(way, 1, "ms"),
             "open_mib": median(way, 0, "open") / 1024, "once_mib": median(way, 0, "after") / 1024,
             "used_mib": median(way, 0, "used") / 1024,
             "fifty_mib": median(way, OPENINGS - 1, "after") / 1024} for way in WAYS]


def table(rows):
    print("| at letting go | first opening | a later one | while open | after one | in use of that | after fifty |")
    print("|---|---|---|---|---|---|---|")
    for row in rows:
        print(f"| {WAYS[row['way']]} | {row['first_ms']:.1f} ms | {row['later_ms']:.1f} ms "
              f"| {row['open_mib']:.2f} MiB | {row['once_mib']:.2f} MiB | {row['used_mib']:.2f} MiB "
              f"| {row['fifty_mib']:.2f} MiB |")


def main():
    if sys.argv[1] in ("--table", "--draw"):
        with open(sys.argv[2], encoding="utf-8") as file:
            rows = json.load(file)
        if sys.argv[1] == "--table":
            table(rows)
            return
        lines = [Line(WAYS[row["way"]], [(row["once_mib"], row["later_ms"])], True) for row in rows]
        title = "processor time of a later opening, in milliseconds"
        with open(sys.argv[3], "w", encoding="utf-8") as file:
            file.write(draw([Panel(title, lines)], "MiB that stay private and dirty after one opening"))
        return
    json.dump(measure(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 7), sys.stdout)


if __name__ == "__main__":
    main()
