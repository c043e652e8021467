"""The real popover on the machine's own readings: read, worked with keys and mouse, looked at."""

import contextlib
import os
import re
import signal
import subprocess
import sys
import time

from cases import PALETTE, Load, Program, Skip, case, check, closed, equal, geometry, opened
from desktop import Desktop, Failure, wait_for

try:
    import accessible
except ImportError as missing:  # python3-dbus is not there
    accessible = None
    absent = str(missing)

LAUNCHER = "/usr/libexec/at-spi-bus-launcher"
BALLAST = """
import ctypes, os, sys, time
ctypes.CDLL(None).prctl(15, os.fsencode(sys.argv[1]))
held = b"1" * int(sys.argv[2])
print("held", flush=True)
time.sleep(600)
"""
METRICS = {
    "CPU": r"CPU \d+%, load \d+\.\d\d across \d+ cores",
    "MEMORY": r"Memory \d+%, \d+\.\d GB free to use, [^;]+",
    "SWAP": r"Swap \d+%, (\d+\.\d GB held, frees as apps quit|actively paging, genuine pressure)",
    "THERMAL": r"Thermal( \d+%, Linux thermal state: [^;]+|, not reported here)",
    "DISK": r"Disk( \d+%, -?\d+ GB free|, not reported here)",
}
VERDICTS = [(88, "Excellent"), (72, "Healthy"), (55, "Fair"), (35, "Strained"), (0, "Critical")]
FACTOR = r"(Memory|Disk|CPU|Load|Swap|Thermal), (no|\d+) points? lost, .+"
PROCESS = r"(?s).*, (\d+\.\d\d) GB"


@contextlib.contextmanager
def screen_reader(portal=None, environment=None, before=None, **options):
    """A desktop with the popover open, and the tree of what a screen reader sees of it. `before`
    is called with the desktop before the program starts.
    """
    if accessible is None:
        raise Skip(absent)
    with Desktop(**options) as place:
        if portal is not None:
            start_portal(place, portal)
        place.environment.update(environment or {})
        if before is not None:
            before(place)
        tree = accessible.start(place)
        Program(place)
        wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
        time.sleep(1)  # the second sample of the launch, with which there is a load to show
        open_popover(place)
        yield place, tree
        with open(os.path.join(place.folder, "printed"), "rb") as printed:
            equal(printed.read(), b"", "printed by the program")


def open_popover(place):
    """Opens it as a second start does, and gives it the keyboard."""
    equal(Program(place).exit_status(), 0, "exit status of a second start")
    window = opened(place)
    wait_for("the keyboard", lambda: place.xdotool("getwindowfocus") == window)
    return window


def start_portal(place, scheme):
    """Starts the desktop's settings; 1 is dark, 2 is light."""
    place.spawn([os.path.join(os.path.dirname(os.path.abspath(__file__)), "fake_portal"),
                 str(scheme)])
    wait_for("the portal", lambda: place.owner("org.freedesktop.portal.Desktop"))


def heaviest(tree):
    """The sizes of the listed processes, in GB."""
    sizes = [re.fullmatch(PROCESS, node.name) for node in tree.nodes(lambda node: node.role == "label")]
    return [float(size.group(1)) for size in sizes if size]


def start_heavy(place, tree, name):
    """A process of this name that is among the heaviest of the machine."""
    heavier = max(heaviest(tree), default=0) + 0.2
    process = place.spawn([sys.executable, "-c", BALLAST, name, str(int(heavier * 1e9))],
                          stdout=subprocess.PIPE, text=True)
    equal(process.stdout.readline(), "held\n", "the heavy process")
    return process


def wakings_of(program):
    """How often the program has gone to sleep and woken so far."""
    with open(f"/proc/{program.process.pid}/status", encoding="ascii") as status:
        return int(re.search(r"\nvoluntary_ctxt_switches:\s+(\d+)", status.read()).group(1))


def visual_order(nodes):
    return sorted(nodes, key=lambda node: (node.box()[1], node.box()[0]))


def picture(place):
    return place.screenshot().crop(*geometry(place, opened(place)))


def arc_begins(place):
    """Whether the score's arc is seen at twelve o'clock of its place in the header."""
    return picture(place).crop(40, 12, 8, 4).box(PALETTE)


