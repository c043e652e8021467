"""sway with waybar and with its own bar, labwc with waybar; without a screen."""

import glob
import io
import json
import os
import subprocess
import time

import PIL.Image

from desktop import Image
from shells.base import Rectangle, Shell, wait_for
from shells.virtual_input import VirtualInput

BAR = 34  # height
OTHER = Rectangle(150, 350, 500, 300)  # the other window
BACKGROUND = (53, 96, 122)
GROUNDS = [(248, 248, 250), (208, 208, 211), (31, 32, 35), (69, 70, 73)]  # and edges, light and dark

WAYBAR = {"layer": "top", "position": "top", "height": BAR, "modules-left": ["sway/workspaces"],
          "modules-right": ["tray", "clock"], "tray": {"icon-size": 20, "spacing": 8}}
WAYBAR_STYLE = """* {{ font-family: DejaVu Sans; font-size: 13px; }}
window#waybar {{ background: {ground}; color: {ink}; }}
#tray {{ padding: 0 8px; }}
"""
SWAY_CONFIG = """output HEADLESS-1 resolution {width}x{height} scale {scale}
output * background {ground} solid_color
default_border none
for_window [app_id="foot"] floating enable, border none, resize set {w} {h}, move absolute position {x} {y}
"""
SWAYBAR_CONFIG = """bar {
    position top
    height %d
    status_command while date; do sleep 60; done
    tray_output *
}
""" % BAR
LABWC_CONFIG = f"""<labwc_config>
  <core><gap>0</gap><decoration>server</decoration></core>
  <windowRules>
    <windowRule identifier="foot" serverDecoration="no">
      <action name="ResizeTo" width="{OTHER.width}" height="{OTHER.height}"/>
      <action name="MoveTo" x="{OTHER.x}" y="{OTHER.y}"/>
    </windowRule>
  </windowRules>
</labwc_config>
"""


class Wlroots(Shell):
    session_type = "wayland"

    def __init__(self, program, scale=1, dark=False):
        super().__init__(program, scale, dark)
        self.pixels = scale
        self.other = None

    def start_shell(self):
        self.environment.update(WLR_BACKENDS="headless", WLR_RENDERER="pixman", WLR_LIBINPUT_NO_DEVICES="1",
                                WLR_HEADLESS_OUTPUTS="1")
        self.start_compositor()
        socket = wait_for("the compositor's display", lambda: [
            path for path in glob.glob(self.runtime + "/wayland-*") if not path.endswith(".lock")])[0]
        self.environment["WAYLAND_DISPLAY"] = os.path.basename(socket)
        self.wait_for_compositor()
        self.publish_environment("WAYLAND_DISPLAY", "XDG_RUNTIME_DIR")
        self.start_panel()
        self.wait_for_host()
        self.daemon(["dunst"])
        wait_for("the daemon of notifications", lambda: self.owner("org.freedesktop.Notifications"))
        screen = self.screen()
        self.hands = VirtualInput(self.runtime, self.environment["WAYLAND_DISPLAY"], screen.width, screen.height)

    def start_compositor(self):
        raise NotImplementedError

    def wait_for_compositor(self):
        raise NotImplementedError

    def start_panel(self):
        raise NotImplementedError

    def screenshot(self):
        data = subprocess.run(["grim", "-t", "ppm", "-"], env=self.environment, check=True,
                              stdout=subprocess.PIPE, timeout=10).stdout
        return Image(PIL.Image.open(io.BytesIO(data)))

    def popover(self):
        """These compositors do not tell where surfaces are: found by its ground and its edge."""
        free = self.free_area()
        box = self.look_at(free).box(GROUNDS)
        if box is None:
            return None
        found = self.from_picture(box)
        return Rectangle(free.x + found.x, free.y + found.y, found.width, found.height)

    def panel_area(self):
        return Rectangle(0, 0, self.screen().width, BAR)

    def free_area(self):
        screen = self.screen()
        return Rectangle(0, BAR, screen.width, screen.height - BAR)

    def panel_point(self):
        return self.screen().width / 2, BAR / 2

    def open_other_window(self):
        if self.other is None:
            self.other = self.daemon(["foot", "-e", "sleep", "1000"])
            wait_for("the other window", lambda: self.look_at(OTHER).pixel(200, 200) != BACKGROUND)
            time.sleep(0.5)

    def other_window_point(self):
        return OTHER.x + 60, OTHER.y + 200

    def background_point(self):
        return 60, 720

    def move(self, x, y):
        self.hands.move(x, y)

    def press(self, button=1):
        self.hands.press(button)

    def key(self, name):
        self.hands.key(name)

    def click_notification(self, banner):
        """Its default action; the daemon does it on the middle button."""
        self.click(*banner.middle, 2)

    def kept_awake(self):
        """Whether the compositor's clock of idleness stands: a watcher of a second's rest is not told."""
        told = os.path.join(self.folder, "idle")
        if os.path.exists(told):
            os.remove(told)
        watcher = self.spawn(["swayidle", "timeout", "1", f"touch {told}"])
        time.sleep(2.5)
        self.end(watcher)
        return set() if os.path.exists(told) else {"display"}


