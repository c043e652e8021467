"""What is run for each step from the sources to a notarised archive, in order.

A step is a generator of items: a command to run, a note, or a task that this program does itself. What
comes later may depend on what was run before it, so whoever runs a step runs each item before asking
for the next one. Without a bundle on the disk, as when only the plan is wanted, a step tells what it
would do with each thing that it cannot name yet.
"""

import hashlib
import json
import re
import shlex
import sys
from dataclasses import dataclass, field
from pathlib import Path
from typing import Callable

sys.dont_write_bytecode = True
SOURCE = Path(__file__).resolve().parents[2]
sys.path[:0] = [str(SOURCE / "packaging/macos"), str(SOURCE / "packaging")]
import bundle_contents  # noqa: E402
import first_start  # noqa: E402
import release_feed  # noqa: E402
from first_start import Failed  # noqa: E402

OLDEST_SYSTEM = "13.0"
VIEWS = SOURCE / "src/ui/quick"
ENTITLEMENTS = "packaging/macos/Korvel.entitlements"
TREE = "build/macos"
LIBRARIES = "build/macos-libraries"
BUNDLE = f"{TREE}/bundle/Korvel.app"
UNPACKED = f"{TREE}/unpacked"
STARTED = f"{TREE}/first-start"
# The releases that the tests on Linux run with, so that the same code is shipped.
SOURCES = {
    "fmt": ("https://github.com/fmtlib/fmt.git", "9.1.0", ("-DFMT_TEST=OFF", "-DFMT_DOC=OFF")),
    "simdjson": ("https://github.com/simdjson/simdjson.git", "v3.0.1", ()),
}


@dataclass
class Run:
    """A command. `judge` gets the output of one that succeeded (both streams) and raises Failed."""

    words: tuple
    judge: Callable = None

    def __str__(self):
        return shlex.join(self.words)


@dataclass
class Note:
    """What cannot be named before it is there."""

    text: str

    def __str__(self):
        return f"# {self.text}"


@dataclass
class Task:
    """Done by this program itself; `act` raises Failed."""

    text: str
    act: Callable

    def __str__(self):
        return f"# {self.text}"


@dataclass
class Given:
    """What the steps are told. `top` is the source tree, in which all paths of commands are relative."""

    top: Path = SOURCE
    version: str = None
    build: str = None
    qt: str = None
    identity: str = None
    profile: str = None
    url: str = None
    notes: str = None
    adhoc: bool = False  # for this Mac alone
    settings: list = field(default_factory=list)

    def archive(self):
        if self.version and self.build:
            return f"{TREE}/{release_feed.archive_name(self.version, self.build)}"
        return f"{TREE}/Korvel.zip"

    def bundle(self):
        """None before there is one."""
        try:
            return bundle_contents.Bundle(self.top / BUNDLE)
        except bundle_contents.NoBundle:
            return None


def tell(text):
    print(text, file=sys.stderr, flush=True)


def run(*words, judge=None):
    return Run(words, judge)


def team():
    """The one that the program takes updates from."""
    text = (SOURCE / "src/platform/identity.h").read_text(encoding="utf-8")
    return re.search(r'kTeamIdentifier = "(\w+)"', text).group(1)


def libraries(given):
    """The two libraries beside Qt as the oldest system takes them, linked into the program."""
    yield run("cmake", "-E", "rm", "-rf", LIBRARIES)
    for name, (address, tag, settings) in SOURCES.items():
        source, tree = f"{LIBRARIES}/source/{name}", f"{LIBRARIES}/tree/{name}"
        yield run("git", "clone", "--depth", "1", "--branch", tag, address, source)
        yield run("cmake", "-S", source, "-B", tree, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
                  "-DCMAKE_OSX_ARCHITECTURES=arm64", f"-DCMAKE_OSX_DEPLOYMENT_TARGET={OLDEST_SYSTEM}",
                  "-DBUILD_SHARED_LIBS=OFF", *settings)
        yield run("cmake", "--build", tree)
        yield run("cmake", "--install", tree, "--prefix", str(given.top / LIBRARIES))


def configure(given):
    folders = []
    if given.qt:
        # What an earlier configuration found would be kept.
        yield run("cmake", "-E", "rm", "-f", f"{TREE}/CMakeCache.txt")
        folders = [given.qt, str(given.top / LIBRARIES)]
    words = [f"-DCMAKE_PREFIX_PATH={';'.join(folders)}"] if folders else []
    for name, value in (("VERSION", given.version), ("BUILD", given.build)):
        words += [f"-DKORVEL_{name}={value}"] if value else []
    yield run("cmake", "--preset", "macos", *words, *(f"-D{setting}" for setting in given.settings))


def build(given):
    yield run("cmake", "--build", "--preset", "macos")


def selfcheck(given):
    yield run(f"{TREE}/bin/korvel-snapshot", "--selfcheck")


def deploy(given):
    yield run("cmake", "-E", "rm", "-rf", f"{TREE}/bundle")
    yield run("cmake", "--install", TREE, "--prefix", str(given.top / TREE / "bundle"))
    bundle = given.bundle()
    if bundle is None:
        yield Note("for each run path that leads out of the bundle: install_name_tool -delete_rpath PATH FILE")
    else:
        for path, run_path in bundle.stray_run_paths():
            yield run("install_name_tool", "-delete_rpath", run_path, str(path.relative_to(given.top)))
    yield from check(given)


