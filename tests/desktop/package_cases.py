"""The program as a package brings it, beside the mark of one."""

import os
import re
import shutil
import sys

from cases import Program, check, choose, desktop, equal, opened
from desktop import wait_for
from remedy_cases import NAME, Services, defaults
from update_cases import UNREACHABLE, update_case
from update_site import SOURCE, Releases, Site, accessible, command

BUILD = 20000  # of a release that is newer than any package of these sources


def build_folder():
    return os.path.dirname(os.path.dirname(Program.path))


def install(place):
    """The tree of the package in a folder of its own, in which the program trusts the tests' root."""
    prefix = os.path.join(place.folder, "installed")
    command("cmake", "--install", build_folder(), "--prefix", prefix, "--component", "korvel")
    program = os.path.join(prefix, "bin", "korvel")
    shutil.copy(os.path.join(os.path.dirname(Program.path), "korvel_trial"), program)
    return program


def version():
    with open(os.path.join(SOURCE, "CMakeLists.txt"), encoding="utf-8") as file:
        return re.search(r"^project\(korvel VERSION ([0-9.]+)", file.read(), re.MULTILINE).group(1)


@update_case()
def copy_of_a_package_asks_no_feed_until_the_user_does():
    if Releases.problem is not None:
        raise Releases.problem
    releases = Releases.shared
    releases.release(str(BUILD), os.path.join(releases.folder, "programs"))
    with desktop("xfce4-panel", program=False, size="800x1000") as place:
        tree = accessible.start(place)
        site = Site(place, releases)
        site.publish(str(BUILD))
        manager = Services(place, "file-manager")
        stored = place.set_defaults(seenBuild={"integer": 100}, seenVersion={"string": "0.1.0"},
                                    lastUpdateCheck={"double": 1.5e9})
        program = Program(place, command=site.inside(install(place)))
        wait_for("the program's name", lambda: place.owner(NAME), 20)
        opened(place)  # what is new in the version, by itself
        tree.find(f"Updated to {version()}")
        notes = command(sys.executable, os.path.join(SOURCE, "packaging", "changelog.py"), "notes", version())
        for line in notes.decode().splitlines():
            tree.find(line)
        equal(defaults(place)["lastUpdateCheck"], stored["lastUpdateCheck"], "the date of the last check")
        equal(site.seen(), [], "what the server saw of the launch")

        choose(place, "Check for Updates…")
        tree.find(f"Version 1.{BUILD} is available")
        equal(site.seen(), ["connection", "GET /appcast.json"], "what the server saw of the check")
        check(defaults(place)["lastUpdateCheck"]["double"] > 1.6e9, "the check was not remembered")
        tree.find("Update").press()
        tree.find("Can't write to bin. The new version is in the file manager; drag it over.")
        manager.wait(1, "the file manager")
        check(program.running(), "the program ended")

        site.status(500)
        choose(place, "Check for Updates…")
        tree.find(UNREACHABLE)
