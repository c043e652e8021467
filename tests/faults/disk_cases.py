"""Installations on disks that are full, small, read-only or limited: real file systems, made for each
case.
"""

import contextlib
import os
import shutil
import subprocess

from releases import NEW, OLD, command
from trial import DOWNLOAD, PARENT, READ, READY, REPLACE, UNPACK, Skip, Trial, check

PAGE = 4096
FULL = "“Korvel.app” couldn’t be moved: the disk is full."
NOBODY = 65534
SHORT = (DOWNLOAD, READ, UNPACK, REPLACE + FULL)


def mounted(*words, reason=None):
    """Mounts; `reason` is why a case cannot be played where that fails."""
    done = subprocess.run(["mount", *words], capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise Skip(reason or f"mount {' '.join(words[:-1])}: {done.stderr.strip().splitlines()[0]}")


@contextlib.contextmanager
def mount(folder, name, *options, reason=None):
    """A file system that is seen below the folder, by mount's options."""
    point = os.path.join(folder, name)
    os.mkdir(point)
    mounted(*options, point, reason=reason)
    try:
        yield point
    finally:
        subprocess.run(["umount", "--lazy", point], check=False)


def tmpfs(folder, name, options="size=16m", reason=None):
    return mount(folder, name, "-t", "tmpfs", "-o", options, "tmpfs", reason=reason)


@contextlib.contextmanager
def ext4(folder, name):
    """One of 16 MiB with blocks of 1 KiB, all of them for the user."""
    image = os.path.join(folder, name + ".image")
    with open(image, "wb") as file:
        file.truncate(16 << 20)
    command("mkfs.ext4", "-q", "-m", "0", "-b", "1024", image)
    with mount(folder, name, "-o", "loop", image) as point:
        yield point


def leave_free(point, free):
    """Fills a file system up to this many bytes."""
    command("sync", "-f", point)
    status = os.statvfs(point)
    filler = status.f_bavail * status.f_frsize - free
    check(filler >= 0, "the file system is too small for the case")
    with open(os.path.join(point, "filler"), "wb") as file:
        # What the file system itself needs for so large a file is left out by the second look.
        os.posix_fallocate(file.fileno(), 0, max(filler - (64 << 10), 1))
        while (left := os.statvfs(point)).f_bavail * left.f_frsize > free:
            if file.write(b"x" * left.f_frsize) == 0:
                break
            file.flush()
            os.fsync(file.fileno())


def place_disk_is_short(context, make, free, sentences=SHORT):
    """The bundle's disk has this many bytes left, the temporary folder is on another one."""
    def play(folder):
        with make(folder, "disk") as disk:
            trial = Trial(context.releases, folder, place=os.path.join(disk, "place"))
            leave_free(disk, free)
            trial.judge_state(trial.install(), sentences)
    return play


def files_are_short(context, left):
    """The bundle's disk has room for so many files."""
    def play(folder):
        with tmpfs(folder, "disk") as disk:
            trial = Trial(context.releases, folder, place=os.path.join(disk, "place"))
            status = os.statvfs(disk)
            mounted("-o", f"remount,nr_inodes={status.f_files - status.f_ffree + left}", disk)
            state = trial.install()
            trial.judge_state(state, SHORT)
            check(state != READY or left > 10, f"{state} with {left} files")
    return play


def temporary_is_short(context, options):
    def play(folder):
        with tmpfs(folder, "disk", "size=4m") as disk:
            trial = Trial(context.releases, folder, temporary=os.path.join(disk, "temporary"))
            leave_free(disk, 0)
            if options:
                mounted("-o", options, disk)
            trial.judge_state(trial.install(), ["nothing is to fail"])
            trial.judge_whole(NEW)
    return play


def place_is_read_only(context, temporary_free=None):
    """Where nothing can be written beside the program; the temporary folder has so many bytes left."""
    def play(folder):
        with tmpfs(folder, "disk") as disk, tmpfs(folder, "other") as other:
            trial = Trial(context.releases, folder, place=os.path.join(disk, "place"),
                          temporary=os.path.join(other, "temporary"))
            mounted("-o", "remount,ro", disk)
            if temporary_free is not None:
                leave_free(other, temporary_free)
            state = trial.install()
            trial.judge_state(state, [DOWNLOAD, READ, UNPACK, PARENT])
            check(temporary_free is not None or state == "failed: " + PARENT, state)
            trial.judge_whole(OLD)
    return play


def home_is(context, options, full):
    """The settings cannot be written: the program is replaced, and what was stored before stays."""
    def play(folder):
        with ext4(folder, "disk") as disk:
            trial = Trial(context.releases, folder, home=os.path.join(disk, "home"))
            if full:
                leave_free(disk, 0)
            if options:
                mounted("-o", options, disk)
            trial.judge_state(trial.install(), ["nothing is to fail"])
            trial.judge_whole(NEW)
    return play


def as_nobody(trial):
    for top, folders, files in os.walk(trial.folder):
        for path in [top, *(os.path.join(top, name) for name in folders + files)]:
            os.chown(path, NOBODY, NOBODY, follow_symlinks=False)
    trial.prefix = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"]


def quota_is_short(context, left):
    """The user may have so many bytes more."""
    def play(folder):
        if shutil.which("setpriv") is None:
            raise Skip("setpriv is not there")
        used = 2 << 20
        with tmpfs(folder, "disk", f"size=16m,usrquota_block_hardlimit={used + left}",
                   "a file system in memory with quotas cannot be had") as disk:
            trial = Trial(context.releases, folder, place=os.path.join(disk, "place"))
            as_nobody(trial)
            sizes = sum(-(-os.lstat(os.path.join(top, name)).st_blocks * 512 // PAGE) * PAGE
                        for top, _, files in os.walk(disk) for name in files)
            filler = os.path.join(disk, "filler")
            with open(filler, "wb") as file:
                file.write(b"x" * (used - sizes))
            os.chown(filler, NOBODY, NOBODY)
            state = trial.install()
            trial.judge_state(state, SHORT)
            check(state != READY or left > 500_000, f"{state} with {left} bytes left")
    return play


def not_of_the_user(context, mode, sentence):
    """The program runs for a user who may not change its folder, or what is in that."""
    def play(folder):
        trial = Trial(context.releases, folder)
        as_nobody(trial)
        for top, folders, files in os.walk(trial.place):
            for path in [top, *(os.path.join(top, name) for name in folders + files)]:
                os.chown(path, 0, 0, follow_symlinks=False)
        os.chmod(trial.place, mode)
        state = trial.install()
        trial.judge_state(state, [sentence])
        check(state != READY, state)
    return play


def bundle_is_a_mount_point(context):
    def play(folder):
        trial = Trial(context.releases, folder)
        mounted("--bind", trial.bundle, trial.bundle)
        try:
            state = trial.install()
            trial.judge_state(state, [REPLACE + "“Korvel.app” couldn’t be moved: it is in use."])
            check(state != READY, state)
        finally:
            subprocess.run(["umount", "--lazy", trial.bundle], check=False)
    return play


def cases(context):
    if not context.has_mounts:
        raise Skip("to mount file systems takes the superuser")
    # What an installation needs beside the program: the download, and what is in it.
    needs = len(context.releases.archive) + sum(
        -(-os.lstat(os.path.join(top, name)).st_size // PAGE) * PAGE
        for top, _, files in os.walk(context.releases.bundles[NEW]) for name in files)
    pages = -(-needs // PAGE) + 4
    for free in range(pages + 1):
        yield (f"{free * PAGE} bytes free on the bundle's tmpfs", free % 16 == 0 or free == pages,
               place_disk_is_short(context, tmpfs, free * PAGE))
    for free in range(0, needs + (64 << 10), 16 << 10):
        yield (f"{free} bytes free on the bundle's ext4", free % (128 << 10) == 0,
               place_disk_is_short(context, ext4, free))
    yield ("more than enough free on the bundle's ext4", True,
           place_disk_is_short(context, ext4, 2 * needs, ["nothing is to fail"]))
    yield ("fault 1: another disk for temporary files, and on the bundle's less than the bundle takes", True,
           place_disk_is_short(context, ext4, needs // 3))
    for left in range(0, 16):
        yield f"room for {left} more files on the bundle's disk", left % 4 == 0, files_are_short(context, left)
    yield "no room in the temporary folder", True, temporary_is_short(context, None)
    yield "a temporary folder that is read-only", True, temporary_is_short(context, "remount,ro")
    yield "a bundle's disk that is read-only", True, place_is_read_only(context)
    for free in range(0, needs + (64 << 10), 64 << 10):
        yield (f"a bundle's disk that is read-only, {free} bytes for temporary files", free == 0,
               place_is_read_only(context, free))
    yield "a home without room", True, home_is(context, None, True)
    yield "a home that is read-only", True, home_is(context, "remount,ro", False)
    for left in range(0, needs + (64 << 10), 64 << 10):
        yield f"a quota with {left} bytes left", left % (256 << 10) == 0, quota_is_short(context, left)
    yield "a folder that the user may not write", True, not_of_the_user(context, 0o755, PARENT)
    yield ("a program of another user in a sticky folder", True,
           not_of_the_user(context, 0o1777, REPLACE + "“Korvel.app” couldn’t be moved: permission denied."))
    yield "a bundle that is a mount point", True, bundle_is_a_mount_point(context)
