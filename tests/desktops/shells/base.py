"""What every shell of the table can be asked and told.

A shell counts places in units of its own (those of its window list and of its pointer); `unit` says how
many of them one pixel of the popover's design takes, `pixels` how many pixels of a picture one of them is.
"""

import glob
import json
import os
import re
import subprocess
import sys
import time
from typing import NamedTuple

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "desktop"))

from desktop import WATCHER, Desktop, Failure, wait_for  # noqa: E402

GREEN, AMBER, RED = (79, 217, 130), (255, 184, 77), (255, 92, 92)
PALETTE = [GREEN, AMBER, RED]
WIDTH = 340  # of the popover's panel
SIDE, TOP, BOTTOM = 20, 12, 28  # of the shadow around it, where it has one


class Rectangle(NamedTuple):
    x: float
    y: float
    width: float
    height: float

    @property
    def right(self):
        return self.x + self.width

    @property
    def bottom(self):
        return self.y + self.height

    @property
    def middle(self):
        return self.x + self.width / 2, self.y + self.height / 2

    def contains(self, other, slack=1):
        return (other.x >= self.x - slack and other.y >= self.y - slack and
                other.right <= self.right + slack and other.bottom <= self.bottom + slack)

    def holds(self, point):
        return self.x <= point[0] < self.right and self.y <= point[1] < self.bottom

    def __str__(self):
        return f"{self.width:g}x{self.height:g} at {self.x:g},{self.y:g}"


