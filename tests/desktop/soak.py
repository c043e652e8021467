#!/usr/bin/python3
"""Lets the program run for hours on a private desktop where everything around it goes and comes back.

    soak.py PROGRAM FOLDER [--seconds N] [--heaptrack]

Per 144 seconds: twenty openings of the popover, four of them after its views were let go; panel, session bus,
notification daemon and compositor are killed and started again, once each. In every second of these rounds all
processors are busy, in every fifth the machine runs out of memory until the kernel ends what took it, and in
every tenth the program is stopped for 22 seconds, in which it must miss samples. At the end of each round, the
popover closed and its views let go, memory, descriptors and threads are read.

FOLDER gets soak.json. Exit status 1 when what must hold does not. For a run of N seconds the machine should do
nothing else: it is out of memory at times.
"""

import argparse
import contextlib
import json
import os
import re
import signal
import statistics
import subprocess
import sys
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from cases import PALETTE, Program, closed, history, middle, opened  # noqa: E402
from desktop import Desktop, Failure, wait_for  # noqa: E402
from notification_cases import DUNST  # noqa: E402
from window_cases import start_compositor  # noqa: E402

ROUND = 144
SHORT, LONG = 16, 4  # openings in a round, with the views of the one before and without
LET_GO = 13  # seconds after which the views of a closed popover are gone and their memory is back
INTERVAL = 5  # seconds between two samples
PANEL_HEIGHT = 28
STOPPED = 22
HOG = """
import mmap, sys
open("/proc/self/oom_score_adj", "w").write("1000")
kept = []
while True:
    kept.append(mmap.mmap(-1, 64 << 20, mmap.MAP_PRIVATE | mmap.MAP_ANONYMOUS | mmap.MAP_POPULATE))
"""


class Machine:
    """What surrounds the program, and is killed and started again."""

    def __init__(self, place):
        self.place = place
        config = os.path.join(place.folder, "dunstrc")
        with open(config, "w", encoding="utf-8") as file:
            file.write(DUNST)
        self.dunst_command = ["dunst", "-config", config]
        self.counts = dict.fromkeys(["panel", "bus", "notifications", "compositor"], 0)
        self.start_services()
        self.compositor = start_compositor(place)
        self.icon = None

    def start_services(self):
        self.panel = self.place.start_panel("xfce4-panel")
        self.notifications = self.place.spawn(self.dunst_command)

    def find_icon(self):
        """Where the icon is in the panel, once it stands still."""
        seen = []

        def still():
            box = self.place.screenshot().crop(0, 0, 800, PANEL_HEIGHT).box(PALETTE)
            seen.append(box)
            return box if box and seen[-4:] == [box] * 4 else None

        self.icon = middle(wait_for("the icon in the panel", still, 30))

    def restart(self, name):
        self.counts[name] += 1
        place = self.place
        if name == "panel":
            place.end(self.panel, signal.SIGKILL)
            self.panel = place.start_panel("xfce4-panel")
        elif name == "notifications":
            place.end(self.notifications, signal.SIGKILL)
            self.notifications = place.spawn(self.dunst_command)
        elif name == "compositor":
            place.end(self.compositor, signal.SIGKILL)
            self.compositor = start_compositor(place)
        else:
            # All that lives on the bus goes with it.
            place.end(place.bus, signal.SIGKILL)
            for process in (self.panel, self.notifications, place.xfconf):
                place.end(process, signal.SIGKILL)
            place.xfconf = None
            place.start_bus()
            self.start_services()
            wait_for("the item on the bus", place.items, 30)
        # The desktop ends at its own end what it started; of what has ended it need not know.
        place.started[:] = [process for process in place.started if process.poll() is None]
        if name in ("panel", "bus"):
            self.find_icon()

    def open_and_close(self, seconds):
        self.place.click(*self.icon)
        opened(self.place)
        time.sleep(seconds)
        self.place.click(*self.icon)
        closed(self.place)


@contextlib.contextmanager
def busy_processors(wanted):
    loops = [subprocess.Popen([sys.executable, "-c", "while True: pass"])
             for _ in range(os.cpu_count() if wanted else 0)]
    try:
        yield
    finally:
        for loop in loops:
            loop.kill()
            loop.wait()


def run_out_of_memory():
    """Takes all the memory that there is, until the kernel ends the taker."""
    taker = subprocess.Popen([sys.executable, "-c", HOG])
    try:
        status = taker.wait(300)
    finally:
        taker.kill()
        taker.wait()
    if status != -signal.SIGKILL:
        raise Failure(f"the machine did not run out of memory: {status}")


def descriptors(pid):
    """How many descriptors the process has, but those that it keeps of other processes: of these there are as many
    as there are processes."""
    kept = 0
    for number in os.listdir(f"/proc/{pid}/fd"):
        target = os.readlink(f"/proc/{pid}/fd/{number}")
        kept += re.match(r"/proc/\d+(/|$)", target) is not None
    return len(os.listdir(f"/proc/{pid}/fd")) - kept


def footprint(pid):
    """Private memory in MiB, descriptors and threads of the process."""
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
        sizes = {line.split(":")[0]: int(line.split()[1]) for line in file if line.endswith("kB\n")}
    return {"private": sizes["Private_Dirty"] / 1024, "descriptors": descriptors(pid),
            "threads": len(os.listdir(f"/proc/{pid}/task"))}


