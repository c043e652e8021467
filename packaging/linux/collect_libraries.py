"""Puts into a bundle what a desktop may lack: Qt's libraries, plugins and modules, the other libraries
that these and the program need, and the licences of all of them.

    Contents/Linux/qt.conf        where Qt finds the following
    Contents/lib/                 libraries, by the names that they are asked for
    Contents/plugins/, qml/       as in Qt's own folders
    Contents/Resources/licences/  one file for each source package, and LIBRARIES, which lists the files

Which libraries these are is read from the objects themselves, so on another processor or release of
Debian they are that one's.
"""

import hashlib
import json
import re
import shutil
import subprocess
from fnmatch import fnmatchcase
from pathlib import Path

# What every desktop has, and has to have in its own version.
STAYS = (
    "ld-linux*.so.*", "libc.so.6", "libm.so.6", "libdl.so.2", "libpthread.so.0", "librt.so.1",
    "libresolv.so.2",
    "libstdc++.so.6", "libgcc_s.so.1",  # no older than the C library's release, by Debian's compiler
    # The graphics stack, which belongs to the drivers, and the ways to the display.
    "libGL.so.1", "libEGL.so.1", "libGLX.so.0", "libGLdispatch.so.0",
    "libX11.so.6", "libX11-xcb.so.1", "libxcb.so.1", "libwayland-*.so.*",
    # What has its settings, or another half, on the desktop.
    "libfontconfig.so.1", "libfreetype.so.6", "libharfbuzz.so.0", "libdbus-1.so.3", "libglib-2.0.so.0",
    "libexpat.so.1", "libz.so.1",
)
# The C and C++ libraries of Debian 12: a release is to start with these.
OLDEST = {"GLIBC": (2, 36), "GLIBCXX": (3, 4, 30)}
# The plugins of a tray item and a frameless window that the processor paints. No theme: the program
# keeps the desktop's out. No plugin for OpenGL either: it would load the drivers, which were built
# against libraries of another age than those in the bundle.
PLUGINS = (
    "platforms/libqxcb.so", "platforms/libqwayland-generic.so",
    "wayland-shell-integration/libxdg-shell.so",
    "platforminputcontexts/libcomposeplatforminputcontextplugin.so",
    "platforminputcontexts/libibusplatforminputcontextplugin.so",
    "tls/libqopensslbackend.so",
)
# Qt opens these while the program runs, by these names first; if they are not there it takes the
# system's, which may be another release beside that of the program.
OPENED = ("libcrypto.so", "libssl.so")
QT_CONF = "[Paths]\nPrefix = ..\nLibraries = lib\nPlugins = plugins\nQmlImports = qml\n"
COMMON_LICENCE = re.compile(r"/usr/share/common-licenses/([A-Za-z0-9.+-]*[A-Za-z0-9])")


class CannotCollect(Exception):
    """Something that the bundle is to hold is not there, or a tool failed."""


def output(*command):
    try:
        done = subprocess.run([str(word) for word in command], capture_output=True, check=False)
    except OSError as error:
        raise CannotCollect(f"{command[0]}: {error.strerror}") from None
    if done.returncode != 0:
        said = (done.stderr or done.stdout).decode(errors="replace").strip()
        raise CannotCollect(f"{Path(command[0]).name}: {said}")
    return done.stdout.decode()


def stays(name):
    """Whether the system's own library of this name is used."""
    return any(fnmatchcase(name, pattern) for pattern in STAYS)


def needs(binary):
    """The names of the libraries that a program or library asks for."""
    return re.findall(r"^ *NEEDED +(\S+)$", output("objdump", "-p", binary), re.MULTILINE)


def found(binary):
    """Where the loader finds what a program or library needs, directly or not: paths by name."""
    return dict(re.findall(r"^\t(\S+) => (/.+) \(0x[0-9a-f]+\)$", output("ldd", binary), re.MULTILINE))


def libraries(binaries):
    """The paths, by name, of all that these need and that does not stay with the system."""
    closure, wanted = {}, list(binaries)
    paths = {name: path for binary in binaries for name, path in found(binary).items()}
    while wanted:
        for name in needs(wanted.pop()):
            if stays(name) or name in closure:
                continue
            if name not in paths:
                raise CannotCollect(f"{name} is not on this system")
            closure[name] = Path(paths[name])
            wanted.append(closure[name])
    return closure


def opened(program):
    """The libraries that are opened by name: paths of those that go with the program's libcrypto."""
    crypto = next((Path(path) for name, path in found(program).items() if name.startswith(OPENED[0])), None)
    if crypto is None:
        raise CannotCollect(f"{program} has no {OPENED[0]}, by which the one for Qt is found")
    return [crypto, crypto.with_name(crypto.name.replace("libcrypto", "libssl"))]


def qt_folder(name):
    return Path(output("qtpaths6", "--query", name).strip())


def modules(views):
    """The folders, below that of Qt's modules, of those that the views in a folder import."""
    home = qt_folder("QT_INSTALL_QML")
    scanner = qt_folder("QT_INSTALL_LIBEXECS") / "qmlimportscanner"
    imports = json.loads(output(scanner, "-rootPath", views, "-importPath", home))
    folders = {entry["relativePath"] for entry in imports if entry.get("relativePath")}
    if not folders:
        raise CannotCollect(f"{views}: imports none of Qt's modules")
    return home, sorted(folders)


