"""Losses of power: what is on the disk after each step of an installation, and a while later.

The program, its home and its settings lie on a file system in an image file. While the program stands
still behind a step, the image is copied: it holds what had reached the disk. Each copy is mounted where
the original was, which has its journal replayed, and the program in it is judged and started.
"""

import contextlib
import multiprocessing
import os
import shutil
import signal
import subprocess
import time

from calls import CALL, CHANGING, MARKS, arguments
from disk_cases import mounted
from releases import NEW, OLD, command
from trial import READY, Failure, Skip, Trial, check

# How to make each, its size in bytes, and with what options it is mounted. The journal is written
# every second: so what was renamed is on the disk soon, long before what is in the files has to be.
SYSTEMS = {
    "ext4": (["mkfs.ext4", "-q"], 32 << 20, "loop,commit=1"),
    "xfs": (["mkfs.xfs", "-q"], 320 << 20, "loop"),
    "btrfs": (["mkfs.btrfs", "-q"], 128 << 20, "loop,commit=1"),
}
SHORT_WAIT = 3  # seconds; past the writing of the journal
LONG_WAITS = (7, 20, 36)


def copy(image, path):
    command("cp", "--sparse=always", image, path)


class Image:
    """A file system with the release OLD, and the copies that are taken of it."""

    def __init__(self, context, system, preload):
        self.folder = context.folder()
        make, size, self.options = SYSTEMS[system]
        if shutil.which(make[0]) is None:
            raise Skip(f"{make[0]} is not there")
        self.path = os.path.join(self.folder, "image")
        with open(self.path, "wb") as file:
            file.truncate(size)
        command(*make, self.path)
        self.disk = os.path.join(self.folder, "disk")
        os.mkdir(self.disk)
        self.lock = multiprocessing.Lock()
        self.copies = 0
        with self.mount(self.path):
            folders = {name: os.path.join(self.disk, name) for name in ("place", "temporary", "home")}
            self.trial = Trial(context.releases, self.folder, **folders, preload=preload)
        self.elsewhere = os.path.join(self.folder, "elsewhere", "Korvel.app")
        context.releases.put(OLD, self.elsewhere)

    @contextlib.contextmanager
    def mount(self, image):
        mounted("-o", self.options, image, self.disk)
        try:
            yield
        finally:
            # Not lazily: then the same place could be taken before what is there has gone.
            for _ in range(50):
                if subprocess.run(["umount", self.disk], capture_output=True, check=False).returncode == 0:
                    break
                time.sleep(0.1)

    def take(self):
        self.copies += 1
        path = os.path.join(self.folder, f"copy-{self.copies}")
        copy(self.path, path)
        return path

    def judge(self, path, expected=None):
        with self.lock:
            try:
                with self.mount(path):
                    self.trial.judge(expected, starter=self.elsewhere)
            finally:
                os.remove(path)


def stops(trial):
    """Runs an installation that stands still after each call that changes something; at each, gives
    which that was. At the end, gives the last line that the program printed.
    """
    begin, end = MARKS["--install"]
    trace, said = (os.path.join(trial.folder, name) for name in ("trace", "said"))
    os.mkfifo(trace)
    words = ["setarch", "-R", "strace", "-o", trace, "-s", "300", "-e",
             f"inject={','.join(sorted(CHANGING))}:signal=STOP"]
    if trial.preload:
        words += ["-E", "LD_PRELOAD=" + trial.preload]
    with open(said, "w+", encoding="utf-8") as output, \
            subprocess.Popen([*words, *trial.install_words()], env=trial.environment(), cwd=trial.folder,
                             stdout=output, stderr=subprocess.STDOUT) as tracer, \
            open(trace, encoding="utf-8", errors="replace") as lines:
        last, inside, process = None, False, None
        for line in lines:
            if CALL.match(line):
                last = line
            inside = (inside or begin in line) and end not in line
            if line.startswith("--- stopped by SIGSTOP"):
                if inside:
                    name, text = CALL.match(last).groups()
                    yield f"{name} {os.path.basename(arguments(name, text)[-1])[:40]}"
                process = process or the_child_of(tracer.pid)
                os.kill(process, signal.SIGCONT)
        tracer.wait()
        output.seek(0)
        state = output.read().splitlines()[-1]
    os.remove(trace)
    check(state == READY, f"the installation that was stopped at each step: {state}")


def the_child_of(pid):
    with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as file:
        return int(file.read().split()[0])


def step_cases(context, system, mode, preload):
    """One installation, one case for what is on the disk after each of its steps, and one for what is
    there a while after each renaming.
    """
    image = Image(context, system, preload)
    taken = []
    with image.mount(image.path):
        for at, step in enumerate(stops(image.trial)):
            name = f"{system}, {mode}: power lost after step {at}, {step}"
            taken.append((name, image.take()))
            if step.startswith("rename"):
                time.sleep(SHORT_WAIT)
                taken.append((name + f", and {SHORT_WAIT} s", image.take()))
        taken.append((f"{system}, {mode}: power lost when it had ended", image.take()))
        time.sleep(SHORT_WAIT)
        taken.append((f"{system}, {mode}: power lost {SHORT_WAIT} s after it had ended", image.take()))
    for name, path in taken:
        yield name, False, lambda _, path=path: image.judge(path)


def ended(context, system, mode, preload, waits):
    """The installation runs without a stop; the power is lost so many seconds later."""
    def play(_):
        image = Image(context, system, preload)
        copies = []
        with image.mount(image.path):
            check(image.trial.install() == READY, "the undisturbed installation")
            before = 0
            for wait in waits:
                time.sleep(wait - before)
                before = wait
                copies.append((wait, image.take()))
        wrong = []
        for wait, path in copies:
            try:
                image.judge(path, NEW)
            except Failure as failure:
                wrong.append(f"{wait} s later: {failure}")
        check(not wrong, "; ".join(wrong))
    return play


def cases(context):
    if not context.has_mounts:
        raise Skip("to mount file systems takes the superuser")
    modes = {"exchange": None, "two moves": context.no_exchange}
    for mode, preload in modes.items():
        yield (f"fault 2: ext4, {mode}: power lost 0, 1 and {SHORT_WAIT} s after the installation", True,
               ended(context, "ext4", mode, preload, (0, 1, SHORT_WAIT)))
        for system in SYSTEMS:
            yield (f"{system}, {mode}: power lost {LONG_WAITS} s after the installation", False,
                   ended(context, system, mode, preload, LONG_WAITS))
    if context.quick:
        return
    for mode, preload in modes.items():
        for system in SYSTEMS:
            try:
                yield from step_cases(context, system, mode, preload)
            except Skip as reason:
                yield f"{system}, {mode}: power lost after each step", False, skipped(reason)


def skipped(reason):
    def play(_):
        raise Skip(str(reason))
    return play
