"""i3 with i3bar at the bottom (XEmbed: no bus between the panel and the item) and dunst."""

import os
import signal

from shells.x11 import XShell, wait_for

CONFIG = """font pango:monospace 10
bar {
    status_command while date +%H:%M; do sleep 30; done
    position bottom
}
"""


class I3(XShell):
    name = "i3"
    title = "i3 with i3bar (X11)"
    desktop = "i3"
    notifier = "/usr/bin/dunst"
    panel_class = "^i3bar$"

    def start_desktop(self):
        folder = os.path.join(self.home, ".config/i3")
        os.makedirs(folder)
        with open(os.path.join(folder, "config"), "w", encoding="utf-8") as file:
            file.write(CONFIG)
        self.daemon(["i3"])
        self.wait_for_manager()
        wait_for("the bar", lambda: self.panel_area().height > 5, 20)

    def start_panel(self):
        self.daemon(["i3bar", "--bar_id=bar-0"])

    def restart_panel(self):
        for pid in self.processes("i3bar"):
            os.kill(pid, signal.SIGTERM)
        wait_for("the bar gone", lambda: not self.windows("--class", self.panel_class))
        self.start_panel()

    def menu_entries(self):
        return None

    def tooltip(self):
        return None

    def click_notification(self, banner):
        """Its left button closes, its middle one does the action."""
        self.click(*banner.middle, 2)

    def kept_awake(self):
        return {"display"} if self.saver_stays_away() else set()
