"""A private desktop: X server, session bus, window manager, panel, home directory.

Everything runs in a folder of its own under /tmp and ends with the Desktop object; nothing of the
caller's session is touched. Needs xvfb, openbox, dbus, xdotool, x11-apps and the panels.
"""

import ast
import ctypes
import functools
import json
import os
import shutil
import signal
import struct
import subprocess
import tempfile
import time

import PIL.Image
import PIL.ImageChops

WATCHER = "org.kde.StatusNotifierWatcher"

LEAKS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "leaks.txt")
BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:{address}</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
"""

PANEL_CONFIG = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="{dark}"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="28"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-2" type="string" value="systray">
      <property name="square-icons" type="bool" value="true"/>
    </property>
  </property>
</channel>
"""

TINT2_CONFIG = """panel_items = S
panel_size = 100% 30
panel_position = top center horizontal
strut_policy = follow_size
systray_padding = 4 2 4
systray_icon_size = 24
rounded = 0
background_color = #f0f0f0 100
border_width = 0
panel_background_id = 1
"""


class Failure(AssertionError):
    """A check that does not hold, with what was seen instead."""


def missing_tools(names):
    return [name for name in names if shutil.which(name) is None]


def wait_for(what, condition, seconds=10.0, pause=0.05):
    """Waits until the condition holds and returns its value."""
    deadline = time.monotonic() + seconds
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise Failure(f"{what}: not within {seconds:g} s")
        time.sleep(pause)


class Image:
    """A picture without transparency."""

    def __init__(self, picture):
        self.picture = picture.convert("RGB")
        self.width, self.height = self.picture.size

    @staticmethod
    def from_xwd(data):
        """What a window dump shows; of its kinds the one that Xvfb keeps its screen in."""
        header = struct.unpack(">25I", data[:100])
        size, width, height = header[0], header[4], header[5]
        order, bits, line, colours = header[7], header[11], header[12], header[19]
        if (order, bits) != (0, 32):
            raise Failure(f"the screen has {bits} bits a pixel in order {order}")
        pixels = data[size + colours * 12:][:height * line]
        return Image(PIL.Image.frombytes("RGB", (width, height), pixels, "raw", "BGRX", line, 1))

    @property
    def rgb(self):
        """Row after row, three bytes a pixel."""
        return self.picture.tobytes()

    def crop(self, x, y, width, height):
        return Image(self.picture.crop((x, y, x + width, y + height)))

    def pixel(self, x, y):
        return self.picture.getpixel((x, y))

    def box(self, colours):
        """The smallest (x, y, width, height) around the pixels of exactly these colours, or None."""
        found = PIL.Image.new("L", self.picture.size)
        for colour in colours:
            other = PIL.ImageChops.difference(self.picture, PIL.Image.new("RGB", self.picture.size, colour))
            furthest = functools.reduce(PIL.ImageChops.lighter, other.split())
            found = PIL.ImageChops.lighter(found, furthest.point([255] + [0] * 255))
        around = found.getbbox()
        if around is None:
            return None
        left, top, right, bottom = around
        return left, top, right - left, bottom - top

    def save(self, path):
        self.picture.save(path)


