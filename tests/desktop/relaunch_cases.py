"""What runs after a relaunch, a second start and an update that cannot run here: one program, always."""

import contextlib
import os
import re
import shutil
import signal
import time

from cases import Program, case, check, desktop, equal, history, middle, opened, wait_for_icon
from desktop import wait_for
from remedy_cases import NAME, system_bus
from update_cases import quit_program, refused, update_case
from update_site import NEW, OLD, PROGRAM, packed, trial

NO_RUN = "Could not replace the app: “Korvel.app” can’t run here: "


def copies(place):
    """The processes of this desktop that run the program, by their numbers."""
    found = []
    wanted = f"HOME={place.home}".encode()
    for pid in filter(str.isdigit, os.listdir("/proc")):
        try:
            name = os.path.basename(os.readlink(f"/proc/{pid}/exe")).removesuffix(" (deleted)")
            with open(f"/proc/{pid}/environ", "rb") as environment:
                if name in ("korvel", os.path.basename(Program.path)) and wanted in environment.read().split(b"\0"):
                    found.append(int(pid))
        except OSError:
            pass  # it has gone in the meantime
    return found


@update_case()
def relaunch_waits_for_a_copy_that_is_slow_to_end():
    with trial(seenBuild={"integer": int(OLD)}) as made:
        quit_program(made)
        made.start(LD_PRELOAD=made.releases.preloaded("slow_history"), KORVEL_SLOW_SECONDS="3")
        made.site.publish(NEW)
        made.open()
        made.check()
        made.press("Update")
        made.tree.find("Update installed")
        old = made.pid()
        asked = time.monotonic()
        made.press("Relaunch")
        wait_for("the new copy beside the old one", lambda: len(copies(made.place)) == 2)
        equal(made.pid(), old, "who has the name meanwhile")
        equal(made.program.exit_status(), 0, "exit status")
        check(time.monotonic() - asked > 3, "the old copy was not slow to end")
        new = wait_for("the name of the new copy", made.pid)
        equal(copies(made.place), [new], "what runs")
        made.tree.find(f"Updated to 1.{NEW}")
        equal(copies(made.place), [new], "what runs a while later")
        with open(f"/proc/{new}/environ", "rb") as environment:
            check(b"KORVEL_RELAUNCH=1" in environment.read().split(b"\0"), "it was not told that it is one")


@case()
def second_start_takes_the_place_of_one_that_dies_without_an_answer():
    with desktop() as (place, first):
        wait_for("the program's name", lambda: place.owner(NAME))
        first.process.send_signal(signal.SIGSTOP)
        second = Program(place)
        time.sleep(1)  # it asks, and is not answered
        check(second.running(), "it waits for no answer")
        first.process.kill()
        first.exit_status()
        wait_for("the name of the second", lambda: place.owner(NAME))
        check(second.running(), "no program runs")
        equal(Program(place).exit_status(), 0, "exit status of a third")
        check(second.running(), "the second ended")


@case("trayer")
def without_a_session_bus_a_relaunched_copy_waits_too():
    with desktop("trayer", bus=False) as (place, first):
        wait_for_icon(place)
        second = Program(place, command=["env", "KORVEL_RELAUNCH=1", Program.path])
        time.sleep(1)
        check(first.running() and second.running(), "it does not wait")
        another = Program(place, command=["env", "KORVEL_RELAUNCH=1", Program.path])
        time.sleep(0.5)
        equal(another.send(signal.SIGTERM), 0, "exit status of one that waited")
        equal(first.send(signal.SIGTERM), 0, "exit status of the first")
        time.sleep(1)
        check(second.running(), "no program runs")
        equal(Program(place).exit_status(), 0, "exit status of a third")
        check(second.running(), "the second ended")
        equal(second.send(signal.SIGTERM), 0, "exit status of the second")


@contextlib.contextmanager
def stopped(process):
    """A process that does nothing meanwhile, and looks as if it were about to."""
    process.send_signal(signal.SIGSTOP)
    try:
        yield
    finally:
        process.send_signal(signal.SIGCONT)


