"""The popover as it is heard: a real screen reader, worked with keys, and what it says."""

import contextlib
import json
import os
import re
import signal
import time

from cases import Load, Program, Skip, case, check, closed, equal
from desktop import Desktop, Failure, wait_for
from popover_cases import FACTOR, LAUNCHER, METRICS, VERDICTS, accessible, open_popover, start_heavy

OPENING = r"Korvel, health score (\d+), (\w+) section\."
HEADER = r"Health score \d+, \w+, \d+ cores, \d+ GB, up [\w ]+ panel\."
UP = r".* up (\d+ (day|hour|minute)s? ?)+ panel\."
ROWS = "; ".join(METRICS.values()) + r" panel\."
QUIT = "korvel-aloud"


class Reader:
    """A screen reader on that desktop, and what it has said."""

    def __init__(self, place, tree):
        self.place, self.tree = place, tree
        self.path = os.path.join(place.folder, "said")
        self.read = 0  # lines
        folder = os.path.dirname(os.path.abspath(__file__))
        self.process = place.spawn([os.path.join(folder, "recorded_orca"), self.path])
        self.hear(r"Screen reader on\.")

    def said(self):
        """What it has said since it was last listened to."""
        try:
            with open(self.path, encoding="utf-8") as file:
                lines = file.read().split("\n")[:-1]
        except FileNotFoundError:
            return []
        return [json.loads(line) for line in lines[self.read:]]

    def hear(self, last, seconds=10):
        """All that it says up to an utterance that matches."""

        def look():
            said = self.said()
            found = [i for i, text in enumerate(said) if re.fullmatch(last, text)]
            return said[:found[0] + 1] if found else None

        try:
            said = wait_for(f"{last!r} said", look, seconds)
        except Failure as failure:
            raise Failure(f"{failure}; what was said: {self.said()}") from None
        self.read += len(said)
        return said

    def rest(self):
        """What else it says of all that has happened until now."""
        self.tree.bring(self.process.pid)
        self.process.send_signal(signal.SIGUSR1)
        end = wait_for("an end of what is said", lambda: [i for i, text in enumerate(self.said()) if text is None])[0]
        said = self.said()[:end]
        self.read += end + 1
        return said

    def silent(self, when):
        """Nothing may be said but what was heard."""
        equal(self.rest(), [], f"said {when}")

    def forget(self, pattern):
        """Takes what it has said, which some releases of Qt tell it and others do not."""
        said = self.rest()
        check(all(re.fullmatch(pattern, text) for text in said), f"said: {said}")

    def press(self, key, last):
        """A key, and all that it says then. Nothing may be said before it."""
        self.silent(f"before {key}")
        self.place.xdotool("key", key)
        return self.hear(last)


@contextlib.contextmanager
def reader(load=None, **options):
    """A desktop with a screen reader and the program, and the tree of what it sees."""
    if accessible is None:
        raise Skip("no python3-dbus")
    with Desktop(**options) as place:
        version = place.run(["orca", "--version"]).strip()
        if not version.startswith("43."):
            raise Skip(f"the sentences are those of orca 43, and this is {version or 'another'}")
        tree = accessible.start(place)
        speech = Reader(place, tree)
        Program(place, load=load and load(place))
        wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
        yield place, tree, speech
        with open(os.path.join(place.folder, "printed"), "rb") as printed:
            equal(printed.read(), b"", "printed by the program")


def hear_opening(place, speech):
    """Opens the popover; what it says must be the score and its verdict, once, and no more."""
    open_popover(place)
    *before, opening = speech.hear(OPENING)
    # The window's own name may come first: a matter of the order of two events.
    check(set(before) <= {"Korvel frame."}, f"said before the score: {before}")
    score, verdict = re.fullmatch(OPENING, opening).groups()
    equal(verdict, next(word for least, word in VERDICTS if int(score) >= least), f"verdict of {score}")
    speech.silent("after the score")
    return opening


@case(LAUNCHER, "orca", alone=True)
def screen_reader_says_the_score_the_factors_and_what_a_quit_button_ends():
    with reader(size="800x1200") as (place, tree, speech):
        hear_opening(place, speech)
        child = start_heavy(place, tree, QUIT)
        tree.find("Quit " + QUIT, 20)

        header, toggle = speech.press("Tab", r"what's affecting this push button\.")
        check(re.fullmatch(HEADER, header) and re.fullmatch(UP, header), f"the header is {header!r}")

        place.xdotool("key", "space")
        tree.find("hide breakdown")
        tree.find("points lost, out of 100")
        speech.forget(r"hide breakdown|(No points|Points) lost, out of 100.*")
        factors = [speech.press("KP_9", ".+")[0] for _ in range(6)]
        lost = [re.fullmatch(FACTOR, factor) for factor in factors]
        check(all(lost), f"the factors are {factors}")
        points = [0 if match.group(2) == "no" else int(match.group(2)) for match in lost]
        equal(points, sorted(points, reverse=True), "the points, most first")
        equal(len({match.group(1) for match in lost}), 6, "different factors")
        equal(speech.press("KP_9", ".+"), ["points lost, out of 100"], "the line under them")

        rows = speech.press("Tab", r"Finds the processes that hold swap\.")[0]
        check(re.fullmatch(ROWS, rows), f"the rows are {rows!r}")

        for _ in range(12):
            *before, button = speech.press("Tab", r"(Quit .+|On|Reclaim) push button\.")
            if button == f"Quit {QUIT} push button.":
                break
            check(button.startswith("Quit "), f"no button for {QUIT}")
            speech.hear(r"Sends SIGTERM so it closes cleanly\.")
        check(re.fullmatch(re.escape(QUIT) + r", \d+\.\d\d GB panel\.", before[-1]), f"before it {before}")
        equal(speech.hear(".+"), ["Sends SIGTERM so it closes cleanly."], "after it")
        speech.silent("after that")
        place.xdotool("key", "Return")
        wait_for("the end of the process", lambda: child.poll() is not None)
        equal(child.returncode, -signal.SIGTERM, "how it ended")


@case(LAUNCHER, "orca", "unshare")
def screen_reader_is_silent_while_the_score_changes_and_says_it_upon_opening_again():
    loads = []

    def load(place):
        loads.append(Load(place))
        return loads[0]

    with reader(load=load) as (place, tree, speech):
        opening = hear_opening(place, speech)
        loads[0].set(99)
        tree.match(r"CPU \d+%, load 99\.00 across \d+ cores", 15)
        score = re.fullmatch(OPENING, opening).group(1)
        tree.match(rf"Health score (?!{score},)\d+, .+", 15)
        held = tree.nodes(lambda node: node.has(accessible.FOCUSED))
        equal([f"{node.name} {node.role}." for node in held], [opening], "what has the keyboard")
        speech.silent("while the score changed")

        speech.press("Tab", r"what's affecting this push button\.")
        speech.silent("before Escape")
        place.xdotool("key", "Escape")
        closed(place)
        time.sleep(0.6)  # for Qt, a window that has the keyboard again within 0.4 s never lost it
        check(hear_opening(place, speech) != opening, "the score of before")
