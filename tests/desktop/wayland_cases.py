"""The program on a Wayland compositor without a screen."""

import contextlib
import glob
import io
import json
import os
import shutil
import signal
import subprocess
import time

import PIL.Image

from cases import Program, Skip, case, check, equal, history
from desktop import Desktop, Failure, Image, wait_for

SWAY_CONFIG = """output HEADLESS-1 resolution 800x600
xwayland disable
floating_modifier none
output * background #808080 solid_color
"""


def qt_has_wayland():
    return bool(glob.glob("/usr/lib/*/qt6/plugins/platforms/libqwayland-generic.so") +
                glob.glob("/usr/lib/qt6/plugins/platforms/libqwayland-generic.so"))


class WaylandDesktop(Desktop):
    """A session bus and sway, with neither X nor a panel."""

    config = SWAY_CONFIG

    def __enter__(self):
        try:
            self.start_bus()
            self.start_sway()
            return self
        except BaseException:
            self.__exit__(None, None, None)
            raise

    def start_sway(self):
        folder = os.path.join(self.folder, "sway")
        os.mkdir(folder, 0o700)
        config = os.path.join(folder, "config")
        with open(config, "w", encoding="utf-8") as file:
            file.write(self.config)
        command = ["sway", "-c", config]
        if os.getuid() == 0:  # sway refuses to run as root
            os.chmod(self.folder, 0o711)
            for path in (folder, config):
                shutil.chown(path, "nobody")
            command = ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups", *command]
        own = dict(self.environment)
        self.environment.update(XDG_RUNTIME_DIR=folder, HOME=folder, WLR_BACKENDS="headless",
                                WLR_RENDERER="pixman", WLR_LIBINPUT_NO_DEVICES="1")
        self.sway = self.spawn(command)
        self.environment = own
        try:
            self.environment["SWAYSOCK"] = wait_for(
                "the compositor", lambda: glob.glob(folder + "/sway-ipc*.sock"))[0]
        except Failure as failure:
            raise Skip(f"sway does not start here: {failure}") from None
        self.environment["WAYLAND_DISPLAY"] = wait_for(
            "its display", lambda: [path for path in glob.glob(folder + "/wayland-*")
                                    if not path.endswith(".lock")])[0]
        self.environment["XDG_SESSION_TYPE"] = "wayland"
        self.environment["KORVEL_POPOVER"] = "wayland"  # a window, also where the build could do more
        wait_for("its output", lambda: "HEADLESS-1" in self.run(["swaymsg", "-t", "get_outputs"]))

    def screenshot(self):
        """What the compositor shows, without its pointer."""
        data = subprocess.run(["grim", "-t", "ppm", "-"], env=self.environment, check=True,
                              stdout=subprocess.PIPE, timeout=10).stdout
        return Image(PIL.Image.open(io.BytesIO(data)))

    def windows(self):
        """The program's windows as the compositor knows them."""
        found, rest = [], [json.loads(self.run(["swaymsg", "-r", "-t", "get_tree"]))]
        while rest:
            node = rest.pop()
            rest += node["nodes"] + node["floating_nodes"]
            if node.get("app_id") == "com.oxbrook.korvel":
                found.append(node)
        return found


@contextlib.contextmanager
def wayland(program=True):
    """A desktop with the program running on it."""
    if not qt_has_wayland():
        raise Skip("not installed: qt6-wayland")
    with WaylandDesktop() as place:
        if program:
            started = Program(place)
            wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
        yield (place, started) if program else place
        with open(os.path.join(place.folder, "printed"), "rb") as printed:
            equal(printed.read(), b"", "printed by the program")


def open_popover(place):
    equal(Program(place).exit_status(), 0, "exit status of a further start")
    return wait_for("the popover", place.windows)[0]


@case("sway", "swaymsg", "setpriv")
def on_wayland_a_second_start_opens_the_popover_and_a_signal_saves():
    with wayland() as (place, program):
        equal(place.windows(), [], "windows before it is opened")
        window = open_popover(place)
        equal(window["name"], "Korvel", "its title")
        equal(window["type"], "floating_con", "its kind in a compositor that tiles")
        equal(window["geometry"]["width"], 340, "its width")
        check(300 < window["geometry"]["height"] <= 540,
              f"its height is {window['geometry']['height']}")
        equal(open_popover(place)["id"], window["id"], "the window after a further start")
        place.run(["swaymsg", '[app_id="com.oxbrook.korvel"] kill'])  # as a user closes a window
        wait_for("the closed popover", lambda: not place.windows())
        check(program.running(), "the program ended with its window")
        open_popover(place)
        equal(program.send(signal.SIGTERM), 0, "exit status")
        check(len(history(place)) >= 2, "the history is short")


def look(place):
    """The window, the colour around it, that of its upper edge, and those of its corners."""
    window = place.windows()[0]
    box = window["rect"]
    left, top = box["x"], box["y"]
    right, bottom = left + box["width"] - 1, top + box["height"] - 1
    screen = place.screenshot()
    return (box, window["geometry"], screen.pixel(2, 2), screen.pixel(left + box["width"] // 2, top),
            [screen.pixel(x, y) for x in (left, right) for y in (top, bottom)])


def corners_are_round(place):
    around, edge, corners = look(place)[2:]
    return edge != around and all(corner == around for corner in corners)


@case("sway", "swaymsg", "setpriv", "grim")
def on_wayland_the_corners_are_round():
    with wayland() as (place, _):
        open_popover(place)
        try:
            wait_for("corners that show what is around them", lambda: corners_are_round(place))
        except Failure as failure:
            raise Failure(f"{failure}; seen: {look(place)}") from None


@case("sway", "swaymsg", "setpriv")
def loss_of_the_wayland_compositor_leaves_the_history():
    for number in (signal.SIGTERM, signal.SIGKILL):
        for look in (False, True):
            with wayland() as (place, program):
                time.sleep(1.5)  # past the two samples of the launch
                if look:
                    open_popover(place)
                place.end(place.sway, number)
                check(program.exit_status() >= 0, f"the program crashed after {number.name}")
                equal(len(history(place)), 2 + look, "rows")
