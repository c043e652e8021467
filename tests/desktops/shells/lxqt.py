"""LXQt: openbox, lxqt-panel at the bottom, its daemon of notifications; nobody there keeps the display on, but the
X server does."""

import os

from shells.x11 import XShell, wait_for

PANEL = """[General]
panels=panel1
iconTheme=
[panel1]
alignment=-1
position=Bottom
panelSize=32
iconSize=22
width=100
width-percent=true
plugins=mainmenu,taskbar,spacer,tray,statusnotifier,worldclock
[mainmenu]
type=mainmenu
[taskbar]
type=taskbar
[spacer]
type=spacer
expandable=true
[tray]
type=tray
[statusnotifier]
type=statusnotifier
[worldclock]
type=worldclock
"""


class Lxqt(XShell):
    name = "lxqt"
    title = "LXQt (X11)"
    desktop = "LXQt"
    notifier = "/usr/bin/lxqt-notificationd"
    panel_class = "^lxqt-panel$"

    def start_desktop(self):
        folder = os.path.join(self.home, ".config/lxqt")
        os.makedirs(folder)
        with open(os.path.join(folder, "panel.conf"), "w", encoding="utf-8") as file:
            file.write(PANEL)
        self.daemon(["openbox", "--sm-disable"])
        self.wait_for_manager()
        self.daemon([self.notifier])  # the bus does not know it; the session starts it
        wait_for("the daemon of notifications", lambda: self.owner("org.freedesktop.Notifications"))
        self.start_panel()

    def start_panel(self):
        self.panel = self.daemon(["lxqt-panel"])
        self.wait_for_host()

    def kept_awake(self):
        return {"display"} if self.saver_stays_away() else set()