class Desktop:
    """Use as a context manager. What it starts is ended in the opposite order."""

    def __init__(self, size="800x600", bus=True, dark=False, saver=True,
                 manager=("openbox", "--sm-disable")):
        self.size, self.with_bus, self.dark, self.manager = size, bus, dark, manager
        self.saver = saver  # whether the X server has a screen saver
        self.folder = tempfile.mkdtemp(prefix="korvel-desktop-")
        self.home = os.path.join(self.folder, "home")
        self.runtime = os.path.join(self.folder, "runtime")
        os.mkdir(self.home)
        os.mkdir(self.runtime, 0o700)
        self.started = []
        self.inside = []  # what every command begins with: where it is to run
        keep = ("PATH", "LANG", "LD_LIBRARY_PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS",
                "QT_SCALE_FACTOR")
        self.environment = {name: os.environ[name] for name in keep if name in os.environ}
        self.environment.setdefault("LANG", "C.UTF-8")  # what the tools print is read as that
        self.environment.update(HOME=self.home, XDG_RUNTIME_DIR=self.runtime, NO_AT_BRIDGE="1",
                                XDG_CONFIG_HOME=os.path.join(self.home, ".config"),
                                LSAN_OPTIONS="print_suppressions=0:suppressions=" + LEAKS)
        self.set_defaults()

    def defaults_file(self):
        return os.path.join(self.home, ".config", "korvel", "defaults.json")

    def set_defaults(self, **values):
        """What the program finds stored: nobody to greet, and a feed that was asked already."""
        os.makedirs(os.path.dirname(self.defaults_file()), exist_ok=True)
        stored = {"seenBuild": {"integer": 2**31}, "lastUpdateCheck": {"double": time.time()}}
        stored.update(values)
        stored = {key: value for key, value in stored.items() if value is not None}
        with open(self.defaults_file(), "w", encoding="utf-8") as file:
            json.dump(stored, file)
        return stored

    def __enter__(self):
        try:
            self.start_x()
            if self.with_bus:
                self.start_bus()
            if self.manager:
                self.spawn(list(self.manager))
                wait_for("the window manager", lambda: "_NET_SUPPORTING_WM_CHECK(WINDOW)" in self.run(
                    ["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"]))
            return self
        except BaseException:
            self.__exit__(None, None, None)
            raise

    def __exit__(self, *_):
        for process in reversed(self.started):
            self.end(process)
        shutil.rmtree(self.folder, ignore_errors=True)

    def start_x(self):
        reading, writing = os.pipe()
        self.x = self.spawn(["Xvfb", "-displayfd", str(writing), "-screen", "0", self.size + "x24",
                             "-nolisten", "tcp", "-noreset", "-nocursor", "-fbdir", self.folder,
                             *([] if self.saver else ["-extension", "MIT-SCREEN-SAVER"])], pass_fds=(writing,))
        os.close(writing)
        with os.fdopen(reading) as answer:
            number = answer.readline().strip()
        if not number:
            raise Failure("the X server did not start")
        self.environment["DISPLAY"] = ":" + number

    def start_bus(self):
        """A bus without service folders: only what a test starts is there. Started again, it has
        the address that it had."""
        config = os.path.join(self.folder, "bus.conf")
        with open(config, "w", encoding="utf-8") as file:
            file.write(BUS_CONFIG.format(address="path=" + self.runtime + "/session-bus"))
        command = ["dbus-daemon", "--config-file", config, "--print-address", "--nofork"]
        self.bus = bus = self.spawn(command, stdout=subprocess.PIPE, text=True)
        # Without the bus's own number, as a desktop's address is.
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().strip().split(",guid=")[0]

    def spawn(self, command, **more):
        for stream in ("stdin", "stdout", "stderr"):
            more.setdefault(stream, subprocess.DEVNULL)
        process = subprocess.Popen([*self.inside, *command], env=self.environment, **more)
        self.started.append(process)
        return process

    def end(self, process, number=signal.SIGTERM):
        """Ends one of the desktop's processes and waits for it."""
        if process.poll() is None:
            process.send_signal(number)
            try:
                process.wait(5)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
        return process.returncode

    def run(self, command, seconds=10):
        return subprocess.run([*self.inside, *command], env=self.environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              timeout=seconds, check=False).stdout

    # Panels.

    def start_panel(self, kind):
        if kind == "xfce4-panel":
            folder = os.path.join(self.home, ".config/xfce4/xfconf/xfce-perchannel-xml")
            os.makedirs(folder, exist_ok=True)
            with open(os.path.join(folder, "xfce4-panel.xml"), "w", encoding="utf-8") as file:
                file.write(PANEL_CONFIG.format(dark=str(self.dark).lower()))
            if not getattr(self, "xfconf", None):
                self.xfconf = self.spawn(["/usr/lib/x86_64-linux-gnu/xfce4/xfconf/xfconfd"])
                wait_for("the panel's settings", lambda: self.owner("org.xfce.Xfconf"))
            panel = self.spawn(["xfce4-panel", "--disable-wm-check", "--sm-client-disable"])
            wait_for("the panel's tray", self.has_host)
        elif kind == "tint2":
            config = os.path.join(self.folder, "tint2rc")
            with open(config, "w", encoding="utf-8") as file:
                file.write(TINT2_CONFIG)
            panel = self.spawn(["tint2", "-c", config])
        elif kind == "trayer":
            panel = self.spawn(["trayer", "--edge", "top", "--align", "right", "--height", "28",
                                "--widthtype", "request", "--SetDockType", "true"])
        else:
            raise ValueError(kind)
        return panel

    # The session bus.

    def call(self, name, path, method, *arguments):
        return self.run(["gdbus", "call", "--session", "-d", name, "-o", path, "-m", method,
                         "--", *arguments]).strip()

    def owner(self, name):
        return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                         "org.freedesktop.DBus.NameHasOwner", name) == "(true,)"

    def property(self, name, path, interface, key):
        return self.call(name, path, "org.freedesktop.DBus.Properties.Get", interface, key)

    def activate(self, x=0, y=0):
        """A click on the program's item as a panel hands it on, without a mouse."""
        for name in self.items():
            self.call(name, "/StatusNotifierItem", "org.kde.StatusNotifierItem.Activate", str(x),
                      str(y))

    def popover(self):
        """The window of the open popover: its id, or an empty string."""
        return self.xdotool("search", "--onlyvisible", "--name", "^Korvel$")

    def composited(self):
        """Whether a compositor blends the windows, as it says itself."""
        x = ctypes.CDLL("libX11.so.6")
        x.XOpenDisplay.restype = ctypes.c_void_p
        x.XInternAtom.restype = x.XGetSelectionOwner.restype = ctypes.c_ulong
        display = ctypes.c_void_p(x.XOpenDisplay(self.environment["DISPLAY"].encode()))
        atom = ctypes.c_ulong(x.XInternAtom(display, b"_NET_WM_CM_S0", 0))
        owner = x.XGetSelectionOwner(display, atom)
        x.XCloseDisplay(display)
        return owner != 0

    def has_host(self):
        return self.property(WATCHER, "/StatusNotifierWatcher", WATCHER,
                             "IsStatusNotifierHostRegistered") == "(<true>,)"

    def items(self):
        """The bus names of the items in the tray."""
        answer = self.property(WATCHER, "/StatusNotifierWatcher", WATCHER,
                               "RegisteredStatusNotifierItems")
        if not answer.startswith("(<["):
            return []
        return [name.split("/")[0] for name in ast.literal_eval(answer[2:answer.rindex(">")])]

    def others_on_display(self, names):
        """Which of the programs of these names run on this display."""
        wanted = f"DISPLAY={self.environment['DISPLAY']}".encode()
        found = []
        for pid in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open(f"/proc/{pid}/comm", encoding="utf-8") as comm:
                    name = comm.read().strip()
                with open(f"/proc/{pid}/environ", "rb") as environment:
                    if name in names and wanted in environment.read().split(b"\0"):
                        found.append(name)
            except OSError:
                pass  # it has gone in the meantime
        return found

    # The screen and the hands.

    def screenshot(self):
        """What is on the screen, whoever has painted it: the X server's own memory of it."""
        with open(os.path.join(self.folder, "Xvfb_screen0"), "rb") as memory:
            return Image.from_xwd(memory.read())

    def xdotool(self, *arguments):
        return self.run(["xdotool", *map(str, arguments)]).strip()

    def click(self, x, y, button=1):
        self.xdotool("mousemove", x, y, "click", button)
