"""Too few descriptors, too little memory, no more processes."""

import contextlib
import os
import signal
import time

from trial import START, Skip, check, equal, fault, wait_for

GROUP = "/sys/fs/cgroup/{}/korvel-outside-$$"


@fault("48 descriptors are allowed from the start", "it works", start='ulimit -n 48; exec "$KORVEL"')
def few_descriptors(trial):
    trial.survives()


@fault("no further descriptor is left while it runs", "it stays, samples on, and works once there are some again",
       during='prlimit --pid "$PID" --nofile=$(($(ls "/proc/$PID/fd" | sort -n | tail -1) + 1)):')
def no_descriptor(trial):
    trial.start()
    trial.works()
    trial.strike()
    trial.place.spawn(["sh", "-c", 'exec "$KORVEL"'])  # asks for the popover
    trial.stays_or_is_ended(6)
    check(trial.running(), f"it ended: {trial.program.poll()}")
    trial.shell('prlimit --pid "$PID" --nofile=1024:')
    wait_for("an open popover", lambda: opened(trial), 20)
    trial.quits()


def opened(trial):
    """Asks for it, and whether it is there."""
    trial.place.spawn(["sh", "-c", 'exec "$KORVEL"']).wait(10)
    return trial.place.popover()


@fault("100 MiB of address space are allowed", "it ends at once, and neither hangs nor touches what is stored",
       before='echo "[[1600000000,1,2]]" >"$HOME/.korvel-history.json"', start='ulimit -v 102400; exec "$KORVEL"')
def no_address_space(trial):
    trial.start()
    check(trial.ends() != 0, "it ended well")
    with open(trial.printed, "w", encoding="ascii"):
        pass  # the loader of libraries says why
    equal(trial.history(), [[1600000000, 1, 2]], "the history")


@fault("the address space ends while it runs", "it works, or is ended; the history of the last save is whole",
       during='prlimit --pid "$PID" --as=1048576:')
def no_more_memory(trial):
    trial.start()
    trial.works()
    trial.strike()
    trial.place.spawn(["sh", "-c", 'exec "$KORVEL"'])
    trial.stays_or_is_ended(8)
    if trial.running():
        trial.shell('prlimit --pid "$PID" --as=unlimited:')
        trial.quits()
    with open(trial.printed, "w", encoding="ascii"):
        pass  # the library of C++ says why it ended
    trial.start()
    trial.works()
    trial.quits()
    check(len(trial.history()) >= 2, "the history was not saved")


@fault("the system ends it for want of memory, in the group that it is in",
       "it is gone at once; the start that asked it for the popover takes its place, with the history of before",
       before='echo "[[1600000000,1,2]]" >"$HOME/.korvel-history.json"',
       during='cd /sys/fs/cgroup/memory && mkdir "korvel-outside-$PID" && cd "korvel-outside-$PID" && '
              'echo "$PID" >cgroup.procs && echo 64K >memory.limit_in_bytes')
def out_of_memory(trial):
    trial.start()
    trial.shows_the_score()
    with in_a_group(trial, "memory"):
        # What was charged before stays with the group of before; an opening takes new memory.
        next_one = trial.place.spawn(["sh", "-c", START])
        equal(trial.ends(20), -signal.SIGKILL, "its end")
    trial.program = next_one
    trial.works()
    trial.quits()
    equal(trial.history()[0], [1600000000, 1, 2], "the first row")


NO_MORE = ('cd /sys/fs/cgroup/pids && mkdir "korvel-outside-$PID" && cd "korvel-outside-$PID" && '
           'echo "$PID" >cgroup.procs && cat pids.current >pids.max')


@fault("no further thread or process may be made while it runs", "it samples on, and ends as ever", during=NO_MORE)
def no_more_threads(trial):
    trial.start()
    trial.shows_the_score()
    with in_a_group(trial, "pids"):
        trial.goes_on_sampling()
        trial.quits()


