"""What the cases of updates share: releases signed under the root of korvel_trial, an update server on
a network of its own, and a desktop on which that program runs from its bundle.
"""

import contextlib
import hashlib
import json
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import zipfile

from cases import Program, Skip, choose, desktop, equal, opened, wait_for_item
from desktop import Failure, wait_for
from remedy_cases import NAME

try:
    import accessible
except ImportError as missing:  # python3-dbus is not there
    accessible = None
    absent = str(missing)

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(SOURCE, "tests", "support"))
import certificates  # noqa: E402
from trees import contents  # noqa: E402

TEAM = "7QX4D1K9WB"
PROGRAM = "Contents/Linux/korvel"
OLD, NEW = "100", "101"
NOTES = "• Faster sampling\n- Fixed <b>swap</b> readout\n* New icon\n- A fourth line\n"


def command(*words, given=None):
    """Runs a tool of ours or of the system to its end and gives its output."""
    done = subprocess.run(words, input=given, capture_output=True, check=False)
    if done.returncode != 0:
        raise Failure(f"{words[0]}: {(done.stderr or done.stdout).decode(errors='replace').strip()}")
    return done.stdout


class Signer:
    """A team certificate and its key."""

    def __init__(self, folder, name, root, team=TEAM):
        """Under the authority of root.pem and root.key, paths without their endings."""
        self.key, self.certificate = certificates.make_signer(folder, root, name, team)

    def sign(self, manifest):
        return command("openssl", "cms", "-sign", "-binary", "-nosmimecap", "-outform", "DER", "-md",
                       "sha256", "-signer", self.certificate, "-inkey", self.key, given=manifest)


class Releases:
    """Made once for all cases: the releases OLD and NEW, as they are published, and their bundles;
    and the certificates of the server.
    """

    shared = None
    problem = None
    libraries = ("--system-libraries",)  # what is asked for of those in the bundle: none

    @classmethod
    def make(cls):
        try:
            if accessible is None:
                raise Skip(absent)
            if os.geteuid() != 0:
                raise Skip("a network of one's own takes the superuser")
            cls.shared = cls()
        except Exception as error:  # pylint: disable=broad-except
            cls.problem = error  # told by each case

    def __init__(self):
        programs = os.path.dirname(Program.path)
        build = os.path.dirname(programs)
        trial = os.path.join(programs, "korvel_trial")
        self.tool = os.path.join(programs, "korvel-release")
        self.root = os.path.join(build, "tests", "desktop", "trial_root")
        self.preloads = os.path.join(build, "tests", "desktop")
        for path in (trial, self.tool):
            if not os.path.exists(path):
                raise Skip(f"{os.path.basename(path)} is not built")
        with open(os.path.join(build, "CMakeCache.txt"), encoding="utf-8") as file:
            self.host = re.search(r"^KORVEL_UPDATE_HOST:STRING=(.+)$", file.read(), re.MULTILINE).group(1)

        self.kept = tempfile.TemporaryDirectory(prefix="korvel-releases-")
        self.folder = self.kept.name
        os.chmod(self.folder, 0o755)
        self.team = Signer(self.folder, "team", self.root)
        self.make_server_certificates()
        taken = os.path.join(self.folder, "programs")
        os.mkdir(taken)
        os.symlink(trial, os.path.join(taken, "korvel"))
        os.symlink(self.tool, os.path.join(taken, "korvel-release"))
        with open(os.path.join(self.folder, "notes"), "w", encoding="utf-8") as file:
            file.write(NOTES)
        self.bundles = {}
        for number in (OLD, NEW):
            self.release(number, taken)

    def make_server_certificates(self):
        for authority in ("authority", "stranger"):
            certificates.make_authority(self.folder, authority)
        certificates.make_certificate(self.folder, "authority", "trusted", "DNS:" + self.host)
        certificates.make_certificate(self.folder, "stranger", "strange", "DNS:" + self.host)
        self.trust = os.path.join(self.folder, "trust")
        os.mkdir(self.trust)
        shutil.copy(os.path.join(self.folder, "authority.pem"), self.trust)
        certificates.openssl("rehash", self.trust)

    def release(self, number, programs):
        out = os.path.join(self.folder, number)
        command(os.path.join(SOURCE, "script/release"), "--version", f"1.{number}", "--build", number,
                "--notes", os.path.join(self.folder, "notes"), "--key", self.team.key, "--cert",
                self.team.certificate, "--root", self.root + ".pem", "--url",
                f"https://{self.host}/archives", "--out", out, "--bin", programs, *self.libraries)
        unpacked = os.path.join(self.folder, "bundle-" + number)
        os.mkdir(unpacked)
        command(self.tool, "unpack", self.archive(number), unpacked)
        self.bundles[number] = os.path.join(unpacked, "Korvel.app")

    def preloaded(self, name):
        """A library that changes what the program that it is preloaded into does."""
        path = os.path.join(self.preloads, f"libkorvel_{name}.so")
        if not os.path.exists(path):
            raise Skip(f"{os.path.basename(path)} is not built")
        return path

    def archive(self, number):
        return os.path.join(self.folder, number, f"Korvel-1.{number}-{number}.zip")

    def feed(self, number):
        with open(os.path.join(self.folder, number, "appcast.json"), encoding="utf-8") as file:
            return json.load(file)

    def seal(self, bundle, signer):
        """Lists what is in the bundle now, and signs that."""
        command(self.tool, "manifest", bundle)
        folder = os.path.join(bundle, "Contents/_CodeSignature")
        with open(os.path.join(folder, "Manifest"), "rb") as file:
            signature = signer.sign(file.read())
        with open(os.path.join(folder, "Manifest.p7s"), "wb") as file:
            file.write(signature)


