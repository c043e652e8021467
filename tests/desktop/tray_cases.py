"""Who shows the icon: kinds of tray that come and go, and the bars of Wayland compositors."""

import contextlib
import json
import os
import signal
import time

from cases import (PALETTE, Program, Skip, case, check, desktop, equal, geometry, icon_box, middle, opened,
                   stays_closed, wait_for_icon, wait_for_item)
from desktop import WATCHER, wait_for
from remedy_cases import NAME
from wayland_cases import SWAY_CONFIG, WaylandDesktop, qt_has_wayland

BAR = 24  # pixels at the top of the screen
WAYBAR = {"layer": "top", "position": "top", "height": BAR, "modules-right": ["tray"], "tray": {"icon-size": 20}}


def embedded(place):
    """The program's only window: the icon in an X11 system tray, or the menu. Its id, or an empty string."""
    return place.xdotool("search", "--onlyvisible", "--class", "^korvel$")


@case("trayer", "xfce4-panel")
def icon_moves_to_a_status_notifier_host_and_back():
    with desktop("trayer") as (place, program):
        for _ in range(2):
            wait_for("the icon in the X11 tray", lambda: embedded(place), 15)
            panel = place.start_panel("xfce4-panel")
            wait_for("the item on the bus", place.items, 2)
            wait_for("the X11 tray without the icon", lambda: not embedded(place))
            time.sleep(2.5)  # longer than an X11 tray has to stand
            check(not embedded(place), "the icon is in the X11 tray too")
            place.activate()
            opened(place)
            place.activate()
            place.end(panel, signal.SIGKILL)
            wait_for("no host", lambda: not place.owner(WATCHER))
            place.start_panel("trayer")  # the panel has taken the place of the one before
        wait_for("the icon in the X11 tray", lambda: embedded(place), 15)
        check(program.running(), "the program ended")


@case("xfce4-panel", alone=True)
def item_is_registered_again_whenever_the_panel_starts():
    with desktop(program=False) as place:
        Program(place)
        for number in range(12):
            panel = place.start_panel("xfce4-panel")
            wait_for(f"the item in panel {number + 1}", place.items, 2)
            equal(len(place.items()), 1, "items")
            if number == 11:
                wait_for_icon(place)
            place.end(panel, signal.SIGKILL)
            wait_for("no host", lambda: not place.owner(WATCHER))


@case("xfce4-panel")
def session_bus_that_comes_back_has_the_item_and_the_name_again():
    with desktop(program=False) as place:
        panel = place.start_panel("xfce4-panel")
        program = Program(place)
        wait_for_icon(place)
        place.end(place.bus, signal.SIGKILL)
        for gone in (panel, place.xfconf):
            place.end(gone, signal.SIGKILL)
        place.xfconf = None
        place.start_bus()
        place.start_panel("xfce4-panel")
        wait_for("the item on the bus", place.items, 15)  # it is looked for every ten seconds
        equal(len(place.items()), 1, "items")
        wait_for_icon(place)
        wait_for("the program's name", lambda: place.owner(NAME))
        equal(Program(place).exit_status(), 0, "exit status of a further start")
        opened(place)
        check(program.running(), "the program ended")


@case("xfce4-panel")
def calls_that_make_no_sense_do_no_harm():
    with desktop("xfce4-panel") as (place, program):
        item = wait_for_item(place)
        menu, notifier = "com.canonical.dbusmenu.", "org.kde.StatusNotifierItem."
        for path, method, arguments in (
                ("/MenuBar", menu + "GetLayout", ("99", "-1", "[]")),
                ("/MenuBar", menu + "GetLayout", ("0", "-2147483648", "[]")),
                ("/MenuBar", menu + "Event", ("-1", "clicked", "<0>", "0")),
                ("/MenuBar", menu + "Event", ("1", "exploded", "<@a{sv} {}>", "4294967295")),
                ("/MenuBar", menu + "EventGroup", ("[(7, 'clicked', <0>, 0)]",)),
                ("/StatusNotifierItem", notifier + "SecondaryActivate", ("-1", "2147483647")),
                ("/StatusNotifierItem", notifier + "Scroll", ("120", "sideways")),
                ("/StatusNotifierItem", notifier + "ProvideXdgActivationToken", ("x" * 100000,))):
            place.call(item, path, method, *arguments)
        stays_closed(place)
        check(program.running(), "the program ended")
        wait_for_icon(place)
        place.activate()
        opened(place)


