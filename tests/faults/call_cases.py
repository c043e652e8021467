"""A kill before each system call of an installation, and each of them failing."""

import os
import shutil
import signal

from calls import Plan, arguments, check_reached, sentences_from, strace
from releases import OLD
from trial import REPLACE, Trial, check

# The errors that disks, folders and the system give, and their words where those are the updater's.
ERRORS = {
    "ENOSPC": "the disk is full",
    "EIO": "the disk reported an error",
    "EDQUOT": "the disk is full",
    "EROFS": "the disk is read-only",
    "EACCES": "permission denied",
    "EXDEV": "",
    "EMFILE": "",
}
QUICK_ERRORS = ("ENOSPC", "EIO")
CANNOT_RUN = REPLACE + "“Korvel.app” can’t run here: "
# What may fail of these, besides what changes something.
READING = {
    "open", "openat", "read", "pread64", "newfstatat", "fstat", "stat", "lstat", "statx", "getdents64", "access",
    "faccessat", "faccessat2", "readlink", "readlinkat", "statfs", "fstatfs", "lseek", "fcntl",
}


class Modes:
    """The ways of an installation: on a file system that can exchange two names, and on one that
    cannot.
    """

    def __init__(self, context):
        self.context = context
        self.preloads = {"exchange": None, "two moves": context.no_exchange}
        self.plans = {}
        for mode in self.preloads:
            self.plans[mode] = Plan(self.trial(mode, context.folder()))

    def trial(self, mode, folder):
        return Trial(self.context.releases, folder, preload=self.preloads[mode])


def elsewhere(trial):
    """A copy of the old release in a folder that has nothing to do with the installation."""
    bundle = os.path.join(trial.folder, "elsewhere", "Korvel.app")
    if not os.path.exists(bundle):
        trial.releases.put(OLD, bundle)
    return bundle


def set_aside(trial):
    """The old release where the installation has put it."""
    return os.path.join(trial.work_folders()[0], "old.app")


STARTERS = {"a copy elsewhere": elsewhere, "the old one where it lies": set_aside}


def kill_at(trial, call, words=None):
    """Kills an installation, or what these words start, as it makes the call."""
    lines, done = strace(trial, ["-e", f"inject={call.name}:signal=KILL:when={call.number}"], words)
    check_reached(trial, lines, call)
    check(done.returncode in (-signal.SIGKILL, 128 + signal.SIGKILL), f"exit status {done.returncode}")


def fail_at(trial, call, error, on, words=None):
    """Has the call, and with "+" each later of that name, fail; gives the last line that was printed."""
    lines, done = strace(trial, ["-e", f"inject={call.name}:error={error}:when={call.number}{on}"], words)
    check_reached(trial, lines, call, "(INJECTED)")
    check(done.returncode in (0, 1), f"exit status {done.returncode}: {done.stdout}{done.stderr}")
    return done.stdout.splitlines()[-1]


def kill(modes, mode, call, starter):
    def play(folder):
        trial = modes.trial(mode, folder)
        kill_at(trial, call)
        empty = not os.path.isdir(trial.bundle)
        check(mode == "two moves" or not empty, "there was a moment without a program in place")
        trial.judge(starter=STARTERS[starter](trial) if empty else None)
    return play


def fail(modes, mode, call, error, on=""):
    def play(folder):
        trial = modes.trial(mode, folder)
        state = fail_at(trial, call, error, on)
        sentences = sentences_from(modes.plans[mode].calls, call) if on else call.phase
        if on and not os.path.isdir(trial.bundle):
            judge_stranded(trial, state)
        else:
            judge_failure(trial, state, sentences, error)
    return play


def judge_failure(trial, state, sentences, error):
    trial.judge_state(state, sentences)
    if REPLACE in state and CANNOT_RUN not in state:
        check(ERRORS[error] in state, f"{state!r} for {error}")


def judge_stranded(trial, state):
    """Even the way back failed: then it is said where the old program is, and the next start of another
    copy puts it back.
    """
    old = set_aside(trial)
    check(state.startswith("failed: " + REPLACE), state)
    check(old in state, f"{state!r} does not say that the program is in {old}")
    trial.judge(OLD, starter=elsewhere(trial))


def lost_between_the_moves(modes):
    """Killed between the two moves, on a machine whose temporary files are gone at its next start."""
    call = into_place(modes)

    def play(folder):
        trial = modes.trial("two moves", folder)
        kill_at(trial, call)
        check(not os.path.isdir(trial.bundle), "there is no moment between the moves")
        shutil.rmtree(trial.temporary)
        os.mkdir(trial.temporary)
        trial.judge(OLD, starter=elsewhere(trial))
    return play


def into_place(modes):
    """The second of the two moves."""
    calls = modes.plans["two moves"].calls
    empty = leaves_empty(calls)
    return next(call for call in calls if is_empty_before(call, empty) and call.name == "renameat2")


def leaves_empty(calls):
    """The calls before which, without an exchange, nothing is in place."""
    found, empty = set(), False
    for call in calls:
        if empty:
            found.add(call.number if call.name == "renameat2" else (call.name, call.number))
        if call.name == "renameat2" and "RENAME_EXCHANGE" not in call.text:
            paths = call.text.split('"')
            if len(paths) > 3 and paths[1].endswith("/place/Korvel.app"):
                empty = True
            elif len(paths) > 3 and paths[3].endswith("/place/Korvel.app"):
                empty = False
    return found


