"""GNOME on Wayland without a screen, with the extension that shows items and without it."""

import ast
import glob
import json
import os
import time

import PIL.Image
from gi.repository import Gio, GLib

from desktop import Image
from shells.base import Rectangle, Shell, wait_for

EXTENSION = "ubuntu-appindicators@ubuntu.com"
OTHER = Rectangle(150, 350, 500, 300)  # the other window
REMOTE = "org.gnome.Mutter.RemoteDesktop"
BUTTONS = {1: 0x110, 2: 0x112, 3: 0x111}  # the kernel's left, middle and right
DOUBLE_CLICK = 1000  # milliseconds between two presses: a busy machine needs more than the usual 400
KEYSYMS = {"Escape": 0xff1b, "Tab": 0xff09, "Return": 0xff0d, "Down": 0xff54}

WINDOWS = """JSON.stringify(global.get_window_actors().map(actor => {
    const window = actor.meta_window, box = window.get_frame_rect();
    return {name: String(window.get_wm_class()), box: [box.x, box.y, box.width, box.height], focus: window.has_focus(),
            shown: actor.visible && !window.minimized};
}))"""
PLACE = """global.get_window_actors().map(actor => actor.meta_window).filter(window => window.get_wm_class() == 'foot')
    .forEach(window => window.move_resize_frame(true, %d, %d, %d, %d))"""

NO_ITEM = "without the extension there are no items; starting the program again opens the popover"


