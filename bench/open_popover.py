#!/usr/bin/python3
"""Measures what a refresh costs while the popover is open and the score changes each time, and while it stands
still. Prints JSON.

    open_popover.py BUILD-FOLDER [SECONDS]     120 by default

Milliseconds of processor time of all threads of the program, and how often they were woken; medians of the
refreshes, of each kind.
"""

import json
import os
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.dont_write_bytecode = True
sys.path[:0] = [os.path.join(ROOT, folder) for folder in ("tests/desktop", "bench")]

from desktop import Desktop, Failure, wait_for  # noqa: E402
from refresh import SETTLED, Load, Watch, medians  # noqa: E402


def measured(place, program, seconds):
    load = Load(place)
    process = place.spawn(load.command(program))
    wait_for("the item", place.items)
    time.sleep(SETTLED)
    place.activate()
    wait_for("the popover", place.popover)
    place.xdotool("mousemove", 2, 300)
    time.sleep(6)
    watch = Watch(place, {"korvel": process.pid})
    watch.run(seconds, load.next)
    if not place.popover():
        raise Failure("the popover did not stay open")
    place.end(process)
    wait_for("the tray without it", lambda: not place.items())
    return medians(watch.refreshes("korvel"))


def main():
    build, seconds = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 120
    with Desktop() as place:
        place.start_panel("xfce4-panel")
        result = measured(place, os.path.join(build, "bin", "korvel"), seconds)
    json.dump(result, sys.stdout, indent=1)


if __name__ == "__main__":
    main()
