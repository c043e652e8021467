"""What is seen of the program on a desktop, case by case."""

import concurrent.futures
import contextlib
import json
import multiprocessing
import os
import re
import signal
import subprocess
import sys
import time
import traceback

from desktop import Desktop, Failure, missing_tools, wait_for

GREEN, AMBER, RED = (79, 217, 130), (255, 184, 77), (255, 92, 92)
PALETTE = [GREEN, AMBER, RED]
TOOLS = ["Xvfb", "openbox", "dbus-daemon", "dbus-monitor", "gdbus", "xdotool", "xprop", "xclock"]
CASES = []
ALONE = set()
BEFORE = {}


def case(*tools, alone=False, before=None):
    """Registers a case; `tools` are the panels and the like that it needs beside the common ones.
    One that starts heavy processes, or counts what the machine does, runs alone. `before` makes
    what several cases share; it is called once, ahead of the first of them.
    """

    def register(function):
        CASES.append((function.__name__, function, tools))
        if alone:
            ALONE.add(function.__name__)
        if before is not None:
            BEFORE[function.__name__] = before
        return function

    return register


def check(holds, message):
    if not holds:
        raise Failure(message)


def equal(seen, expected, what):
    check(seen == expected, f"{what}: {seen!r}, not {expected!r}")


class Program:
    """The program under test on a desktop. It must never print anything."""

    path = ""

    def __init__(self, desktop, *arguments, load=None, command=None):
        self.printed = open(os.path.join(desktop.folder, "printed"), "ab+")
        command = command or (load.command(Program.path) if load else [Program.path])
        self.process = desktop.spawn([*command, *arguments], stdout=self.printed,
                                     stderr=self.printed)

    def running(self):
        return self.process.poll() is None

    def exit_status(self, seconds=10):
        try:
            return self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            raise Failure(f"still running after {seconds} s") from None

    def send(self, number):
        self.process.send_signal(number)
        return self.exit_status()


@contextlib.contextmanager
def desktop(panel=None, program=True, **options):
    with Desktop(**options) as place:
        if panel:
            place.start_panel(panel)
        yield (place, Program(place)) if program else place
        with open(os.path.join(place.folder, "printed"), "rb") as printed:
            equal(printed.read(), b"", "printed by the program")


def icon_box(place):
    """Where the icon is: the coloured tile; its edge is a shade darker."""
    return place.screenshot().box(PALETTE)


def wait_for_icon(place, seconds=10):
    box = wait_for("the icon in the tray", lambda: icon_box(place), seconds)
    time.sleep(0.2)  # a panel may still be moving it
    return icon_box(place) or box


def middle(box):
    return box[0] + box[2] // 2, box[1] + box[3] // 2


def wait_for_item(place):
    return wait_for("the item on the bus", place.items)[0]


def menu_of(place, item):
    return place.call(item, "/MenuBar", "com.canonical.dbusmenu.GetLayout", "0", "-1", "[]")


def choose(place, label):
    """Chooses from the item's menu, as a panel does that shows it."""
    item = wait_for_item(place)
    number = re.search(rf"\((\d+), \{{[^}}]*'{label}'", menu_of(place, item)).group(1)
    place.call(item, "/MenuBar", "com.canonical.dbusmenu.Event", number, "clicked", "<0>", "0")


def score_of(place, item):
    """The score in the item's tooltip."""
    found = re.search("● ([0-9]+) · ", place.property(item, "/StatusNotifierItem",
                                                      "org.kde.StatusNotifierItem", "ToolTip"))
    return int(found.group(1)) if found else None


def opened(place):
    return wait_for("the open popover", place.popover)


def closed(place):
    return wait_for("the closed popover", lambda: not place.popover())


def stays_closed(place, seconds=0.7):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        check(not place.popover(), "the popover opened again")
        time.sleep(0.05)


def stays_open(place, seconds=0.5):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        check(place.popover(), "the popover closed")
        time.sleep(0.05)


def history(place):
    """The rows of the history file."""
    path = os.path.join(place.home, ".korvel-history.json")
    check(os.path.exists(path), "there is no history file")
    with open(path, encoding="utf-8") as file:
        rows = json.load(file)
    check(all(len(row) == 3 for row in rows), f"a row is not three numbers: {rows!r}")
    return rows


def geometry(place, window):
    found = dict(line.split("=") for line in
                 place.xdotool("getwindowgeometry", "--shell", window).splitlines())
    return tuple(int(found[key]) for key in ("X", "Y", "WIDTH", "HEIGHT"))


