"""The end of the desktop session, as its manager brings it about."""

import os
import signal
import subprocess
import time

from cases import Program, case, check, desktop, equal, history, opened
from desktop import wait_for
from remedy_cases import kept_awake, tooltip

MANAGER = os.path.join(os.path.dirname(os.path.abspath(__file__)), "session_manager")


def start_session(place):
    manager = place.spawn([MANAGER], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    place.environment["SESSION_MANAGER"] = manager.stdout.readline().strip()
    return manager


def end_session(manager):
    manager.stdin.write("end\n")
    manager.stdin.flush()


@case()
def end_of_the_session_is_a_quit():
    for look in (False, True):
        with desktop(program=False) as place:
            manager = start_session(place)
            program = Program(place)
            equal(manager.stdout.readline(), "joined\n", "the manager's answer")
            equal(manager.stdout.readline(), "restart 3\n", "whether the next session starts it: never")
            wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
            time.sleep(1.5)  # past the two samples of the launch
            if look:
                equal(Program(place).exit_status(), 0, "exit status of a second start")
                opened(place)
            end_session(manager)
            equal(program.exit_status(), 0, "exit status" + (" with an open popover" * look))
            equal(len(history(place)), 2 + look, "rows")


@case("xfce4-panel")
def loss_of_the_display_lets_go_of_what_is_held():
    with kept_awake("screen-saver") as (place, program, session, logind):
        wait_for("the cup", lambda: "\u2615" in tooltip(place))
        place.end(place.x, signal.SIGKILL)  # as i3's exit, and a crash
        check(program.exit_status() >= 0, "the program crashed")
        equal(session.wait(2, "the release")[1], ["screen-saver", "UnInhibit", 71], "the release")
        equal(logind.wait(2, "the release")[1], ["logind", "closed"], "the release")
        check(len(history(place)) >= 1, "the history is empty")
