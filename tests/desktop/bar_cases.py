"""The pieces for the bars of tiling desktops, each in its bar: the score in its colour, and the popover by a click."""

import json
import os
import time

from cases import AMBER, GREEN, RED, Load, Program, Skip, case, check, middle
from desktop import Desktop, wait_for
from wayland_cases import WaylandDesktop, qt_has_wayland
from wayland_bar_cases import VirtualInput

BAR = 24  # pixels at the top of the screen
PIECES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "contrib", "bars")
COLOURS = {"excellent": GREEN, "healthy": GREEN, "fair": AMBER, "strained": RED, "critical": RED}

# The program's own tool, and beside it the lines that it gave to the bar, and whether it is at work: for as long
# as the test holds it there.
KEPT = """#!/bin/sh
touch '{log}.under-way'
'{program}' "$@" | tee -a --output-error=exit '{log}'
while [ -e '{log}.held' ]; do
    sleep 0.1
done
rm '{log}.under-way'
"""
I3_CONFIG = """# i3 config file (v4)
font pango:DejaVu Sans Mono 10
bar {{
    position top
    tray_output none
    status_command sh -c 'i3blocks -c {folder}/i3blocks.conf | tee {folder}/blocks'
    colors {{
        background #202020
    }}
}}
"""
POLYBAR_CONFIG = """[bar/top]
width = 100%
height = 24
background = #202020
font-0 = DejaVu Sans Mono:size=10
modules-right = korvel
enable-ipc = true

[settings]
screenchange-reload = false
"""


class Machine(Load):
    """The machine with a load average and an amount of available memory that the test sets."""

    def __init__(self, place):
        self.meminfo = os.path.join(place.folder, "meminfo")
        super().__init__(place)

    def set(self, load, memory=None):
        """Sets the load; `memory` is how much is available, in kB, with no swap to move it to."""
        super().set(load)
        with open("/proc/meminfo", encoding="ascii") as file:
            lines = file.readlines()
        given = {} if memory is None else {"MemAvailable": memory, "SwapTotal": 0, "SwapFree": 0}
        for number, name in enumerate(line.split(":")[0] for line in lines):
            if name in given:
                lines[number] = f"{name}: {given[name]} kB\n"
        with open(self.meminfo, "w", encoding="ascii") as file:
            file.writelines(lines)

    def command(self, program):
        prefix = super().command("true")[:-1]
        return [*prefix, "sh", "-c", 'mount --bind "$0" /proc/meminfo && exec "$@"', self.meminfo, program]


class Bar:
    """A bar with one of the pieces on a desktop, on a machine that the test sets."""

    def __init__(self, place):
        self.place, self.machine = place, Machine(place)
        self.log = os.path.join(place.folder, "readings")
        programs = os.path.join(place.folder, "bin")
        os.mkdir(programs)
        tool = os.path.join(os.path.dirname(Program.path), "korvel-snapshot")
        check(os.access(tool, os.X_OK), f"{tool} was not built")
        path = os.path.join(programs, "korvel-snapshot")
        with open(path, "w", encoding="utf-8") as file:
            file.write(KEPT.format(program=tool, log=self.log))
        os.chmod(path, 0o755)
        os.symlink(Program.path, os.path.join(programs, "korvel"))
        place.environment["PATH"] = programs + ":" + place.environment["PATH"]

    def start(self, *command):
        """Starts the bar, or what starts it, on that machine."""
        return self.place.spawn([*self.machine.command(command[0]), *command[1:]])

    def reading(self):
        """The last line that the bar was given."""
        if not os.path.exists(self.log):
            return None
        with open(self.log, encoding="utf-8") as file:
            lines = file.read().split("\n")[:-1]
        return json.loads(lines[-1]) if lines else None

    def strip(self):
        return self.place.screenshot().crop(0, 0, 800, BAR)

    def shown(self):
        """Where the score stands: the box of its colour, when the strip has that one alone."""
        reading = self.reading()
        if reading is None:
            return None
        strip, colour = self.strip(), COLOURS[reading["class"]]
        others = [other for other in (GREEN, AMBER, RED) if other != colour]
        return None if strip.box(others) else strip.box([colour])

    def follows_the_score(self, also=lambda reading: True):
        """The bar shows the score in its colour, then that of a strained machine. `also` says whether what
        else the bar tells is of that reading.
        """
        def agrees():
            reading = self.reading()
            return self.shown() and also(reading) and reading == self.reading() and reading

        first = wait_for("the score in the bar", agrees, 20)
        picture = self.strip().rgb
        self.machine.set(4 * os.cpu_count(), memory=1000)
        seen = wait_for("the score of a strained machine in the bar",
                        lambda: self.reading()["percentage"] <= first["percentage"] - 20 and agrees(), 20)
        check(COLOURS[seen["class"]] != COLOURS[first["class"]], f"{first} and {seen} have one colour")
        check(self.strip().rgb != picture, "the bar looks as before")

    def reading_is_under_way(self):
        return os.path.exists(self.log + ".under-way")

    def click_opens(self, click, popover, hears=None):
        """`hears` says whether the bar is able to hear of a click, where it cannot at times."""
        box = self.shown()
        program = Program(self.place)
        wait_for("the program's name", lambda: self.place.owner("com.oxbrook.korvel"))
        check(not popover(), "the popover is open before the click")
        # Bars that start the tool anew for each reading are deaf while they wait for it themselves.
        if hears:  # in a reading that has just begun: the next begins seconds later
            wait_for("the end of a reading", lambda: not self.reading_is_under_way())
        held = self.log + ".held"
        with open(held, "w", encoding="ascii"):
            pass
        wait_for("a reading that is being taken", self.reading_is_under_way)
        if hears:
            wait_for("a bar that hears clicks", hears)
        click(*middle(box))
        wait_for("the popover", popover)
        os.remove(held)
        check(program.running(), "the program ended")