class Shell(Desktop):
    """A running shell with the program in it. Use as a context manager.

    What a new shell gives: `name`, `title`, start_shell(), and every function below that raises
    NotImplementedError. It overrides what else is different there.
    """

    name = ""   # in file names and on the command line
    title = ""  # in the table
    size = "1280x800"  # of the screen at 1x, in pixels
    impossible = {}  # cell: why this shell makes it impossible, and the nearest thing that there is
    notifier = ""  # the path of its daemon of notifications, where that is not the shell itself
    desktop = ""  # XDG_CURRENT_DESKTOP
    session_type = "x11"
    has_items = True
    unit = 1
    pixels = 1

    def __init__(self, program, scale=1, dark=False):
        self.program_path, self.scale = program, scale
        super().__init__(self.size, dark=dark)
        self.load = None
        self.program = None
        self.seen_item = None
        self.log = os.environ.get("KORVEL_DESKTOPS_LOG", self.folder)
        self.environment.update(
            XDG_CURRENT_DESKTOP=self.desktop, XDG_SESSION_TYPE=self.session_type,
            XDG_SESSION_CLASS="user", XDG_CONFIG_DIRS="/etc/xdg", XDG_DATA_DIRS="/usr/local/share:/usr/share",
            LANG="C.UTF-8", GTK_A11Y="none", GSETTINGS_BACKEND="keyfile", LIBGL_ALWAYS_SOFTWARE="1",
            GALLIUM_DRIVER="llvmpipe", LP_NUM_THREADS="1")

    def __enter__(self):
        try:
            self.load = Load(self.folder)
            self.start_system_bus()
            self.start_bus()
            self.set_scheme(self.dark)
            self.start_shell()
            self.start_portal()
            self.start_program()
            return self
        except BaseException:
            self.__exit__(None, None, None)
            raise

    # The start.

    def start_shell(self):
        """Starts the compositor, the panel and the daemon of notifications, and waits for the panel's
        host of items. Whatever the program needs to find them goes into self.environment."""
        raise NotImplementedError

    def daemon(self, command, **more):
        """Starts a part of the shell, which writes into a file of the log."""
        log = open(os.path.join(self.log, f"{self.name}-{os.path.basename(command[0])}.log"), "ab")
        return self.spawn(command, stdout=log, stderr=log, **more)

    def start_bus(self):
        """The session bus as a desktop has it: it starts the services that are installed; of those that show
        notifications the shell's own."""
        if self.notifier:
            for path in glob.glob("/usr/share/dbus-1/services/*"):
                with open(path, encoding="utf-8") as file:
                    text = file.read()
                if "org.freedesktop.Notifications\n" in text and self.notifier not in text:
                    subprocess.run(["mount", "--bind", "/dev/null", path], check=True)
        self.bus = self.spawn(["dbus-daemon", "--session", "--nofork", "--print-address", "--address",
                               f"unix:path={self.runtime}/bus"], stdout=subprocess.PIPE, text=True)
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.bus.stdout.readline().strip().split(",guid=")[0]

    def start_system_bus(self):
        """A system bus without services and policies: nothing of the machine is asked."""
        os.makedirs("/run/dbus", exist_ok=True)
        config = os.path.join(self.folder, "system.conf")
        with open(config, "w", encoding="utf-8") as file:
            file.write(SYSTEM_BUS)
        bus = self.spawn(["dbus-daemon", "--config-file", config, "--nofork", "--print-address"],
                         stdout=subprocess.PIPE, text=True)
        bus.stdout.readline()

    def publish_environment(self, *names):
        """Tells the bus what the services that it starts find in their environment."""
        self.run(["dbus-update-activation-environment", *names, "XDG_CURRENT_DESKTOP", "XDG_SESSION_TYPE",
                  "HOME", "GSETTINGS_BACKEND"])

    def start_portal(self):
        """Starts the desktop's settings, as some program of a session has always done."""
        ask = ["gdbus", "call", "--session", "--timeout", "8", "-d", "org.freedesktop.portal.Desktop",
               "-o", "/org/freedesktop/portal/desktop", "-m", "org.freedesktop.portal.Settings.ReadOne",
               "org.freedesktop.appearance", "color-scheme"]
        expected = "(<uint32 1>,)" if self.dark else "(<uint32 2>,)"
        wait_for(f"the portal's settings {expected}", lambda: self.run(ask, 30).strip() == expected, 40)

    def set_scheme(self, dark):
        """Makes the desktop dark or light, before it starts."""
        self.gsettings("org.gnome.desktop.interface", "color-scheme", "prefer-dark" if dark else "prefer-light")

    def gsettings(self, schema, key, value):
        done = subprocess.run(["gsettings", "set", schema, key, value], env=self.environment, timeout=20,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, check=False)
        if done.returncode:
            raise Failure(f"{schema} {key}: {done.stdout.strip()}")

    def start_program(self, **stored):
        """Starts the program (again), which finds these settings beside the usual ones."""
        self.end_program()
        self.set_defaults(**stored)
        printed = open(os.path.join(self.log, f"{self.name}-program.log"), "ab")
        self.program = self.spawn([self.program_path], stdout=printed, stderr=printed)
        self.program_started = time.monotonic()
        wait_for("the program's name on the bus", lambda: self.owner("com.oxbrook.korvel"), 20)

    @staticmethod
    def processes(name):
        """The processes of this name; there are none but the shell's in its namespace."""
        found = []
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{pid}/comm", encoding="utf-8") as comm:
                    if comm.read().strip() == name:
                        found.append(int(pid))
            except OSError:
                pass  # it has gone in the meantime
        return found

    def end_program(self):
        if self.program:
            status = self.end(self.program)
            self.program = None
            return status
        return None

    def start_again(self):
        """A further start of the program, which the running one answers; its exit status."""
        return subprocess.run([self.program_path], env=self.environment, timeout=15, check=False,
                              stdin=subprocess.DEVNULL).returncode

    # What is seen. Rectangles and points are in the shell's units.

    def on_picture(self, rectangle):
        """A rectangle of the shell's in pixels of its picture."""
        return tuple(round(value * self.pixels) for value in rectangle)

    def from_picture(self, box):
        return Rectangle(*(value / self.pixels for value in box))

    def look_at(self, rectangle):
        return self.screenshot().crop(*self.on_picture(rectangle))

    def screen(self):
        width, height = map(int, self.size.split("x"))
        return Rectangle(0, 0, width, height)

    def free_area(self):
        """What the panels leave of the screen."""
        raise NotImplementedError

    def panel_area(self):
        """The panel that the item is in."""
        raise NotImplementedError

    def item(self):
        """The item in the panel, by its coloured tile; None where it is not seen."""
        panel = self.panel_area()
        box = self.look_at(panel).box(PALETTE)
        if box is None:
            return None
        found = self.from_picture(box)
        self.seen_item = Rectangle(panel.x + found.x, panel.y + found.y, found.width, found.height)
        return self.seen_item

    def popover(self):
        """The visible panel of the open popover, without its shadow; None where it is closed."""
        raise NotImplementedError

    def without_shadow(self, window):
        """The panel within a window of the popover's."""
        if round(window.width / self.unit) == WIDTH + 2 * SIDE:
            return Rectangle(window.x + SIDE * self.unit, window.y + TOP * self.unit,
                             window.width - 2 * SIDE * self.unit, window.height - (TOP + BOTTOM) * self.unit)
        return window

    def popover_has_keyboard(self):
        """Whether keys go to the popover, as the shell itself says."""
        raise NotImplementedError

    # Where to click.

    def panel_point(self):
        """A place of the panel where nothing happens on a click."""
        raise NotImplementedError

    def background_point(self):
        """A place of the desktop's background, away from popover and windows."""
        area = self.free_area()
        return area.x + 30, area.y + area.height * 0.75

    def open_other_window(self):
        """Opens a window of another program, if there is none yet."""
        raise NotImplementedError

    def close_other_window(self):
        """Closes it again, where it would leave nothing of the background to click on."""

    def other_window_point(self):
        """A place within that window, away from the popover."""
        raise NotImplementedError

    # The hands.

    def move(self, x, y):
        raise NotImplementedError

    def press(self, button=1):
        """A click with a mouse button where the pointer is: 1 left, 2 middle, 3 right."""
        raise NotImplementedError

    def key(self, name):
        """A key, by its X11 name: Escape, Tab, Return, Down."""
        raise NotImplementedError

    def click(self, x, y, button=1):
        self.move(round(x), round(y))
        time.sleep(0.25)
        self.press(button)

    def click_item(self, button=1):
        # Where it was last, while the popover's shadow lies on it.
        item = self.item() or self.seen_item or wait_for("the item", self.item)
        self.click(*item.middle, button)

    def open_with_pointer(self):
        """What a user does who wants to see the popover."""
        self.click_item()

    def close_with_pointer(self):
        """The same again, on the open popover."""
        self.click_item()

    # The menu, the tooltip.

    def menu_entries(self):
        """The labels of the item's menu, as the host is told; None where no bus tells (XEmbed)."""
        names = self.items()
        if not names:
            return []
        layout = self.call(names[0], self.menu_path(names[0]), "com.canonical.dbusmenu.GetLayout", "0", "-1", "[]")
        return re.findall(r"'label': <'([^']*)'>", layout)

    def menu_path(self, item):
        path = self.property(item, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "Menu")
        return re.search("'(/[^']*)'", path).group(1)

    def tooltip(self):
        """The item's tooltip, as the host is told; None where no bus tells."""
        names = self.items()
        return self.property(names[0], "/StatusNotifierItem", "org.kde.StatusNotifierItem", "ToolTip") if names else ""

    def open_menu(self):
        """Opens the item's menu."""
        self.click_item(3)

    def close_menu(self):
        self.key("Escape")

    def choose_first_entry(self):
        self.key("Down")
        time.sleep(0.2)
        self.key("Return")

    # Notifications, keeping awake, the panel's end.

    def click_notification(self, banner):
        """Clicks a notification that is seen at this rectangle, so that it opens what it is about."""
        self.click(*banner.middle)

    def kept_awake(self):
        """What the shell says is held for the program: some of "display" and "system"."""
        raise NotImplementedError

    def restart_panel(self):
        """Ends the panel, waits until the item is gone from the screen, and starts it again."""
        raise NotImplementedError

    # The bus.

    def wait_for_host(self, seconds=40):
        wait_for("the panel's host of items", self.has_host, seconds)

    def json(self, command):
        return json.loads(self.run(command) or "null")


