"""Installs the packages in a bare root, starts the program with a session, upgrades it while it runs, removes and
purges it. Prints what each package holds, and what of the root is different in the end.

    package_trial.py SUITE ROOT PACKAGES OUT

ROOT is a root that may be written to; PACKAGES has the folders first and next; pictures go to OUT. Exit status 1
where a step fails or something is left.
"""

import glob
import os
import signal
import subprocess
import sys
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.dont_write_bytecode = True
sys.path.insert(0, HERE)

import accessible  # noqa: E402
from cases import check, closed, equal, middle, opened, wait_for_icon  # noqa: E402
from desktop import Desktop, Failure, wait_for  # noqa: E402

NAME = "com.oxbrook.korvel"
AUTOSTART = f"/etc/xdg/autostart/{NAME}.desktop"
OURS = ("korvel", "korvel-snapshot", "korvel-tools")
# A session without Qt. libegl1 and libgl1 are of the graphics stack, which an X server would bring.
SESSION = """xvfb openbox xfce4-panel xfconf dbus at-spi2-core libglib2.0-bin xdotool x11-utils libegl1 libgl1
    fonts-dejavu-core ca-certificates""".split()
# What the package manager and its triggers keep for themselves, and what is not of the root's own.
NOT_OURS = ("proc", "sys", "dev", "run", "tmp", "packages", "var/log", "var/cache", "var/lib/apt", "var/lib/dpkg",
            "etc/ld.so.cache")


