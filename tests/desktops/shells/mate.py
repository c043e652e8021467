"""MATE: its session manager, which starts marco and the panel, and its daemon of notifications."""

from shells.x11 import XShell


class Mate(XShell):
    name = "mate"
    title = "MATE (X11)"
    desktop = "MATE"
    notifier = "/usr/libexec/mate-notification-daemon/mate-notification-daemon"
    panel_class = "^Mate-panel$"  # of both its panels; the item is in the upper one

    def start_desktop(self):
        self.gsettings("org.mate.session", "required-components-list", "['windowmanager']")
        self.gsettings("org.mate.interface", "gtk-theme", "Adwaita-dark" if self.dark else "Adwaita")
        self.gsettings("org.mate.font-rendering", "dpi", "96")  # else it comes from the millimetres that Xvfb claims
        self.gsettings("org.mate.panel", "default-layout", "default")
        self.run(["mate-panel", "--layout", "default"])
        self.daemon(["mate-session", "--disable-acceleration-check"])
        self.wait_for_manager()
        self.start_panel()

    def start_panel(self):
        self.panel = self.daemon(["mate-panel"])
        self.wait_for_host(60)

    def panel_area(self):
        return self.windows("--name", "^Top Panel$")[0][1]

    def kept_awake(self):
        return self.inhibited_in_session()
