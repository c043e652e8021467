"""Very many processes, processes that come and go, and processes of odd names."""

import json
import os
import subprocess
import sys
import time

from trial import HERE, Failure, check, equal, fault, wait_for

sys.path.append(os.path.join(HERE, "..", "..", "bench"))
from crowd import Crowd  # noqa: E402

HELD = 1 << 30  # bytes; more than any other process holds, most likely
# Names as the kernel keeps them, of at most 15 bytes, and what is shown of them.
NAMES = [("a line break", "one\\ntwo", "one\ntwo"), ("control characters", "\\1\\33[31m\\177", "\1\33[31m\177"),
         ("bytes that are no UTF-8", "\\377\\300a\\360", "\ufffd\ufffda\ufffd"),
         ("letters from right to left", "שלום", "שלום"),
         ("brackets and what stands behind a name", ") R 1 (x) y", ") R 1 (x) y"),
         ("a character cut by the kernel's limit", "aaaaaaaaaaaaaaé", "aaaaaaaaaaaaaaé"),
         ("nothing but a blank", " ", " "),
         ("markup and quotes", '<b>\\042&%%s\\\\', '<b>"&%s\\')]
NAMED = 'exec /usr/bin/python3 "$OUTSIDE/named_process" "$(printf \'{}.\')" {}'


def snapshot(trial):
    """What korvel-snapshot says."""
    return json.loads(subprocess.run([os.path.join(trial.programs, "korvel-snapshot"), "--once", "--json"],
                                     stdout=subprocess.PIPE, check=True, timeout=30).stdout.decode())


def heavy_process(trial):
    process = trial.place.spawn(["sh", "-c", trial.fault.before], stdout=subprocess.PIPE)
    equal(process.stdout.readline(), b"held\n", "the heavy process")
    return process


def shows_the_name(trial):
    shown = next(shown for words, _, shown in NAMES if trial.fault.name.endswith(words))
    process = heavy_process(trial)
    found = {each["id"]: each["name"] for each in snapshot(trial)["topProcs"]}
    check(process.pid in found, f"it is not listed: {found}")
    if shown is not None:
        equal(found[process.pid], shown, "its name")
    trial.fault = trial.fault._replace(before="")
    trial.survives()


for words, text, _ in NAMES:
    fault("the heaviest process has as its name " + words,
          "it is listed by its name, in valid UTF-8; the program works",
          before=NAMED.format(text, HELD), alone=True)(shows_the_name)


@fault("the heaviest process has no name", "it is left out, and others are listed; the program works",
       before=NAMED.format("", HELD), alone=True)
def no_name(trial):
    process = heavy_process(trial)
    check(process.pid not in [each["id"] for each in snapshot(trial)["topProcs"]], "it is listed")
    trial.fault = trial.fault._replace(before="")
    trial.survives()


@fault("a process has a command line of 255 bytes without a blank", "it is listed by a name; the program works",
       before='exec /usr/bin/python3 "$OUTSIDE/named_process" "$(printf "%0255d." 7)" ' + str(HELD), alone=True)
def long_name(trial):
    process = heavy_process(trial)
    found = {each["id"]: each["name"] for each in snapshot(trial)["topProcs"]}
    check(found.get(process.pid), f"it is not listed: {found}")
    trial.fault = trial.fault._replace(before="")
    trial.survives()


@fault("10,000 processes sleep",
       "it works and samples on; a refresh takes the processor for less than a tenth of a second",
       during='exec "$(dirname "$KORVEL")/korvel_crowd" 10000', alone=True)
def very_many(trial):
    trial.start()
    trial.works()
    try:
        with Crowd(os.path.dirname(trial.programs), 10000):
            trial.works(20)
            time.sleep(6)  # the first sample of all of them opens their files
            before = processor_seconds(trial)
            time.sleep(10)
            taken = (processor_seconds(trial) - before) / 2
            check(taken < 0.1, f"a refresh took {taken:.3f} s")
            trial.goes_on_sampling()
    except Failure as failure:
        if "only" not in str(failure):
            raise
        raise Failure(f"so many processes cannot be made here: {failure}") from None
    trial.works()
    trial.quits()


def processor_seconds(trial):
    with open(f"/proc/{trial.program.pid}/schedstat", encoding="ascii") as file:
        return int(file.read().split()[0]) / 1e9


@fault("processes are made and end as fast as can be, for twenty seconds", "it works and samples on",
       during='timeout 20 sh -c "while :; do true | true & true; wait; done" || true', alone=True)
def fork_storm(trial):
    trial.start()
    trial.works()
    storm = trial.place.spawn(["sh", "-c", trial.fault.during])
    trial.goes_on_sampling()
    trial.works()
    check(storm.poll() is None, "the storm ended before")
    storm.wait(30)
    trial.works()
    trial.quits()


@fault("it is stopped for eight seconds and goes on", "it works and samples on",
       during='kill -STOP "$PID"; sleep 8; kill -CONT "$PID"')
def stopped(trial):
    trial.is_struck_and_goes_on()


@fault("it is killed", "the next start works, with the history of the last save",
       before='echo "[[1600000000,1,2]]" >"$HOME/.korvel-history.json"', during='kill -KILL "$PID"')
def killed(trial):
    trial.start()
    trial.works()
    trial.strike()
    equal(trial.ends(), -9, "its end")
    trial.start()
    trial.works()
    trial.quits()
    equal(trial.history()[0], [1600000000, 1, 2], "the first row")


@fault("it is started twenty times at once", "one of them works, the others end well",
       start='for i in $(seq 20); do "$KORVEL" & done; wait')
def many_starts(trial):
    trial.start()
    trial.shows_the_score()
    wait_for("one copy alone", lambda: trial.shell('pgrep -c -P "$PID" -f korvel').strip() == "1")
    trial.opens_and_closes()
    trial.shell('pkill -TERM -P "$PID" -f korvel')
    equal(trial.ends(), 0, "exit status")