class Machine:
    """The root, as a machine of its own: its mounts, and what is done there as the superuser."""

    def __init__(self, place, root, packages):
        self.root, self.packages = root, packages
        script = " && ".join([
            f"mount --bind {root} {root}", f"mount -t proc proc {root}/proc", f"mount --rbind /sys {root}/sys",
            f"mount --rbind /dev {root}/dev", f"mount -t tmpfs -o mode=1777 tmpfs {root}/tmp",
            f"mount -t tmpfs tmpfs {root}/run", f"mkdir -p {root}/packages {root}{place.folder}",
            f"mount --bind {packages} {root}/packages", f"mount --bind {place.folder} {root}{place.folder}",
            f"cp -L /etc/resolv.conf /etc/hosts {root}/etc/", "echo ready", "exec sleep 3600"])
        self.keeper = place.spawn(["unshare", "--mount", "--propagation", "private", "sh", "-c", script],
                                  stdout=subprocess.PIPE, text=True)
        equal(self.keeper.stdout.readline(), "ready\n", "the mounts of the root")
        self.inside = ["nsenter", "--target", str(self.keeper.pid), "--mount", "chroot", root]

    def run(self, *words):
        """What a command prints; it must succeed."""
        done = subprocess.run(
            [*self.inside, "env", "-i", "HOME=/root", "PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LANG=C.UTF-8",
             "DEBIAN_FRONTEND=noninteractive", *words],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        check(done.returncode == 0, f"{' '.join(words)}: exit status {done.returncode}\n{done.stdout}")
        return done.stdout

    def install(self, *words):
        return self.run("apt-get", "install", "-y", "--no-install-recommends", *words)

    def files_of(self, pattern):
        """The package files of that pattern below /packages, as the root names them."""
        found = sorted(glob.glob(os.path.join(self.packages, pattern)))
        check(found, f"no package is {pattern}")
        return [os.path.join("/packages", os.path.relpath(file, self.packages)) for file in found]

    def path(self, path):
        return self.root + path

    def has(self, path):
        return os.path.lexists(self.path(path))

    def listing(self):
        """Everything in the root, folders too, but for what is not ours."""
        found = set()
        for folder, folders, files in os.walk(self.root):
            inner = os.path.relpath(folder, self.root)
            inside = "" if inner == "." else inner + "/"
            folders[:] = [name for name in folders if inside + name not in NOT_OURS]
            found.update("/" + inside + name for name in [*folders, *files] if inside + name not in NOT_OURS)
        return found

    def ours(self):
        """Our packages that are installed, or that have left their configuration."""
        known = self.run("dpkg-query", "-W", "-f", "${Package} ${db:Status-Status}\n").split("\n")
        words = [line.split() for line in known if line.startswith("korvel")]
        return [name for name, status in words if status in ("installed", "config-files")]

    def version(self, package):
        return self.run("dpkg-query", "-W", "-f", "${Version}", package)


class Trial:
    def __init__(self, suite, root, packages, out):
        self.suite, self.out = suite, out
        self.place = Desktop(size="800x1000")
        self.machine = Machine(self.place, root, packages)
        self.started = time.monotonic()

    def say(self, text):
        print(f"{self.suite}: {text} ({time.monotonic() - self.started:.0f} s)", flush=True)

    def picture(self, name):
        time.sleep(0.5)  # past the moving in
        self.place.screenshot().save(os.path.join(self.out, f"{self.suite}-{name}.png"))

    def pid(self):
        answer = self.place.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                 "org.freedesktop.DBus.GetConnectionUnixProcessID", NAME)
        return int(answer[len("(uint32 "):].rstrip(",)")) if answer.startswith("(uint32 ") else None

    def running(self):
        return wait_for("the program", self.pid, 20)

    def end(self):
        os.kill(self.running(), signal.SIGTERM)
        wait_for("the end of the program", lambda: not self.place.owner(NAME))

    def install(self):
        machine = self.machine
        machine.run("apt-get", "update")
        machine.install(*SESSION)
        qt = [path for path in machine.listing() if "libQt6" in path]
        check(not qt, f"Qt is there before: {qt}")
        self.say("a session without Korvel")
        self.before = machine.listing()
        machine.install(*machine.files_of("first/korvel_*.deb"))
        machine.install(*machine.files_of("first/*.deb"))
        self.held = {name: machine.run("dpkg", "-L", name).split() for name in OURS}
        for name, paths in self.held.items():
            print(f"-- {name} {machine.version(name)}")
            print("\n".join(path for path in paths if not os.path.isdir(machine.path(path))))
        machine.run("korvel-snapshot", "--once", "--json")
        # Its user has seen it before, so that nothing but the upgrade opens the popover by itself.
        major, minor, patch = (int(part) for part in machine.version("korvel").split("+")[0].split("."))
        self.place.set_defaults(seenBuild={"integer": major * 10000 + minor * 100 + patch})
        self.say("installed")

    def session(self, tree):
        """The program comes with the session, ahead of the panel, and is clicked."""
        place = self.place
        check(self.machine.has(AUTOSTART), f"there is no {AUTOSTART}")
        place.spawn(["gio", "launch", AUTOSTART])
        first = self.running()
        place.start_panel("xfce4-panel")
        at = middle(wait_for_icon(place, 20))
        place.xdotool("mousemove", 400, 5)  # where no tip is shown
        self.picture("tray")
        place.click(*at)
        opened(place)
        tree.match("CPU .*")
        self.picture("installed")
        place.click(*at)
        closed(place)
        self.say("started from its entry, icon and popover seen")
        return first, at

    def upgrade(self, tree, first, at):
        """While it runs: it goes on as it was, and the next start says what is new."""
        place, machine = self.place, self.machine
        old = machine.version("korvel")
        machine.install(*machine.files_of("next/*.deb"))
        new = machine.version("korvel")
        check(old != new, f"there is no upgrade from {old}")
        equal(self.pid(), first, "the process that runs across the upgrade")
        place.click(*at)
        opened(place)
        tree.match("CPU .*")
        self.picture("running-across-the-upgrade")
        self.end()
        place.xdotool("mousemove", 400, 5)  # where no tip is shown
        place.spawn(["korvel"])
        opened(place)  # by itself
        tree.match(r"Updated to [0-9.]+")
        self.picture("upgraded")
        self.end()
        self.say(f"upgraded from {old} to {new}, and what is new was told")

    def removed(self):
        machine = self.machine
        held = {path for name in OURS for path in machine.run("dpkg", "-L", name).split()
                if not os.path.isdir(machine.path(path))}
        machine.run("apt-get", "remove", "-y", *machine.ours())
        left = {path for path in held if machine.has(path)}
        equal(left, {AUTOSTART}, "what removing leaves of the packages")
        machine.run("apt-get", "purge", "-y", *machine.ours())
        equal(machine.ours(), [], "the packages that are known after purging")
        # Libraries that came with ours go too, even where something that was there before would suggest one.
        only_needed = [f"-oAPT::AutoRemove::{kind}Important=false" for kind in ("Recommends", "Suggests")]
        machine.run("apt-get", "autoremove", "-y", "--purge", *only_needed)
        after = machine.listing()
        for path in sorted(after - self.before):
            print(f"left: {path}")
        for path in sorted(self.before - after):
            print(f"gone: {path}")
        check(after == self.before, "the root is not what it was before")
        for path in (".korvel-history.json", ".config/korvel/defaults.json"):
            check(os.path.exists(os.path.join(self.place.home, path)), f"the user's own {path} is gone")
        self.say("removed and purged, nothing is left but the user's own files")

    def run(self):
        self.install()
        place = self.place
        place.inside = self.machine.inside
        place.environment["PATH"] = "/usr/sbin:/usr/bin:/sbin:/bin"
        with place:
            tree = accessible.start(place)
            first, at = self.session(tree)
            self.upgrade(tree, first, at)
            self.removed()


def main():
    suite, root, packages, out = sys.argv[1:]
    os.makedirs(out, exist_ok=True)
    trial = Trial(suite, root, os.path.abspath(packages), out)
    try:
        trial.run()
    except Failure as failure:
        print(f"{suite}: failed: {failure}")
        return 1
    finally:
        trial.place.__exit__()  # the mounts too, where it did not come to a session
    return 0


if __name__ == "__main__":
    sys.exit(main())
