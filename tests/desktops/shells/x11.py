"""Shells on an X server without a screen."""

import time

import Xlib.X
import Xlib.Xatom
import Xlib.display
import Xlib.ext.screensaver

from shells.base import Failure, Rectangle, Shell, wait_for


class XShell(Shell):
    """Units are the X server's pixels: at 2x the screen has twice as many."""

    panel_class = ""  # of the panel's window
    session_type = "x11"

    def __init__(self, program, scale=1, dark=False):
        width, height = map(int, Shell.size.split("x"))
        self.size = f"{width * scale}x{height * scale}"
        super().__init__(program, scale, dark)
        self.unit = scale
        if scale != 1:
            self.environment.update(QT_SCALE_FACTOR=str(scale), GDK_SCALE=str(scale))

    def start_shell(self):
        self.start_x()
        self.publish_environment("DISPLAY")
        self.paint_background(0x35607a)
        self.start_desktop()
        self.xdotool("mousemove", *map(round, self.screen().middle))

    def paint_background(self, colour):
        """Colours the bare root window, in the way that compositors too take their background from."""
        display = Xlib.display.Display(self.environment["DISPLAY"])
        root = display.screen().root
        tile = root.create_pixmap(8, 8, display.screen().root_depth)
        tile.fill_rectangle(root.create_gc(foreground=colour), 0, 0, 8, 8)
        root.change_attributes(background_pixmap=tile)
        root.clear_area()
        for name in ("_XROOTPMAP_ID", "ESETROOT_PMAP_ID"):
            root.change_property(display.intern_atom(name), Xlib.Xatom.PIXMAP, 32, [tile.id])
        display.set_close_down_mode(Xlib.X.RetainPermanent)
        display.close()

    def start_desktop(self):
        """Starts the window manager, the panel and the rest on the display."""
        raise NotImplementedError

    def set_scheme(self, dark):
        super().set_scheme(dark)
        theme = "Adwaita-dark" if dark else "Adwaita"
        self.gsettings("org.gnome.desktop.interface", "gtk-theme", theme)

    def wait_for_manager(self):
        wait_for("the window manager", lambda: "window id" in self.run(
            ["xprop", "-root", "_NET_SUPPORTING_WM_CHECK"]), 20)

    def rectangle(self, window):
        lines = self.xdotool("getwindowgeometry", "--shell", window).splitlines()
        found = dict(line.split("=") for line in lines)
        return Rectangle(*(int(found[key]) for key in ("X", "Y", "WIDTH", "HEIGHT"))) if "WIDTH" in found else None

    def windows(self, *search):
        """The visible windows that xdotool finds so, with their places."""
        found = [(window, self.rectangle(window)) for window in
                 self.xdotool("search", "--onlyvisible", *search).split()]
        return [each for each in found if each[1]]

    def popover_window(self):
        return next((each for each in self.windows("--name", "^Korvel$") if each[1].width >= 300), None)

    def popover(self):
        found = self.popover_window()
        return self.without_shadow(found[1]) if found else None

    def popover_has_keyboard(self):
        found = self.popover_window()
        return bool(found) and self.xdotool("getwindowfocus") == found[0]

    def panel_area(self):
        """The panel by its windows: the widest that touches an edge of the screen."""
        screen = self.screen()
        found = [place for _, place in self.windows("--class", self.panel_class)
                 if place.width >= screen.width / 2 and place.height < screen.height / 4]
        return max(found, key=lambda place: place.width) if found else Rectangle(0, 0, screen.width, 1)

    def free_area(self):
        """The screen without the panel and without the room that panels reserve."""
        screen, panel = self.screen(), self.panel_area()
        top, bottom = screen.y, screen.bottom
        if panel.middle[1] < screen.middle[1]:
            top = panel.bottom
        else:
            bottom = panel.y
        reserved = self.run(["xprop", "-root", "_NET_WORKAREA"]).partition("=")[2].split(",")
        if len(reserved) >= 4:
            top = max(top, int(reserved[1]))
            bottom = min(bottom, int(reserved[1]) + int(reserved[3]))
        return Rectangle(screen.x, top, screen.width, bottom - top)

    def panel_point(self):
        panel = self.panel_area()
        return panel.x + panel.width * 0.6, panel.middle[1]

    def open_other_window(self):
        if not self.windows("--class", "^XTerm$"):
            self.terminal = self.spawn(["xterm", "-geometry", "70x20+150+150"])
            wait_for("another window", lambda: self.windows("--class", "^XTerm$"))
            time.sleep(0.5)

    def close_other_window(self):
        if getattr(self, "terminal", None):
            self.end(self.terminal)
            wait_for("the other window gone", lambda: not self.windows("--class", "^XTerm$"))

    def other_window_point(self):
        place = self.windows("--class", "^XTerm$")[0][1]
        return place.x + 60, place.middle[1]

    def move(self, x, y):
        self.xdotool("mousemove", round(x), round(y))

    def press(self, button=1):
        self.xdotool("click", button)

    def key(self, name):
        self.xdotool("key", name)

    def saver_stays_away(self):
        """Whether the X server's own screen saver, asked to come after a second without input, does not."""
        self.run(["xset", "s", "1", "1"])
        self.run(["xset", "s", "reset"])
        try:
            time.sleep(2.5)
            display = Xlib.display.Display(self.environment["DISPLAY"])
            try:
                return display.screen().root.screensaver_query_info().state != Xlib.ext.screensaver.StateOn
            finally:
                display.close()
        finally:
            self.run(["xset", "s", "600", "600"])
            self.run(["xset", "s", "reset"])

    def inhibited_in_session(self, name="org.gnome.SessionManager", path="/org/gnome/SessionManager"):
        """What a session manager says is inhibited: idle (8) is the display, suspending (4) the system."""
        held = set()
        for flag, word in ((8, "display"), (4, "system")):
            if self.call(name, path, "org.gnome.SessionManager.IsInhibited", str(flag)) == "(true,)":
                held.add(word)
        return held

    def restart_panel(self):
        self.end(self.panel)
        wait_for("the panel gone", lambda: not self.windows("--class", self.panel_class))
        self.start_panel()

    def start_panel(self):  # pylint: disable=arguments-differ
        """Starts the panel as self.panel and waits for its host."""
        raise NotImplementedError


__all__ = ["Failure", "Rectangle", "XShell", "wait_for"]
