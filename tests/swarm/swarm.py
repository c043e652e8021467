"""Runs korvel_swarm in several processes, and tells what they found. script/swarm starts it."""

import argparse
import collections
import json
import os
import subprocess
import sys
from pathlib import Path

import shrink

SOURCE = Path(__file__).resolve().parents[2]
PROGRAM = SOURCE / "build/release/bin/korvel_swarm"
PAGE = SOURCE / "docs/reliability.md"
sys.path.insert(0, str(SOURCE / "tests/support"))

import taken_on  # noqa: E402
import written_section  # noqa: E402

YEAR = 365.25 * 86400
# What comes of the events, besides them. Where one of these never happened in a long run, the worlds are too tame.
OUTCOMES = [
    "a clearing gained", "a clearing gained nothing", "a preview ended", "a search found holders",
    "a search found nothing", "check: no feed", "check: nothing newer", "check: something newer",
    "disk space was cleared", "installation: Can't write to Applications. The new version is in Finder; drag it over.",
    "installation: Could not replace the app: It cannot be moved.", "installation: Download failed",
    "installation: Update could not be unpacked", "installation: Update failed its integrity check",
    "installation: Update is not signed by Oxbrook; refusing to install", "installation: done",
    "keep-awake came to its end", "keep-awake could not be taken up", "keep-awake had ended before the launch",
    "keep-awake was refused", "keep-awake was taken up at a launch", "launch: as before", "launch: of a new version",
    "launch: the first", "notification", "the history could not be saved", "the popover opened by itself",
    "tool could not be started: /bin/bash", "tool could not be started: /usr/bin/codesign",
    "tool could not be started: /usr/bin/ditto", "tool could not be started: /usr/bin/vmmap",
]
LONG_ENOUGH = 250  # worlds, in which every kind of event must have happened


def build():
    """Builds the program, unless it is there already and nothing has changed."""
    configure = [] if (SOURCE / "build/release/build.ninja").exists() else [["cmake", "--preset", "release"]]
    for command in (*configure, ["cmake", "--build", "--preset", "release", "--target", "korvel_swarm"]):
        done = subprocess.run(command, cwd=SOURCE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              check=False)
        if done.returncode != 0:
            raise SystemExit(done.stdout[-4000:])


def event_kinds():
    return subprocess.run([PROGRAM, "--kinds"], stdout=subprocess.PIPE, text=True, check=True).stdout.splitlines()


def play(seconds, first, jobs):
    """What the processes print, each the seeds that are its own."""
    running = [subprocess.Popen([PROGRAM, str(seconds), str(first + job), str(jobs)], stdout=subprocess.PIPE, text=True)
               for job in range(jobs)]
    return [(one.communicate()[0], one.returncode) for one in running]


def tell_of_break(said):
    """Prints the broken rule, and the least list of events that breaks it."""
    print(said.strip())
    if not said.startswith("seed "):
        return
    seed = said.split()[1].rstrip(":")
    sentence, events = shrink.cut_down(PROGRAM, seed)
    if not sentence:
        print("the world by itself does not break it: it takes those that were played before it")
        return
    print(f"{sentence} The least that breaks it, for script/swarm --replay:\n" + "\n".join(events))
    scenario = shrink.scenario(PROGRAM, events)
    if scenario:
        print("the same as a scenario of korvel-sim:\n" + scenario, end="")


def total(results):
    """The sum of what several processes counted."""
    figures, events = collections.Counter(), collections.Counter()
    for said, _ in results:
        found = json.loads(said)
        events.update(found.pop("events"))
        figures.update(found)
    return figures, events


def never_happened(figures, events):
    """Which kinds of events and outcomes a run never had that was long enough for all of them."""
    if figures["worlds"] < LONG_ENOUGH:
        return []
    return [name for name in event_kinds() + OUTCOMES if not events[name]]


def table(figures, events, jobs):
    """The figures of a run as a table, and how often each thing happened."""
    years, days = figures["passed"] / YEAR, figures["ran"] / 86400
    rows = [
        ("simulated time, with sleep and the time between two launches", f"{years:,.1f} years", "100 in 90 minutes"),
        ("of it the program ran for", f"{days:,.0f} days", ""),
        ("passed, on the clock", f"{figures['seconds'] / jobs:,.0f} s", ""),
        ("processes, and their processor time", f"{jobs}, {figures['processor']:,.0f} s", ""),
        ("simulated days a second of a processor", f"{figures['passed'] / 86400 / figures['processor']:,.1f}", "10"),
        ("days of the running program, likewise", f"{days / figures['processor']:,.1f}",
         "3.4: 100 years in 90 minutes of two"),
        ("worlds", f"{figures['worlds']:,}", ""),
        ("launches", f"{figures['launches']:,}", ""),
        ("turns of the run loop, each with all invariants", f"{figures['turns']:,}", ""),
        ("broken invariants", "0", "0"),
    ]
    lines = ["| figure | value | goal |", "|---|---|---|"] + [f"| {' | '.join(row)} |" for row in rows]
    counted = ", ".join(f"{name} {count:,}" for name, count in sorted(events.items()))
    return "\n".join(lines) + "\n\nHow often each thing happened: " + counted + ".\n"


def run(words):
    jobs = words.jobs or os.cpu_count() or 1
    if words.seconds == 0:
        jobs = 1
    results = play(max(words.seconds, 0.001), words.seed, jobs)
    broken = [said for said, status in results if status != 0]
    for said in broken:
        tell_of_break(said)
    if broken:
        return 1
    figures, events = total(results)
    text = table(figures, events, jobs)
    print(text, end="")
    missing = never_happened(figures, events)
    if missing:
        print(f"never happened: {', '.join(missing)}")
        return 1
    if words.write:
        written_section.write(PAGE, "swarm", taken_on.taken_on() + "\n\n" + text)
    return 0


def main(arguments, usage):
    parser = argparse.ArgumentParser(usage=usage, add_help=False)
    parser.add_argument("seconds", nargs="?", default="120")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int)
    parser.add_argument("--replay")
    parser.add_argument("--planted", action="store_true")
    parser.add_argument("--sentences", action="store_true")
    parser.add_argument("--write", action="store_true")
    words = parser.parse_args(arguments)
    if words.planted:
        import planted  # needs a build of its own
        return planted.run(SOURCE, PAGE, "" if words.seconds == "120" else words.seconds, words.jobs, words.write)
    words.seconds = float(words.seconds)
    build()
    if words.sentences:
        return subprocess.run([PROGRAM, "--sentences"], check=False).returncode
    if words.replay:
        return subprocess.run([PROGRAM, "--replay", words.replay], check=False).returncode
    return run(words)