class Skip(Exception):
    """The case cannot be run here, for this reason."""


class Load:
    """A load average that the program sees in place of the machine's own, set by the test."""

    def __init__(self, place):
        self.path = os.path.join(place.folder, "loadavg")
        self.set(0)

    def set(self, load):
        with open(self.path, "w", encoding="ascii") as file:
            file.write(f"{load:.2f} {load:.2f} {load:.2f} 1/100 1000\n")

    def command(self, program):
        """Starts the program in a mount namespace of its own, with this file as /proc/loadavg."""
        prefix = ["unshare", "--mount", "--propagation", "private", "sh", "-c",
                  'mount --bind "$0" /proc/loadavg && exec "$@"', self.path]
        if subprocess.run([*prefix, "true"], stderr=subprocess.DEVNULL, check=False).returncode:
            raise Skip("no mount namespaces for this user")
        return [*prefix, program]


# The icon.


@case("xfce4-panel")
def icon_is_in_a_status_notifier_panel():
    with desktop("xfce4-panel") as (place, _):
        box = wait_for_icon(place)
        check(14 <= box[2] <= 28 and 14 <= box[3] <= 28, f"the icon is {box[2]}x{box[3]}")
        check(box[1] + box[3] <= 29, f"the icon is at {box}, outside the panel")


@case("tint2")
def icon_is_in_an_xembed_tray_of_tint2():
    with desktop("tint2") as (place, _):
        box = wait_for_icon(place)
        check(14 <= box[2] <= 28 and box[1] + box[3] <= 32, f"the icon is at {box}")


@case("trayer")
def icon_is_in_an_xembed_tray_of_trayer():
    with desktop("trayer") as (place, _):
        box = wait_for_icon(place)
        check(14 <= box[2] <= 28 and box[1] + box[3] <= 32, f"the icon is at {box}")


@case("xfce4-panel", "unshare", alone=True)
def picture_changes_with_the_score_and_only_then():
    with desktop("xfce4-panel", program=False) as place:
        load = Load(place)
        Program(place, load=load)
        item = wait_for_item(place)
        box = wait_for_icon(place)
        pictures = {}

        def look():
            """Keeps the picture of the score, unless it changes in these moments."""
            score = score_of(place, item)
            time.sleep(0.3)  # the panel may still be drawing it
            picture = place.screenshot().crop(*box).rgb
            if score is not None and score == score_of(place, item):
                check(pictures.setdefault(score, picture) == picture,
                      f"two pictures of the score {score}")
            return len(pictures)

        # Each load gives the score of an otherwise quiet machine another value.
        for average in (0, 0.6 * os.cpu_count(), 4 * os.cpu_count()):
            load.set(average)
            known = len(pictures)
            wait_for(f"another score for a load of {average}", lambda: look() > known, 12)
        equal(len(set(pictures.values())), len(pictures), f"pictures of {list(pictures)}")


@case("xfce4-panel")
def unchanged_icon_and_tooltip_are_not_sent_again():
    with desktop("xfce4-panel") as (place, _):
        item = wait_for_item(place)
        time.sleep(1.5)  # past the two samples of the launch
        monitor = place.spawn(["dbus-monitor", "--session", "--profile",
                               "type='signal',interface='org.kde.StatusNotifierItem'"],
                              stdout=subprocess.PIPE, text=True)
        time.sleep(0.2)
        seen = [score_of(place, item)]
        deadline = time.monotonic() + 11
        while time.monotonic() < deadline:
            score = score_of(place, item)
            if score != seen[-1]:
                seen.append(score)
            time.sleep(0.1)
        place.end(monitor)
        signals = monitor.stdout.read()
        for name in ("NewIcon", "NewToolTip"):
            equal(len(re.findall(rf"\b{name}\b", signals)), len(seen) - 1,
                  f"{name} signals while the score went {seen}")


@case("xfce4-panel")
def panel_restart_brings_the_icon_back():
    with desktop(program=False) as place:
        panel = place.start_panel("xfce4-panel")
        program = Program(place)
        wait_for_icon(place)
        place.end(panel, signal.SIGKILL)
        wait_for("the panel gone", lambda: not icon_box(place))
        place.start_panel("xfce4-panel")
        wait_for_icon(place)
        check(program.running(), "the program ended with the panel")


@case("xfce4-panel")
def panel_started_after_the_program_shows_the_icon():
    with desktop() as (place, _):
        time.sleep(3)  # longer than any grace
        place.start_panel("xfce4-panel")
        wait_for_item(place)
        wait_for_icon(place)