class Site:
    """An update server that is alone on a network, where its name leads to it and its authority is
    trusted. `mounts` are commands that change the file systems as they are seen from there.
    """

    def __init__(self, place, releases, mounts=()):
        self.place, self.releases = place, releases
        self.folder = os.path.join(place.folder, "site")
        os.makedirs(os.path.join(self.folder, "archives"))
        hosts = os.path.join(place.folder, "hosts")
        with open(hosts, "w", encoding="ascii") as file:
            file.write(f"127.0.0.1 localhost {releases.host}\n")
        script = " && ".join([f"mount --bind {hosts} /etc/hosts",
                              f"mount --bind {releases.trust} /etc/ssl/certs", *mounts,
                              "echo ready", "exec sleep 600"])
        with open(os.path.join(place.folder, "unshare-said"), "w+", encoding="utf-8") as said:
            self.keeper = place.spawn(["unshare", "--net", "--mount", "--propagation", "private", "sh",
                                       "-c", script], stdout=subprocess.PIPE, stderr=said, text=True)
            if self.keeper.stdout.readline() != "ready\n":
                said.seek(0)
                raise Skip("no network and mounts of its own: " + said.read().strip())
        self.server = None
        self.start()

    def inside(self, *words):
        """The command that runs these words there."""
        return ["nsenter", "--target", str(self.keeper.pid), "--net", "--mount", *words]

    def path(self, path):
        """Under which a path of there is found here."""
        return f"/proc/{self.keeper.pid}/root{path}"

    def start(self, certificate="trusted"):
        files = [os.path.join(self.releases.folder, certificate + end) for end in (".pem", ".key")]
        self.server = self.place.spawn(
            self.inside("/usr/bin/python3", os.path.join(HERE, "update_server"), self.folder, *files),
            stdout=subprocess.PIPE, text=True)
        equal(self.server.stdout.readline(), "ready\n", "the update server")

    def stop(self):
        self.place.end(self.server)

    def seen(self):
        """The connections and requests so far, in their order."""
        try:
            with open(os.path.join(self.folder, "seen"), encoding="utf-8") as file:
                return file.read().splitlines()
        except FileNotFoundError:
            return []

    def status(self, status=None):
        """What every answer is from now on; None: what is asked for."""
        path = os.path.join(self.folder, "status")
        if status is None:
            os.remove(path)
        else:
            with open(path, "w", encoding="ascii") as file:
                file.write(str(status))

    @contextlib.contextmanager
    def holding(self):
        """Lets no more than the beginning of an archive through."""
        path = os.path.join(self.folder, "hold")
        with open(path, "w", encoding="ascii"):
            pass
        yield
        os.remove(path)

    def announce(self, feed):
        with open(os.path.join(self.folder, "appcast.json"), "w", encoding="utf-8") as file:
            json.dump(feed, file)

    def publish(self, number, **changed):
        """A release as it came out; `changed` goes into its feed."""
        shutil.copy(self.releases.archive(number), os.path.join(self.folder, "archives"))
        self.announce({**self.releases.feed(number), **changed})

    def offer(self, version, data, build=NEW):
        """Some bytes as the release NEW, shown as this version, or as that of another build."""
        with open(os.path.join(self.folder, "archives", version + ".zip"), "wb") as file:
            file.write(data)
        self.announce({**self.releases.feed(NEW), "version": version, "build": int(build),
                       "url": f"https://{self.releases.host}/archives/{version}.zip",
                       "sha256": hashlib.sha256(data).hexdigest()})