def is_empty_before(call, found):
    return (call.number if call.name == "renameat2" else (call.name, call.number)) in found


def flushed_in_order(modes, mode):
    """All that was unpacked is on the disk before the first move, and both folders of a move are before
    the next, or before anything is removed.
    """
    def play(_):
        calls = modes.plans[mode].calls
        moves = [at for at, call in enumerate(calls)
                 if call.name == "renameat2" and '/place/Korvel.app"' in call.text]
        check(len(moves) == (1 if mode == "exchange" else 2), f"moves: {[calls[at].text for at in moves]}")
        check("syncfs" in [call.name for call in calls[:moves[0]]], "nothing is flushed before it is moved")
        removal = next(at for at in range(moves[-1], len(calls)) if calls[at].name == "unlinkat")
        for at, end in zip(moves, [*moves[1:], removal]):
            _, *paths = arguments("renameat2", calls[at].text)
            flushed = {os.path.normpath(arguments("openat", one.text)[-1])
                       for one, following in zip(calls[at:end], calls[at + 1:end])
                       if one.name == "openat" and following.name == "fsync"}
            left = {os.path.dirname(path) for path in paths} - flushed
            check(not left, f"not flushed after {calls[at].text}: {left}")
    return play


def kill_cases(modes):
    for mode in modes.plans:
        yield f"{mode}: what is moved is on the disk before, and its folders after", True, flushed_in_order(modes, mode)
    yield ("fault 3: killed between the two moves, and then the temporary files are lost", True,
           lost_between_the_moves(modes))
    for mode, plan in modes.plans.items():
        empty = leaves_empty(plan.calls) if mode == "two moves" else set()
        for at, call in enumerate(plan.calls):
            # Ahead of any other the disk is as it is ahead of the next that changes something.
            quick = call.changes() or call is plan.calls[-1]
            starters = list(STARTERS) if is_empty_before(call, empty) else [next(iter(STARTERS))]
            for starter in starters:
                note = f", started next: {starter}" if len(starters) > 1 else ""
                yield (f"{mode}: killed before call {at}, {call}{note}", quick,
                       kill(modes, mode, call, starter))


def may_fail(call):
    return call.changes() or (call.name in READING and not call.text.startswith("1, "))


def error_cases(modes):
    for mode, plan in modes.plans.items():
        for at, call in enumerate(plan.calls):
            if not may_fail(call):
                continue
            for error in ERRORS:
                quick = error in QUICK_ERRORS and call.changes() and (
                    mode == "exchange" or call.name.startswith("rename"))
                yield (f"{mode}: {error} from call {at}, {call}", quick, fail(modes, mode, call, error))
            if call.changes():
                yield (f"{mode}: EIO from call {at} and from each later {call.name}, {call}",
                       call.name.startswith("rename"), fail(modes, mode, call, "EIO", on="+"))


class Left:
    """What an installation that was killed has left, and the copy that is started next."""

    def __init__(self, modes, name, mode, call, starter):
        self.modes, self.name, self.mode, self.call, self.starter = modes, name, mode, call, starter
        trial, words = self.make(modes.context.folder())
        self.calls = Plan(trial, words).calls

    def make(self, folder):
        """What is left, and the words that start the next."""
        trial = self.modes.trial(self.mode, folder)
        kill_at(trial, self.call)
        started = STARTERS[self.starter](trial) if self.starter else trial.bundle
        return trial, trial.start_words(started)

    def judge(self, trial):
        """After that start, and another of what there is."""
        starter = self.starter and (elsewhere(trial) if self.starter == "a copy elsewhere" or not
                                    trial.work_folders() else set_aside(trial))
        trial.judge(starter=starter)


def left_behind(modes):
    """Each kind of what a kill leaves."""
    for starter in STARTERS:
        yield Left(modes, f"nothing in place, started by {starter}", "two moves", into_place(modes), starter)
    for mode, plan in modes.plans.items():
        removal = next(call for call in plan.calls if call.name == "unlinkat")
        yield Left(modes, f"the new one in place, by {mode}", mode, removal, None)


def recovery_cases(modes):
    """The start after a kill, killed or disturbed itself, and another start."""
    for left in left_behind(modes):
        for at, call in enumerate(left.calls):
            yield (f"{left.name}: killed before call {at}, {call}", call.changes(), kill_recovery(left, call))
            for error in ERRORS if may_fail(call) else ():
                quick = error == "EIO" and left.starter == "a copy elsewhere"
                yield (f"{left.name}: {error} from call {at}, {call}", quick, fail_recovery(left, call, error))
            if call.changes():
                yield (f"{left.name}: EIO from call {at} and from each later {call.name}, {call}", False,
                       fail_recovery(left, call, "EIO", on="+"))


def kill_recovery(left, call):
    def play(folder):
        trial, words = left.make(folder)
        kill_at(trial, call, words)
        left.judge(trial)
    return play


def fail_recovery(left, call, error, on=""):
    def play(folder):
        trial, words = left.make(folder)
        fail_at(trial, call, error, on, words)
        left.judge(trial)
    return play
