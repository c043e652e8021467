"""Notifications: what is posted, what a click on one does, and when one goes."""

import contextlib
import os
import re
import signal
import subprocess

from cases import Program, Skip, case, check, desktop, equal, geometry, history, opened
from desktop import Desktop, wait_for
from remedy_cases import NAME, Services

POSTER = "korvel_post_notification"
FAST_CLOCK = os.path.join("..", "tests", "desktop", "libkorvel_fast_clock.so")
DUNST = """[global]
  markup = full
  width = 360
  offset = 30x50
  mouse_left_click = do_action, close_current
[urgency_normal]
  timeout = 0
"""

PLENTY = {
    "/proc/meminfo": """MemTotal: 16000000 kB
MemFree: 12000000 kB
MemAvailable: 14000000 kB
Buffers: 100000 kB
Cached: 1000000 kB
SwapTotal: 8000000 kB
SwapFree: 8000000 kB
""",
    "/proc/loadavg": "0.10 0.10 0.10 1/100 1000\n",
    "/proc/pressure/memory": "some avg10=0.00 avg60=0.00 avg300=0.00 total=0\n"
                             "full avg10=0.00 avg60=0.00 avg300=0.00 total=0\n",
}
LITTLE = {
    "/proc/meminfo": """MemTotal: 16000000 kB
MemFree: 200000 kB
MemAvailable: 300000 kB
Buffers: 1000 kB
Cached: 100000 kB
SwapTotal: 8000000 kB
SwapFree: 100000 kB
""",
    "/proc/loadavg": "90.00 90.00 60.00 9/900 9000\n",
    "/proc/pressure/memory": "some avg10=70.00 avg60=60.00 avg300=40.00 total=900000000\n"
                             "full avg10=50.00 avg60=40.00 avg300=30.00 total=800000000\n",
}


class Machine:
    """What the program reads of a machine that is well or out of memory, as the test says."""

    STAT = "/proc/stat"

    def __init__(self, place):
        self.files = {path: os.path.join(place.folder, path.strip("/").replace("/", "-"))
                      for path in [*PLENTY, self.STAT] if os.path.exists(path)}
        self.busy = self.idle = 1000000  # ticks of each processor
        self.be(PLENTY)

    def be(self, readings):
        """The processors have been all busy or all idle since it was last told what to be."""
        if readings is LITTLE:
            self.busy += 100000
        else:
            self.idle += 100000
        for path, file in self.files.items():
            # In place: at no moment does the program find it empty.
            with open(file, "r+" if os.path.exists(file) else "w", encoding="ascii") as written:
                written.write(self.stat() if path == self.STAT else readings[path])
                written.truncate()
        return True

    def stat(self):
        each = f"{self.busy} 0 0 {self.idle} 0 0 0 0 0 0\n"
        processors = "".join(f"cpu{number} {each}" for number in range(os.cpu_count()))
        return f"cpu {each}{processors}btime 1700000000\n"

    def command(self, program):
        """Starts the program in a mount namespace of its own, with a clock on which what it lets pass
        between two notifications passes within a second."""
        clock = os.path.join(os.path.dirname(program), FAST_CLOCK)
        if not os.path.exists(clock):
            raise Skip("libkorvel_fast_clock.so is not built")
        mounts = " && ".join(f"mount --bind {file} {path}" for path, file in self.files.items())
        prefix = ["unshare", "--mount", "--propagation", "private", "sh", "-c", mounts + ' && exec "$@"', "sh"]
        if subprocess.run([*prefix, "true"], stderr=subprocess.DEVNULL, check=False).returncode:
            raise Skip("no mount namespaces for this user")
        return [*prefix, "env", "LD_PRELOAD=" + clock, "KORVEL_CLOCK_RATE=1000", program]


def poster():
    path = os.path.join(os.path.dirname(Program.path), POSTER)
    if not os.path.exists(path):
        raise Skip("korvel_post_notification is not built")
    return path


def post(place, title, body):
    equal(place.spawn([poster(), title, body]).wait(20), 0, "exit status of the poster")


