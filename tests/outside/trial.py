"""The ground of a fault from outside: a private desktop, the program on it, and what it must go on doing."""

import collections
import contextlib
import ctypes
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [os.path.join(os.path.dirname(HERE), "desktop")]

from cases import Program, Skip, check, equal  # noqa: E402,F401
from desktop import Desktop, Failure, wait_for  # noqa: E402

NAME = "com.oxbrook.korvel"
# `before`: a shell command ahead of the program; `start`: the one that becomes the program; `during`: one while
# it runs. `must`: what must happen. `alone`: nothing else is tried at the same time.
Fault = collections.namedtuple("Fault", "group name before start during must alone panel play")
FAULTS = []
CLONE_NEWNS = 0x20000
START = 'exec "$KORVEL"'


def fault(name, must, before="", start=START, during="", alone=False, panel="xfce4-panel"):
    """Registers a fault, with a function that is given a Trial and checks what happens."""

    def register(play):
        group = play.__module__.removesuffix("_faults")
        FAULTS.append(Fault(group, name, before, start, during, must, alone, panel, play))
        return play

    return register


class Trial:
    """One fault on its desktop. The commands see $KORVEL and $OUTSIDE, this folder; $HOME; and the numbers of the
    processes, $PID (the program), $BUS, $X, $PANEL and $MANAGER."""

    def __init__(self, chosen, place, programs):
        self.fault, self.place, self.programs = chosen, place, programs
        self.program = None
        self.printed = os.path.join(place.folder, "printed")
        settings = os.path.join(place.folder, "settings")
        place.environment.update(
            KORVEL=os.path.join(programs, "korvel"), OUTSIDE=HERE, XDG_CONFIG_HOME=settings,
            KORVEL_SET_CLOCK=os.path.join(os.path.dirname(programs), "tests/outside/libkorvel_set_clock.so"))
        os.makedirs(os.path.join(settings, "korvel"))
        shutil.copy(place.defaults_file(), os.path.join(settings, "korvel", "defaults.json"))

    def shell(self, command, seconds=60):
        """Runs a command to its end. Failure: it fails."""
        if self.program:
            self.place.environment["PID"] = str(self.program.pid)
        for name, program in (("BUS", "dbus-daemon"), ("X", "Xvfb"), ("PANEL", "xfce4-panel"), ("MANAGER", "openbox")):
            of_it = self.processes(program)
            self.place.environment[name] = str(of_it[-1].pid) if of_it else ""
        ended = subprocess.run(["sh", "-c", command], env=self.place.environment, cwd=self.place.folder,
                               stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                               text=True, errors="replace", timeout=seconds, check=False)
        check(ended.returncode == 0, f"{command}: exit status {ended.returncode}: {ended.stdout.strip()}")
        return ended.stdout

    def start(self, command=None):
        """The program, after what comes before it."""
        if self.fault.before and self.program is None:
            self.shell(self.fault.before)
        with open(self.printed, "ab") as printed:
            self.program = self.place.spawn(["sh", "-c", command or self.fault.start], cwd=self.place.folder,
                                            stdout=printed, stderr=printed)

    def processes(self, program):
        """Those of the desktop's processes, in the order in which they were started."""
        return [process for process in self.place.started if process.args[0] == program]

    def strike(self):
        """What happens while it runs."""
        self.shell(self.fault.during)

    def running(self):
        return self.program.poll() is None

    def tooltip(self):
        """What the item says; empty: there is no item, or it says nothing yet."""
        return "".join(self.place.property(item, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "ToolTip")
                       for item in self.place.items())

    def shows_the_score(self, seconds=10):
        wait_for("the score in the tray", lambda: re.search(r"\d+ · [A-Z]", self.tooltip()), seconds)

    def opens_and_closes(self, seconds=10):
        """By a second start, which finds the first."""
        second = self.place.spawn(["sh", "-c", START], cwd=self.place.folder)
        equal(second.wait(seconds), 0, "exit status of a second start")
        wait_for("the open popover", self.place.popover, seconds)
        check(self.running(), f"it ended: {self.program.poll()}")
        self.place.activate()
        wait_for("the closed popover", lambda: not self.place.popover(), seconds)

    def works(self, seconds=10):
        self.shows_the_score(seconds)
        self.opens_and_closes(seconds)

    def goes_on_sampling(self, seconds=6.5):
        """It takes the next sample in that time: it reads of each process. What it was at before is over then."""
        time.sleep(1.5)

        def reads():
            with open(f"/proc/{self.program.pid}/io", encoding="ascii") as counters:
                return int(re.search(r"syscr: (\d+)", counters.read())[1])
        before = reads()
        least = sum(name.isdigit() for name in os.listdir("/proc")) / 2
        wait_for("the next sample", lambda: reads() > before + least, seconds)

    def stays_or_is_ended(self, seconds):
        """For so long, unless it ends before."""
        deadline = time.monotonic() + seconds
        while self.running() and time.monotonic() < deadline:
            time.sleep(0.1)

    def ends(self, seconds=10):
        """The exit status, negative for a signal."""
        try:
            return self.program.wait(seconds)
        except subprocess.TimeoutExpired:
            raise Failure(f"still running after {seconds} s") from None

    def quits(self, seconds=10):
        check(self.running(), f"it ended before: {self.program.poll()}")
        self.program.send_signal(signal.SIGTERM)
        equal(self.ends(seconds), 0, "exit status")

    def history_file(self):
        return os.path.join(self.place.home, ".korvel-history.json")

    def history(self, path=None):
        """The rows of the file."""
        with open(path or self.history_file(), encoding="utf-8") as file:
            rows = json.load(file)
        check(all(len(row) == 3 for row in rows), f"a row is not three numbers: {rows!r}")
        return rows

    def survives(self):
        """What most faults must come to."""
        self.start()
        self.works()
        if self.fault.during:
            self.strike()
            self.works()
        self.quits()

    def is_struck_and_goes_on(self):
        """Struck while it runs, it works and samples as before, and quits when it is told to."""
        self.start()
        self.works()
        self.strike()
        self.goes_on_sampling()
        self.works()
        self.quits()

    def resident(self):
        """MiB."""
        with open(f"/proc/{self.program.pid}/status", encoding="ascii") as status:
            return int(re.search(r"VmRSS:\s+(\d+)", status.read())[1]) / 1024


