"""The popover on a Wayland compositor, at a bar and without one, with a pointer and keys."""

import os
import subprocess
import sys
import time

from cases import Program, case, check, equal, middle, wait_for_icon
from desktop import wait_for
from tray_cases import BAR, bar_desktop
from wayland_cases import corners_are_round, open_popover, wayland

sys.path.append(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "desktops", "shells"))

from virtual_input import VirtualInput  # noqa: E402

GROUND = (248, 248, 250)  # of the light popover
WIDTH = 340
REACH = 12  # between the bar and the popover


def ways():
    """How the popover can be shown by this build."""
    loaded = subprocess.run(["ldd", Program.path], stdout=subprocess.PIPE, text=True, check=True).stdout
    return ("wayland", "layer") if "LayerShellQt" in loaded else ("wayland",)


@case("sway", "swaymsg", "setpriv", "grim", "waybar")
def popover_at_waybar_opens_by_one_click_and_closes_in_each_way():
    for way in ways():
        with bar_desktop("waybar", KORVEL_POPOVER=way) as (place, program, _):
            hands = VirtualInput(place.runtime, place.environment["WAYLAND_DISPLAY"], 800, 600)
            item = middle(wait_for_icon(place))

            def popover():
                return place.screenshot().box([GROUND])

            def click(x, y):
                hands.move(x, y)
                time.sleep(0.1)
                hands.press(1)

            def opened():
                time.sleep(0.5)  # past the time in which a click after a loss of the keyboard is not heard
                click(*item)
                return wait_for(f"the popover ({way})", popover)

            def closed(how):
                wait_for(f"the popover closed by {how} ({way})", lambda: not popover())
                time.sleep(0.7)
                check(not popover(), f"{how} opened it again ({way})")

            left, top, width, _ = opened()
            check(WIDTH - 2 <= width <= WIDTH, f"it is {width} wide")
            if way == "layer":
                check(BAR < top <= BAR + REACH and left + width > 800 - REACH, f"it is at {left},{top}")
                equal(place.windows(), [], "windows that the compositor lists")
            else:
                window = place.windows()[0]
                equal((window["type"], window["focused"]), ("floating_con", True), "how it stands")
            hands.key("Escape")
            closed("Escape")
            opened()
            time.sleep(0.7)  # two clicks, and no double click
            click(*item)
            closed("a second click")
            if way == "layer":
                for what, point in (("the background", (60, 560)), ("the bar", (300, BAR // 2))):
                    opened()
                    click(*point)
                    closed("a click on " + what)
            check(program.running(), "the program ended")


@case("sway", "swaymsg", "setpriv", "grim")
def on_wayland_the_window_follows_what_it_shows():
    with wayland() as (place, _):
        # So high that there is room for more, whatever the program has to say of this machine.
        place.run(["swaymsg", "output", "HEADLESS-1", "resolution", "800x1400"])
        wait_for("the screen", lambda: place.screenshot().height == 1400)
        box = open_popover(place)["rect"]
        hands = VirtualInput(place.runtime, place.environment["WAYLAND_DISPLAY"], 800, 1400)
        heights = []
        for what in ("opened", "closed"):
            heights.append(place.windows()[0]["rect"]["height"])
            wait_for(f"round corners before the breakdown is {what}", lambda: corners_are_round(place))
            hands.move(box["x"] + 110, place.windows()[0]["rect"]["y"] + 60)  # "what's affecting this"
            time.sleep(0.1)
            hands.press(1)
            wait_for(f"another height than {heights} with the breakdown {what}",
                     lambda: abs(place.windows()[0]["rect"]["height"] - heights[-1]) > 40)
        wait_for("round corners again", lambda: corners_are_round(place))