@case("trayer")
def xembed_tray_started_after_the_program_shows_the_icon():
    with desktop() as (place, _):
        time.sleep(1)
        place.start_panel("trayer")
        wait_for_icon(place, 15)


@case("trayer")
def xembed_tray_restart_brings_the_icon_back():
    with desktop(program=False) as place:
        tray = place.start_panel("trayer")
        Program(place)
        wait_for_icon(place)
        place.end(tray, signal.SIGKILL)
        wait_for("the tray gone", lambda: not icon_box(place))
        place.start_panel("trayer")
        wait_for_icon(place)


# The popover.


@case("xfce4-panel")
def click_opens_and_second_click_closes():
    with desktop("xfce4-panel") as (place, _):
        at = middle(wait_for_icon(place))
        for _ in range(2):
            place.click(*at)
            window = opened(place)
            x, y, width, height = geometry(place, window)
            equal(width, 340, "width of the popover")
            check(x >= 0 and x + width <= 800 and y >= 28 and y + height <= 600,
                  f"the popover is at {(x, y, width, height)}, outside the free area")
            check(at[0] - 340 <= x <= at[0], f"the popover is at {x}, away from the icon at {at}")
            time.sleep(0.5)
            place.click(*at)
            closed(place)
            stays_closed(place)


@case("tint2")
def click_opens_and_second_click_closes_in_an_xembed_tray():
    with desktop("tint2") as (place, _):
        at = middle(wait_for_icon(place))
        for _ in range(2):
            place.click(*at)
            x, y, width, height = geometry(place, opened(place))
            check(abs(x + width / 2 - at[0]) <= 340 / 2 + 8 and y >= 30,
                  f"the popover is at {(x, y, width, height)}, away from the icon at {at}")
            time.sleep(0.6)
            place.click(*at)
            closed(place)
            stays_closed(place)


@case("xfce4-panel")
def popover_shows_the_score():
    with desktop("xfce4-panel") as (place, _):
        place.click(*middle(wait_for_icon(place)))
        window = opened(place)
        time.sleep(0.5)
        x, y, width, _ = geometry(place, window)
        equal(width, 340, "width")
        # The dial: 56 wide, behind a padding of 16 at the left and of 14 at the top.
        arc = place.screenshot().crop(x + 16, y + 14, 56, 56).box(PALETTE)
        check(arc and arc[1] <= 1, f"the arc of the score is at {arc}: not from twelve o'clock")
        check(arc[0] + arc[2] >= 54, f"the arc of the score is at {arc}: not clockwise")


@case("xfce4-panel")
def escape_closes():
    with desktop("xfce4-panel") as (place, _):
        wait_for_item(place)
        place.activate()
        window = opened(place)
        wait_for("the keyboard", lambda: place.xdotool("getwindowfocus") == window)
        place.xdotool("key", "Escape")
        closed(place)
        place.activate()  # at once: only a loss of focus makes the item deaf
        opened(place)


@case("xfce4-panel")
def closing_click_does_not_open_it_again():
    with desktop("xfce4-panel") as (place, _):
        wait_for_item(place)
        place.spawn(["xclock", "-geometry", "100x100+10+400"])
        other = wait_for("another window", lambda: place.xdotool("search", "--name", "^xclock$"))
        for milliseconds in (50, 150, 250):
            for _ in range(5):
                place.activate()
                window = opened(place)
                wait_for("the keyboard", lambda: place.xdotool("getwindowfocus") == window)
                place.xdotool("windowactivate", other)
                lost = time.monotonic()
                time.sleep(milliseconds / 1000)
                place.activate()
                in_time = time.monotonic() - lost < 0.35
                closed(place)
                stays_closed(place)
                if in_time:
                    break  # else a slow machine made it a later click, which may open it
            check(in_time, f"no click after {milliseconds} ms came through in time")
        place.activate()
        opened(place)


@case("xfce4-panel")
def click_that_comes_while_it_stalls_soon_after_a_closing_one_opens_it():
    with Desktop() as place:
        place.start_panel("xfce4-panel")
        program = Program(place)
        at = middle(wait_for_icon(place))
        place.click(*at)
        opened(place)
        for _ in range(5):  # by chance it hears first of the press, or of the panel's call
            place.click(*at)
            closed(place)
            time.sleep(0.6)  # longer than two clicks are apart that are one double click
            program.process.send_signal(signal.SIGSTOP)
            place.click(*at)
            time.sleep(0.5)  # the panel hands it on
            program.process.send_signal(signal.SIGCONT)
            opened(place)


