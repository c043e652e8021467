"""Notifications and keep-awake with the services of a desktop."""

import contextlib
import importlib.util
import json
import os
import re
import signal
import subprocess
import time

from cases import Program, Skip, case, check, desktop, equal, wait_for_item
from desktop import BUS_CONFIG, Failure, wait_for
from popover_cases import LAUNCHER, screen_reader

HERE = os.path.dirname(os.path.abspath(__file__))
REASON = "Korvel keep awake"
NAME = "com.oxbrook.korvel"


class Services:
    """Fake services on the session bus or on a bus of their own, and what they were asked."""

    def __init__(self, place, *kinds, environment=None):
        if importlib.util.find_spec("dbus") is None:
            raise Skip("not installed: python3-dbus")
        self.place, self.kinds, self.environment = place, kinds, environment or {}
        self.record = os.path.join(place.folder, "calls-" + kinds[0])
        self.process = None
        self.start()

    def start(self):
        self.process = self.place.spawn(
            ["env", *(f"{key}={value}" for key, value in self.environment.items()),
             "/usr/bin/python3", os.path.join(HERE, "fake_services"), self.record, *self.kinds],
            stdout=subprocess.PIPE, text=True)
        equal(self.process.stdout.readline(), "ready\n", "the fake services")

    def calls(self):
        if not os.path.exists(self.record):
            return []
        with open(self.record, encoding="utf-8") as file:
            return [json.loads(line) for line in file]

    def wait(self, count, what):
        return wait_for(what, lambda: self.calls() if len(self.calls()) >= count else None)


def system_bus(place):
    """A bus of its own that stands for the system's, for what is started from here on."""
    config = os.path.join(place.folder, "system-bus.conf")
    with open(config, "w", encoding="ascii") as file:
        file.write(BUS_CONFIG.format(address="dir=" + place.folder))
    bus = place.spawn(["dbus-daemon", "--config-file", config, "--nofork", "--print-address"],
                      stdout=subprocess.PIPE, text=True)
    address = bus.stdout.readline().strip()
    place.environment["DBUS_SYSTEM_BUS_ADDRESS"] = address
    return {"DBUS_SESSION_BUS_ADDRESS": address}


def defaults(place):
    with open(place.defaults_file(), encoding="utf-8") as file:
        return json.load(file)


@contextlib.contextmanager
def kept_awake(*session_services, **options):
    """The program, kept awake without an end since its launch."""
    with desktop("xfce4-panel", program=False, **options) as place:
        session = Services(place, *session_services) if session_services else None
        logind = Services(place, "logind", environment=system_bus(place))
        place.set_defaults(awakeOn={"bool": True}, awakeUntil={"integer": 0})
        program = Program(place)
        logind.wait(1, "the inhibitor")
        yield place, program, session, logind


def tooltip(place):
    return place.property(wait_for_item(place), "/StatusNotifierItem",
                          "org.kde.StatusNotifierItem", "ToolTip")


@case("xfce4-panel")
def keep_awake_is_taken_up_at_launch_and_let_go_at_the_quit():
    with kept_awake("screen-saver") as (place, program, session, logind):
        wait_for("the cup", lambda: "☕" in tooltip(place))
        equal(session.calls(), [["screen-saver", "Inhibit", NAME, REASON]], "the screen saver")
        equal(logind.calls(), [["logind", "Inhibit", "idle", "Korvel", REASON, "block"]], "logind")
        equal(program.send(signal.SIGTERM), 0, "exit status")
        equal(session.wait(2, "the release")[1], ["screen-saver", "UnInhibit", 71], "the release")
        equal(logind.wait(2, "the release")[1], ["logind", "closed"], "the release")
        remembered = defaults(place)
        equal([remembered[key] for key in ("awakeOn", "awakeUntil")], [{"bool": True}, {"integer": 0}],
              "what is remembered")


@case("xfce4-panel")
def keep_awake_asks_the_session_first_and_only_about_idleness():
    with kept_awake("session", "screen-saver") as (_, _, session, _):
        equal(session.calls(), [["session", "Inhibit", NAME, 0, REASON, 8]], "the session")


@case("xfce4-panel")
def keep_awake_holds_the_machine_where_nobody_holds_the_display():
    with kept_awake(saver=False) as (place, _, _, _):
        wait_for("the cup", lambda: "☕" in tooltip(place))


@case("xfce4-panel")
def killed_program_leaves_no_inhibitor():
    with kept_awake("screen-saver") as (place, program, _, logind):
        place.end(program.process, signal.SIGKILL)
        equal(logind.wait(2, "the release")[1], ["logind", "closed"], "the release")


@case("xfce4-panel")
def screen_saver_that_comes_back_is_asked_again():
    with kept_awake("screen-saver") as (place, _, session, _):
        place.end(session.process, signal.SIGKILL)
        session.start()
        equal(session.wait(2, "the second request")[1],
              ["screen-saver", "Inhibit", NAME, REASON], "the second request")


@case("xfce4-panel")
def session_bus_that_comes_back_is_asked_again():
    with kept_awake("screen-saver") as (place, program, session, _):
        # Not in the middle of the launch: Qt aborts or hangs where the bus goes just when it sets
        # up the item and what a screen reader asks.
        wait_for("the cup", lambda: "☕" in tooltip(place))
        place.end(place.bus, signal.SIGKILL)
        place.start_bus()
        session.start()
        equal(wait_for("the second request",
                       lambda: session.calls() if len(session.calls()) >= 2 else None, 25)[-1],
              ["screen-saver", "Inhibit", NAME, REASON], "the second request")
        equal(program.send(signal.SIGTERM), 0, "exit status")
        equal(session.wait(3, "the release")[-1], ["screen-saver", "UnInhibit", 71], "the release")


