"""Makes a small deployed bundle, as the tool that puts Qt into one leaves it when all went well."""

import os
import plistlib

from tiny_macho import LOAD, SYSTEM, executable, run_path, universal

DYLIB = 6
X86 = 0x01000007
IDENTIFIER = "com.oxbrook.korvel"
QT_CORE = "Frameworks/QtCore.framework/Versions/A/QtCore"
COCOA = "PlugIns/platforms/libqcocoa.dylib"
TLS = "PlugIns/tls/libqsecuretransportbackend.dylib"
QUICK = "PlugIns/quick/libqtquick2plugin.dylib"
TEMPLATES = "PlugIns/quick/libqtquicktemplates2plugin.dylib"
FRAMEWORKS = "@executable_path/../Frameworks"
PROGRAM = "MacOS/Korvel"


def code(*libraries, run_paths=(), **more):
    """The bytes of a library, or of the program, that wants these libraries."""
    given = {"kind": DYLIB, "symbols": (), "signed": False,
             "libraries": [library if isinstance(library, tuple) else (library, LOAD) for library in libraries]}
    given["extra_commands"] = [run_path(each) for each in run_paths]
    return executable(**{**given, **more})


def in_both(*libraries, **more):
    return universal(code(*libraries, cpu=X86, **more), code(*libraries, **more))


def parts():
    """Each file of code, by its place in Contents."""
    core = "@rpath/QtCore.framework/Versions/A/QtCore"
    return {
        PROGRAM: code(core, SYSTEM, "/System/Library/Frameworks/AppKit.framework/Versions/C/AppKit", kind=2,
                      run_paths=[FRAMEWORKS]),
        QT_CORE: in_both(SYSTEM),
        COCOA: in_both(core, SYSTEM, run_paths=["@loader_path/../../Frameworks"]),
        TLS: in_both(f"{FRAMEWORKS}/{QT_CORE.removeprefix('Frameworks/')}", SYSTEM),
        QUICK: in_both(core),
        TEMPLATES: in_both(core),
    }


def make(folder, objects=None):
    """Makes Korvel.app in a folder and gives its Contents."""
    contents = folder / "Korvel.app/Contents"
    for name, content in (parts() if objects is None else objects).items():
        put(contents / name, content)
    put(contents / "Info.plist", plistlib.dumps({
        "CFBundleExecutable": "Korvel", "CFBundleIdentifier": IDENTIFIER, "LSMinimumSystemVersion": "13.0",
    }))
    put(contents / "Resources/qt.conf", b"[Paths]\nPlugins = PlugIns\n")
    put(contents / "Resources/Korvel.icns", b"icns")
    for module, plugin in (("QtQuick", QUICK), ("QtQuick/Templates", TEMPLATES)):
        place = contents / "Resources/qml" / module
        stem = plugin.rsplit("/lib", 1)[1].removesuffix(".dylib")
        put(place / "qmldir", f"module {module.replace('/', '.')}\noptional plugin {stem}\n".encode())
        link(place / f"lib{stem}.dylib", contents / plugin)
    framework = contents / "Frameworks/QtCore.framework"
    link(framework / "Versions/Current", framework / "Versions/A")
    link(framework / "QtCore", framework / "Versions/Current/QtCore")
    return contents


def put(path, content):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_bytes(content)


def link(path, target):
    path.symlink_to(os.path.relpath(target, path.parent))