@case("xfce4-panel")
def host_that_draws_no_menus_has_it_shown():
    with desktop("xfce4-panel") as (place, _):
        item = wait_for_item(place)
        place.xdotool("mousemove", 300, 200)
        place.call(item, "/StatusNotifierItem", "org.kde.StatusNotifierItem.ContextMenu", "700", "10")
        menu = wait_for("the menu", lambda: embedded(place))
        x, y, *_ = geometry(place, menu)
        check(abs(x - 300) < 10 and abs(y - 200) < 10, f"the menu is at {x},{y}: away from the pointer")
        time.sleep(0.3)
        place.xdotool("key", "Down", "Return")
        opened(place)


class BarDesktop(WaylandDesktop):
    """sway with a bar, which the test starts: sway's own would be another user's on this bus."""

    config = SWAY_CONFIG + "bar {\n swaybar_command true\n position top\n tray_output *\n}\n"

    def start_bar(self, kind):
        if kind == "waybar":
            config = os.path.join(self.folder, "waybar.json")
            with open(config, "w", encoding="utf-8") as file:
                json.dump(WAYBAR, file)
            style = os.path.join(self.folder, "waybar.css")
            with open(style, "w", encoding="utf-8") as file:
                file.write("window { background: #202020; }\n")
            command = ["waybar", "-c", config, "-s", style]
        else:
            command = ["swaybar", "-b", "bar-0"]
        bar = self.spawn(command)
        wait_for("the bar's tray", self.has_host)
        return bar


@contextlib.contextmanager
def bar_desktop(kind, **environment):
    if not qt_has_wayland():
        raise Skip("not installed: qt6-wayland")
    with BarDesktop() as place:
        place.environment.update(environment)
        program = Program(place)
        wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
        yield place, program, place.start_bar(kind)
        with open(os.path.join(place.folder, "printed"), "rb") as printed:
            equal(printed.read(), b"", "printed by the program")


def look_at_bar(kind):
    """The icon is in the bar, also in the next one; the program is there all the time."""
    with bar_desktop(kind) as (place, program, bar):
        for _ in range(2):
            wait_for("the item on the bus", place.items, 2)
            box = wait_for("the icon in the bar", lambda: icon_box(place))
            check(box[0] > 600 and box[1] + box[3] <= 2 * BAR, f"the icon is at {box}")
            place.end(bar, signal.SIGKILL)
            wait_for("no host", lambda: not place.owner(WATCHER))
            wait_for("the bar gone", lambda: not icon_box(place))
            bar = place.start_bar(kind)
        item = wait_for_item(place)
        for method in ("Activate", "ContextMenu"):
            x, y = middle(wait_for_icon(place))
            place.call(item, "/StatusNotifierItem", "org.kde.StatusNotifierItem." + method, str(x), str(y))
            # Its dial has a colour of the score too.
            wait_for(f"the popover after {method}", lambda: place.screenshot().box(PALETTE)[3] > BAR)
            place.call(item, "/StatusNotifierItem", "org.kde.StatusNotifierItem.Activate", str(x), str(y))
            wait_for("the closed popover", lambda: place.screenshot().box(PALETTE)[3] <= BAR)
        check(program.running(), "the program ended")


@case("sway", "swaymsg", "setpriv", "grim", "waybar")
def icon_is_in_waybar():
    look_at_bar("waybar")


@case("sway", "swaymsg", "setpriv", "grim", "swaybar")
def icon_is_in_swaybar_whose_right_click_opens_the_popover():
    look_at_bar("swaybar")
