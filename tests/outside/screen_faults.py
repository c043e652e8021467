"""Displays, panels and window managers that come and go."""

import os
import signal
import time

from trial import START, Skip, check, equal, fault, wait_for


@fault("the X server is killed", "it ends by itself, with the history saved", during='kill -KILL "$X"')
def no_display(trial):
    trial.start()
    trial.works()
    trial.strike()
    check(trial.ends() >= 0, "it crashed")
    check(len(trial.history()) >= 2, "the history was not saved")


@fault("there is no display at all", "it ends at once with an exit status that says so",
       start='export DISPLAY=:9999; exec "$KORVEL"')
def never_a_display(trial):
    trial.start()
    check(trial.ends() > 0, "it crashed, or says that it ended well")


@fault("the panel is killed and started ten times within seconds", "the item is there again each time",
       during='kill -KILL "$PANEL"')
def panels_come_and_go(trial):
    trial.start()
    trial.shows_the_score()
    for _ in range(10):
        trial.strike()
        trial.place.start_panel("xfce4-panel")
        time.sleep(0.2)
    trial.works()
    trial.quits()


@fault("the panel hangs", "a further start opens the popover, and it samples on", during='kill -STOP "$PANEL"')
def panel_hangs(trial):
    trial.start()
    trial.works()
    trial.strike()
    try:
        equal(trial.place.spawn(["sh", "-c", START]).wait(10), 0, "exit status of a second start")
        wait_for("the popover", trial.place.popover)
        trial.goes_on_sampling()
        trial.quits()
    finally:
        trial.processes("xfce4-panel")[-1].send_signal(signal.SIGCONT)


@fault("the window manager is killed while the popover is open", "it works, without one",
       during='kill -KILL "$MANAGER"')
def no_window_manager(trial):
    trial.start()
    trial.shows_the_score()
    equal(trial.place.spawn(["sh", "-c", START]).wait(10), 0, "exit status of a second start")
    wait_for("the popover", trial.place.popover)
    trial.strike()
    trial.goes_on_sampling()
    check(trial.running(), "it ended")
    trial.quits()


def on_wayland(trial, play):
    """The same program on a compositor of its own."""
    from wayland_cases import WaylandDesktop, qt_has_wayland
    if not qt_has_wayland():
        raise Skip("not installed: qt6-wayland")
    with WaylandDesktop() as place:
        trial.place = place
        place.environment["KORVEL"] = os.path.join(trial.programs, "korvel")
        trial.start()
        wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
        equal(place.spawn(["sh", "-c", START]).wait(10), 0, "exit status of a second start")
        wait_for("the popover", place.windows)
        play(place)


def loses_screens(trial):
    """Struck, it samples on, and its popover is there or comes when it is asked for."""
    def play(place):
        trial.strike()
        time.sleep(1)
        check(trial.running(), f"it ended: {trial.program.poll()}")
        trial.goes_on_sampling()
        if not place.windows():
            equal(place.spawn(["sh", "-c", START]).wait(10), 0, "exit status of a further start")
        wait_for("the popover", place.windows)
        trial.quits()
    on_wayland(trial, play)


@fault("ten screens come, and the one with the popover goes", "the popover, or the next one, is on another screen",
       panel=None,
       during="for i in 1 2 3 4 5 6 7 8 9 10; do swaymsg create_output || exit; done; "
              "swaymsg output HEADLESS-1 disable")
def screens(trial):
    loses_screens(trial)


@fault("every screen goes, and one comes back", "it stays, samples on, and opens its popover there",
       panel=None, during="swaymsg output HEADLESS-1 disable && sleep 2 && swaymsg create_output")
def no_screen(trial):
    loses_screens(trial)
