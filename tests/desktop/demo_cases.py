"""The demonstration: the real tray item and popover on the machine of a scenario."""

import json
import os
import subprocess

from cases import (Program, case, check, closed, desktop, equal, opened, score_of, wait_for_icon,
                   wait_for_item)
from desktop import Desktop, wait_for

# Readings that no machine which runs the tests has: they cost points that can be counted on.
STRAINED = {"thermalState": 3, "load": [40, 40, 40], "pressureLevel": 4,
            "processes": [{"pid": 640, "name": "builder", "phys_footprint": 2147483648}]}


def demo(place, scenario):
    """Starts the demonstration beside the program, on a scenario outside of the home directory."""
    path = os.path.join(place.folder, "scenario.json")
    with open(path, "w", encoding="utf-8") as file:
        json.dump(scenario, file)
    return DemoProgram(place, path)


class DemoProgram(Program):
    """Like the program under test; it too prints nothing."""

    def __init__(self, place, *arguments):
        self.printed = open(os.path.join(place.folder, "printed"), "ab+")
        self.process = place.spawn([binary("korvel-demo"), *arguments], stdout=self.printed,
                                   stderr=self.printed)


def binary(name):
    """A program that was built beside the one under test."""
    return os.path.join(os.path.dirname(os.path.abspath(Program.path)), name)


def simulated_scores(place, scenario):
    """The scores that the same scenario has in virtual time, by the second."""
    path = os.path.join(place.folder, "simulated.json")
    with open(path, "w", encoding="utf-8") as file:
        json.dump(scenario, file)
    trace = subprocess.run([binary("korvel-sim"), path], stdout=subprocess.PIPE, text=True,
                           check=True).stdout
    lines = [json.loads(line) for line in trace.splitlines()]
    return {line["t"]: line["score"] for line in lines if line["what"] == "snapshot"}


def files_in(folder):
    return sorted(os.path.join(parent, name) for parent, _, names in os.walk(folder)
                  for name in names)


@case("xfce4-panel")
def demo_shows_the_scenarios_score_and_its_popover_and_writes_nothing():
    scenario = {"machine": STRAINED, "home": {".korvel-history.json": "[[1699999990,10,20]]"}}
    with desktop("xfce4-panel", program=False) as place:
        before = files_in(place.home)
        expected = simulated_scores(place, scenario)[1]
        check(expected < 72, f"a strained machine scores {expected}")
        # Views that had to be compiled at this start would be kept.
        place.environment["QML_DISK_CACHE"] = "aot,qmlc-read,qmlc-write"
        program = demo(place, scenario)
        item = wait_for_item(place)
        wait_for("the scenario's score in the tooltip", lambda: score_of(place, item) == expected)
        wait_for_icon(place)
        place.activate()
        opened(place)
        place.activate()
        closed(place)
        # It goes on without an end, and ends on a signal as the program does.
        equal(program.send(15), 0, "exit status")
        written = [path for path in files_in(place.home) if path not in before and "xfce4" not in path]
        equal(written, [], "written to the home directory")


@case("xfce4-panel")
def demo_lets_the_events_happen_at_their_seconds_and_ends_at_until():
    scenario = {"until": 8, "events": [{"at": 1, "do": "togglePopover"},
                                       {"at": 3, "do": "clickOutside"},
                                       {"at": 4, "set": STRAINED}]}
    with desktop("xfce4-panel", program=False) as place:
        scores = simulated_scores(place, scenario)
        check(scores[5] < scores[1], f"the machine does not get worse: {scores}")
        program = demo(place, scenario)
        item = wait_for_item(place)
        opened(place)
        equal(score_of(place, item), scores[1], "the score at first")
        closed(place)
        wait_for("the score after the event", lambda: score_of(place, item) == scores[5])
        check(not place.popover(), "the popover is open again")
        equal(program.exit_status(10), 0, "exit status at the end")


@case()
def demo_says_what_is_wrong_in_one_line():
    def said(*arguments):
        result = subprocess.run([binary("korvel-demo"), *arguments], env=place.environment,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                timeout=10, check=False)
        return result.returncode, result.stdout

    usage = "usage: korvel-demo [--pictures FOLDER] SCENARIO.json | --help | --version\n"
    with Desktop() as place:
        wrong = os.path.join(place.folder, "wrong.json")
        with open(wrong, "w", encoding="utf-8") as file:
            file.write('{"untill": 5}')
        for arguments in [(), ("-x",), ("",), (wrong, wrong), ("--pictures", wrong),
                          ("--help", wrong)]:
            equal(said(*arguments), (2, usage), f"with {arguments}")
        place.environment["DISPLAY"] = ":9999"
        equal(said("--help")[0], 0, "help without a display")
        check(said("--version")[1].startswith("korvel-demo "), "version without a display")
        equal(said(wrong), (2, f'korvel-demo: {wrong}: unknown key "untill"\n'), "a wrong scenario")
        equal(said("/none.json"), (2, "korvel-demo: cannot read /none.json\n"), "no scenario")
        right = os.path.join(place.folder, "right.json")
        with open(right, "w", encoding="utf-8") as file:
            file.write("{}")
        equal(said(right), (1, "korvel-demo: there is no display to open on\n"), "no display")
        equal(said("--pictures", "/proc/none", right),
              (1, "korvel-demo: cannot write pictures to /proc/none\n"), "no folder")


@case()
def pictures_of_a_scenario_are_the_same_each_time():
    scenario = {"screen": {"visibleHeight": 400}, "machine": STRAINED,
                "events": [{"at": 2, "do": "toggleBreakdown"}]}
    with Desktop() as place:
        path = os.path.join(place.folder, "short.json")
        with open(path, "w", encoding="utf-8") as file:
            json.dump(scenario, file)
        taken = []
        for folder in ("first", "second"):
            folder = os.path.join(place.folder, folder)
            subprocess.run([binary("korvel-demo"), "--pictures", folder, path],
                           env=place.environment, timeout=20, check=True)
            equal(sorted(os.listdir(folder)), ["short-dark.png", "short-light.png"], "files")
            taken.append([open(name, "rb").read() for name in files_in(folder)])
        equal(taken[0] == taken[1], True, "the same pictures twice")
        check(taken[0][0] != taken[0][1], "light and dark look the same")
        # Width and height stand at the begin of the file. Around the panel lies its shadow.
        width, height = (int.from_bytes(taken[0][0][at:at + 4], "big") for at in (16, 20))
        check(680 <= width <= 840 and 840 <= height <= 1000, f"{width} by {height} pixels")
