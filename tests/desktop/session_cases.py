"""The end of the desktop session, as its manager brings it about."""

import os
import subprocess
import time

from cases import Program, case, desktop, equal, history, opened
from desktop import wait_for

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
            wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
            time.sleep(1.5)  # past the two samples of the launch
            if look:
                equal(Program(place).exit_status(), 0, "exit status of a second start")
                opened(place)
            end_session(manager)
            equal(program.exit_status(), 0, "exit status" + (" with an open popover" * look))
            equal(len(history(place)), 2 + look, "rows")