def packed(folder):
    """A zip archive of what is in the folder."""
    with tempfile.TemporaryFile() as file:
        with zipfile.ZipFile(file, "w") as archive:
            for top, folders, files in sorted(os.walk(folder)):
                for name in sorted(folders + files):
                    path = os.path.join(top, name)
                    archive.write(path, os.path.relpath(path, folder))
        file.seek(0)
        return file.read()


class Trial:
    """A desktop with a panel, a screen reader and an update server, and the release OLD in a folder."""

    def __init__(self, place, tree, home, mounts):
        self.place, self.tree = place, tree
        self.releases = Releases.shared
        self.home = os.path.join(place.folder, home)
        self.bundle = os.path.join(self.home, "Korvel.app")
        self.temporary = os.path.join(place.folder, "temporary")
        os.mkdir(self.temporary)
        place.environment["TMPDIR"] = self.temporary
        os.makedirs(self.home)
        self.put_old()
        self.site = Site(place, self.releases, [mount.format(trial=self) for mount in mounts])
        self.installed = self.site.path(self.bundle)
        self.program = None

    def put_old(self):
        shutil.copytree(self.releases.bundles[OLD], self.bundle, symlinks=True)

    def start(self, bundle=None, **environment):
        words = ["env", *(f"{key}={value}" for key, value in environment.items()),
                 os.path.join(bundle or self.bundle, PROGRAM)]
        self.program = Program(self.place, command=self.site.inside(*words))
        wait_for("the program's name", lambda: self.place.owner(NAME))
        return self.program

    def signalled(self, number, step):
        """The environment in which the program gets this signal at this step of an installation."""
        return {"LD_PRELOAD": self.releases.preloaded("signal_at_step"), "KORVEL_STEP": step,
                "KORVEL_SIGNAL": int(number)}

    def stopped(self):
        """Whether the program is stopped: it runs no more, and has not ended."""
        with open(f"/proc/{self.pid()}/stat", encoding="utf-8") as file:
            return file.read().rsplit(")", 1)[1].split()[0] == "T"

    def pid(self):
        """The process that has the program's name; None when there is none."""
        answer = self.place.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                 "org.freedesktop.DBus.GetConnectionUnixProcessID", NAME)
        found = re.search(r"uint32 (\d+)", answer)
        return int(found.group(1)) if found else None

    def open(self):
        wait_for_item(self.place)
        self.place.activate()
        return opened(self.place)

    def check(self):
        choose(self.place, "Check for Updates…")

    def press(self, label):
        try:
            self.tree.find(label).press()
        except accessible.dbus.DBusException as error:
            if "NoReply" not in error.get_dbus_name():  # it may end before it can answer
                raise

    def shows(self, text):
        return bool(self.tree.nodes(lambda node: node.name == text))

    def leftovers(self):
        """What there is beside the bundle, and what of ours in the temporary folder."""
        return [*(name for name in os.listdir(self.site.path(self.home)) if name != "Korvel.app"),
                *(name for name in os.listdir(self.site.path(self.temporary)) if "korvel" in name)]

    def is_release(self, number, bundle=None):
        """Whether there is exactly this release: whole, unchanged and nothing else."""
        bundle = bundle or self.installed
        return os.path.isdir(bundle) and contents(bundle) == contents(self.releases.bundles[number])


@contextlib.contextmanager
def trial(home="Programs", mounts=(), before=None, on=None, stop=None, **stored):
    """`before` is called with the trial before the program starts; `stored` are its settings. With
    nothing stored about a check, the launch makes one. `on` is the desktop, if not the usual one. At
    the step `stop` of an installation the program stops.
    """
    if Releases.problem is not None:
        raise Releases.problem
    with on or desktop("xfce4-panel", program=False, size="800x1000") as place:
        tree = accessible.start(place)
        place.set_defaults(**stored)
        made = Trial(place, tree, home, mounts)
        if before is not None:
            before(made)
        try:
            made.start(**made.signalled(signal.SIGSTOP, stop) if stop else {})
            yield made
        finally:
            if last := made.pid():  # after a relaunch it is no child of ours
                with contextlib.suppress(ProcessLookupError):
                    os.kill(last, signal.SIGTERM)
                    os.kill(last, signal.SIGCONT)
                wait_for("the end of the program", lambda: not place.owner(NAME))