@case("xfce4-panel")
def closing_click_that_the_panel_hands_on_late_does_not_open_it_again():
    with Desktop() as place:
        panel = place.start_panel("xfce4-panel")
        Program(place)
        at = middle(wait_for_icon(place))
        tray = [panel.pid, *map(int, place.run(["pgrep", "-P", str(panel.pid)]).split())]
        place.click(*at)
        opened(place)
        for pid in tray:
            os.kill(pid, signal.SIGSTOP)
        place.click(*at)
        closed(place)
        time.sleep(1)  # longer than two clicks are apart that are one double click
        for pid in tray:
            os.kill(pid, signal.SIGCONT)
        stays_closed(place, 1.5)
        place.click(*at)  # another one
        opened(place)


@case("xfce4-panel")
def menu_opens_the_popover_and_quits():
    with desktop("xfce4-panel") as (place, program):
        item = wait_for_item(place)
        labels = []

        def starts_with_the_reading():
            labels[:] = re.findall(r"'label': <'([^']*)'>", menu_of(place, item))
            return f"'● {labels[0]}" in place.property(item, "/StatusNotifierItem",
                                                       "org.kde.StatusNotifierItem", "ToolTip")

        wait_for("the reading of the tooltip in the menu", starts_with_the_reading)
        equal(labels[1:], ["Check for Updates…", "Quit Korvel"], "the rest of the menu")
        for _ in range(2):  # it opens, and never closes
            choose(place, "[0-9]+ · [A-Za-z]+")
            opened(place)
            stays_open(place)
        choose(place, "Quit Korvel")
        equal(program.exit_status(), 0, "exit status")
        check(len(history(place)) >= 1, "the history is empty")


def open_menu(place, program):
    """By a right click on the icon in an XEmbed tray; once it is shown, and has the keyboard a moment later."""

    def windows():
        found = place.run(["xdotool", "search", "--onlyvisible", "--pid", str(program.process.pid)])
        return set(found.split())

    icon = middle(wait_for_icon(place))
    before = windows()
    place.click(*icon, button=3)
    wait_for("the menu", lambda: windows() - before)
    time.sleep(0.5)


@case("trayer")
def right_click_shows_the_menu_in_an_xembed_tray():
    with desktop("trayer") as (place, program):
        open_menu(place, program)
        place.xdotool("key", "Down", "Down", "Down", "Return")
        equal(program.exit_status(), 0, "exit status")
        history(place)


@case("trayer")
def menu_in_an_xembed_tray_starts_with_the_popover():
    with desktop("trayer") as (place, program):
        open_menu(place, program)
        place.xdotool("key", "Down", "Return")
        opened(place)
        stays_open(place)


@case("xfce4-panel")
def control_q_quits_while_the_popover_is_open():
    with desktop("xfce4-panel") as (place, program):
        wait_for_item(place)
        place.activate()
        window = opened(place)
        wait_for("the keyboard", lambda: place.xdotool("getwindowfocus") == window)
        place.xdotool("key", "ctrl+q")
        equal(program.exit_status(), 0, "exit status")
        history(place)


# One instance.


@case()
def second_start_opens_the_popover_without_a_tray():
    with desktop() as (place, first):
        wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
        second = Program(place)
        equal(second.exit_status(), 0, "exit status of the second")
        opened(place)
        equal(Program(place).exit_status(), 0, "exit status of the third")
        time.sleep(0.5)
        check(place.popover(), "a further start closed the popover")
        check(first.running(), "the first ended")


@case()
def of_many_started_at_once_one_runs():
    with desktop(program=False) as place:
        programs = [Program(place) for _ in range(5)]
        wait_for("all but one gone", lambda: sum(p.running() for p in programs) == 1)
        time.sleep(1)
        running = [p for p in programs if p.running()]
        equal(len(running), 1, "programs that run")
        equal([p.exit_status() for p in programs if p not in running], [0] * 4, "exit statuses")


@case("trayer")
def without_a_session_bus_it_runs_once_too():
    with desktop("trayer", bus=False) as (place, first):
        place.click(*middle(wait_for_icon(place)))
        opened(place)
        equal(Program(place).exit_status(), 0, "exit status of the second")
        check(first.running(), "the first ended")
        equal(first.send(signal.SIGTERM), 0, "exit status")
        third = Program(place)
        time.sleep(1)
        check(third.running(), "the lock outlives the program")
        equal(place.others_on_display(("dbus-daemon", "dbus-launch")), [], "buses started")