def beside_the_dial(place):
    """The part of the picture that nothing moves in: it changes with a refresh alone."""
    shown = picture(place)
    return shown.crop(76, 0, shown.width - 76, shown.height).rgb


# For a screen reader.


@case(LAUNCHER)
def screen_reader_reads_the_score_the_verdict_and_every_row():
    with screen_reader() as (_, tree):
        score = int(tree.match(r"Health score \d+").name.split()[-1])
        verdict = next(verdict for least, verdict in VERDICTS if score >= least)
        names = [node.name for node in tree.nodes()]
        # Both may have been read on two sides of a refresh.
        check(verdict in names or f"Health score {score}" not in names,
              f"no verdict {verdict!r} for {score} in {names}")
        rows = [tree.match(pattern) for pattern in METRICS.values()]
        equal(rows, visual_order(rows), "the rows from the top")
        equal([row.role for row in rows], ["label"] * len(rows), "roles of the rows")
        caption = tree.find("HEAVIEST")
        check(caption.box()[1] > rows[-1].box()[1], "the list is not under the rows")


@case(LAUNCHER, alone=True)
def every_button_has_a_name_and_a_quit_button_says_what_it_does():
    with screen_reader() as (place, tree):
        start_heavy(place, tree, "korvel-ballast")
        tree.find("Quit korvel-ballast", 20)
        buttons = tree.buttons()
        check(len(buttons) >= 3, f"only {buttons}")
        equal([button for button in buttons if not button.name], [], "buttons without a name")
        for button in buttons:
            if button.name.startswith("Quit ") and button.name != "Quit Halden":
                equal(button.description(), "Sends SIGTERM so it closes cleanly", "what it does")


@case(LAUNCHER, alone=True)
def nothing_is_without_a_name_for_a_screen_reader():
    with screen_reader(size="800x480") as (place, tree):  # where there is a scroll bar
        start_heavy(place, tree, "korvel-ballast")
        tree.find("Quit korvel-ballast", 20)
        for toggle, other in (("what's affecting this", "hide breakdown"),
                              ("hide breakdown", "what's affecting this")):
            tree.find(toggle).press()
            tree.find(other)
            found = tree.nodes(hidden=True)
            check(len(found) > 10, f"only {found}")
            equal([node for node in found if not node.name], [], "things without a name")
            equal([node for node in found if node.role == "scroll bar"], [], "scroll bars")


@case(LAUNCHER)
def screen_reader_that_starts_while_the_popover_is_open_reads_it():
    if accessible is None:
        raise Skip(absent)
    with Desktop() as place:
        Program(place)
        wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
        open_popover(place)
        tree = accessible.start(place)
        tree.match(r"Health score \d+")
        tree.find("what's affecting this").press()
        tree.find("hide breakdown")


@case(LAUNCHER)
def screen_reader_opens_and_closes_the_breakdown():
    # Tall enough for a popover that tells of a busy machine, and can still grow.
    with screen_reader(size="800x1200") as (place, tree):
        window = place.popover()
        height = geometry(place, window)[3]
        equal(tree.nodes(lambda node: re.fullmatch(FACTOR, node.name)), [], "factors while closed")
        tree.find("what's affecting this").press()
        tree.find("hide breakdown")
        factors = tree.nodes(lambda node: re.fullmatch(FACTOR, node.name))
        check(len(factors) >= 5, f"only {factors}")
        tree.find("points lost, out of 100")
        wait_for("a taller popover", lambda: geometry(place, window)[3] > height)
        tree.find("hide breakdown").press()
        tree.find("what's affecting this")
        equal(tree.nodes(lambda node: re.fullmatch(FACTOR, node.name)), [], "factors after it")


@case(LAUNCHER, alone=True)
def screen_reader_quits_a_process_with_sigterm():
    with screen_reader() as (place, tree):
        child = start_heavy(place, tree, "korvel-ballast")
        button = tree.find("Quit korvel-ballast", 20)
        check(child.poll() is None, "it ended before the button was pressed")
        button.press()
        wait_for("the end of the process", lambda: child.poll() is not None)
        equal(child.returncode, -signal.SIGTERM, "how it ended")
        # The refresh 1.2 s after the signal takes it from the list.
        wait_for("the line gone", lambda: not tree.nodes(
            lambda node: node.name == "Quit korvel-ballast"))