@case()
def notification_has_the_programs_name_icon_and_escaped_body():
    with Desktop() as place:
        services = Services(place, "notifications")
        post(place, "Mac slowing down: score 31", "Heaviest: <b>x</b> & co\x07 at 9.3 GB")
        equal(services.calls(),
              [["notifications", "Notify", "Korvel", 0, NAME, "Computer slowing down: score 31",
                "Heaviest: &lt;b&gt;x&lt;/b&gt; &amp; co  at 9.3 GB", [],
                {"desktop-entry": NAME}, -1]], "what was posted")


@case()
def notification_is_plain_where_no_markup_is_rendered():
    with Desktop() as place:
        services = Services(place, "plain-notifications")
        post(place, "Mac slowing down: score 31", "Heaviest: <b>x</b> & co at 9.3 GB")
        equal(services.calls()[0][6], "Heaviest: <b>x</b> & co at 9.3 GB", "the body")


@case()
def notification_without_a_service_is_silent():
    with Desktop() as place:
        printed = os.path.join(place.folder, "printed-by-poster")
        with open(printed, "wb") as file:
            process = place.spawn([poster(), "title", "body"], stdout=file, stderr=file)
            equal(process.wait(20), 0, "exit status of the poster")
        equal(os.path.getsize(printed), 0, "bytes printed")


def start_dunst(place):
    config = os.path.join(place.folder, "dunstrc")
    with open(config, "w", encoding="ascii") as file:
        file.write(DUNST)
    place.spawn(["dunst", "-config", config])
    wait_for("the service", lambda: place.owner("org.freedesktop.Notifications"))


@case("dunst")
def notification_is_seen_on_the_screen_of_a_real_service():
    with Desktop() as place:
        before = place.screenshot()
        start_dunst(place)
        post(place, "Mac slowing down: score 31", "Heaviest: <b>browser</b> at 9.3 GB")
        wait_for("the notification", lambda: place.screenshot().rgb != before.rgb)
        if os.environ.get("KORVEL_PICTURES"):
            place.screenshot().save(os.path.join(os.environ["KORVEL_PICTURES"],
                                                 "notification.png"))


@contextlib.contextmanager
def notified():
    """The program, and its notification on the screen of a real service, for want of memory."""
    with desktop(program=False) as place:
        start_dunst(place)
        machine = Machine(place)
        machine.be(LITTLE)
        place.posted = os.path.join(place.folder, "posted")
        with open(place.posted, "w", encoding="utf-8") as file:
            place.spawn(["dbus-monitor", "--session", "--profile", "member='Notify'"], stdout=file)
        program = Program(place, load=machine)
        # Busy all along, whenever the program looks.
        wait_for("the notification", lambda: machine.be(LITTLE) and shown(place) == 1)
        yield place, program, machine


def shown(place):
    """How many notifications the service shows."""
    return int(place.run(["dunstctl", "count", "displayed"]) or -1)


def posts(place):
    with open(place.posted, encoding="utf-8") as file:
        return len(re.findall("Notify$", file.read(), re.MULTILINE))


@case("dunst", "dunstctl", "unshare")
def click_on_the_notification_opens_the_popover():
    with notified() as (place, program, _):
        window = place.xdotool("search", "--onlyvisible", "--class", "^Dunst$")
        x, y, width, height = geometry(place, window)
        check(not place.popover(), "the popover opened by itself")
        place.click(x + width // 2, y + height // 2)
        popover = opened(place)
        wait_for("the end of the notification", lambda: shown(place) == 0)
        wait_for("the keyboard", lambda: place.xdotool("getwindowfocus") == popover)
        equal(program.send(signal.SIGTERM), 0, "exit status")


@case("dunst", "dunstctl", "unshare")
def notification_replaces_the_one_before_and_goes_at_the_quit():
    with notified() as (place, program, machine):
        machine.be(PLENTY)
        equal(Program(place).exit_status(), 0, "exit status of a second start, which has it look again")
        window = opened(place)
        wait_for("the keyboard", lambda: place.xdotool("getwindowfocus") == window)
        place.xdotool("key", "Escape")
        wait_for("the closed popover", lambda: not place.popover())
        wait_for("a second notification", lambda: machine.be(LITTLE) and posts(place) == 2, 15)
        wait_for("its place", lambda: shown(place) == 1)
        equal(program.send(signal.SIGTERM), 0, "exit status")
        wait_for("the end of the notification", lambda: shown(place) == 0)
        history(place)
