"""XFCE: xfwm4 with its compositor, xfce4-panel at the top, its daemons of notifications and power."""

import os

from shells.x11 import XShell, wait_for

PANEL = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="dark-mode" type="bool" value="{dark}"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="length" type="uint" value="100"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="size" type="uint" value="26"/>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
        <value type="int" value="2"/>
        <value type="int" value="3"/>
        <value type="int" value="4"/>
        <value type="int" value="5"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="applicationsmenu"/>
    <property name="plugin-2" type="string" value="tasklist"/>
    <property name="plugin-3" type="string" value="separator">
      <property name="expand" type="bool" value="true"/>
      <property name="style" type="uint" value="0"/>
    </property>
    <property name="plugin-4" type="string" value="systray">
      <property name="square-icons" type="bool" value="true"/>
    </property>
    <property name="plugin-5" type="string" value="clock"/>
  </property>
</channel>
"""
LIBRARIES = "/usr/lib/x86_64-linux-gnu/xfce4"


class Xfce(XShell):
    name = "xfce"
    title = "XFCE (X11)"
    desktop = "XFCE"
    notifier = LIBRARIES + "/notifyd/xfce4-notifyd"
    panel_class = "^Xfce4-panel$"

    def start_desktop(self):
        folder = os.path.join(self.home, ".config/xfce4/xfconf/xfce-perchannel-xml")
        os.makedirs(folder)
        with open(os.path.join(folder, "xfce4-panel.xml"), "w", encoding="utf-8") as file:
            file.write(PANEL.format(dark=str(self.dark).lower()))
        self.daemon([LIBRARIES + "/xfconf/xfconfd"])
        wait_for("the settings", lambda: self.owner("org.xfce.Xfconf"))
        self.daemon(["xfwm4", "--compositor=on"])
        self.wait_for_manager()
        self.daemon(["xfce4-power-manager", "--no-daemon"])
        self.start_panel()

    def start_panel(self):
        self.panel = self.daemon(["xfce4-panel", "--disable-wm-check", "--sm-client-disable"])
        self.wait_for_host()

    def click_notification(self, banner):
        """A click on its text only puts it away; the action is a button below, at the right."""
        self.click(banner.right - 50, banner.bottom - 30)

    def kept_awake(self):
        answer = self.call("org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
                           "org.freedesktop.PowerManagement.Inhibit.HasInhibit")
        return {"display"} if answer == "(true,)" else set()