@fault("the popover is asked for while no further thread may be made",
       "it does not open, the program samples on and ends as ever; with threads again it opens", during=NO_MORE)
def no_thread_for_the_popover(trial):
    trial.start()
    trial.shows_the_score()
    with in_a_group(trial, "pids") as group:
        trial.place.spawn(["sh", "-c", START]).wait(10)
        trial.goes_on_sampling()
        check(not trial.place.popover(), "it opened")
        allow(group, "max")
        wait_for("an open popover", lambda: opened(trial), 20)
        trial.quits()


@fault("the popover is asked for while fewer threads may be made than it takes",
       "with none and with one it does not open, with two it does; the program ends as ever", during=NO_MORE)
def few_threads_for_the_popover(trial):
    trial.start()
    trial.shows_the_score()
    with in_a_group(trial, "pids") as group:
        with open(f"{group}/pids.current", encoding="ascii") as counter:
            threads = int(counter.read())
        for more, opens in ((0, False), (1, False), (2, True)):
            allow(group, threads + more)
            equal(bool(opened(trial)) or appears(trial), opens, f"the popover with {more} threads more")
        trial.place.activate()
        wait_for("the closed popover", lambda: not trial.place.popover())
        trial.goes_on_sampling()
        trial.quits()


@fault("no further thread may be made while the popover is open", "it is painted, and the program ends as ever",
       during=NO_MORE)
def no_thread_while_open(trial):
    trial.start()
    trial.shows_the_score()
    wait_for("an open popover", lambda: opened(trial), 20)
    with in_a_group(trial, "pids"):
        trial.goes_on_sampling()
        check(trial.place.popover(), "it closed")
        trial.works()
        trial.quits()


@fault("it is started while too few threads may be made",
       "it ends at once with an exit status that says so, and touches nothing that is stored",
       before='echo "[[1600000000,1,2]]" >"$HOME/.korvel-history.json"',
       start='cd /sys/fs/cgroup/pids && mkdir "korvel-outside-$$" && cd "korvel-outside-$$" && '
             'echo $$ >cgroup.procs && echo "${THREADS:-1}" >pids.max && exec "$KORVEL"')
def no_thread_at_the_launch(trial):
    check_groups("pids")
    for threads in range(1, 4):  # the program itself is one
        trial.place.environment["THREADS"] = str(threads)
        trial.start()
        with group_of(trial, "pids"):
            equal(trial.ends(), 1, f"exit status with {threads} threads")
        equal(trial.history(), [[1600000000, 1, 2]], "the history")
    trial.place.environment["THREADS"] = "max"
    trial.start()
    with group_of(trial, "pids"):
        trial.works()
        trial.quits()


def allow(group, most):
    with open(f"{group}/pids.max", "w", encoding="ascii") as limit:
        limit.write(str(most))


def appears(trial):
    """Whether it opens within a moment after it was asked for."""
    deadline = time.monotonic() + 1
    while time.monotonic() < deadline and not trial.place.popover():
        time.sleep(0.05)
    return bool(trial.place.popover())


def check_groups(kind):
    if not os.access(f"/sys/fs/cgroup/{kind}/cgroup.procs", os.W_OK):
        raise Skip(f"no groups with limits of {kind} can be made here")


@contextlib.contextmanager
def in_a_group(trial, kind):
    """The program in a group of processes of its own, as the fault makes it; the group's folder."""
    check_groups(kind)
    with group_of(trial, kind) as group:
        trial.strike()
        yield group


@contextlib.contextmanager
def group_of(trial, kind):
    """The folder of the program's group, which goes when the program is gone."""
    group = f"/sys/fs/cgroup/{kind}/korvel-outside-{trial.program.pid}"
    try:
        yield group
    finally:
        trial.place.end(trial.program, signal.SIGKILL)
        wait_for("the end of the group", lambda: not os.path.exists(group) or removed(group))


def removed(group):
    try:
        os.rmdir(group)
    except OSError:
        return False
    return True