@contextlib.contextmanager
def desktop_of(chosen, programs):
    """The desktop of a fault; what was mounted for it goes with it."""
    Program.path = os.path.join(programs, "korvel")
    with Desktop() as place:
        if chosen.group == "script":
            from popover_cases import LAUNCHER
            if not os.path.exists(LAUNCHER):
                raise Skip("not installed: at-spi2-core")
        elif chosen.panel:
            place.start_panel(chosen.panel)
        trial = Trial(chosen, place, programs)
        try:
            yield trial
            with open(trial.printed, "rb") as printed:
                equal(printed.read(200), b"", "printed by the program")
        finally:
            if trial.program and trial.program.poll() is None:
                trial.program.kill()
            with open("/proc/self/mountinfo", encoding="utf-8") as mounts:
                points = [line.split()[4] for line in mounts]
            for point in reversed(points):
                if point.startswith(place.folder) or point == "/root":
                    subprocess.run(["umount", "-l", point], stderr=subprocess.DEVNULL, check=False)


def took(chosen, programs):
    """The word for how it went, the seconds, and what is to be said of it."""
    started = time.monotonic()
    equal(ctypes.CDLL(None, use_errno=True).unshare(CLONE_NEWNS), 0, "mounts of its own")
    try:
        with desktop_of(chosen, programs) as trial:
            chosen.play(trial)
    except Skip as reason:
        return "skipped", time.monotonic() - started, str(reason)
    except Exception as error:  # pylint: disable=broad-except
        return "FAILED", time.monotonic() - started, f"{type(error).__name__}: {error}"[:500]
    return "passed", time.monotonic() - started, ""