class Gnome(Shell):
    name, title = "gnome", "GNOME (Wayland), with the extension"
    desktop = "GNOME"
    session_type = "wayland"
    extensions = [EXTENSION]
    impossible = {"tooltip": "its extension shows none; the menu's first entry says the score"}

    def __init__(self, program, scale=1, dark=False):
        super().__init__(program, scale, dark)
        self.pixels = scale
        self.other = None
        self.environment.update(XDG_SESSION_DESKTOP="gnome", DESKTOP_SESSION="gnome")

    def start_shell(self):
        schema = "org.gnome.shell"
        self.gsettings(schema, "welcome-dialog-last-shown-version", "99")
        self.gsettings(schema, "enabled-extensions", str(self.extensions))
        self.gsettings("org.gnome.desktop.interface", "enable-animations", "false")
        self.gsettings("org.gnome.desktop.interface", "enable-hot-corners", "false")
        self.gsettings("org.gnome.desktop.peripherals.mouse", "double-click", str(DOUBLE_CLICK))
        self.start_session_manager()
        screen = self.screen()
        self.daemon(["gnome-shell", "--headless", "--wayland", "--unsafe-mode", "--virtual-monitor",
                     f"{int(screen.width * self.scale)}x{int(screen.height * self.scale)}"])
        wait_for("the shell", lambda: self.evaluate("Main.layoutManager._startingUp") is False, 60)
        self.evaluate("Main.overview.hide()")
        self.environment["WAYLAND_DISPLAY"] = os.path.basename(glob.glob(self.runtime + "/wayland-[0-9]")[0])
        self.environment["DISPLAY"] = ":" + sorted(os.listdir("/tmp/.X11-unix"))[0][1:]
        self.environment["XAUTHORITY"] = glob.glob(self.runtime + "/.mutter-Xwaylandauth.*")[0]
        self.publish_environment("WAYLAND_DISPLAY", "DISPLAY", "XAUTHORITY", "XDG_RUNTIME_DIR")
        if self.scale != 1:
            self.run(["gdctl", "set", "--logical-monitor", "--primary", "--scale", str(self.scale),
                      "--monitor", "Meta-0"])
            wait_for("its scale", lambda: self.free_area().width == screen.width, 10)
        self.evaluate("Main.messageTray.getSources().forEach(source => source.destroy())")  # of the shell's own start
        self.start_input()
        if self.extensions:
            self.wait_for_host()
        wait_for("the desktop in place of the overview", lambda: self.evaluate("Main.overview.visible") is False, 10)

    def start_session_manager(self):
        """The real one, with nothing to start: it is asked what is inhibited."""
        folder = os.path.join(self.environment["XDG_CONFIG_HOME"], "gnome-session", "sessions")
        nothing = os.path.join(self.folder, "autostart")
        os.makedirs(folder)
        os.mkdir(nothing)
        with open(os.path.join(folder, "table.session"), "w", encoding="utf-8") as file:
            file.write("[GNOME Session]\nName=Table\nRequiredComponents=\n")
        self.daemon(["/usr/libexec/gnome-session-binary", "--session=table", "--disable-acceleration-check",
                     f"--autostart={nothing}"])
        wait_for("the session's manager", lambda: self.owner("org.gnome.SessionManager"), 20)

    def evaluate(self, script):
        """The value of a script in the shell; None where it does not answer."""
        answer = self.call("org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell.Eval", script)
        if not answer.startswith("(true, "):
            return None
        text = ast.literal_eval(answer[len("(true, "):-1])
        value = json.loads(text) if text else None
        return json.loads(value) if isinstance(value, str) else value

    # The hands.

    def start_input(self):
        flags = Gio.DBusConnectionFlags.AUTHENTICATION_CLIENT | Gio.DBusConnectionFlags.MESSAGE_BUS_CONNECTION
        self.own_bus = Gio.DBusConnection.new_for_address_sync(self.environment["DBUS_SESSION_BUS_ADDRESS"], flags,
                                                               None, None)
        self.hands, = self.ask("/" + REMOTE.replace(".", "/"), REMOTE, "CreateSession")
        self.notify("Start")
        self.key("Shift_L")  # the first key only makes the keyboard

    def ask(self, path, interface, method, arguments=None):
        return self.own_bus.call_sync(REMOTE, path, interface, method, arguments, None, 0, 5000, None).unpack()

    def notify(self, what, kind=None, *arguments):
        self.ask(self.hands, REMOTE + ".Session", what, GLib.Variant(kind, arguments) if kind else None)

    def move(self, x, y):
        for _ in range(3):
            at = self.evaluate("JSON.stringify(global.get_pointer().slice(0, 2))")
            if abs(at[0] - x) < 1 and abs(at[1] - y) < 1:
                return
            self.notify("NotifyPointerMotionRelative", "(dd)", float(x - at[0]), float(y - at[1]))
            time.sleep(0.1)

    def press(self, button=1):
        for down in (True, False):
            self.notify("NotifyPointerButton", "(ib)", BUTTONS[button], down)
            time.sleep(0.06)

    def key(self, name):
        for down in (True, False):
            self.notify("NotifyKeyboardKeysym", "(ub)", KEYSYMS.get(name, 0xffe1), down)
            time.sleep(0.05)

    def double_click_item(self):
        """The extension waits for the second click, and shows the menu when none comes."""
        self.click_item()
        self.press()

    def open_with_pointer(self):
        self.double_click_item()

    def close_with_pointer(self):
        """One click: the popover takes it, and the extension does not see it."""
        self.click_item()

    def open_menu(self):
        self.click_item()
        time.sleep(DOUBLE_CLICK / 1000 + 0.3)

    # What is seen.

    def items(self):
        """The extension lists them as name@path."""
        return [name.split("@")[0] for name in super().items()]

    def screenshot(self):
        path = os.path.join(self.folder, "screen.png")
        self.run(["gdbus", "call", "--session", "--timeout", "40", "-d", "org.gnome.Shell.Screenshot",
                  "-o", "/org/gnome/Shell/Screenshot", "-m", "org.gnome.Shell.Screenshot.Screenshot",
                  "false", "false", path], 45)
        return Image(PIL.Image.open(path))

    def windows(self):
        return [window for window in self.evaluate(WINDOWS) or [] if window["shown"]]

    def popover_window(self):
        return next((window for window in self.windows() if "korvel" in window["name"].lower() and
                     window["box"][2] < self.screen().width), None)

    def popover(self):
        found = self.popover_window()
        return self.without_shadow(Rectangle(*found["box"])) if found else None

    def popover_has_keyboard(self):
        found = self.popover_window()
        return bool(found) and found["focus"]

    def free_area(self):
        return Rectangle(*self.evaluate("""(() => { const area = Main.layoutManager.getWorkAreaForMonitor(0);
            return JSON.stringify([area.x, area.y, area.width, area.height]); })()"""))

    def panel_area(self):
        free = self.free_area()
        return Rectangle(free.x, 0, free.width, free.y)

    def panel_point(self):
        panel = self.panel_area()
        return panel.x + panel.width * 0.25, panel.middle[1]

    def open_other_window(self):
        if self.other is None:
            self.other = self.daemon(["foot", "-e", "sleep", "1000"])
            wait_for("the other window", lambda: any(window["name"] == "foot" for window in self.windows()), 15)
            self.evaluate(PLACE % OTHER)
            time.sleep(0.7)

    def other_window_point(self):
        return OTHER.x + 60, OTHER.y + 150

    def kept_awake(self):
        held = set()
        for flag, word in ((8, "display"), (4, "system")):
            if self.call("org.gnome.SessionManager", "/org/gnome/SessionManager",
                         "org.gnome.SessionManager.IsInhibited", str(flag)) == "(true,)":
                held.add(word)
        return held

    def restart_panel(self):
        """The panel is the compositor: the extension is turned off and on, as at each locking of the screen."""
        self.run(["gnome-extensions", "disable", EXTENSION])
        wait_for("the item gone", lambda: not self.item())
        self.run(["gnome-extensions", "enable", EXTENSION])
        self.wait_for_host()


class GnomeBare(Gnome):
    name, title = "gnome-bare", "GNOME (Wayland), without it"
    extensions = []
    has_items = False
    impossible = {cell: NO_ITEM for cell in ("item", "place", "second click", "stays closed", "menu", "tooltip",
                                             "panel restart")}

    def open_with_pointer(self):
        self.start_again()
