"""One installation with a fault in it, and what must be true after it, whatever the fault was:
one whole program in its place that starts, settings and history whole, and at most one folder of the
work anywhere, which the next start removes.
"""

import json
import os
import re
import shutil
import subprocess

from releases import NEW, NOTES, OLD, PROGRAM

HISTORY = b"[[1700000000,97.5],[1700000005,98]]"
SETTINGS = {"awakeOn": {"bool": True}, "seenBuild": {"integer": 100}, "seenVersion": {"string": "1.100"}}
WORK = re.compile(r"\.?korvel-")

READY = "readyToRelaunch"
# What a failure may say, by the part of the installation that it is in.
DOWNLOAD = "Download failed"
READ = "Could not read the download"
DIGEST = "Update failed its integrity check"
UNPACK = "Update could not be unpacked"
SIGNATURE = "Update is not signed by Oxbrook; refusing to install"
PARENT = "Can't write to place. The new version is in Finder; drag it over."
REPLACE = "Could not replace the app: "


class Failure(Exception):
    """What is not as it must be."""


class Skip(Exception):
    """Why a case cannot be played here."""


def check(condition, what):
    if not condition:
        raise Failure(what)


class Trial:
    """The release OLD in a folder of its own, with a home and a temporary folder. `place`, `temporary`
    and `home` lie in `folder` unless they are given.
    """

    def __init__(self, releases, folder, place=None, temporary=None, home=None, preload=None):
        self.releases, self.folder, self.preload = releases, folder, preload
        self.prefix = []  # the words that each start of the program follows
        self.place, self.temporary, self.home = (
            given or os.path.join(folder, name)
            for given, name in ((place, "place"), (temporary, "temporary"), (home, "home")))
        self.settings = os.path.join(self.home, ".config/korvel/defaults.json")
        self.history = os.path.join(self.home, ".korvel-history.json")
        self.bundle = os.path.join(self.place, "Korvel.app")
        for path in (self.place, self.temporary, os.path.dirname(self.settings)):
            os.makedirs(path, exist_ok=True)
        releases.put(OLD, self.bundle)
        with open(self.history, "wb") as file:
            file.write(HISTORY)
        with open(self.settings, "w", encoding="utf-8") as file:
            json.dump(SETTINGS, file)

    def environment(self):
        return {"HOME": self.home, "TMPDIR": self.temporary, "LC_ALL": "C.UTF-8", "PATH": "/usr/bin:/bin"}

    def install_words(self, site=None):
        return [os.path.join(self.bundle, PROGRAM), "--install", self.releases.root,
                site or self.releases.site]

    def start_words(self, bundle):
        return [os.path.join(bundle, PROGRAM), "--start"]

    def run(self, words):
        return subprocess.run([*self.prefix, *words], env=self.environment(), cwd=self.folder,
                              capture_output=True, text=True, errors="replace", check=False)

    def install(self, site=None):
        """Runs an installation to its end; gives the last state."""
        environment = ["env", "LD_PRELOAD=" + self.preload] if self.preload else []
        done = self.run([*environment, *self.install_words(site)])
        check(done.returncode in (0, 1), f"exit status {done.returncode}: {done.stdout}{done.stderr}")
        state = done.stdout.splitlines()[-1]
        check((state == READY) == (done.returncode == 0), f"exit status {done.returncode} with {state!r}")
        return state

    def start(self, bundle=None):
        """What a launch of this copy says of itself."""
        done = self.run(self.start_words(bundle or self.bundle))
        check(done.returncode == 0, f"the program does not start: {done.returncode} {done.stderr}")
        return done.stdout.strip()

    def work_folders(self):
        return [os.path.join(folder, name) for folder in (self.place, self.temporary)
                for name in os.listdir(folder) if WORK.match(name)]

    def judge_user_files(self):
        with open(self.history, "rb") as file:
            check(file.read() == HISTORY, "the history is not whole")
        with open(self.settings, encoding="utf-8") as file:
            stored = json.load(file)
        notes = stored.pop("pendingReleaseNotes", {"string": NOTES})
        check(notes == {"string": NOTES}, f"notes {notes!r}")
        stored.pop("lastUpdateCheck", None)
        check(stored == SETTINGS, f"settings {stored!r}")

    def judge_whole(self, expected=None):
        """One whole program in place that starts, and nothing else beside it but work folders."""
        others = [name for name in os.listdir(self.place) if name != "Korvel.app" and not WORK.match(name)]
        check(not others, f"beside the program: {others}")
        check(os.path.isdir(self.bundle), "nothing is in place")
        build = self.releases.build_of(self.bundle)
        check(build is not None, "what is in place is no whole release")
        check(expected in (None, build), f"the release {build} is in place")
        check(self.start() == f"build {build}", f"the release {build} does not start as such")
        return build

    def judge(self, expected=None, starter=None):
        """All of it. `starter`: the copy that is started first where nothing is in place, which only
        a trial may leave that names one.
        """
        self.judge_user_files()
        work = self.work_folders()
        check(len(work) <= 1, f"work folders: {work}")
        if starter and not os.path.isdir(self.bundle):
            self.start(starter)
        self.judge_whole(expected)
        check(not self.work_folders(), f"left after the next start: {self.work_folders()}")
        self.judge_whole(expected)
        self.judge_user_files()

    def judge_state(self, state, sentences):
        """The new release is in place if, and only if, that was said; else it was one of these; of
        what begins with REPLACE that may be all that is told.
        """
        self.judge(NEW if state == READY else OLD)
        said = state.removeprefix("failed: ")
        known = said in sentences or (REPLACE in sentences and said.startswith(REPLACE))
        check(state == READY or known, f"{state!r}, not {sentences}")

    def remove(self):
        shutil.rmtree(self.folder, ignore_errors=True)