@case("trayer")
def bus_that_hangs_holds_up_no_launch():
    with desktop("trayer", program=False) as place:
        with stopped(place.bus):
            program = Program(place)
            place.click(*middle(wait_for_icon(place, 12)))
            opened(place)
            equal(Program(place).exit_status(), 0, "exit status of a further start")
            equal(program.send(signal.SIGTERM), 0, "exit status")
            history(place)


@case("trayer")
def system_bus_that_hangs_holds_up_no_launch():
    with desktop("trayer", program=False) as place:
        address = system_bus(place)["DBUS_SESSION_BUS_ADDRESS"]
        check(address.startswith("unix:"), "no bus of its own")
        with stopped(place.started[-1]):
            program = Program(place)
            wait_for_icon(place, 12)
            equal(program.send(signal.SIGTERM), 0, "exit status")


@case()
def start_while_the_bus_hangs_leaves_the_copy_that_runs_alone():
    with desktop() as (place, first):
        wait_for("the program's name", lambda: place.owner(NAME))
        with stopped(place.bus):
            equal(Program(place).exit_status(), 0, "exit status of the second")
            check(first.running(), "the first ended")
        equal(Program(place).exit_status(), 0, "exit status of a third")
        opened(place)


@case("xfce4-panel", "ldd")
def opening_after_an_upgrade_of_qt_starts_the_program_anew_and_opens_that():
    with desktop("xfce4-panel", program=False) as place:
        folder = os.path.join(place.folder, "libraries")
        os.mkdir(folder)
        loaded = re.findall(r"=> (/\S*/(libQt6\S+)) ", place.run(["ldd", Program.path]))
        check(loaded, "the program loads no library of Qt")

        def upgrade(version, before=None):
            for path, name in loaded:
                link = os.path.join(folder, name)
                shutil.copy(path, link + version)
                os.symlink(name + version, link + ".new")
                os.rename(link + ".new", link)
                if before:
                    os.remove(link + before)

        upgrade(".4.2")
        old = Program(place, command=["env", "LD_LIBRARY_PATH=" + folder, Program.path])
        at = middle(wait_for_icon(place))
        upgrade(".8.2", before=".4.2")
        check(old.running(), "it does not go on")
        place.click(*at)
        equal(old.exit_status(), 0, "exit status")
        check(history(place), "the history is not saved")
        new, = wait_for("the new copy", lambda: copies(place))
        try:
            opened(place)  # by itself
            with open(f"/proc/{new}/maps", encoding="utf-8") as maps:
                mapped = [line for line in maps if folder in line]
            check(mapped, "it has other libraries")
            equal([line for line in mapped if "(deleted)" in line], [], "old libraries that it has")
        finally:
            os.kill(new, signal.SIGTERM)
            wait_for("its end", lambda: not copies(place))


def other_processor(program):
    with open(program, "r+b") as file:
        file.seek(18)  # the number of the processor
        file.write(b"\x28\x00")


def other_library(program):
    with open(program, "rb") as file:
        data = file.read()
    names = re.findall(rb"\0libfmt\.so\.[0-9]+\0", data)
    equal(len(names), 1, "how often the program names its library")
    with open(program, "wb") as file:
        file.write(data.replace(names[0], b"\0libnone.so\0".ljust(len(names[0]), b"\0")))


@update_case()
def signed_build_that_cannot_run_here_is_refused():
    with trial() as made:
        made.open()
        for version, change, reason in (
                ("5.processor", other_processor, "it is made for another kind of processor."),
                ("5.missing", other_library, "the library libnone.so is missing.")):
            folder = os.path.join(made.place.folder, version)
            bundle = os.path.join(folder, "Korvel.app")
            shutil.copytree(made.releases.bundles[NEW], bundle, symlinks=True)
            change(os.path.join(bundle, PROGRAM))
            made.releases.seal(bundle, made.releases.team)
            made.site.offer(version, packed(folder))
            refused(made, version, NO_RUN + reason)
        made.site.publish(NEW)
        made.check()
        made.press("Update")
        made.tree.find("Update installed")