def check(given):
    yield Task("looks into the bundle: nothing leads out of it, and Qt's plugins and modules are there",
               lambda: judge_contents(given))


def judge_contents(given):
    bundle = given.bundle()
    if bundle is None:
        raise Failed(f"{BUNDLE} is no bundle")
    newer = list(bundle_contents.built_for_newer(bundle))
    faults = bundle_contents.faults(bundle, VIEWS) + ([] if given.adhoc else newer)
    if faults:
        raise Failed("the bundle is not good:\n  " + "\n  ".join(faults))
    tell(f"{len(bundle.objects)} files of code, good" + (f"; for this Mac only: {len(newer)}" if newer else ""))


def sign(given):
    if given.identity is None:
        yield run("codesign", "--force", "--deep", "--sign", "-", BUNDLE)
        return
    words = ("codesign", "--force", "--options", "runtime", "--timestamp", "--sign", given.identity)
    bundle = given.bundle()
    if bundle is None:
        yield Note("for each framework, plugin and library in the bundle, from the inside out:")
        yield Note(f"{shlex.join(words)} FILE")
    else:
        for path in bundle.code_inside_out()[:-1]:
            yield run(*words, str(path.relative_to(given.top)))
    yield run(*words, "--entitlements", ENTITLEMENTS, BUNDLE)


def verify(given, bundle=BUNDLE):
    yield run("codesign", "--verify", "--strict", "--deep", bundle)
    if given.identity is not None:
        yield run("codesign", "-dv", "--verbose=4", bundle, judge=judge_signature)


def judge_signature(text):
    lines = text.splitlines()
    if f"TeamIdentifier={team()}" not in lines:
        raise Failed(f"the bundle is not signed by the team {team()}: no program would take it as an update")
    flags = re.findall(r"flags=0x[0-9a-f]+\(([^)]*)\)", text)
    if not flags or "runtime" not in flags[0].split(","):
        raise Failed("the bundle is signed without the hardened runtime: it would not be notarised")
    if not any(line.startswith("Timestamp=") for line in lines):
        raise Failed("the signature has no time stamp: it would not be notarised")


def start(given):
    yield run("cmake", "-E", "rm", "-rf", STARTED)
    yield run("cmake", "-E", "make_directory", STARTED)
    yield Task("starts the bundle once, looks whether it takes the front or ends by itself, and ends it: "
               + ", ".join(first_start.TOOLS) + f"; the picture of the screen and Qt's messages are kept in {STARTED}",
               lambda: tell(first_start.start_once(given.top / BUNDLE, given.top / STARTED, first_start.ThisMac())))


def archive(given):
    yield run("cmake", "-E", "rm", "-f", given.archive())
    yield run("ditto", "-c", "-k", "--keepParent", BUNDLE, given.archive())


def notarise(given):
    """The ticket is put into the bundle, so the archive that was sent in is not the one to serve."""
    yield from archive(given)
    yield run("xcrun", "notarytool", "submit", given.archive(), "--keychain-profile", given.profile, "--wait",
              "--output-format", "json", judge=lambda text: judge_notarisation(text, given.profile))
    yield run("xcrun", "stapler", "staple", BUNDLE)
    yield run("xcrun", "stapler", "validate", BUNDLE)
    yield from archive(given)


def judge_notarisation(text, profile):
    """The tool succeeds whenever it gets an answer, also when that is a refusal."""
    found = re.search(r"\{.*\}", text, re.DOTALL)
    try:
        answer = json.loads(found.group(0)) if found else {}
    except ValueError:
        answer = {}
    if answer.get("status") != "Accepted":
        log = f"xcrun notarytool log {answer.get('id', 'ID')} --keychain-profile {shlex.quote(profile)}"
        raise Failed(f"not notarised, the answer is {answer.get('status')}; the reasons: {log}")


def inspect(given):
    """Unpacks the archive as an update is unpacked, and judges what comes out as the system will."""
    yield run("cmake", "-E", "rm", "-rf", UNPACKED)
    yield run("ditto", "-x", "-k", given.archive(), UNPACKED)
    yield from verify(given, f"{UNPACKED}/Korvel.app")
    if given.identity is not None:
        yield run("xcrun", "stapler", "validate", f"{UNPACKED}/Korvel.app")
        yield run("spctl", "--assess", "--type", "execute", "--verbose=4", f"{UNPACKED}/Korvel.app")


def feed(given):
    yield Task(f"prints the feed that announces {given.archive()}, with its digest", lambda: print_feed(given))


def print_feed(given):
    digest = hashlib.sha256((given.top / given.archive()).read_bytes()).hexdigest()
    notes = release_feed.read_notes(given.notes)
    print(release_feed.feed_text(given.version, given.build, given.url, digest, notes), end="")


# In the order in which they can follow one another.
STEPS = {step.__name__: step for step in (
    libraries, configure, build, selfcheck, deploy, check, sign, verify, start, archive, notarise, inspect, feed)}
NEEDS = {
    "notarise": ("identity", "profile", "version", "build"),
    "inspect": ("version", "build"),
    "feed": ("version", "build", "url", "notes"),
}
RECIPES = {
    "trial": ("configure", "build", "deploy", "sign", "verify"),
    "ship": ("libraries", "configure", "build", "deploy", "sign", "verify", "notarise", "inspect", "feed"),
}
