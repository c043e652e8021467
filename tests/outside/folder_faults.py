"""Homes, folders and standard streams that are not as a desktop sets them."""

import json
import os

from trial import START, check, equal, fault, wait_for

ACCOUNT = 'mount -t tmpfs tmpfs "$(getent passwd "$(id -u)" | cut -d: -f6)"'


def in_the_accounts_home(trial):
    """The history is saved in the home that the account has."""
    trial.survives()
    home = os.path.realpath(os.path.expanduser("~root"))
    check(len(trial.history(os.path.join(home, ".korvel-history.json"))) >= 2, "the history was not saved")
    check(not os.path.exists(trial.history_file()), "there are two histories")


for words, setting in (("HOME is not set", "unset HOME"), ("HOME is empty", "export HOME="),
                       ("HOME is no absolute path", "export HOME=home")):
    fault(words, "it works; the history is in the home that the account has", before=ACCOUNT,
          start=f'{setting}; exec "$KORVEL"')(in_the_accounts_home)


@fault("HOME leads nowhere", "it works; nothing is saved, and no folder is made",
       start='export HOME=$HOME/none/at/all; exec "$KORVEL"')
def home_nowhere(trial):
    trial.survives()
    check(not os.path.exists(os.path.join(trial.place.home, "none")), "a folder was made")


@fault("HOME is a file", "it works; the file stays as it is",
       before='echo mine >"$HOME/file"', start='export HOME=$HOME/file; exec "$KORVEL"')
def home_file(trial):
    trial.survives()
    with open(os.path.join(trial.place.home, "file"), encoding="ascii") as file:
        equal(file.read(), "mine\n", "the file")


def settings_at_home(trial):
    """What is stored in ~/.config counts: nobody is greeted, and nothing is made elsewhere."""
    before = sorted(os.listdir(trial.place.folder))
    trial.survives()
    equal(sorted(os.listdir(trial.place.folder)), sorted({*before, "printed"}), "files in the working folder")


for words, setting in (("XDG_CONFIG_HOME is not set", "unset XDG_CONFIG_HOME"),
                       ("XDG_CONFIG_HOME is no absolute path", "export XDG_CONFIG_HOME=relative")):
    fault(words, "it works, with the settings of ~/.config; no folder is made elsewhere",
          start=f'{setting}; exec "$KORVEL"')(settings_at_home)


@fault("XDG_CONFIG_HOME leads nowhere", "it works; the folder is made for what is stored",
       start='export XDG_CONFIG_HOME=$HOME/none/at/all; exec "$KORVEL"')
def config_nowhere(trial):
    trial.start()
    path = os.path.join(trial.place.home, "none/at/all/korvel/defaults.json")
    wait_for("the stored settings", lambda: os.path.exists(path))
    wait_for("the greeting", trial.place.popover)
    trial.quits()
    with open(path, encoding="utf-8") as file:
        check(json.load(file), "nothing is stored")


@fault("XDG_CONFIG_HOME is a file", "it works; the file stays as it is",
       before='echo mine >"$HOME/file"', start='export XDG_CONFIG_HOME=$HOME/file; exec "$KORVEL"')
def config_file(trial):
    trial.start()
    wait_for("the greeting", trial.place.popover)
    trial.quits()
    with open(os.path.join(trial.place.home, "file"), encoding="ascii") as file:
        equal(file.read(), "mine\n", "the file")


for words, before, setting in (
        ("XDG_RUNTIME_DIR is not set", "", "unset XDG_RUNTIME_DIR"),
        ("XDG_RUNTIME_DIR leads nowhere", "", "export XDG_RUNTIME_DIR=$HOME/none"),
        ("XDG_RUNTIME_DIR is a file", 'echo mine >"$HOME/file"', "export XDG_RUNTIME_DIR=$HOME/file"),
        ("XDG_RUNTIME_DIR is another user's, and open to all",
         'mkdir "$HOME/other"; chmod 777 "$HOME/other"; chown nobody "$HOME/other"',
         "export XDG_RUNTIME_DIR=$HOME/other"),
        ("TMPDIR leads nowhere", "", "export TMPDIR=$HOME/none"),
        ("no variable but the display's and the bus's is set", ACCOUNT,
         "exec env -i DISPLAY=\"$DISPLAY\" DBUS_SESSION_BUS_ADDRESS=\"$DBUS_SESSION_BUS_ADDRESS\" \"$KORVEL\""),
        ("the working folder is gone", 'mkdir gone', 'cd gone; rmdir "$PWD"'),
        ("standard input, output and error are closed", "", "exec <&- >&- 2>&-")):
    fault(words, "it works", before=before,
          start=setting if setting.startswith("exec env") else f'{setting}; exec "$KORVEL"')(
              lambda trial: survives_greeting(trial) if "no variable" in trial.fault.name else trial.survives())


def survives_greeting(trial):
    """Without its settings it greets first."""
    trial.start()
    wait_for("the greeting", trial.place.popover)
    trial.place.activate()
    wait_for("the closed popover", lambda: not trial.place.popover())
    trial.works()
    trial.quits()


@fault("the parts of Qt that the popover is made of cannot be found",
       "it does not open, and the program samples on; once they are there it opens",
       during="mount -t tmpfs tmpfs /usr/lib/*/qt6/qml")
def no_parts_of_qt(trial):
    trial.start()
    trial.shows_the_score()
    trial.strike()
    try:
        trial.place.spawn(["sh", "-c", START]).wait(10)
        trial.goes_on_sampling()
        check(not trial.place.popover(), "it opened")
    finally:
        trial.shell("umount /usr/lib/*/qt6/qml")
    trial.works()
    trial.quits()
