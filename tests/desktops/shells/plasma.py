"""Plasma on Wayland: its compositor nested in an X server, through which it gets pointer, keys and pictures."""

import json
import os
import re
import time

from shells.base import Rectangle, Shell, wait_for

LIBEXEC = "/usr/lib/x86_64-linux-gnu/libexec"
OTHER = Rectangle(150, 250, 500, 300)

WINDOWS = """
function box(r) { return [r.x, r.y, r.width, r.height]; }
print(%(mark)r + JSON.stringify({
    free: box(workspace.clientArea(KWin.MaximizeArea, workspace.activeScreen, workspace.currentDesktop)),
    windows: workspace.windowList().map(function (w) { return {
        pid: w.pid, name: String(w.resourceClass), caption: w.caption, box: box(w.frameGeometry), active: w.active,
        dock: w.dock, notification: w.notification || w.criticalNotification, tooltip: w.tooltip,
        skipTaskbar: w.skipTaskbar, visible: !w.hidden && !w.minimized, above: w.keepAbove, layer: w.layer}; })}));
"""
PLACE = """
workspace.windowList().forEach(function (w) {
    if (String(w.resourceClass) == 'foot') {
        w.noBorder = true;
        w.frameGeometry = {x: %d, y: %d, width: %d, height: %d};
    }
});
"""


