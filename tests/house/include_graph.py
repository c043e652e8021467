#!/usr/bin/env python3
"""Holds the arrows between the rooms of src/ against the rules below.

Every #include of the tree is checked: a quoted one against the rooms that its own room may use, an
angled one against the outside headers that its room may know. Run with --self-test, it checks that
each kind of break is found.
"""

import re
import sys
from pathlib import Path

# room -> rooms that it may include, besides itself. The longest matching folder is a file's room.
ROOMS = {
    "base": [],
    "platform": ["base"],
    "platform/posix": ["platform", "base"],
    "platform/linux/kernel": ["platform", "platform/posix", "base"],
    "platform/linux/session": ["platform", "platform/posix", "base"],
    "platform/linux/update": ["platform", "platform/posix", "base"],
    "platform/macos": ["platform", "platform/posix", "base"],
    "platform/qt": ["platform", "platform/posix", "base"],
    "platform/simulated": ["platform", "base"],
    "core": ["platform", "base"],
    "model": ["core", "platform", "base"],
    "update": ["core", "platform", "base"],
    "ui/content": ["model", "update", "core", "platform", "base"],
    "ui/quick": ["ui/content", "model", "update", "core", "platform", "base"],
    "app": ["ui/content", "update", "model", "core", "platform", "base"],
    "report": ["ui/content", "core", "platform", "base"],
    "simulation": [
        "app", "ui/content", "update", "model", "core", "platform/simulated", "platform/posix", "platform", "base",
    ],
}

# The composition roots: the only files that name a backend.
ROOTS = re.compile(r"^app/main[a-z_]*\.(cpp|mm|h)$")

STANDARD = re.compile(r"^[a-z_]+$")  # a header of the C++ standard library
POSIX = re.compile(r"^[a-z_]+\.h$|^(sys|net|arpa|netinet)/[a-z_]+\.h$")
LINUX = re.compile(r"^(linux|sys)/[a-z_]+\.h$")
QT = re.compile(r"^Q[A-Za-z0-9]+$|^Q[A-Za-z]+/[A-Za-z0-9/_.]+$")
FMT = re.compile(r"^fmt/")
XCB = re.compile(r"^xcb/")
JSON = re.compile(r"^simdjson\.h$")
PLIST = re.compile(r"^plist/plist\.h$")
OPENSSL = re.compile(r"^openssl/[a-z0-9_]+\.h$")
APPLE = re.compile(
    r"^(mach|objc|os|libkern|IOKit|AppKit|Foundation|UserNotifications|CoreFoundation|CommonCrypto)/"
)

# room -> outside headers that it may know, besides the standard library's.
OUTSIDE = {
    "base": [FMT],
    "platform": [],
    "platform/posix": [POSIX],
    "platform/linux/kernel": [POSIX, LINUX, FMT],
    "platform/linux/session": [POSIX, QT, XCB],
    "platform/linux/update": [POSIX, LINUX, FMT, PLIST, OPENSSL],
    "platform/macos": [POSIX, APPLE, FMT],
    "platform/qt": [POSIX, QT, FMT],
    "platform/simulated": [FMT],
    "core": [FMT],
    "model": [FMT, JSON],
    "update": [FMT, JSON],
    "ui/content": [FMT],
    "ui/quick": [QT],
    "app": [FMT],
    "report": [FMT],
    "simulation": [POSIX, FMT, JSON],
}

INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def room_of(path):
    """The room that a path below src/ lies in, or None."""
    folders = path.split("/")[:-1]
    for length in range(len(folders), 0, -1):
        room = "/".join(folders[:length])
        if room in ROOMS:
            return room
    return None


def breaks(path, text, tracked):
    """The rule breaks of one file, as sentences."""
    room = room_of(path)
    if room is None:
        return [f"{path} lies in no room"]
    found = []
    for bracket, header in INCLUDE.findall(text):
        if bracket == '"':
            if header not in tracked:
                found.append(f'{path} includes "{header}", which is no file of src/')
                continue
            target = room_of(header)
            if ROOTS.match(path) or target == room or target in ROOMS[room]:
                continue
            found.append(f'{path} includes "{header}": {room} may not use {target}')
        elif not (
            STANDARD.match(header)
            or ROOTS.match(path)
            or any(pattern.match(header) for pattern in OUTSIDE[room])
        ):
            found.append(f"{path} includes <{header}>: no header for {room}")
    # A path of the kernel's trees is a fact of one system, wherever it is spelled.
    if not room.startswith("platform/") and re.search(r'"/(proc|sys)/', text):
        found.append(f"{path} names a path of /proc or /sys")
    return found


def check(source):
    files = sorted(p for p in source.rglob("*") if p.suffix in {".h", ".cpp", ".mm"})
    tracked = {str(p.relative_to(source)) for p in files}
    found = []
    for file in files:
        path = str(file.relative_to(source))
        found += breaks(path, file.read_text(encoding="utf-8"), tracked)
    return len(files), found


def self_test():
    tracked = {"core/a.h", "model/a.h", "platform/a.h", "platform/linux/kernel/a.h", "app/a.h"}
    refused = [
        ("core/x.cpp", '#include "model/a.h"'),
        ("core/x.cpp", '#include "platform/linux/kernel/a.h"'),
        ("core/x.cpp", "#include <QString>"),
        ("core/x.cpp", "#include <unistd.h>"),
        ("update/x.cpp", "#include <openssl/cms.h>"),
        ("core/x.cpp", '#include "core/gone.h"'),
        ("core/x.cpp", 'open("/proc/meminfo")'),
        ("model/x.cpp", "#include <sys/stat.h>"),
        ("platform/x.h", "#include <fmt/format.h>"),
        ("platform/linux/kernel/x.cpp", '#include "core/a.h"'),
        ("platform/qt/x.cpp", '#include "app/a.h"'),
        ("app/delegate.cpp", '#include "platform/linux/kernel/a.h"'),
        ("stray.cpp", ""),
    ]
    allowed = [
        ("core/x.cpp", '#include "platform/a.h"\n#include <vector>\n#include <fmt/format.h>'),
        ("app/main_linux.cpp", '#include "platform/linux/kernel/a.h"\n#include <QString>'),
        ("platform/linux/kernel/x.cpp", '#include "platform/a.h"\n#include <fcntl.h>\nopen("/proc/stat")'),
    ]
    missed = [case for case in refused if not breaks(*case, tracked)]
    wrong = [case for case in allowed if breaks(*case, tracked)]
    for path, text in missed:
        print(f"not refused: {path}: {text}")
    for path, text in wrong:
        print(f"refused: {path}: {text}")
    return not missed and not wrong


def main():
    if sys.argv[1:] == ["--self-test"]:
        sys.exit(0 if self_test() else 1)
    source = Path(sys.argv[1])
    count, found = check(source)
    for sentence in found:
        print(sentence)
    print(f"{count} files, {len(found)} breaks")
    sys.exit(1 if found or count == 0 else 0)


if __name__ == "__main__":
    main()
