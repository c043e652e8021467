"""What a deployed bundle holds, read from its files: on any system, and without running anything.

The tool that puts Qt into a bundle reports success after most of its errors. So the bundle itself is
asked: that nothing in it leads out of it, and that what the program opens while it runs is there.
"""

import os
import plistlib
import re
import sys
from pathlib import Path

sys.dont_write_bytecode = True
sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "cross/macos"))
import macho  # noqa: E402

OWN_MODULE = "Korvel"  # the views' own, compiled into the program
# What no library's list names, for Qt opens it while the program runs.
OPENED = ("Resources/qt.conf", "Resources/Korvel.icns", "PlugIns/platforms/libqcocoa.dylib")
SYSTEM = ("/usr/lib/", "/System/Library/")
RUN_PATH = "@rpath/"
FRAMEWORK = re.compile(r"(?P<folder>.*/(?P<name>[^/]+)\.framework)/Versions/[^/]+/(?P=name)")


class NoBundle(Exception):
    """The folder is not an application's bundle, or an object in it cannot be read."""


def dotted(version):
    major, minor, patch = version >> 16, version >> 8 & 255, version & 255
    return f"{major}.{minor}" + (f".{patch}" if patch else "")


def packed(text):
    numbers = [int(number) for number in text.split(".")] + [0, 0]
    return numbers[0] << 16 | numbers[1] << 8 | numbers[2]


class Bundle:
    """A bundle as it lies on the disk; raises NoBundle."""

    def __init__(self, folder):
        self.folder = Path(os.path.realpath(folder))
        self.contents = self.folder / "Contents"
        try:
            self.description = plistlib.loads((self.contents / "Info.plist").read_bytes())
            self.program = self.contents / "MacOS" / self.description["CFBundleExecutable"]
            self.oldest_system = self.description["LSMinimumSystemVersion"]
        except (OSError, ValueError, KeyError, plistlib.InvalidFileException) as error:
            raise NoBundle(f"{folder}: no description of an application: {error}") from None
        self.objects = {}  # each file of code, with a MachO for each processor
        for path in sorted(self.contents.rglob("*")):
            if path.is_file() and not path.is_symlink():
                self._take(path)
        if self.program not in self.objects:
            raise NoBundle(f"{folder}: {self.program.name} is no program")

    def _take(self, path):
        with open(path, "rb") as file:
            if not macho.is_macho(file.read(4)):
                return
        try:
            self.objects[path] = macho.parts(path.read_bytes())
        except macho.Malformed as fault:
            raise NoBundle(f"{path}: {fault}") from None

    def name(self, path):
        return path.relative_to(self.contents).as_posix()

    def holds(self, path):
        """Whether something is there and lies in the bundle, wherever links lead."""
        real = Path(os.path.realpath(path))
        return real.exists() and real.is_relative_to(self.folder)

    def place(self, text, holder):
        """Where a path that begins with a mark of the loader leads, as text; None for any other path."""
        for mark, start in (("@executable_path", self.program.parent), ("@loader_path", holder.parent)):
            if text == mark or text.startswith(mark + "/"):
                return os.path.normpath(str(start) + text[len(mark):])
        return None

    def leads_out(self, run_path, holder):
        if run_path.startswith(SYSTEM) and ".." not in run_path:
            return False
        place = self.place(run_path, holder)
        return place is None or not Path(os.path.realpath(place)).is_relative_to(self.folder)

    def stray_run_paths(self):
        """(file, run path) for each that leads out of the bundle: a library that somebody puts there
        would be taken into the process."""
        return [(path, run_path) for path, parts in self.objects.items()
                for run_path in sorted({each for part in parts for each in part.run_paths})
                if self.leads_out(run_path, path)]

    def finds(self, library, holder, part):
        """Whether the loader finds a library where a bundle may have it look."""
        if library.startswith(SYSTEM):
            return ".." not in library
        if not library.startswith(RUN_PATH):
            place = self.place(library, holder)
            return place is not None and self.holds(place)
        searched = [(each, holder) for each in part.run_paths]
        searched += [(each, self.program) for each in self.objects[self.program][0].run_paths]
        places = [self.place(run_path, owner) for run_path, owner in searched]
        return any(place is not None and self.holds(Path(place) / library[len(RUN_PATH):]) for place in places)

    def code_inside_out(self):
        """What is signed, by itself, in an order in which each comes after all that lies in it; the bundle
        is the last. A framework is signed as a whole."""
        signed = set()
        for path in self.objects:
            framework = FRAMEWORK.fullmatch(str(path))
            if path != self.program:
                signed.add(Path(framework["folder"]) if framework else path)
        return sorted(signed, key=lambda path: (-len(path.parts), path)) + [self.folder]


