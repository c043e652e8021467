"""Disks that are full, read-only, broken, and what stands in the place of the program's files."""

import os
import stat

from trial import check, equal, fault, wait_for

OLD = '[[1600000000,1,2],[1600000005,3,4],[1600000010,5,6]]'
FILE = '"$HOME/.korvel-history.json"'


@fault("the disk of the home folder is full",
       "it works, and the history of before stays, byte for byte; at the end of a run with room again it is saved",
       before='mount -t tmpfs -o size=64k tmpfs "$HOME"; '
              f"(printf '['; seq -s, -f '[%.0f,1,2]' 1600000000 1600000239; printf ']') >{FILE}; "
              'head -c 100k /dev/zero >"$HOME/filler" || true',
       during='rm "$HOME/filler"')
def full_disk(trial):
    trial.start()
    with open(trial.history_file(), "rb") as file:
        before = file.read()
    trial.works()
    trial.quits()
    with open(trial.history_file(), "rb") as file:
        equal(file.read(), before, "the history")
    trial.strike()
    trial.start()
    trial.works()
    trial.quits()
    check(len(trial.history()) > 240, "the history was not saved")


@fault("the home folder has no room for one more file", "it works; the history is not saved",
       before='mount -t tmpfs -o nr_inodes=2 tmpfs "$HOME"; touch "$HOME/last"')
def no_inodes(trial):
    trial.survives()
    equal(os.listdir(trial.place.home), ["last"], "files at home")


@fault("the home folder is read-only", "it works; the history of before stays, byte for byte",
       before=f"echo '{OLD}' >{FILE}; mount --bind -o ro \"$HOME\" \"$HOME\"; mount -o remount,bind,ro \"$HOME\"")
def read_only(trial):
    trial.survives()
    with open(trial.history_file(), encoding="ascii") as file:
        equal(file.read(), OLD + "\n", "the history")


@fault("the user's quota of the disk is used up", "it works; a save that is refused is silent, and the file as it was",
       before=f"echo -n '[]' >{FILE}",
       start=f'exec strace -D -qq -f -o /dev/null -e trace=write -e inject=write:error=EDQUOT -P {FILE} "$KORVEL"')
def quota(trial):
    trial.survives()
    with open(trial.history_file(), encoding="ascii") as file:
        equal(file.read(), "[]", "the history")


@fault("the process may write no file longer than 512 bytes", "it works, and ends as ever; nothing kills it for it",
       before=f"(printf '['; seq -f '[%.0f,1,2],' 1600000000 1600000999; printf '[1600001000,1,2]]') >{FILE}",
       start='ulimit -f 1; exec "$KORVEL"')
def short_files(trial):
    trial.survives()


@fault("the disk fails at each reading of the history", "it works, with an empty history, which is saved at the end",
       before=f"echo '{OLD}' >{FILE}",
       start=f'exec strace -D -qq -f -o /dev/null -e trace=read -e inject=read:error=EIO -P {FILE} "$KORVEL"')
def unreadable_history(trial):
    trial.survives()
    check(1 <= len(trial.history()) <= 5 and trial.history()[0][0] > 1600000010, "the history was read")


@fault("a folder stands in the place of the history", "it works; the folder stays", before=f"mkdir {FILE}")
def history_folder(trial):
    trial.survives()
    check(os.path.isdir(trial.history_file()), "the folder is gone")


@fault("a pipe that nobody reads stands in the place of the history", "it works and waits for nobody; the pipe stays",
       before=f"mkfifo {FILE}")
def history_pipe(trial):
    trial.survives()
    check(stat.S_ISFIFO(os.stat(trial.history_file()).st_mode), "the pipe is gone")


@fault("the history is a link to itself", "it works; the link stays", before=f"ln -s .korvel-history.json {FILE}")
def history_loop(trial):
    trial.survives()
    check(os.path.islink(trial.history_file()), "the link is gone")


@fault("the history is a link to a device that is always full", "it works; the link stays",
       before=f"ln -s /dev/full {FILE}")
def history_full_device(trial):
    trial.survives()
    equal(os.readlink(trial.history_file()), "/dev/full", "the link")


@fault("the history has a terabyte of zeros", "it starts at once, with an empty history, and saves over it",
       before=f"truncate -s 1T {FILE}")
def huge_history(trial):
    trial.survives()
    check(len(trial.history()) >= 2, "the history was not saved")


@fault("the history breaks off in a row", "it works, with an empty history, which is saved at the end",
       before=f"echo '[[1600000000,1,2],[16000' >{FILE}")
def cut_history(trial):
    trial.survives()
    check(trial.history()[0][0] > 1600000010, "the history was read")


@fault("the disk of the settings is full", "it works; what it wants to remember is not kept",
       before='mount -t tmpfs -o size=4k tmpfs "$XDG_CONFIG_HOME/korvel"; '
              'head -c 8k /dev/zero >"$XDG_CONFIG_HOME/korvel/filler" || true')
def full_settings(trial):
    trial.start()
    trial.shows_the_score()
    # Nothing is stored, so this is the first launch: it greets.
    wait_for("the greeting", trial.place.popover)
    trial.place.activate()
    trial.works()
    trial.quits()


@fault("a pipe stands in the place of the settings", "it works and waits for nobody",
       before='rm "$XDG_CONFIG_HOME/korvel/defaults.json"; mkfifo "$XDG_CONFIG_HOME/korvel/defaults.json"')
def settings_pipe(trial):
    trial.start()
    trial.shows_the_score()
    wait_for("the greeting", trial.place.popover)
    trial.quits()