@case(LAUNCHER, alone=True)
def process_that_ended_before_its_button_was_pressed_does_no_harm():
    with screen_reader() as (place, tree):
        child = start_heavy(place, tree, "korvel-ballast")
        button = tree.find("Quit korvel-ballast", 20)
        place.end(child, signal.SIGKILL)
        with contextlib.suppress(accessible.dbus.DBusException):  # a refresh may have come between
            button.press()
        wait_for("the line gone", lambda: not tree.nodes(
            lambda node: node.name == "Quit korvel-ballast"))
        check(place.popover(), "the popover closed")


@case(LAUNCHER, alone=True)
def names_with_markup_are_shown_as_typed():
    with screen_reader() as (place, tree):
        for name in ("<b>x</b>", "&amp; %n {0}"):
            start_heavy(place, tree, name)
            tree.find("Quit " + name, 20)
            line = tree.match(re.escape(name) + r", \d+\.\d\d GB")
            # An entity or a tag taken for markup would have made it shorter.
            equal(line.role, "panel", "its role")


# With the keyboard.


@case(LAUNCHER)
def tab_reaches_the_buttons_from_the_top_and_space_and_return_press():
    with screen_reader() as (place, tree):

        def focused():
            found = tree.nodes(lambda node: node.has(accessible.FOCUSED) and "button" in node.role)
            return found[0] if found else None

        def round_of_tabs():
            """The buttons in the order of the key; None when a refresh changed them meanwhile."""
            buttons = [node.name for node in visual_order(tree.buttons())]
            seen = []
            for _ in buttons:
                before = focused()
                place.xdotool("key", "Tab")
                wait_for("the next button", lambda: (now := focused()) and (
                    not before or now.reference != before.reference))
                seen.append(focused().name)
            if buttons != [node.name for node in visual_order(tree.buttons())]:
                return None
            return buttons, seen

        for _ in range(5):
            result = round_of_tabs()
            if result:
                break
            place.xdotool("key", "Escape")
            closed(place)
            open_popover(place)
        check(result, "the list did not stand still")
        buttons, seen = result
        start = buttons.index(seen[0])  # all the buttons in turn, wherever it begins
        equal(seen, buttons[start:] + buttons[:start], "the order of the Tab key")

        for key, after in (("space", "hide breakdown"), ("Return", "what's affecting this")):
            for _ in range(len(buttons) + 2):
                now = focused()
                if now and now.name in ("hide breakdown", "what's affecting this"):
                    break
                place.xdotool("key", "Tab")
                time.sleep(0.2)
            place.xdotool("key", key)
            tree.find(after)
        place.xdotool("key", "Escape")
        closed(place)


# The screen.