@case("xfce4-panel")
def refused_keep_awake_shows_no_cup_and_is_tried_at_the_next_launch():
    with desktop("xfce4-panel", program=False, saver=False) as place:
        system_bus(place)
        stored = place.set_defaults(awakeOn={"bool": True}, awakeUntil={"integer": 0})
        Program(place)
        wait_for("the score", lambda: "●" in tooltip(place))
        time.sleep(1)
        check("☕" not in tooltip(place), "a cup without an assertion")
        equal(defaults(place), stored, "what is remembered")


@case("xfce4-panel")
def settings_that_cannot_be_read_are_put_aside_and_kept():
    with desktop("xfce4-panel", program=False) as place:
        broken = b"\xff\x00{\"awakeOn\":"
        with open(place.defaults_file(), "wb") as file:
            file.write(broken)
        program = Program(place)
        wait_for("the score", lambda: "●" in tooltip(place))
        wait_for("the greeting", lambda: "whatsNewAutoShownBuild" in defaults(place))
        equal(program.send(signal.SIGTERM), 0, "exit status")
        with open(place.defaults_file() + ".broken", "rb") as file:
            equal(file.read(), broken, "what was put aside")


LOGIND = "/lib/systemd/systemd-logind"


def inhibitors(place):
    """What the logind of this place holds: (what, who, why, mode) of each."""
    listed = subprocess.run(
        ["gdbus", "call", "--address", place.environment["DBUS_SYSTEM_BUS_ADDRESS"], "--dest",
         "org.freedesktop.login1", "--object-path", "/org/freedesktop/login1", "--method",
         "org.freedesktop.login1.Manager.ListInhibitors"],
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=False)
    if listed.returncode:
        return None
    return re.findall(r"'([^']*)', '([^']*)', '([^']*)', '([^']*)'", listed.stdout)


@contextlib.contextmanager
def kept_awake_by_logind():
    """The program, kept awake since its launch by a logind that runs for this place alone."""
    if not os.access(LOGIND, os.X_OK):
        raise Skip("not installed: systemd-logind")
    if os.geteuid() != 0:
        raise Skip("a logind of one's own takes the superuser")
    with desktop("xfce4-panel", program=False) as place:
        system_bus(place)
        place.spawn(["unshare", "--mount", "--propagation", "private", "sh", "-c",
                     "mount -t tmpfs tmpfs /run/systemd && mkdir /run/systemd/system && "
                     f"exec {LOGIND}"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        try:
            wait_for("logind", lambda: inhibitors(place) is not None)
        except Failure:
            raise Skip("logind does not start here") from None
        place.set_defaults(awakeOn={"bool": True}, awakeUntil={"integer": 0})
        program = Program(place)
        wait_for("the inhibitor", lambda: inhibitors(place))
        equal(inhibitors(place), [("idle", "Korvel", REASON, "block")], "what is held")
        yield place, program


@case("xfce4-panel", "unshare", "gdbus")
def real_logind_shows_the_inhibitor_until_the_quit():
    with kept_awake_by_logind() as (place, program):
        equal(program.send(signal.SIGTERM), 0, "exit status")
        wait_for("the release", lambda: inhibitors(place) == [])


@case("xfce4-panel", "unshare", "gdbus")
def real_logind_loses_the_inhibitor_of_a_killed_program():
    with kept_awake_by_logind() as (place, program):
        place.end(program.process, signal.SIGKILL)
        wait_for("the release", lambda: inhibitors(place) == [])


def reclaim_script(place, text):
    with open(os.path.join(place.home, "reclaim.sh"), "w", encoding="utf-8") as file:
        file.write(text)


@case(LAUNCHER)
def disk_space_is_previewed_and_cleared_from_the_popover():
    # The launcher's token is the program's alone.
    with screen_reader(environment={"DESKTOP_STARTUP_ID": "s", "XDG_ACTIVATION_TOKEN": "a"}) as (place, tree):
        reclaim_script(place, 'echo "$#:$*$DESKTOP_STARTUP_ID$XDG_ACTIVATION_TOKEN" >>"$HOME/told"\n'
                              'echo TOTAL RECLAIMABLE 4.7 GB\n')
        tree.find("Reclaim").press()
        tree.find("Clear 4.7 GB", 10).press()
        tree.match("reclaimed .*|nothing to reclaim right now", 10)
        with open(os.path.join(place.home, "told"), encoding="utf-8") as file:
            equal(file.read(), "0:\n2:--go --yes\n", "what the script was told")


@case(LAUNCHER)
def preview_that_hangs_leaves_the_popover_at_work():
    with screen_reader() as (place, tree):
        reclaim_script(place, "sleep 20\n")
        tree.find("Reclaim").press()
        tree.find("Scanning…")
        began = time.monotonic()
        tree.find("what's affecting this").press()
        tree.find("hide breakdown")
        check(time.monotonic() - began < 5, "the popover waits for the script")
        try:
            tree.find("Quit Halden").press()
        except Exception as error:  # pylint: disable=broad-except
            check("NoReply" in str(error), f"pressing it: {error}")  # it ends before it can answer
        wait_for("the end of the program", lambda: not place.owner(NAME), 5)