class Plasma(Shell):
    name, title = "plasma", "Plasma (Wayland)"
    desktop = "KDE"
    session_type = "wayland"

    def __init__(self, program, scale=1, dark=False):
        super().__init__(program, scale, dark)
        self.pixels = scale
        self.marks = 0
        self.other = None
        screen = self.screen()
        self.size = f"{int(screen.width * scale)}x{int(screen.height * scale)}"  # of the X server around it
        self.environment.update(XDG_SESSION_DESKTOP="KDE", KDE_FULL_SESSION="true", KDE_SESSION_VERSION="6",
                                DESKTOP_SESSION="plasma", KWIN_COMPOSE="Q", QT_QUICK_BACKEND="software")
        del self.environment["GSETTINGS_BACKEND"]

    def screen(self):
        return Rectangle(0, 0, 1280, 800)

    def start_shell(self):
        self.start_x()
        self.outside = {"DISPLAY": self.environment["DISPLAY"]}
        width, height = self.size.split("x")
        self.daemon(["kwin_wayland", "--x11-display", self.environment.pop("DISPLAY"), "--width", width,
                     "--height", height, "--xwayland"])
        wait_for("the compositor's display", lambda: os.path.exists(self.runtime + "/wayland-0"), 30)
        self.environment["WAYLAND_DISPLAY"] = "wayland-0"
        wait_for("the compositor on the bus", lambda: self.owner("org.kde.KWin"), 30)
        if self.scale != 1:
            self.run(["kscreen-doctor", f"output.1.scale.{self.scale}"])
            wait_for("its scale", lambda: self.free_area().width == self.screen().width)
        self.environment["DISPLAY"] = wait_for("the X server in it", self.inner_display, 30)
        self.publish_environment("WAYLAND_DISPLAY", "DISPLAY", "XDG_RUNTIME_DIR", "KDE_FULL_SESSION",
                                 "KDE_SESSION_VERSION")
        self.daemon([LIBEXEC + "/kactivitymanagerd"])
        self.daemon(["kded6"])
        self.daemon([LIBEXEC + "/org_kde_powerdevil"])
        self.start_panel()

    def inner_display(self):
        taken = {self.outside["DISPLAY"]}
        found = sorted(":" + name[1:] for name in os.listdir("/tmp/.X11-unix") if name.startswith("X"))
        return next((display for display in found if display not in taken), None)

    def set_scheme(self, dark):
        folder = self.environment["XDG_CONFIG_HOME"]
        os.makedirs(folder, exist_ok=True)
        # The scheme's colours too: who applies one copies them.
        scheme, look = ("BreezeDark", "breezedark") if dark else ("BreezeLight", "breeze")
        with open(f"/usr/share/color-schemes/{scheme}.colors", encoding="utf-8") as file:
            colours = file.read()
        general = f"[General]\nColorScheme={scheme}\n[KDE]\nLookAndFeelPackage=org.kde.{look}.desktop\n"
        for name, text in {"kwinrc": "[Plugins]\nblurEnabled=false\n",
                           "kscreenlockerrc": "[Daemon]\nAutolock=false\n",
                           "kdeglobals": f"{colours}\n{general}AnimationDurationFactor=0\n"}.items():
            with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                file.write(text)

    def start_panel(self):
        self.bar = self.daemon(["plasmashell", "--no-respawn"])
        self.wait_for_host()
        wait_for("the panel", lambda: self.docks(), 30)

    def restart_panel(self):
        self.end(self.bar)
        wait_for("the panel gone", lambda: not self.docks())
        self.start_panel()

    # What the compositor says.

    def script(self, text):
        path = os.path.join(self.folder, "script.js")
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        self.marks += 1
        answer = self.call("org.kde.KWin", "/Scripting", "org.kde.kwin.Scripting.loadScript", path, f"s{self.marks}")
        number = re.search(r"\d+", answer).group()
        self.call("org.kde.KWin", f"/Scripting/Script{number}", "org.kde.kwin.Script.run")
        return number

    def windows(self):
        """All that the compositor shows, and the free area: a script of its own prints it into its log."""
        mark = f"windows-{time.monotonic_ns()}-"  # the log may be an older one
        self.script(WINDOWS % {"mark": mark})
        path = os.path.join(self.log, f"{self.name}-kwin_wayland.log")

        def line():
            with open(path, encoding="utf-8", errors="replace") as file:
                return next((line.split(mark)[1] for line in file if mark in line), None)

        found = json.loads(wait_for("the compositor's list of windows", line, 5))
        self.call("org.kde.KWin", "/Scripting", "org.kde.kwin.Scripting.unloadScript", f"s{self.marks}")
        return found

    def docks(self):
        return [window for window in self.windows()["windows"] if window["dock"] and window["visible"]]

    def own_windows(self):
        """The program's, smaller than the screen."""
        return [window for window in self.windows()["windows"]
                if window["pid"] == self.program.pid and window["visible"] and window["box"][2] < self.screen().width]

    def free_area(self):
        return Rectangle(*self.windows()["free"])

    def panel_area(self):
        """The part of it that the compositor keeps windows out of; a floating panel's own surface is larger."""
        dock, free = Rectangle(*self.docks()[0]["box"]), self.free_area()
        return Rectangle(dock.x, free.bottom, dock.width, dock.bottom - free.bottom)

    def popover(self):
        found = self.own_windows()
        return self.without_shadow(Rectangle(*found[0]["box"])) if found else None

    def popover_has_keyboard(self):
        return any(window["active"] for window in self.own_windows())

    def panel_point(self):
        panel = self.panel_area()
        return panel.x + panel.width * 0.55, panel.middle[1]

    def open_other_window(self):
        if self.other is None:
            self.other = self.daemon(["foot", "-e", "sleep", "1000"])
            wait_for("the other window", lambda: any(
                window["name"] == "foot" for window in self.windows()["windows"]), 15)
            self.script(PLACE % OTHER)
            time.sleep(0.7)

    def other_window_point(self):
        return OTHER.x + 60, OTHER.y + 150

    def background_point(self):
        return 60, 640

    # The hands: those of the X server around it.

    def xdotool(self, *arguments):
        own = self.environment
        self.environment = dict(own, **self.outside)
        try:
            return super().xdotool(*arguments)
        finally:
            self.environment = own

    def move(self, x, y):
        self.xdotool("mousemove", round(x * self.scale), round(y * self.scale))

    def press(self, button=1):
        self.xdotool("click", button)

    def key(self, name):
        self.xdotool("key", name)

    def kept_awake(self):
        held = set()
        for kind, word in ((4, "display"), (1, "system")):  # changing the screen's settings; ending the session
            if self.call("org.kde.Solid.PowerManagement", "/org/kde/Solid/PowerManagement/PolicyAgent",
                         "org.kde.Solid.PowerManagement.PolicyAgent.HasInhibition", str(kind)) == "(true,)":
                held.add(word)
        return held