def copies(program, views):
    """What goes where: paths in Contents, and where each comes from; and the links, with targets."""
    goes = {f"plugins/{name}": qt_folder("QT_INSTALL_PLUGINS") / name for name in PLUGINS}
    home, folders = modules(views)
    for folder in folders:
        for path in sorted((home / folder).iterdir()):
            if path.is_file() and path.suffix != ".qmltypes":  # these are for editors
                goes[f"qml/{folder}/{path.name}"] = path
    tls = opened(program)
    goes.update((f"lib/{path.name}", path) for path in tls)
    roots = [program, *(path for path in goes.values() if is_object(path))]
    goes.update((f"lib/{name}", path) for name, path in libraries(roots).items())
    return goes, {f"lib/{name}": path.name for name, path in zip(OPENED, tls)}


def run_path(place):
    """How an object at this path in Contents finds Contents/lib."""
    return "$ORIGIN/" + "../" * (len(Path(place).parts) - 1) + "lib"


def look_inside(binary, place):
    """Has an object look into the bundle first.

    The older kind of run path, DT_RPATH, comes before the user's LD_LIBRARY_PATH: libraries of
    another Qt would not fit these plugins."""
    output("patchelf", "--force-rpath", "--set-rpath", run_path(place), binary)


def is_object(path):
    with open(path, "rb") as file:
        return file.read(4) == b"\x7fELF"


def packages(paths):
    """The package of each of these files: (binary package, source package, version)."""
    # Debian knows some libraries by the names that they had before /lib became a link.
    names = {str(real): path for path in paths for real in (path.resolve(),)}
    asked = [*names, *(name[len("/usr"):] for name in names if name.startswith("/usr/lib"))]
    try:
        # It fails when one of the names is unknown, which one of each pair is.
        said = subprocess.run(["dpkg-query", "-S", *asked], capture_output=True, check=False).stdout.decode()
    except OSError as error:
        raise CannotCollect(f"dpkg-query: {error.strerror}") from None
    owners = {}
    for package, name in re.findall(r"^([^ ,]+): (/.+)$", said, re.MULTILINE):
        owners[names.get(name) or names.get("/usr" + name)] = package
    for path in paths:
        if path not in owners:
            raise CannotCollect(f"{path} belongs to no package")
    shown = output("dpkg-query", "-W", "-f", "${binary:Package}\t${source:Package}\t${source:Version}\n",
                   *sorted(set(owners.values())))
    known = {}
    for line in shown.splitlines():
        package, source, version = line.split("\t")
        known[package] = known[package.split(":")[0]] = (package.split(":")[0], source, version)
    return {path: known[owners[path]] for path in paths}


def write_licences(goes, folder):
    """The licences of what goes into the bundle, those that they refer to, and the list."""
    folder.mkdir()
    kept, common, lines = {}, set(), []
    owners = packages(sorted(set(goes.values())))
    for place, path in sorted(goes.items()):
        package, source, version = owners[path]
        text = Path(f"/usr/share/doc/{package}/copyright").read_bytes()
        digest = hashlib.sha256(text).digest()
        # Packages of one source mostly have one text.
        name = source if kept.setdefault(source, digest) == digest else package
        (folder / name).write_bytes(text)
        common.update(COMMON_LICENCE.findall(text.decode(errors="replace")))
        lines.append(f"{place}\t{name}\t{source} {version}\n")
    for name in sorted(common):
        shutil.copyfile(Path("/usr/share/common-licenses") / name, folder / name)
    head = "file\tlicence\tsource package and version, of Debian\n"
    (folder / "LIBRARIES").write_text(head + "".join(lines), encoding="utf-8")


def too_new(binary):
    """The versions of the C and C++ libraries that an object needs and Debian 12 has not."""
    versions = re.findall(r" (GLIBC|GLIBCXX)_([0-9.]+)$", output("objdump", "-p", binary), re.MULTILINE)
    return [f"{name}_{version}" for name, version in versions
            if tuple(map(int, version.split("."))) > OLDEST[name]]


def check(contents):
    """Raises unless every object's needs are in the bundle or stay, the latter in a version that Debian 12
    has, and its run path is the bundle's."""
    for path in sorted(contents.rglob("*")):
        if path.is_symlink() or not path.is_file() or not is_object(path):
            continue
        place = path.relative_to(contents).as_posix()
        for name in needs(path):
            if not stays(name) and not (contents / "lib" / name).is_file():
                raise CannotCollect(f"{place} needs {name}, which is not in the bundle")
        if versions := too_new(path):
            raise CannotCollect(f"{place} needs {', '.join(versions)}: releases are made on Debian 12")
        if output("patchelf", "--print-rpath", path).strip() != run_path(place):
            raise CannotCollect(f"{place} has another run path than the bundle's")


def collect(program, views, contents):
    """Makes the folder `contents`, in which Linux/korvel is already, one that carries what it needs.
    `program` is the same program as it was built; `views` is the folder of its QML."""
    goes, links = copies(program, views)
    for place, path in goes.items():
        copy = contents / place
        copy.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(path, copy)
        copy.chmod(0o644)
        if is_object(copy):
            output("strip", "--strip-unneeded", copy)
            look_inside(copy, place)
    for place, target in links.items():
        (contents / place).symlink_to(target)
    look_inside(contents / "Linux/korvel", "Linux/korvel")
    (contents / "Linux/qt.conf").write_text(QT_CONF, encoding="ascii")
    write_licences(goes, contents / "Resources/licences")
    check(contents)