@case("i3", "i3bar", "i3blocks", "unshare")
def block_of_i3blocks_shows_the_score_and_opens_the_popover():
    with Desktop(manager=None) as place:
        bar = Bar(place)
        config = os.path.join(place.folder, "i3.conf")
        with open(config, "w", encoding="utf-8") as file:
            file.write(I3_CONFIG.format(folder=place.folder))
        with open(os.path.join(PIECES, "i3blocks/korvel.conf"), encoding="utf-8") as file:
            block = file.read()
        script = os.path.join(PIECES, "i3blocks/korvel-i3blocks")
        with open(os.path.join(place.folder, "i3blocks.conf"), "w", encoding="utf-8") as file:
            file.write(block.replace("~/.config/i3blocks/korvel-i3blocks", script))

        def block_says(reading):
            """Whether the last line of i3blocks is that reading."""
            with open(os.path.join(place.folder, "blocks"), encoding="utf-8") as file:
                line = file.read().split("\n")[-2]
            block = next(block for block in json.loads(line.lstrip(",")) if block.get("name") == "korvel")
            colour = "#%02X%02X%02X" % COLOURS[reading["class"]]
            return (block["full_text"], block["short_text"], block["color"]) == (
                reading["text"], str(reading["percentage"]), colour)

        def i3blocks():
            pid = place.run(["pgrep", "-xf", f"i3blocks -c {place.folder}/i3blocks.conf"]).strip()
            check(pid, "i3blocks is not there")
            return pid

        def runs_no_block():
            """It hears no click on a block that runs."""
            return not place.run(["pgrep", "-P", i3blocks()]).strip()

        def click(x, y):
            """As i3bar tells it. On a busy machine one of some ten clicks through i3bar itself is lost: the block
            is not run.
            """
            with open(f"/proc/{i3blocks()}/fd/0", "wb", buffering=0) as clicks:
                clicks.write(json.dumps({"name": "korvel", "button": 1, "x": x, "y": y}).encode() + b"\n")

        bar.start("i3", "-c", config)
        bar.follows_the_score(block_says)
        bar.click_opens(click, place.popover, runs_no_block)


@case("polybar", "openbox", "unshare")
def module_of_polybar_shows_the_score_and_opens_the_popover():
    with Desktop() as place:
        bar = Bar(place)
        config = os.path.join(place.folder, "polybar.ini")
        with open(os.path.join(PIECES, "polybar/korvel.ini"), encoding="utf-8") as file:
            module = file.read()
        script = os.path.join(PIECES, "polybar/korvel-polybar")
        with open(config, "w", encoding="utf-8") as file:
            file.write(POLYBAR_CONFIG + module.replace("~/.config/polybar/korvel-polybar", script))
        bar.start("polybar", "-c", config, "top")
        bar.follows_the_score()
        bar.click_opens(place.click, place.popover)


@case("sway", "swaymsg", "setpriv", "grim", "waybar", "unshare")
def module_of_waybar_shows_the_score_and_opens_the_popover():
    if not qt_has_wayland():
        raise Skip("not installed: qt6-wayland")
    with WaylandDesktop() as place:
        bar = Bar(place)
        config, style = (os.path.join(place.folder, name) for name in ("waybar.json", "waybar.css"))
        with open(config, "w", encoding="utf-8") as file:
            json.dump({"layer": "top", "position": "top", "height": BAR, "modules-right": ["custom/korvel"],
                       "include": [os.path.join(PIECES, "waybar/korvel.jsonc")]}, file)
        with open(style, "w", encoding="utf-8") as file:
            file.write(f'@import "{PIECES}/waybar/korvel.css";\nwindow {{ background: #202020; }}\n')
        bar.start("waybar", "-c", config, "-s", style)
        bar.follows_the_score()
        hands = VirtualInput(place.runtime, place.environment["WAYLAND_DISPLAY"], 800, 600)

        def click(x, y):
            hands.move(x, y)
            time.sleep(0.1)
            hands.press(1)

        bar.click_opens(click, place.windows)
