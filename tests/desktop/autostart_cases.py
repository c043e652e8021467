"""The program as the session starts it, in a session in which a panel comes later, if at all."""

import os
import time

from cases import Program, Skip, case, check, closed, desktop, equal, opened, stays_closed, wait_for_icon
from desktop import wait_for
from remedy_cases import NAME, defaults
from tray_cases import BarDesktop
from update_site import SOURCE
from wayland_cases import qt_has_wayland

QUIET = 3  # seconds; an ordinary start greets after 1.2


def start_of_the_session():
    """The command by which a session starts the program, as its entry says, on the program of the test."""
    path = os.path.join(SOURCE, "packaging/linux/autostart/com.oxbrook.korvel.desktop")
    with open(path, encoding="utf-8") as file:
        entry = dict(line.split("=", 1) for line in file.read().splitlines() if "=" in line)
    words = entry["Exec"].split()
    equal((words[-1], entry["TryExec"]), ("korvel", "korvel"), "the name of the program")
    return [*words[:-1], Program.path]


def windows(place):
    """What is on the screen, by window."""
    return set(place.xdotool("search", "--onlyvisible", "--name", "").split())


def wait_quietly(place, program, looks):
    """Sees that nothing comes while there is no panel."""
    wait_for("the program's name", lambda: place.owner(NAME))
    before = looks()
    deadline = time.monotonic() + QUIET
    while time.monotonic() < deadline:
        equal(looks(), before, "what is on the screen")
        time.sleep(0.1)
    check(program.running(), "the program ended")
    check("whatsNewAutoShownBuild" not in defaults(place), "the greeting is spent")


@case("xfce4-panel")
def started_with_the_session_it_waits_for_a_panel_and_then_welcomes():
    with desktop(program=False) as place:
        place.set_defaults(seenBuild=None)
        program = Program(place, command=start_of_the_session())
        wait_quietly(place, program, lambda: windows(place))
        with open(f"/proc/{program.process.pid}/comm", encoding="utf-8") as name:
            check(name.read().startswith("korvel"), "another program runs")
        place.start_panel("xfce4-panel")
        wait_for_icon(place)
        opened(place)
        check("whatsNewAutoShownBuild" in defaults(place), "it will greet again")


@case("trayer")
def started_with_the_session_it_waits_for_an_xembed_tray_too():
    with desktop(program=False) as place:
        place.set_defaults(seenBuild=None)
        wait_quietly(place, Program(place, command=start_of_the_session()), lambda: windows(place))
        place.start_panel("trayer")
        wait_for_icon(place, 15)
        opened(place)


@case("sway", "swaymsg", "setpriv", "grim", "waybar")
def on_wayland_too_it_waits_for_a_bar():
    if not qt_has_wayland():
        raise Skip("not installed: qt6-wayland")
    with BarDesktop() as place:
        place.set_defaults(seenBuild=None)
        wait_quietly(place, Program(place, command=start_of_the_session()), place.windows)
        place.start_bar("waybar")
        wait_for("the greeting", place.windows)


@case("xfce4-panel")
def start_by_the_user_opens_the_popover_of_a_copy_that_waits_for_a_panel():
    with desktop(program=False) as place:
        place.set_defaults(seenBuild=None)
        waiting = Program(place, command=start_of_the_session())
        wait_quietly(place, waiting, lambda: windows(place))
        equal(Program(place, command=start_of_the_session()).exit_status(), 0, "status of another of the session")
        stays_closed(place)
        equal(Program(place).exit_status(), 0, "status of one of the user")
        window = opened(place)
        wait_for("the keyboard", lambda: place.xdotool("getwindowfocus") == window)
        place.xdotool("key", "Escape")
        closed(place)
        place.start_panel("xfce4-panel")
        wait_for_icon(place)
        stays_closed(place, QUIET)  # what it says was seen
        check(waiting.running(), "the program ended")


@case()
def start_by_the_user_greets_without_a_panel():
    with desktop(program=False) as place:
        place.set_defaults(seenBuild=None)
        Program(place)
        opened(place)
