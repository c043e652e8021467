"""Cinnamon: its session manager and its shell, whose panel at the bottom is a part of the compositor."""

import os
import time

from shells.x11 import Rectangle, XShell, wait_for


class Cinnamon(XShell):
    name = "cinnamon"
    title = "Cinnamon (X11)"
    desktop = "X-Cinnamon"

    def start_desktop(self):
        self.gsettings("org.cinnamon.desktop.interface", "gtk-theme", "Adwaita-dark" if self.dark else "Adwaita")
        self.gsettings("org.x.apps.portal", "color-scheme", "prefer-dark" if self.dark else "prefer-light")
        self.gsettings("org.cinnamon", "startup-animation", "false")
        self.gsettings("org.cinnamon", "desktop-effects-workspace", "false")
        if self.scale != 1:  # by this its programs too learn of it
            for name in ("QT_SCALE_FACTOR", "GDK_SCALE"):
                del self.environment[name]
            self.gsettings("org.cinnamon.desktop.interface", "scaling-factor", str(self.scale))
        folder = os.path.join(self.home, ".config/autostart")
        os.makedirs(folder)
        with open(os.path.join(folder, "localsearch-3.desktop"), "w", encoding="utf-8") as file:
            file.write("[Desktop Entry]\nHidden=true\n")  # an index of files, which takes a processor for itself
        self.start_panel()

    def start_panel(self):
        self.panel = self.daemon(["cinnamon-session", "--session", "cinnamon"])
        self.wait_for_host(90)
        self.wait_for_panel()

    def wait_for_panel(self):
        wait_for("the panel's reserved room", lambda: self.free_area().height < self.screen().height, 30)

    def free_area(self):
        reserved = self.run(["xprop", "-root", "_NET_WORKAREA"]).partition("=")[2].split(",")
        return Rectangle(*map(int, reserved[:4])) if len(reserved) >= 4 else self.screen()

    def panel_area(self):
        screen, free = self.screen(), self.free_area()
        return Rectangle(0, free.bottom, screen.width, max(1, screen.height - free.bottom))

    def restart_panel(self):
        """Puts another shell in the place of the running one."""
        before = self.shell_on_the_bus()
        self.daemon(["cinnamon", "--replace"])
        wait_for("another shell", lambda: self.shell_on_the_bus() not in ("", before), 30)
        self.wait_for_panel()
        time.sleep(2)  # until it has drawn itself over what the other one left

    def shell_on_the_bus(self):
        return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.GetNameOwner",
                         "org.Cinnamon")

    def click_notification(self, banner):
        """It hears a click when it has seen the pointer come."""
        x, y = banner.middle
        for step in (8, 0):
            self.move(x - step, y)
            time.sleep(0.4)
        self.press()

    def kept_awake(self):
        return self.inhibited_in_session()