def object_faults(bundle, path, part):
    for library in part.libraries:
        wanted, _, kind = library.partition(" (")
        # Without a weak one the program starts all the same; but it must not come from elsewhere.
        absent_is_well = kind.startswith("weak") and wanted.startswith("@")
        if not absent_is_well and not bundle.finds(wanted, path, part):
            yield f"wants {wanted}, which is neither in the bundle nor the system's"
    if not any(platform == macho.PLATFORM_MACOS for platform, _ in part.builds):
        yield "was not built for macOS"


def faults_of_code(bundle):
    for path, parts in bundle.objects.items():
        found = {fault for part in parts for fault in object_faults(bundle, path, part)}
        if all(part.cpu != macho.CPU_ARM64 for part in parts):
            found.add("has no code for arm64")
        yield from (f"{bundle.name(path)}: {fault}" for fault in sorted(found))
    for path, run_path in bundle.stray_run_paths():
        yield f"{bundle.name(path)}: its run path {run_path} leads out of the bundle"


def faults_of_links(bundle):
    for path in sorted(bundle.contents.rglob("*")):
        if path.is_symlink() and (os.path.isabs(os.readlink(path)) or not bundle.holds(path)):
            yield f"{bundle.name(path)}: a link to {os.readlink(path)}, which is not in the bundle"


def imported_modules(views):
    """The modules of Qt's that the views in a folder import."""
    found = set()
    for path in Path(views).glob("*.qml"):
        found |= set(re.findall(r"^import ([A-Z][A-Za-z0-9.]*)", path.read_text(encoding="utf-8"), re.MULTILINE))
    return sorted(found - {OWN_MODULE})


def faults_of_what_is_opened(bundle, views):
    for name in OPENED:
        if not bundle.holds(bundle.contents / name):
            yield f"{name}: missing"
    # Either of the two: the system's own, or OpenSSL's with the library that it opens.
    system = bundle.holds(bundle.contents / "PlugIns/tls/libqsecuretransportbackend.dylib")
    openssl = bundle.holds(bundle.contents / "PlugIns/tls/libqopensslbackend.dylib") and any(
        (bundle.contents / "Frameworks").glob("libssl.*dylib"))
    if not system and not openssl:
        yield "PlugIns/tls: no plugin that can speak TLS: there would be no updates"
    modules = bundle.contents / "Resources/qml"
    for module in imported_modules(views):
        if not (modules / module.replace(".", "/") / "qmldir").is_file():
            yield f"Resources/qml: the module {module} is missing"
    for path in sorted(modules.rglob("qmldir")):
        for plugin in re.findall(r"^(?:optional )?plugin (\S+)", path.read_text(encoding="utf-8"), re.MULTILINE):
            if not bundle.holds(path.parent / f"lib{plugin}.dylib"):
                yield f"{bundle.name(path)}: its plugin lib{plugin}.dylib is missing"


def built_for_newer(bundle):
    """The code that a system as old as the bundle says it runs on does not take: libraries that were built
    for the system of this Mac."""
    for path, parts in bundle.objects.items():
        versions = {version for part in parts for platform, version in part.builds
                    if platform == macho.PLATFORM_MACOS}
        if versions and max(versions) > packed(bundle.oldest_system):
            yield f"{bundle.name(path)}: for macOS {dotted(max(versions))}, the bundle is for {bundle.oldest_system}"


def faults(bundle, views):
    """Every fault but those of `built_for_newer`, a line each."""
    return [*faults_of_code(bundle), *faults_of_links(bundle), *faults_of_what_is_opened(bundle, views)]