class Waybar:
    """The panel that is a program of its own."""

    def __init__(self, *arguments, **options):
        super().__init__(*arguments, **options)
        self.bar = None

    def start_panel(self):
        config = os.path.join(self.folder, "waybar.json")
        style = os.path.join(self.folder, "waybar.css")
        with open(config, "w", encoding="utf-8") as file:
            json.dump(WAYBAR, file)
        with open(style, "w", encoding="utf-8") as file:
            ground, ink = ("#2b303b", "white") if self.dark else ("#e4e7ec", "black")
            file.write(WAYBAR_STYLE.format(ground=ground, ink=ink))
        self.bar = self.daemon(["waybar", "-c", config, "-s", style])

    def restart_panel(self):
        self.end(self.bar)
        wait_for("the panel gone", lambda: not self.item())
        self.start_panel()

    # Its menus get no keys from these compositors.

    def close_menu(self):
        self.click(*self.background_point())

    def choose_first_entry(self):
        """The menu hangs to the left of the pointer."""
        x, y = self.seen_item.middle
        self.click(x - 60, y + 17)


class Sway(Wlroots):
    desktop = "sway"

    def start_compositor(self):
        screen = self.screen()
        config = os.path.join(self.folder, "sway.conf")
        with open(config, "w", encoding="utf-8") as file:
            file.write(SWAY_CONFIG.format(
                width=int(screen.width * self.scale), height=int(screen.height * self.scale), scale=self.scale,
                ground="#" + bytes(BACKGROUND).hex(), x=OTHER.x, y=OTHER.y, w=OTHER.width, h=OTHER.height))
            file.write(self.bar_config())
        self.daemon(["sway", "-c", config])

    def bar_config(self):
        return ""

    def wait_for_compositor(self):
        self.environment["SWAYSOCK"] = wait_for("its socket", lambda: glob.glob(self.runtime + "/sway-ipc*.sock"))[0]
        wait_for("its output", lambda: "HEADLESS-1" in self.run(["swaymsg", "-t", "get_outputs"]))

    def windows(self):
        """The program's windows in the tree, as (node, visible)."""
        found, rest = [], [self.json(["swaymsg", "-r", "-t", "get_tree"])]
        while rest:
            node = rest.pop()
            rest += node["nodes"] + node["floating_nodes"]
            if node.get("pid") == self.program.pid:
                found.append(node)
        return found

    def popover_has_keyboard(self):
        if any(node["focused"] for node in self.windows()):
            return True
        seat = self.json(["swaymsg", "-r", "-t", "get_seats"])[0]
        return seat["focus"] == 0 and self.popover() is not None


class SwayWaybar(Waybar, Sway):
    name, title = "sway-waybar", "sway, waybar"


class SwaySwaybar(Sway):
    name, title = "sway-swaybar", "sway, its own bar"

    def bar_config(self):
        return SWAYBAR_CONFIG

    def start_panel(self):
        """The compositor starts it itself."""

    def restart_panel(self):
        for pid in filter(str.isdigit, os.listdir("/proc")):
            with open(f"/proc/{pid}/comm", encoding="utf-8") as comm:
                if comm.read().strip() == "swaybar":
                    os.kill(int(pid), 15)
        wait_for("the panel gone", lambda: not self.item())
        self.run(["swaymsg", "reload"])


class LabwcWaybar(Waybar, Wlroots):
    name, title = "labwc-waybar", "labwc, waybar"
    desktop = "labwc:wlroots"

    def start_compositor(self):
        folder = os.path.join(self.home, ".config", "labwc")
        os.makedirs(folder)
        with open(os.path.join(folder, "rc.xml"), "w", encoding="utf-8") as file:
            file.write(LABWC_CONFIG)
        self.daemon(["labwc"])

    def wait_for_compositor(self):
        wait_for("its socket", lambda: self.screenshot_works())
        screen = self.screen()
        self.run(["wlr-randr", "--output", "HEADLESS-1", "--scale", str(self.scale), "--custom-mode",
                  f"{screen.width * self.scale}x{screen.height * self.scale}"])
        picture = os.path.join(self.folder, "background.png")
        PIL.Image.new("RGB", (64, 64), BACKGROUND).save(picture)
        self.daemon(["swaybg", "-m", "tile", "-i", picture])
        wait_for("the background", lambda: self.screenshot().pixel(5, 500) == BACKGROUND)

    def screenshot_works(self):
        return subprocess.run(["grim", "-t", "ppm", "-"], env=self.environment, check=False,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def popover_has_keyboard(self):
        """The compositor tells of ordinary windows only: whether Tab moves what has the focus."""
        place = self.popover()
        if place is None:
            return False
        pictures = []
        for key in (None, None, "Tab"):
            if key:
                self.key(key)
            time.sleep(0.3)
            pictures.append(self.look_at(place).rgb)
        return pictures[0] == pictures[1] != pictures[2]
