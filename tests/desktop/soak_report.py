#!/usr/bin/python3
"""Says what came of a run of soak.py, beside what must hold, and draws its memory, descriptors and threads.

    soak_report.py FOLDER PICTURE.svg
"""

import json
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "support"))

from line_chart import Line, Panel, draw  # noqa: E402


def counts(readings, what):
    """What was counted since everything had happened once: one number, or the least and the most."""
    found = sorted({reading[what] for reading in readings[1:]})
    return f"{found[0]}" if len(found) == 1 else f"{found[0]} to {found[-1]}"


def rows(result):
    """What was done or must hold, what was seen, and the goal."""
    readings, restarts = result["readings"], result["restarts"]
    others = result["missed"] - result["missed_on_purpose"]
    return [
        ("time", f"{result['seconds'] / 60:.0f} minutes", "120"),
        ("openings of the popover", result["openings"], "1,000"),
        *[(f"{what} killed and started again", restarts[name], "50")
          for name, what in (("panel", "panel"), ("bus", "session bus"), ("notifications", "notification daemon"),
                             ("compositor", "compositor"))],
        ("times that the machine ran out of memory", result["out_of_memory"], "some"),
        ("private memory, before and after", f"{readings[1]['private']:.2f} and {readings[-1]['private']:.2f} MiB", ""),
        ("growth of it, between medians of five", f"{result['growth']:.2f} MiB", "under 1"),
        ("descriptors, but those of other processes", counts(readings, "descriptors"), "constant"),
        ("threads", counts(readings, "threads"), "constant"),
        ("samples in the history", result["samples"], ""),
        (f"samples missed in {len(result['stops'])} stops of the program", result["missed_on_purpose"], "some"),
        ("samples missed otherwise", others, "0"),
        ("exit status at the end", result["exit_status"], "0"),
    ]


def main():
    folder, picture = sys.argv[1:]
    with open(os.path.join(folder, "soak.json"), encoding="utf-8") as file:
        result = json.load(file)
    print("| what | seen | goal |\n|---|---|---|")
    for what, seen, goal in rows(result):
        print(f"| {what} | {seen} | {goal} |")
    print("\n" + ("Not as it must be: " + "; ".join(result["faults"]) + "." if result["faults"] else "All of it held."))
    lines = {name: [(reading["minutes"], reading[name]) for reading in result["readings"]]
             for name in ("private", "descriptors", "threads")}
    print(f"\n![Memory, descriptors and threads over the run](pictures/{os.path.basename(picture)})")
    with open(picture, "w", encoding="utf-8") as file:
        file.write(draw([Panel("Private memory with the popover closed, MiB", [Line("private", lines["private"])]),
                         Panel("Descriptors and threads", [Line(name, lines[name])
                                                           for name in ("descriptors", "threads")])], "minutes"))


if __name__ == "__main__":
    main()
