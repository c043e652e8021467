"""Runs a release with all its libraries in bare roots, each with a panel on a display of its own: the
item, the popover, an update over https, and the relaunch into it. Prints a line for each root.

    bundle_trial.py PROGRAM PICTURES ROOT...
"""

import os
import subprocess
import sys
import time
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.dont_write_bytecode = True
sys.path[:0] = [str(HERE), str(HERE.parent.parent / "packaging/linux")]

import accessible  # noqa: E402
from cases import Program, check, equal, icon_box, opened, wait_for_icon  # noqa: E402
from desktop import Desktop, wait_for  # noqa: E402
from remedy_cases import NAME  # noqa: E402
from update_site import NEW, OLD, PROGRAM, Releases, Site, contents  # noqa: E402

IN_BUNDLE = "/Korvel.app/Contents/"
VIEWS = {"libQt6Core", "libQt6Gui", "libQt6Quick", "libQt6XcbQpa", "libqxcb", "libfmt", "libicudata"}
NETWORK = {"libqopensslbackend", "libssl", "libcrypto"}


def mapped(pid):
    """The libraries that a process has loaded, as it sees their paths."""
    with open(f"/proc/{pid}/maps", encoding="utf-8") as maps:
        lines = [line.rstrip("\n").split(maxsplit=5) for line in maps]
    return sorted({words[5] for words in lines if len(words) == 6 and ".so" in words[5]})


def check_libraries(pid, bundle, wanted):
    """Sees that what is in the bundle was loaded from there, these among it, and nothing of Qt's from
    elsewhere."""
    own = [path for path in mapped(pid) if IN_BUNDLE in path]
    for path in mapped(pid):
        name = os.path.basename(path)
        there = os.path.exists(os.path.join(bundle, "Contents/lib", name)) or "qt6" in path.lower()
        check(path in own or not there, f"{path} is loaded, and not the bundle's")
    missing = wanted - {os.path.basename(path).split(".so")[0] for path in own}
    check(not missing, f"not loaded from the bundle: {missing}")


class Trial:
    """A desktop in a root, with the release OLD unzipped in the user's home."""

    def __init__(self, root, pictures):
        self.root, self.pictures = root, pictures
        self.place = Desktop(size="800x1000")
        self.place.set_defaults(lastUpdateCheck=None, seenBuild={"integer": int(OLD)},
                                seenVersion={"string": "1." + OLD})
        self.bundle = os.path.join(self.place.home, "Programs/Korvel.app")

    def enter(self):
        """From now on all that the desktop starts is in the root, on the server's network."""
        folder, root, releases = self.place.folder, self.root, Releases.shared
        site = Site(self.place, releases, [
            f"mount --bind {root} {root}", f"mount -t proc proc {root}/proc",
            f"mount --rbind /dev {root}/dev", f"mount -t tmpfs -o mode=1777 tmpfs {root}/tmp",
            f"mkdir -p {root}{folder}", f"touch {root}/etc/hosts", f"mount --bind {folder} {root}{folder}",
            f"mount --bind {folder}/hosts {root}/etc/hosts",
            f"mount --bind {releases.trust} {root}/etc/ssl/certs"])
        site.publish(NEW)
        self.place.inside = site.inside("chroot", root)

    def check_loading(self):
        """Sees that each library of the bundle, used here or not, finds all that it needs in the root."""
        for path in Path(self.bundle).rglob("*.so*"):
            said = self.place.run(["sh", "-c", 'ldd -r "$0" 2>&1', str(path)])
            check("libc.so" in said or "statically linked" in said, f"{path}: {said}")  # ICU's data
            for trouble in (" not found", "undefined symbol"):
                check(trouble not in said, f"{path}: {said}")

    def pid(self):
        answer = self.place.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                 "org.freedesktop.DBus.GetConnectionUnixProcessID", NAME)
        return int(answer[len("(uint32 "):].rstrip(",)")) if answer.startswith("(uint32 ") else None

    def picture(self, name):
        time.sleep(0.5)  # past the moving in
        self.place.screenshot().save(os.path.join(self.pictures, f"{os.path.basename(self.root)}-{name}.png"))

    def run(self):
        place, releases = self.place, Releases.shared
        tree = accessible.start(place)
        place.start_panel("xfce4-panel")
        subprocess.run(["unzip", "-q", releases.archive(OLD), "-d", os.path.dirname(self.bundle)], check=True)
        self.check_loading()
        program = Program(place, command=[os.path.join(self.bundle, PROGRAM)])
        wait_for_icon(place)
        place.xdotool("mousemove", 400, 5)  # where no tip is shown
        place.activate()
        opened(place)
        tree.find(f"Version 1.{NEW} is available")
        check_libraries(self.pid(), self.bundle, VIEWS | NETWORK)
        self.picture("started")
        tree.find("Update").press()
        tree.find("Update installed", seconds=30)
        self.picture("updated")
        equal(contents(self.bundle), contents(releases.bundles[NEW]), "what is in place")
        try:
            tree.find("Relaunch").press()
        except accessible.dbus.DBusException as error:
            check("NoReply" in error.get_dbus_name(), str(error))  # it may end before it can answer
        equal(program.exit_status(), 0, "exit status")
        new = wait_for("the new copy", self.pid)
        check(os.readlink(f"/proc/{new}/exe").endswith("/Programs/Korvel.app/" + PROGRAM), "what runs")
        opened(place)  # by itself
        tree.find(f"Updated to 1.{NEW}")
        wait_for("the icon", lambda: icon_box(place))
        check_libraries(new, self.bundle, VIEWS)
        self.picture("relaunched")
        os.kill(new, 15)
        wait_for("the end of the program", lambda: not place.owner(NAME))
        with open(os.path.join(place.folder, "printed"), "rb") as printed:
            equal(printed.read(), b"", "printed by the program")


def main():
    program, pictures, *roots = sys.argv[1:]
    Program.path = os.path.abspath(program)
    Releases.libraries = ()
    Releases.make()
    if Releases.problem is not None:
        raise Releases.problem
    for root in roots:
        qt = [str(path) for path in Path(root, "usr/lib").glob("**/libQt6*")]
        check(not qt, f"{root} has Qt: {qt}")
        started = time.monotonic()
        trial = Trial(root, pictures)
        trial.enter()
        with trial.place:
            trial.run()
        print(f"{os.path.basename(root)}: started, updated, relaunched ({time.monotonic() - started:.0f} s)")


if __name__ == "__main__":
    main()
