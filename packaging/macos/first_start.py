"""Starts the bundle once, as a user's click does, and says what can be said without eyes."""

import subprocess
import time

TOOLS = ("lsappinfo", "open", "pgrep", "screencapture", "kill")
STARTED_WITHIN = 30  # seconds; the first start of a signed bundle is looked over by the system
LOOKED_AT_AFTER = 10  # the second sample, and the popover of what is new, have come by then
ENDED_WITHIN = 10
PNG = b"\x89PNG\r\n\x1a\n"


class Failed(Exception):
    """A step went wrong, or what it made is not good: exit status 1."""


class ThisMac:
    """What is asked of the system; a test has one of its own."""

    def run(self, *words):
        """The status and the output of a tool."""
        done = subprocess.run(words, capture_output=True, text=True, check=False)
        return done.returncode, done.stdout.strip()

    def wait(self, seconds):
        time.sleep(seconds)


def front(mac):
    status, said = mac.run("lsappinfo", "front")
    if status != 0 or not said:
        raise Failed("lsappinfo does not say which application is in front")
    return said


def process(mac):
    """Its number as text; None when it does not run."""
    status, said = mac.run("pgrep", "-x", "Korvel")
    return said if status == 0 else None


def until(mac, seconds, reached):
    """Whether it comes true within that time."""
    for _ in range(seconds):
        if reached():
            return True
        mac.wait(1)
    return reached()


def start_once(bundle, folder, mac):
    """What is to be told when all went well; raises Failed."""
    if process(mac):
        raise Failed("Korvel runs already; end it first")
    before = front(mac)
    messages = folder / "messages.txt"
    status, _ = mac.run("open", "-n", "--env", "KORVEL_QT_MESSAGES=1", "--stderr", str(messages), str(bundle))
    if status != 0 or not until(mac, STARTED_WITHIN, lambda: process(mac)):
        raise Failed(f"Korvel did not start; what it said is in {messages}")
    number = process(mac)
    mac.wait(LOOKED_AT_AFTER)
    picture = folder / "screen.png"
    photographed, _ = mac.run("screencapture", "-x", str(picture))
    after, still = front(mac), process(mac)
    if still == number:
        mac.run("kill", "-TERM", number)
        if not until(mac, ENDED_WITHIN, lambda: not process(mac)):
            mac.run("kill", "-KILL", number)
            raise Failed(f"Korvel did not end within {ENDED_WITHIN} seconds of being asked to")
    if still != number:
        raise Failed(f"Korvel ended by itself; what it said is in {messages}")
    if after != before:
        raise Failed(f"Korvel's start changed the application in front from {before} to {after}")
    if photographed != 0 or not picture.is_file() or not picture.read_bytes().startswith(PNG):
        raise Failed("there is no picture of the screen")
    return f"Korvel started, left {before} in front, and ended when it was asked to; see {folder}"
