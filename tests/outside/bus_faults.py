"""Buses that are gone, slow or none, and services that lie."""

import os
import signal
import subprocess
import time

from trial import START, check, equal, fault, wait_for

SERVICES = ("org.freedesktop.portal.Desktop org.freedesktop.ScreenSaver org.gnome.SessionManager "
            "org.freedesktop.PowerManagement org.freedesktop.PowerManagement.Inhibit org.freedesktop.Notifications "
            "org.freedesktop.FileManager1 org.freedesktop.systemd1")


def beside(trial, command, environment=None):
    """Starts what the fault is made of, until it says that it is ready."""
    own = dict(trial.place.environment)
    trial.place.environment.update(environment or {})
    process = trial.place.spawn(["sh", "-c", command], stdout=subprocess.PIPE, text=True)
    trial.place.environment = own
    equal(process.stdout.readline(), "ready\n", "what is beside it")


def runs_alone(trial):
    """Without a bus no further start is heard, and none works beside it."""
    started = time.monotonic()
    trial.start()
    # A bus that is silent is waited for five seconds.
    trial.goes_on_sampling(15)
    second = trial.place.spawn(["sh", "-c", trial.fault.start])
    equal(second.wait(15), 0, "exit status of a second start")
    check(trial.running(), f"it ended: {trial.program.poll()}")
    time.sleep(max(0, 2.5 - (time.monotonic() - started)))
    trial.quits()
    check(len(trial.history()) >= 2, "the history was not saved")


def runs_without_locks(trial):
    started = time.monotonic()
    trial.start()
    time.sleep(max(0, 2.5 - (time.monotonic() - started)))
    trial.quits()
    check(len(trial.history()) >= 1, "the history was not saved")


for words, setting in (("has no address", "unset DBUS_SESSION_BUS_ADDRESS XDG_RUNTIME_DIR"),
                       ("has an address that is none", "export DBUS_SESSION_BUS_ADDRESS=nonsense,,=;:"),
                       ("has an address at which nobody is", "export DBUS_SESSION_BUS_ADDRESS=unix:path=/none/at/all")):
    fault("the session bus " + words, "it runs and saves; a further start leaves it alone", panel=None,
          start=setting.replace(";", "\\;") + '; exec "$KORVEL"')(runs_alone)

fault("the session bus is gone, and the file system has no locks", "it runs and saves", panel=None,
      start='unset DBUS_SESSION_BUS_ADDRESS; exec strace -D -qq -f -o /dev/null -e trace=flock '
            '-e inject=flock:error=ENOLCK "$KORVEL"')(runs_without_locks)

for words, mode in (("closes each connection at once", "closes"), ("answers with garbage", "garbage"),
                    ("answers with an endless line", "flood"), ("takes connections and never says a word", "silent")):
    @fault(f"the session bus {words}", "it runs and saves; a further start leaves it alone", panel=None,
           before=f'exec "$OUTSIDE/bad_bus" {mode} "$HOME/bus"',
           start='export DBUS_SESSION_BUS_ADDRESS=unix:path=$HOME/bus; exec "$KORVEL"')
    def bad_session_bus(trial):
        beside(trial, trial.fault.before)
        trial.fault = trial.fault._replace(before="")
        runs_alone(trial)

    @fault(f"the system bus {words}", "it works",
           before=f'exec "$OUTSIDE/bad_bus" {mode} "$HOME/bus"',
           start='export DBUS_SYSTEM_BUS_ADDRESS=unix:path=$HOME/bus; exec "$KORVEL"')
    def bad_system_bus(trial):
        beside(trial, trial.fault.before)
        trial.fault = trial.fault._replace(before="")
        keep_awake(trial)
        trial.start()
        trial.works(15)
        trial.goes_on_sampling()
        trial.quits()


def keep_awake(trial):
    """The program is to ask the services at its launch."""
    trial.place.set_defaults(awakeOn={"bool": True}, awakeUntil={"integer": 0})
    os.replace(trial.place.defaults_file(), os.path.join(trial.place.folder, "settings/korvel/defaults.json"))


@fault("the session bus stands still for five seconds at the launch", "it works afterwards",
       during='kill -STOP "$BUS"; sleep 5; kill -CONT "$BUS"')
def slow_at_launch(trial):
    trial.place.bus.send_signal(signal.SIGSTOP)
    trial.start()
    time.sleep(5)
    trial.place.bus.send_signal(signal.SIGCONT)
    trial.goes_on_sampling(15)
    check(trial.running(), f"it ended: {trial.program.poll()}")
    trial.quits(30)
    check(len(trial.history()) >= 2, "the history was not saved")


@fault("the session bus stands still for five seconds while it runs", "it works afterwards",
       during='kill -STOP "$BUS"; sleep 5; kill -CONT "$BUS"')
def slow_while_running(trial):
    trial.start()
    trial.works()
    trial.strike()
    trial.works()
    trial.goes_on_sampling()
    trial.quits()


@fault("the session bus is killed and does not come back", "it samples on; the history is saved at the end",
       during='kill -KILL "$BUS"')
def no_bus_any_more(trial):
    trial.start()
    trial.works()
    trial.strike()
    trial.goes_on_sampling()
    trial.quits()
    check(len(trial.history()) >= 2, "the history was not saved")


for words, mode in (("answer with other types each time", "wrong"), ("answer with errors", "error"),
                    ("never answer", "silent"), ("answer after five seconds, with nothing", "slow"),
                    ("lie, and send hundreds of signals of unknown actions and wrong types a second", "signals")):
    @fault(f"the services of the session {words}", "it works, kept awake or not; nothing opens by itself",
           before=f'exec "$OUTSIDE/liar" {mode} {SERVICES}')
    def lying_services(trial):
        beside(trial, trial.fault.before)
        trial.fault = trial.fault._replace(before="")
        keep_awake(trial)
        trial.start()
        trial.shows_the_score(15)
        time.sleep(2)
        check(not trial.place.popover(), "the popover opened by itself")
        trial.works(15)
        trial.goes_on_sampling()
        trial.quits(15)

    @fault(f"the tray's watcher: its answers {words}", "it runs; a further start opens the popover", panel=None,
           before=f'exec "$OUTSIDE/liar" {mode} org.kde.StatusNotifierWatcher')
    def lying_watcher(trial):
        beside(trial, trial.fault.before)
        trial.fault = trial.fault._replace(before="")
        trial.start()
        wait_for("the program's name", lambda: trial.place.owner("com.oxbrook.korvel"), 15)
        trial.goes_on_sampling()
        equal(trial.place.spawn(["sh", "-c", START]).wait(15), 0, "exit status of a second start")
        wait_for("the popover", trial.place.popover)
        trial.quits(15)

    @fault(f"logind: its answers {words}", "it works, kept awake or not",
           before=f'exec "$OUTSIDE/liar" {mode} org.freedesktop.login1')
    def lying_logind(trial):
        from remedy_cases import system_bus
        beside(trial, trial.fault.before, system_bus(trial.place))
        trial.fault = trial.fault._replace(before="")
        keep_awake(trial)
        trial.start()
        trial.works(15)
        trial.goes_on_sampling()
        trial.quits(15)


@fault("the item and its menu are called by unknown names, types and entries, two thousand times at once",
       "it works; nothing is chosen", during='exec /usr/bin/python3 "$OUTSIDE/odd_calls" 2000')
def odd_calls(trial):
    trial.start()
    trial.works()
    trial.strike()
    check(not trial.place.popover(), "the popover opened by itself")
    trial.works()
    trial.quits()