# The ends.


@case()
def signals_leave_a_full_history():
    for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP):
        with desktop() as (place, program):
            old = [[1600000000 + i, 1.5, 2.5] for i in range(43200)]
            if number == signal.SIGTERM:
                place.end(program.process)
                with open(os.path.join(place.home, ".korvel-history.json"), "w",
                          encoding="utf-8") as file:
                    json.dump(old, file)
                program = Program(place)
            wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
            time.sleep(1.5)
            equal(program.send(number), 0, f"exit status after {number.name}")
            rows = history(place)
            if number == signal.SIGTERM:
                equal(len(rows), 43200, "rows")
                equal(rows[0], old[2], "the oldest row after two samples")
            else:
                equal(len(rows), 2, "rows")


@case()
def signal_during_launch_ends_it_like_a_quit():
    with desktop() as (place, program):
        time.sleep(0.02)
        check(program.send(signal.SIGTERM) in (0, -signal.SIGTERM), "ended badly")


@case()
def loss_of_the_display_leaves_the_history():
    with desktop() as (place, program):
        wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
        time.sleep(1.5)
        place.end(place.x, signal.SIGKILL)
        check(program.exit_status() >= 0, "the program crashed")
        equal(len(history(place)), 2, "rows")


@case("xfce4-panel")
def loss_of_the_session_bus_is_survived():
    with desktop("xfce4-panel") as (place, program):
        # Not in the middle of the launch: Qt's own calls then end the process.
        wait_for_icon(place)
        place.end(place.bus, signal.SIGKILL)
        time.sleep(1)
        check(program.running(), "the program ended with the bus")
        equal(program.send(signal.SIGTERM), 0, "exit status")
        check(len(history(place)) >= 1, "the history is empty")


@case()
def without_a_display_it_ends_quietly():
    with desktop(program=False) as place:
        place.environment["DISPLAY"] = ":9999"
        program = Program(place)
        check(program.exit_status() > 0, "no failure without a display")


@case()
def arguments_are_ignored():
    with desktop(program=False) as place:
        program = Program(place, "--version", "-platform", "none", "--help")
        wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
        check(program.running(), "an argument ended it")


PASSED, FAILED, SKIPPED = "passed", "failed", "skipped"


def run_case(name, function, tools):
    """Runs a case and says how it went. A failed one stays failed: what passes now and then hides a
    fault of the program or of the case.
    """
    absent = missing_tools(tools)
    if absent:
        print(f"skip  {name}: not installed: {' '.join(absent)}", flush=True)
        return SKIPPED
    started = time.monotonic()
    try:
        function()
    except Skip as reason:
        print(f"skip  {name}: {reason}", flush=True)
        return SKIPPED
    except Exception as error:  # pylint: disable=broad-except
        print(f"FAIL  {name}: {error}", flush=True)
        if not isinstance(error, Failure):
            traceback.print_exc(file=sys.stdout)
        return FAILED
    print(f"pass  {name} ({time.monotonic() - started:.1f} s)", flush=True)
    return PASSED


def run_chosen(chosen):
    return run_case(*chosen)


def main(arguments):
    if len(arguments) < 2:
        print("usage: run PROGRAM [CASE...]", file=sys.stderr)
        return 2
    Program.path = os.path.abspath(arguments[1])
    chosen = [c for c in CASES if not arguments[2:] or c[0] in arguments[2:]]
    unknown = set(arguments[2:]) - {c[0] for c in CASES}
    if unknown:
        print("no such case: " + " ".join(sorted(unknown)), file=sys.stderr)
        return 2
    absent = missing_tools(TOOLS)
    if absent:
        print("skipped, not installed: " + " ".join(absent))
        return 77
    for prepare in dict.fromkeys(BEFORE[c[0]] for c in chosen if c[0] in BEFORE):
        prepare()
    # Side by side: each has a desktop of its own, and mostly waits.
    with concurrent.futures.ProcessPoolExecutor(2, multiprocessing.get_context("fork")) as pool:
        results = list(pool.map(run_chosen, [c for c in chosen if c[0] not in ALONE]))
    results += [run_case(*each) for each in chosen if each[0] in ALONE]
    print(", ".join(f"{results.count(result)} {result}" for result in (PASSED, FAILED, SKIPPED)))
    return 1 if FAILED in results else 77 if set(results) == {SKIPPED} else 0
