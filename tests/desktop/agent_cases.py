"""The watchdog's indicator beside a real service manager of the user."""

import json
import os

from cases import Program, Skip, case, equal
from desktop import wait_for
from popover_cases import LAUNCHER, screen_reader

SYSTEMD = "/lib/systemd/systemd"
SERVICE = "com.oxbrook.warden.agent.service"
UNITS = {
    SERVICE: "[Service]\nExecStart=/bin/sleep 1000\n",
    "other.timer": f"[Timer]\nOnActiveSec=1000\nUnit={SERVICE}\n",
    "other.path": f"[Path]\nPathExists=/nowhere/at/all\nUnit={SERVICE}\n",
    # The manager joins the bus when it has started one. These stand for it, since there is one.
    "dbus.socket": "[Socket]\nListenStream=%t/no-bus\n",
    "dbus.service": "[Service]\nExecStart=/bin/sleep 1000\n",
}


def systemctl(place, *arguments):
    return place.run(["systemctl", "--user", *arguments]).strip()


def watched(place):
    """Whether korvel-snapshot finds the watchdog on."""
    program = os.path.join(os.path.dirname(Program.path), "korvel-snapshot")
    return json.loads(place.run([program, "--once", "--json"]))["wardenOn"]


def start_manager(place):
    """A service manager on the session's bus, in a mount namespace in which it finds what it
    expects of a machine that it runs."""
    if not os.access(SYSTEMD, os.X_OK):
        raise Skip("not installed: systemd")
    if os.geteuid() != 0:
        raise Skip("a service manager of one's own takes the superuser")
    if os.path.isdir("/run/systemd/private"):
        raise Skip("systemd runs this machine")
    folder = os.path.join(place.home, ".config", "systemd", "user")
    os.makedirs(folder)
    for name, text in UNITS.items():
        with open(os.path.join(folder, name), "w", encoding="ascii") as file:
            file.write(text)
    place.spawn(["unshare", "--mount", "--propagation", "private", "sh", "-c",
                 "mkdir -p /run/systemd && mount -t tmpfs tmpfs /run/systemd && mkdir /run/systemd/system && "
                 f"exec {SYSTEMD} --user --unit=dbus.service"])
    wait_for("the service manager", lambda: place.owner("org.freedesktop.systemd1"))


@case(LAUNCHER, "unshare", "systemctl")
def watchdog_is_on_while_a_real_manager_has_it_in_charge():
    with screen_reader(before=start_manager) as (place, tree):
        tree.find("Warden off")  # installed, but never started
        equal(watched(place), False, "korvel-snapshot, before it was started")
        for command, shown, unit, state in [
                (["start", SERVICE], "Warden on", SERVICE, "active"),
                (["kill", "-sKILL", SERVICE], "Warden off", SERVICE, "failed"),
                (["start", "other.timer"], "Warden on", "other.timer", "active"),
                (["stop", "other.timer"], "Warden off", "other.timer", "inactive"),
                (["start", "other.path"], "Warden on", "other.path", "active")]:
            systemctl(place, *command)
            tree.find(shown)
            equal(systemctl(place, "is-active", unit), state, f"state after {command}")
            equal(watched(place), shown == "Warden on", f"korvel-snapshot, after {command}")