def one_round(number, machine, pid, result):
    """Gives the wall clock's stretch for which the program was stopped, or None."""
    stopped = None
    names = list(machine.counts)
    with busy_processors(number % 2 == 1):
        for opening in range(SHORT):
            machine.open_and_close(1)
            result["openings"] += 1
            time.sleep(0.5)
            if opening % 4 == 3:
                machine.restart(names[opening // 4])
    if number % 5 == 3:
        run_out_of_memory()
        result["out_of_memory"] += 1
    if number % 10 == 7:
        began = time.time()
        os.kill(pid, signal.SIGSTOP)
        time.sleep(STOPPED)
        os.kill(pid, signal.SIGCONT)
        stopped = began, time.time()
    for _ in range(LONG):
        time.sleep(LET_GO)
        machine.open_and_close(1)
        result["openings"] += 1
    return stopped


def missed_samples(rows, stops):
    """How many samples are missing between two of the history, and of these how many while it was stopped."""
    missed = purposely = 0
    for (before, *_), (after, *_) in zip(rows, rows[1:]):
        missing = round((after - before) / INTERVAL) - 1
        if missing > 0:
            missed += missing
            if any(began < after and before < ended for began, ended in stops):
                purposely += missing
    return missed, purposely


@contextlib.contextmanager
def pictured(place, folder):
    """Keeps a picture of the screen when what is done inside fails."""
    try:
        yield
    except Failure:
        place.screenshot().save(os.path.join(folder, "failure.png"))
        print(f"items: {place.items()}, popover: {place.popover() or 'none'}", file=sys.stderr)
        raise


def soak(program, seconds, command, folder):
    rounds = max(6, seconds // ROUND)
    result = {"openings": 0, "out_of_memory": 0, "readings": [], "stops": [], "processors": os.cpu_count()}
    Program.path = program
    with Desktop() as place, pictured(place, folder):
        machine = Machine(place)
        running = Program(place, command=command)
        machine.find_icon()
        pid = running.process.pid
        if command:
            pid = int(wait_for("the program", lambda: place.run(["pgrep", "-P", str(pid), "-x", "korvel"]).strip()))
        began = time.monotonic()
        for number in range(rounds):
            stop = one_round(number, machine, pid, result)
            result["stops"] += [stop] if stop else []
            time.sleep(LET_GO)
            result["readings"].append({"minutes": (time.monotonic() - began) / 60, **footprint(pid)})
            print(f"round {number + 1} of {rounds}: {result['readings'][-1]}", flush=True)
            time.sleep(max(0, began + (number + 1) * seconds / rounds - time.monotonic()))
        result["seconds"] = round(time.monotonic() - began)
        os.kill(pid, signal.SIGTERM)
        result["exit_status"] = running.exit_status(60)
        with open(running.printed.name, encoding="utf-8") as printed:
            result["printed"] = printed.read()
        rows = history(place)
        result["samples"] = len(rows)
        result["missed"], result["missed_on_purpose"] = missed_samples(rows, result["stops"])
        result["restarts"] = machine.counts
    return result


def growth(readings):
    """By how many MiB the private memory has grown since everything had happened once: medians of a few readings."""
    few = max(1, min(5, len(readings) // 3))
    private = [reading["private"] for reading in readings]
    return statistics.median(private[-few:]) - statistics.median(private[1:1 + few])


def faults(result, heaptrack):
    """What does not hold, one line each. Under heaptrack memory is that tool's too."""
    settled = result["readings"][1:]
    found = []
    if not heaptrack and result["growth"] >= 1:
        found.append(f"private memory grew by {result['growth']:.2f} MiB")
    for what in ("descriptors", "threads"):
        counts = {reading[what] for reading in settled}
        if len(counts) != 1:
            found.append(f"{what} were not constant: {sorted(counts)}")
    if result["missed"] != result["missed_on_purpose"]:
        found.append(f"{result['missed'] - result['missed_on_purpose']} samples were missed")
    if result["stops"] and result["missed_on_purpose"] == 0:
        found.append("no sample was missed while the program was stopped: they are not counted")
    if result["exit_status"] != 0 or (result["printed"] and not heaptrack):
        found.append(f"it ended with {result['exit_status']} and printed {result['printed']!r}")
    return found


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--seconds", type=int, default=7200)
    parser.add_argument("--heaptrack", action="store_true")
    parser.add_argument("program")
    parser.add_argument("folder")
    options = parser.parse_args()
    os.makedirs(options.folder, exist_ok=True)
    command = None
    if options.heaptrack:
        command = ["heaptrack", "-o", os.path.join(options.folder, "heaptrack"), options.program]
    try:
        result = soak(options.program, options.seconds, command, options.folder)
    except Failure as failure:
        print(failure, file=sys.stderr)
        return 1
    result["growth"] = growth(result["readings"])
    result["faults"] = faults(result, options.heaptrack)
    name = "soak-heaptrack.json" if options.heaptrack else "soak.json"
    with open(os.path.join(options.folder, name), "w", encoding="utf-8") as file:
        json.dump(result, file, indent=1)
    print("\n".join(result["faults"]) or "all held")
    return 1 if result["faults"] else 0


if __name__ == "__main__":
    sys.exit(main())