class Load:
    """What the program reads of the machine's load and memory, set by the table in this namespace: a
    steady machine, so that nothing changes by itself; and one that has run out."""

    STEADY = {
        "meminfo": {"MemAvailable": 12000000, "MemFree": 9000000, "SwapTotal": 0, "SwapFree": 0,
                    "MemTotal": 16000000},
        "loadavg": "0.10 0.10 0.10 1/500 999\n",
        "pressure/memory": "some avg10=0.00 avg60=0.00 avg300=0.00 total=0\n"
                           "full avg10=0.00 avg60=0.00 avg300=0.00 total=0\n",
    }
    EXHAUSTED = {
        "meminfo": {"MemAvailable": 300000, "MemFree": 300000, "Cached": 300000, "Buffers": 300000,
                    "SwapTotal": 8000000, "SwapFree": 100000, "MemTotal": 16000000},
        "loadavg": "30.00 30.00 20.00 3/500 999\n",
        "pressure/memory": "some avg10=70.00 avg60=60.00 avg300=40.00 total=900000000\n"
                           "full avg10=50.00 avg60=40.00 avg300=30.00 total=800000000\n",
    }

    def __init__(self, folder):
        self.folder = folder
        with open("/proc/meminfo", encoding="ascii") as file:
            self.memory = file.read()
        self.set(self.STEADY)
        for name in self.STEADY:
            if os.path.exists(f"/proc/{name}"):
                subprocess.run(["mount", "--bind", self.path(name), f"/proc/{name}"], check=True)

    def path(self, name):
        return os.path.join(self.folder, name.replace("/", "-"))

    def set(self, values):
        for name, value in values.items():
            text = value if isinstance(value, str) else self.memory
            for key, number in value.items() if isinstance(value, dict) else ():
                text = re.sub(rf"^{key}:.*$", f"{key}: {number} kB", text, flags=re.MULTILINE)
            with open(self.path(name), "w", encoding="ascii") as file:
                file.write(text)


SYSTEM_BUS = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path=/run/dbus/system_bus_socket</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""

__all__ = ["AMBER", "GREEN", "PALETTE", "RED", "WATCHER", "WIDTH", "Failure", "Load", "Rectangle", "Shell", "wait_for"]