@case(LAUNCHER, alone=True)
def popover_is_as_tall_as_allowed_and_scrolls_to_its_end():
    for visible in (480, 520):
        with screen_reader(size=f"800x{visible}") as (place, tree):
            start_heavy(place, tree, "korvel-ballast")
            tree.find("Quit korvel-ballast", 20)
            tree.find("what's affecting this").press()
            tree.find("hide breakdown")
            window = place.popover()
            allowed = max(visible - 60, 420)
            wait_for(f"the tallest popover of {visible} pixels",
                     lambda: geometry(place, window)[2:] == (340, allowed))
            x, y, width, height = wait_for("the popover inside the screen", lambda: (
                box := geometry(place, window)) and box[1] >= 0 and
                box[1] + box[3] <= visible and box)

            def last():
                """Where the content ends; None while there is no list."""
                lines = tree.nodes(lambda node: node.role == "label" and re.fullmatch(PROCESS, node.name))
                return max((line.box()[1] + line.box()[3] for line in lines), default=None)

            bottom = wait_for("a process in the list", last)
            check(bottom > y + height, f"nothing to scroll: the end is at {bottom}")
            check(arc_begins(place), "no arc in the picture")
            place.xdotool("mousemove", x + width // 2, y + height // 2)
            place.xdotool("click", "--repeat", 40, "--delay", 20, 5)
            wait_for("the end of the content", lambda: (end := last()) and end <= y + height)
            score = tree.match(r"Health score \d+")
            check(score.box()[1] < y, "the header is still in its place")
            wait_for("the arc out of the picture", lambda: not arc_begins(place))
            place.xdotool("click", "--repeat", 40, "--delay", 20, 4)
            wait_for("the beginning again", lambda: tree.match(r"Health score \d+").box()[1] > y)


@case(LAUNCHER)
def popover_at_twice_the_scale_is_inside_the_screen():
    with screen_reader(size="1600x1300", environment={"QT_SCALE_FACTOR": "2"}) as (place, _):
        x, y, width, height = geometry(place, place.popover())
        equal(width, 680, "width in device pixels")
        check(x >= 0 and y >= 0 and x + width <= 1600 and y + height <= 1300,
              f"the popover is at {(x, y, width, height)}")
        # Drawn at that scale, not enlarged: the pixels within 2x2 blocks are not all equal.
        shown = picture(place)
        rows = [shown.rgb[i * shown.width * 3:(i + 1) * shown.width * 3]
                for i in range(shown.height)]
        equal_pairs = sum(rows[i] == rows[i + 1] for i in range(0, shown.height - 1, 2))
        check(equal_pairs < 0.9 * (shown.height // 2), "the picture is an enlarged one")


@case(LAUNCHER)
def dark_switched_to_light_while_open_is_followed():
    with screen_reader(portal=1) as (place, _):
        window = place.popover()

        def ground():
            return sum(picture(place).crop(170, 5, 1, 1).rgb) / 3

        def prefer(scheme):
            place.call("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                       "com.oxbrook.korvel.test.Prefer", str(scheme))

        wait_for("a dark ground", lambda: ground() < 64)
        prefer(2)
        wait_for("a light ground", lambda: ground() > 192)
        prefer(1)
        wait_for("a dark ground again", lambda: ground() < 64)
        equal(place.popover(), window, "the window")


@case("unshare", alone=True)
def nothing_is_painted_between_two_refreshes():
    with Desktop() as place:
        load = Load(place)
        program = Program(place, load=load)
        wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
        open_popover(place)
        place.xdotool("mousemove", 2, 300)
        time.sleep(2)  # past the second sample of the launch
        for attempt in range(4):
            before = beside_the_dial(place)
            load.set(attempt + 1.11)  # the next refresh is seen by it
            asked = earliest = time.monotonic()
            while beside_the_dial(place) == before:
                check(time.monotonic() - asked < 15, "no refresh is seen")
                earliest = time.monotonic()
            time.sleep(1)  # the score moves for 0.35 s
            wakings = wakings_of(program)
            shown = picture(place).rgb
            time.sleep(max(0, earliest + 4 - time.monotonic()))
            again = picture(place).rgb
            wakings = wakings_of(program) - wakings
            if time.monotonic() < earliest + 4.8:  # the next refresh is 5 s after that one
                check(shown == again, "the picture changed between two refreshes")
                # An animation wakes it 60 times a second.
                check(wakings < 20, f"{wakings} wakings between two refreshes")
                return
        raise Failure("the machine is too slow for two pictures between two refreshes")


NO_TRAY = "This desktop shows no tray for the score. On GNOME, the AppIndicator extension adds one. " \
          "Until then, start Korvel again to open this."
TRAY = "Your score lives in the tray. Click it for the detail."


def to_be_greeted(place):
    place.set_defaults(seenBuild=None)


@case(LAUNCHER, "xfce4-panel")
def welcome_says_how_to_get_a_tray_until_there_is_one():
    with screen_reader(before=to_be_greeted) as (place, tree):
        tree.find(NO_TRAY)
        place.start_panel("xfce4-panel")
        tree.find(TRAY, 15)
        equal(tree.nodes(lambda node: node.name == NO_TRAY), [], "the line of before")


@case(LAUNCHER, "trayer")
def welcome_knows_an_xembed_tray():
    def before(place):
        to_be_greeted(place)
        place.start_panel("trayer")

    with screen_reader(before=before) as (_, tree):
        tree.find(TRAY, 15)
