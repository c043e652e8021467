"""The popover on the window managers of X11: where it stands, that it is no task, what closes it."""

import os

from cases import (Program, case, check, closed, desktop, equal, geometry, middle, opened, stays_closed,
                   wait_for_icon)
from desktop import Failure, wait_for

SCREEN = (800, 600)
STATES = {"_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER", "_NET_WM_STATE_ABOVE"}
I3_CONFIG = """font pango:monospace 10
workspace_layout default
bar {{
    position {edge}
    status_command exec cat
}}
"""


def start_i3(place, edge):
    config = os.path.join(place.folder, "i3.conf")
    with open(config, "w", encoding="utf-8") as file:
        file.write(I3_CONFIG.format(edge=edge))
    place.spawn(["i3", "-c", config])
    wait_for("the bar", lambda: place.xdotool("search", "--onlyvisible", "--class", "i3bar"))


def panel_height(place, panel):
    if panel == "i3bar":
        return geometry(place, place.xdotool("search", "--onlyvisible", "--class", "i3bar").split()[0])[3]
    return {"xfce4-panel": 28, "tint2": 30}[panel]


def open_at(place, at):
    """Opens the popover by one click, and waits for the keyboard."""
    place.click(*at)
    # A search through the windows may come upon one twice while i3 puts it into its frame.
    window = opened(place).split()[0]
    try:
        wait_for("the keyboard", lambda: place.xdotool("getwindowfocus") == window)
    except Failure as failure:
        focus = place.xdotool("getwindowfocus", "getwindowname")
        raise Failure(f"{failure}; it is with {focus!r}, open is {place.popover()!r}, not {window!r}") from None
    return window


def states(place, window):
    answer = place.run(["xprop", "-id", window, "_NET_WM_STATE"])
    return set(answer.rpartition("=")[2].replace(",", " ").split())


def stands_at_the_item(place, box, window, height, edge):
    def seen():
        x, y, width, tall = geometry(place, window)
        gap = y - height if edge == "top" else SCREEN[1] - height - (y + tall)
        return (0 <= gap <= 12 and x >= 0 and x + width <= SCREEN[0] and
                x - 12 <= middle(box)[0] <= x + width + 12) or (x, y, width, tall)
    try:
        wait_for("the popover in its place", lambda: seen() is True, 5)
    finally:
        equal(seen(), True, f"the popover stands at the item at {box}, beside a panel of {height}")


def opens_and_closes(place, panel, edge="top"):
    """All that is asked of one window manager."""
    box = wait_for_icon(place)
    at, height = middle(box), panel_height(place, panel)
    in_panel = (SCREEN[0] // 2, height // 2 if edge == "top" else SCREEN[1] - height // 2)
    background = (SCREEN[0] // 2, SCREEN[1] // 2)
    # Where the popover does not reach.
    other = (60 if at[0] > background[0] else SCREEN[0] - 60, 60 if edge == "bottom" else SCREEN[1] - 60)
    clock = place.spawn(["xclock", "-geometry", f"120x120+{other[0] - 60}+{other[1] - 60}"])
    wait_for("the other window", lambda: place.xdotool("search", "--onlyvisible", "--class", "xclock"))

    window = open_at(place, at)
    stands_at_the_item(place, box, window, height, edge)
    check(states(place, window) >= STATES, f"its states are {states(place, window)}")
    place.xdotool("key", "Escape")
    closed(place)

    def closes(what, where, held=0.0):
        open_at(place, at)
        place.xdotool("mousemove", *where, "mousedown", 1, "sleep", held, "mouseup", 1)
        try:
            closed(place)
            stays_closed(place)
        except Failure as failure:
            raise Failure(f"after a click on {what}: {failure}") from None

    closes("the item", at)
    closes("the item with a slow finger", at, held=0.8)
    closes("the panel", in_panel)
    closes("another window", other)
    place.end(clock)
    closes("the background", background)
    open_at(place, at)


@case("xfce4-panel")
def on_openbox_the_popover_is_no_task_and_any_click_elsewhere_closes_it():
    with desktop("xfce4-panel") as (place, _):
        opens_and_closes(place, "xfce4-panel")


@case("xfwm4", "xfce4-panel")
def on_xfwm4_the_popover_is_no_task_and_any_click_elsewhere_closes_it():
    with desktop("xfce4-panel", manager=["xfwm4", "--compositor=off"]) as (place, _):
        opens_and_closes(place, "xfce4-panel")


@case("xfwm4", "tint2")
def on_xfwm4_the_popover_of_an_xembed_item_is_closed_by_any_click_elsewhere():
    with desktop("tint2", manager=["xfwm4", "--compositor=off"]) as (place, _):
        opens_and_closes(place, "tint2")


@case("i3", "i3bar")
def on_i3_the_popover_is_beside_the_bar_and_any_click_elsewhere_closes_it():
    for edge in ("bottom", "top"):
        with desktop(program=False, manager=None) as place:
            start_i3(place, edge)
            program = Program(place)
            opens_and_closes(place, "i3bar", edge)
            check(program.running(), "the program ended")
