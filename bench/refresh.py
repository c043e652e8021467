#!/usr/bin/python3
"""Measures a refresh of the program in the tray, while the score changes and while it stands still, beside
the limit (korvel_bare_refresh) and beside top. All run at the same time in one panel, each at its own place in the
five seconds, at 120, 520 and 2,000 processes in turn. Prints JSON.

    refresh.py BUILD-FOLDER [SECONDS]     SECONDS at each size, 120 by default

The program sees a load average that is a file of this script, and is another one for every other refresh. A
refresh counts as one whose score changed when the item told of a new icon in it, and as one whose score stood
still when it did not. Every figure is milliseconds of processor time of all threads, the median of the refreshes.
"""

import json
import os
import statistics
import sys
import time

import dbus
import dbus.bus
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.dont_write_bytecode = True
sys.path[:0] = [os.path.join(ROOT, folder) for folder in ("tests/desktop", "bench")]

import cases  # noqa: E402
from crowd import Crowd, processes  # noqa: E402
from desktop import Desktop, Failure, wait_for  # noqa: E402
from whole_programs import cpu_seconds, wake_ups  # noqa: E402

SIZES = 120, 520, 2000
INTERVAL = 5  # seconds between two refreshes, of each program
LOOK = 0.1  # seconds between two looks at the programs
LEAST = 0.2  # milliseconds within a look, with which a refresh begins
# When in an interval each of them refreshes, in seconds. Whoever came right behind another would find in the
# processor's caches what that one has just read, and cost up to a third less. The limit comes behind top.
PLACES = {"korvel": 0, "top": 1.25, "limit": 2.5}
SETTLED = 20  # seconds after the launch: what only that used has been given back
# Shares of the processors that wait, each of which costs another number of points.
LOADS = 0.05, 0.3, 0.55, 0.8, 0.15, 0.4, 0.65
ITEM = "org.kde.StatusNotifierItem"


class Load(cases.Load):
    """The load average that the program sees, another one for every other refresh."""

    def __init__(self, place):
        super().__init__(place)
        self.turn = 0
        self.next()

    def next(self):
        self.set(LOADS[self.turn % len(LOADS)] * os.cpu_count())
        self.turn += 1


class Watch:
    """Looks at the programs ten times a second, and hears when one of them has a new icon."""

    def __init__(self, place, pids):
        """`pids`: by the names of the programs."""
        self.pids = pids
        self.looks = {name: [] for name in pids}  # (seconds, milliseconds of processor time, wake-ups until then)
        self.icons = {pid: [] for pid in pids.values()}  # seconds
        self.senders = {}  # connections on the bus to pids
        self.bus = dbus.bus.BusConnection(place.environment["DBUS_SESSION_BUS_ADDRESS"],
                                          mainloop=DBusGMainLoop())
        self.bus.add_signal_receiver(self.new_icon, "NewIcon", ITEM, sender_keyword="sender")

    def new_icon(self, sender):
        if sender not in self.senders:
            self.senders[sender] = int(self.bus.call_blocking(
                "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                "GetConnectionUnixProcessID", "s", (sender,)))
        self.icons[self.senders[sender]].append(time.monotonic())

    def look(self):
        for name, pid in self.pids.items():
            self.looks[name].append((time.monotonic(), cpu_seconds(pid) * 1000, wake_ups(pid)))
        return True

    def run(self, seconds, every_other_refresh):
        """Watches for that long. The call is made once for every two refreshes."""
        loop = GLib.MainLoop()
        sources = [GLib.timeout_add(round(LOOK * 1000), self.look),
                   GLib.timeout_add_seconds(2 * INTERVAL, lambda: every_other_refresh() or True)]
        GLib.timeout_add_seconds(seconds, loop.quit)
        loop.run()
        for source in sources:
            GLib.source_remove(source)
        self.bus.close()

    def refreshes(self, name):
        """(milliseconds, wake-ups, whether it told of a new icon) of each whole one."""
        looks = self.looks[name]
        begun = []
        for before, after in zip(looks, looks[1:]):
            if after[1] - before[1] > LEAST and (not begun or before[0] - begun[-1][0] > 0.8 * INTERVAL):
                begun.append(before)
        icons = self.icons[self.pids[name]]
        return [(after[1] - before[1], after[2] - before[2], any(before[0] <= icon < after[0] for icon in icons))
                for before, after in zip(begun, begun[1:])]


def medians(refreshes):
    """Milliseconds and wake-ups by kind, None where there was no such refresh, and how many there were."""
    result = {}
    for kind, changed in (("changed", True), ("still", False)):
        found = [(ms, woken) for ms, woken, icon in refreshes if icon == changed]
        result[kind] = statistics.median(ms for ms, _ in found) if found else None
        result[kind + "_wake_ups"] = statistics.median(woken for _, woken in found) if found else None
        result[kind + "_count"] = len(found)
    return result


def measured(place, build, size, seconds):
    """The figures at one number of processes."""
    load = Load(place)
    commands = {"korvel": load.command(os.path.join(build, "bin", "korvel")),
                "limit": load.command(os.path.join(build, "bin", "korvel_bare_refresh")),
                "top": ["top", "-b", "-d", str(INTERVAL)]}
    started = {}
    begin = time.monotonic()
    for name in sorted(commands, key=PLACES.get):
        time.sleep(max(0, begin + PLACES[name] - time.monotonic()))
        started[name] = place.spawn(commands[name])
    wait_for("the items", lambda: len(place.items()) == 2)
    with Crowd(build, size):
        time.sleep(SETTLED)
        watch = Watch(place, {name: process.pid for name, process in started.items()})
        watch.run(seconds, load.next)
        result = {name: medians(watch.refreshes(name)) for name in started}
        result["processes"] = processes()
    for process in started.values():
        place.end(process)
    wait_for("the tray without them", lambda: not place.items())
    for name in ("korvel", "limit"):
        if None in result[name].values():
            raise Failure(f"no refresh of each kind at {size} processes: {result}")
    return result


def main():
    build, seconds = sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 120
    with Desktop() as place:
        place.start_panel("xfce4-panel")
        result = {size: measured(place, build, size, seconds) for size in SIZES}
    json.dump(result, sys.stdout, indent=1)


if __name__ == "__main__":
    main()
