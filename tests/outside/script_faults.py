"""Reclaim scripts that hang, flood, fork and ignore signals. The buttons are pressed as a screen reader does."""

import contextlib
import time

from trial import START, check, equal, fault, wait_for

SCRIPT = "cat >\"$HOME/reclaim.sh\" <<'END'\n{}\nEND"
NOTHING = "Reclaim|nothing worth clearing|Clear nothing worth clearing"


@contextlib.contextmanager
def opened(trial):
    """The open popover as a screen reader has it."""
    import accessible
    tree = accessible.start(trial.place)
    trial.start()
    wait_for("the program's name", lambda: trial.place.owner("com.oxbrook.korvel"))
    equal(trial.place.spawn(["sh", "-c", START]).wait(10), 0, "exit status of a second start")
    wait_for("the popover", trial.place.popover)
    yield tree


def goes_on(trial, tree):
    """The popover answers while the script does what it does, and the program ends when it is told to."""
    tree.find("Reclaim").press()
    tree.find("Scanning…")
    for name in ("what's affecting this", "hide breakdown"):
        began = time.monotonic()
        tree.find(name).press()
        check(time.monotonic() - began < 3, "the popover waits for the script")
    trial.goes_on_sampling()
    trial.quits()


for words, text in (
        ("hangs and ignores every signal that it can", "trap '' TERM INT HUP PIPE QUIT; while :; do sleep 1; done"),
        ("ends, and leaves a child behind that holds its output", "sleep 60 & echo TOTAL RECLAIMABLE 4.7 GB"),
        ("writes a byte a second without an end", "while :; do printf x; sleep 1; done")):
    @fault("the script " + words, "“Scanning…” stays; the popover answers, the program samples on and quits at once",
           before=SCRIPT.format(text))
    def endless(trial):
        with opened(trial) as tree:
            goes_on(trial, tree)
        trial.shell('pkill -KILL -f "$HOME/reclaim.sh" || true')


def previews(trial, expected):
    with opened(trial) as tree:
        tree.find("Reclaim").press()
        tree.match(expected, 30)
        trial.goes_on_sampling()
        trial.quits()


USABLE = "echo TOTAL RECLAIMABLE 4.7 GB"
CLEAR, NO = "Clear 4.7 GB", ".*nothing worth clearing.*"
for words, text, what, expected in (
        ("writes 200 MB and then a usable line", r"head -c 200M /dev/zero | tr '\0' a; echo; " + USABLE,
         "the last line counts", CLEAR),
        ("writes bytes that are no UTF-8 before a usable line", r"printf '\377\n'; " + USABLE,
         "nothing of it counts: “nothing worth clearing”", NO),
        ("ends itself by a signal after a usable line", USABLE + "; kill -KILL $$", "what it wrote counts", CLEAR),
        ("starts three hundred processes at once", "for i in $(seq 300); do sleep 0.5 & done; wait; " + USABLE,
         "it is waited for, and counts", CLEAR),
        ("writes its line to standard error only", USABLE + " >&2",
         "nothing of it counts: “nothing worth clearing”", NO)):
    fault("the script " + words, what + "; the program samples on and quits", before=SCRIPT.format(text))(
        lambda trial, expected=expected: previews(trial, expected))


@fault("a folder stands in the place of the script", "“nothing worth clearing”; the program samples on and quits",
       before='mkdir "$HOME/reclaim.sh"')
def script_folder(trial):
    previews(trial, ".*nothing worth clearing.*")


@fault("the real run ignores every signal and hangs", "the popover answers, the program samples on and quits at once",
       before=SCRIPT.format("trap '' TERM INT HUP\n[ \"$1\" ] && while :; do sleep 1; done\n"
                            "echo TOTAL RECLAIMABLE 4.7 GB"))
def endless_run(trial):
    with opened(trial) as tree:
        tree.find("Reclaim").press()
        tree.find("Clear 4.7 GB", 10).press()
        tree.match("(?i).*(reclaiming|clearing|working).*", 10)
        trial.goes_on_sampling()
        tree.find("what's affecting this").press()
        trial.quits()
    trial.shell('pkill -KILL -f "$HOME/reclaim.sh" || true')
