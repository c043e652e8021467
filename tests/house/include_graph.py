#!/usr/bin/env python3
"""Holds every #include of the program, its tools, tests and benchmarks against the rules below.

A quoted one is held against the rooms that its own room may use, an angled one against the outside
headers that its room may know, by name: a header that is listed nowhere is refused. A header that a
room comes to need is added to its list, or is a sign that the code belongs elsewhere.

    include_graph.py FOLDER       checks the tree in this folder
    include_graph.py --self-test  checks that each kind of break is found
"""

import re
import sys
from pathlib import Path

# room of src/ -> rooms that it may include, besides itself. The longest matching folder is a file's
# room.
BASE = ["base"]
PLATFORM = ["platform", *BASE]
BACKEND = ["platform/posix", *PLATFORM]
CORE = ["core", *PLATFORM]
MODEL = ["model", *CORE]
UPDATE = ["update", *CORE]
CONTENT = ["ui/content", "model", "update", *CORE]
ROOMS = {
    "base": [],
    "platform": BASE,
    "platform/posix": PLATFORM,
    "platform/linux/kernel": BACKEND,
    "platform/linux/session": BACKEND,
    "platform/linux/update": BACKEND,
    "platform/macos": BACKEND,
    "platform/qt": BACKEND,
    "platform/simulated": PLATFORM,
    "core": PLATFORM,
    "model": CORE,
    "update": CORE,
    "ui/content": ["model", "update", *CORE],
    "ui/quick": CONTENT,
    "app": CONTENT,
    "report": ["ui/content", *CORE],
    "simulation": ["app", "platform/simulated", "platform/posix", *CONTENT],
}

# What of a backend its composition roots and the tools may name; the rest is the backend's own.
FACES = {
    "platform/linux/kernel": {
        "linux_machine.h", "linux_processes.h", "own_memory.h", "process_status.h", "spare_threads.h",
    },
    "platform/linux/session": {
        "desktop_appearance.h", "desktop_notifications.h", "desktop_power.h", "display_choice.h", "environment.h",
        "launch_token.h", "layer_surface.h", "linux_workspace.h", "replaced_toolkit.h",
        "settings_file.h", "single_instance.h", "startup_notification.h", "systemd_agents.h", "systemd_query.h",
        "tray_status_bar.h", "window_effects.h", "x11_click_watch.h",
        "x11_places.h",
    },
    "platform/linux/update": {
        "linux_bundle.h", "linux_code_signature.h", "linux_program_loader.h", "update_root.h", "zip_archive.h",
    },
    "platform/macos": {
        "declared_selectors.h", "desktop_facts.h", "macos_application.h", "macos_bundle.h", "macos_file_manager.h",
        "macos_machine.h", "macos_notifications.h", "macos_popover.h", "macos_power_assertions.h",
        "macos_processes.h", "macos_program_loader.h", "macos_status_bar.h", "macos_user_defaults.h",
        "macos_workspace.h", "thermal_state.h",
    },
}

# Single files with rules of their own, in place of their folder's: the composition roots, and every
# tool. A backend that is named here is known by its face, unless it is marked as whole.
LINUX = ["platform/linux/kernel", "platform/linux/session", "platform/linux/update"]
FILES = {
    r"src/app/main_linux\.cpp": ["app", *LINUX, "platform/qt", "platform/posix", *CONTENT],
    r"src/app/main_macos\.cpp": ["app", "platform/macos", "platform/qt", "platform/posix", *CONTENT],
    r"src/app/main_popover_linux\.(cpp|h)": [
        "app", "platform/linux/kernel", "platform/linux/session", "ui/quick", *CONTENT,
    ],
    r"src/app/main_popover_macos\.(cpp|h)": ["app", "platform/macos", "ui/quick", *CONTENT],
    r"tools/korvel_sim\.cpp": ["simulation", "platform/posix", *PLATFORM],
    r"tools/korvel_snapshot\.cpp": ["tools", "report", "platform/posix", "ui/content", *CORE],
    r"tools/local_machine\.h": ["report", *CORE],
    r"tools/local_machine_linux\.cpp": [
        "tools", "report", "platform/linux/kernel", "platform/linux/session", "platform/posix", "ui/content", *CORE,
    ],
    r"tools/local_machine_macos\.cpp": ["tools", "report", "platform/macos", "platform/posix", *CORE],
    # What it makes is read by that room, from the same tables.
    r"tools/korvel_release\.cpp": ["platform/linux/update whole", "platform/posix", "report", *PLATFORM],
    r"tools/(korvel_icons\.cpp|icons/[a-z_]+\.(cpp|h))": ["tools", "ui/content", *BASE],
    r"tools/(korvel_(demo|pictures)\.cpp|demo/[a-z_]+\.(cpp|h))": [
        "tools", "simulation", "app", "app/main_popover_linux.h", "platform/simulated",
        "platform/linux/session", "platform/qt", "platform/posix", "ui/quick", *CONTENT,
    ],
    r"bench/tray_bench\.cpp": ["bench", "app", "platform/linux/session whole", *CONTENT],
    r"bench/bare_refresh\.cpp": ["bench"],
    r"bench/views_bench\.cpp": ["bench", "tests", "platform/linux/kernel whole", "ui/quick", *CONTENT],
    r"bench/simulation_bench\.cpp": ["simulation", "app", "platform/simulated", *CONTENT],
    r"bench/[a-z_]+\.(cpp|c|h)": [
        "bench", "platform/linux/kernel whole", "platform/simulated", "platform/posix", *MODEL,
    ],
}

# A test may use its room, what that may use, the simulated platform, and tests/support. What it may
# use besides:
TESTS = {
    "tests": ["platform/posix"],
    "tests/platform/linux/kernel": CORE,  # recorded machines are played through the sampler
    "tests/platform/linux/session": ["app", *CONTENT],  # the icon of the score of a title
    "tests/platform/linux/update": ["report"],  # the words of what is refused
    "tests/platform/qt": MODEL,  # a model whose work in the background hangs
    "tests/platform/macos": CORE,
    "tests/platform/macos/native": ["app", *CONTENT],  # the title of a score
    "tests/platform/macos/native/with_qt": [
        "app", "app/main_popover_macos.h", "platform/qt", "ui/quick", *CONTENT,
    ],
    "tests/report": ["platform/posix"],
    "tests/contrib": ["report", "simulation", *CONTENT],  # a simulated machine's reading as metrics
    "tests/model": ["update", "platform/posix"],
    "tests/support": UPDATE + MODEL,
    "tests/desktop": ["app", "platform/linux/session", "platform/posix", *CONTENT],
    "tests/faults": ["platform/linux/session", "platform/linux/update", "platform/posix", *UPDATE],
    "tests/fuzz": [
        "platform/linux/kernel", "platform/linux/session", "platform/linux/update", "platform/posix", "simulation",
        *CONTENT,
    ],
    "tests/refused_calls": [
        "app", "platform/linux/kernel", "platform/linux/session", "platform/posix", "platform/simulated", *CONTENT,
    ],
    "tests/swarm": ["simulation", "app", "platform/simulated", *CONTENT],
}

# The outside headers.
STANDARD = set("""
    algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes
    climits clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg
    cstddef cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem format
    forward_list fstream functional future initializer_list iomanip ios iosfwd iostream istream iterator latch
    limits list locale map memory memory_resource mutex new numbers numeric optional ostream queue random ranges
    ratio regex scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept
    stop_token streambuf string string_view strstream syncstream system_error thread tuple type_traits typeindex
    typeinfo unordered_map unordered_set utility valarray variant vector version
""".split())
FMT = {"fmt/format.h"}
JSON = {"simdjson.h"}
FILE = {"dirent.h", "fcntl.h", "sys/stat.h", "sys/types.h", "unistd.h"}
QT_CORE = set("""
    QAbstractEventDispatcher QAbstractListModel QAbstractNativeEventFilter QBuffer QByteArray QByteArrayView
    QCoreApplication QDeadlineTimer QDir QElapsedTimer QEvent QEventLoop QFile QFileInfo QHash QJsonArray
    QJsonDocument QJsonObject QLibraryInfo QList QLocale QMap QMargins QMetaMethod QMetaProperty QMetaType QObject
    QPoint QPointF QPointer QProcess QRect QRectF QSaveFile QSignalBlocker QSize QSocketNotifier QStandardPaths
    QString QStringList QStringView QTemporaryDir QTemporaryFile QThread QThreadPool QTimer QUrl QVariant
    QVariantAnimation
    QVariantList QVariantMap Qt QtEndian QtGlobal
""".split())
QT_GUI = set("""
    QAction QColor QColorSpace QCursor QFont QFontDatabase QFontMetricsF QGuiApplication QIcon QIconEngine QImage
    QKeyEvent QPaintDevice QPaintEngine QPainter QPainterPath QPainterPathStroker QPalette QPen QPixmap QTransform
    QRasterWindow QAccessible QAccessibleObject
    QScreen QSessionManager QSurfaceFormat QWindow
""".split())
QT_WIDGETS = {"QApplication", "QMenu", "QSystemTrayIcon"}
QT_NETWORK = set("""
    QNetworkAccessManager QNetworkReply QNetworkRequest QSslCertificate QSslConfiguration QTcpServer
""".split())
QT_DBUS = set("""
    QDBusAbstractAdaptor QDBusArgument QDBusConnection QDBusConnectionInterface QDBusContext QDBusError QDBusMessage
    QDBusMetaType QDBusObjectPath QDBusPendingCall QDBusPendingCallWatcher QDBusPendingReply QDBusReply
    QDBusServiceWatcher QDBusUnixFileDescriptor QDBusVariant QDBusVirtualObject
""".split())
QT_QUICK = set("""
    QAnimationDriver QQmlContext QQmlEngine QQuickItem QQuickView QQuickWindow QSGRendererInterface
    QSGSimpleTextureNode QtQmlIntegration
""".split())
TESTING = {"gtest/gtest.h", "gmock/gmock.h"}
ARCHIVE = {"archive.h", "archive_entry.h"}
PLIST = {"plist/plist.h"}
OPENSSL = {
    f"openssl/{name}.h"
    for name in ("bio", "cms", "core_names", "dsa", "ec", "err", "evp", "objects", "pem", "rsa", "sha", "x509",
                 "x509_vfy", "x509v3")
}
APPLE = set("""
    AppKit/AppKit.h CommonCrypto/CommonDigest.h CoreFoundation/CoreFoundation.h Foundation/Foundation.h
    IOKit/pwr_mgt/IOPMLib.h QuartzCore/QuartzCore.h UserNotifications/UserNotifications.h libproc.h mach/mach.h
    objc/runtime.h sys/mount.h sys/param.h sys/resource.h sys/sysctl.h sys/time.h
""".split())

# room -> outside headers that it may know, besides the standard library's.
OUTSIDE = {
    "base": FMT | FILE,
    "platform": set(),
    "platform/posix": FILE | {"pwd.h", "spawn.h", "sys/file.h", "sys/wait.h"},
    "platform/linux/kernel": FILE | FMT | {
        "malloc.h", "poll.h", "sys/mman.h", "sys/resource.h", "sys/statvfs.h", "sys/syscall.h",
    },
    "platform/linux/session": FILE | {
        "LayerShellQt/Window", "ext-idle-notify-v1.h", "idle-inhibit-unstable-v1.h", "poll.h",
        "sys/file.h", "sys/socket.h", "sys/un.h", "systemd/sd-bus.h", "wayland-client.h",
        "xcb/screensaver.h", "xcb/shape.h", "xcb/xcb.h", "xcb/xinput.h", "xdg-output-unstable-v1.h",
    }
    | QT_CORE | QT_GUI | QT_WIDGETS | QT_DBUS,
    "platform/linux/update": FILE | FMT | {"link.h", "locale.h"} | ARCHIVE | PLIST | OPENSSL,
    "platform/macos": FMT | APPLE | {"unistd.h"},
    "platform/qt": FILE | {"pthread/qos.h", "stdlib.h", "sys/timerfd.h"} | QT_CORE | QT_NETWORK,
    "platform/simulated": FMT,
    "core": FMT,
    "model": FMT | {"fmt/compile.h"} | JSON,
    "update": FMT | JSON,
    "ui/content": FMT,
    "ui/quick": QT_CORE | QT_GUI | QT_QUICK,
    "app": FMT,
    "report": FMT,
    "simulation": FMT | JSON | {"fcntl.h", "unistd.h"},
    r"src/app/main_linux\.cpp": {"QApplication", "QThread"},
    r"src/app/main_macos\.cpp": {"QApplication"},
    r"tools/korvel_sim\.cpp": FMT | {"unistd.h"},
    r"tools/korvel_snapshot\.cpp": FMT | {"unistd.h"},
    r"tools/local_machine_linux\.cpp": FMT | {"unistd.h"},
    r"tools/local_machine_macos\.cpp": FMT | {"unistd.h"},
    r"tools/korvel_release\.cpp": FMT | {"unistd.h"},
    r"tools/(korvel_icons\.cpp|icons/[a-z_]+\.(cpp|h))": FMT | QT_CORE | QT_GUI,
    r"tools/(korvel_(demo|pictures)\.cpp|demo/[a-z_]+\.(cpp|h))":
        FMT | QT_CORE | QT_GUI | {"QApplication", "QQuickItem", "QQuickWindow"},
    r"bench/tray_bench\.cpp": QT_CORE | QT_GUI | QT_WIDGETS,
    r"bench/bare_refresh\.cpp": QT_CORE | QT_GUI | QT_WIDGETS,
    r"bench/views_bench\.cpp": QT_CORE | QT_GUI | {"malloc.h", "QQmlEngine", "QQuickView", "QSGRendererInterface"},
    r"bench/simulation_bench\.cpp": {"benchmark/benchmark.h"},
    r"bench/[a-z_]+\.(cpp|c|h)": FILE | {
        "benchmark/benchmark.h", "errno.h", "malloc.h", "signal.h", "stdio.h", "stdlib.h", "string.h",
        "sys/prctl.h", "sys/resource.h", "sys/statvfs.h", "sys/syscall.h", "sys/wait.h",
    },
}

# What tests may know besides: those of a room without Qt do not see it either.
TEST_OUTSIDE = FMT | FILE | TESTING | {
    "grp.h", "malloc.h", "pthread.h", "pwd.h", "sched.h", "sys/mman.h", "sys/mount.h", "sys/resource.h", "sys/socket.h",
    "sys/syscall.h", "sys/sysmacros.h", "sys/un.h", "sys/wait.h",
}
TEST_OUTSIDE_OF = {
    "tests/report": JSON,
    "tests/desktop": QT_CORE | QT_GUI,
    "tests/faults": QT_CORE | {"sys/uio.h"},
    "tests/fuzz": QT_CORE | JSON | {"unicode/uchar.h", "unicode/utf8.h"},  # second opinions
    "tests/platform/linux/kernel": {
        "linux/filter.h", "linux/fuse.h", "linux/sched.h", "linux/seccomp.h", "sys/ipc.h", "sys/prctl.h", "sys/shm.h",
    },
    "tests/platform/linux/session": QT_NETWORK,
    "tests/platform/macos/native": {
        "objc/NSObject.h", "objc/message.h", "objc/objc.h", "sanitizer/common_interface_defs.h", "stddef.h",
    },
    "tests/platform/macos/native/with_qt": APPLE | QT_CORE | QT_GUI | QT_QUICK,
    "tests/refused_calls": {
        "dlfcn.h", "link.h", "poll.h", "spawn.h", "sys/eventfd.h", "sys/file.h", "sys/statvfs.h", "sys/timerfd.h",
        "sys/uio.h",
    },
    "tests/ui/quick": {"QJSValue", "QQmlComponent", "QtQuickTest", "sanitizer/allocator_interface.h"},
}

INCLUDE = re.compile(r'^\s*#\s*(?:include|import)\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def folders_of(path):
    """The folders that a path lies in, the innermost first."""
    parts = path.split("/")[:-1]
    return ["/".join(parts[:length]) for length in range(len(parts), 0, -1)]


def room_of(path):
    """The room of src/ that a path below it lies in, or None."""
    return next((folder for folder in folders_of(path) if folder in ROOMS), None)


class Rule:
    """What one file may include."""

    def __init__(self, name, rooms, outside):
        self.name = name
        self.whole = {room.removesuffix(" whole") for room in rooms if room.endswith(" whole")}
        self.rooms = {room.removesuffix(" whole") for room in rooms}
        self.outside = outside
        self.face_only = True


def rule_of(path):
    """The rule for a file, or None where it lies in no room."""
    for pattern, rooms in FILES.items():
        if re.fullmatch(pattern, path):
            return Rule(path, rooms, OUTSIDE.get(pattern, set()))
    if path.startswith("src/"):
        room = room_of(path[len("src/"):])
        if room is None:
            return None
        rule = Rule(room, [room, *ROOMS[room]], OUTSIDE[room])
    elif path.startswith("tests/"):
        folder = next(f for f in folders_of(path) if f in TESTS or f[len("tests/"):] in ROOMS)
        room = room_of(path[len("tests/"):])
        rooms = ["tests", "platform/simulated", *PLATFORM, *TESTS.get(folder, [])]
        outside = TEST_OUTSIDE | TEST_OUTSIDE_OF.get(folder, set())
        if room is not None:
            rooms += [room, *ROOMS[room]]
            outside = outside | OUTSIDE[room]
        rule = Rule(folder, rooms, outside)
    else:
        return None
    rule.face_only = False
    return rule


def refusal(rule, path, header, tracked):
    """Why a quoted header may not be included, or None."""
    if header == Path(path).stem + ".moc":
        return None
    beside = str(Path(path).parent / header)
    found = next((name for name in (f"src/{header}", f"tests/{header}", header, beside) if name in tracked), None)
    if found is None:
        return "no such file in the tree"
    area = found.split("/", maxsplit=1)[0]
    if area != "src":
        return None if area in rule.rooms else f"{rule.name} may not use {area}/"
    if header in rule.rooms:
        return None
    # What a root declares is for roots, and for whom it is named to.
    if any(re.fullmatch(pattern, found) for pattern in FILES):
        return None if re.match(r"src/app/main", path) else f"{rule.name} may not use a composition root"
    room = room_of(header)
    if room not in rule.rooms:
        return f"{rule.name} may not use {room}"
    if rule.face_only and room in FACES and room not in rule.whole and Path(header).name not in FACES[room]:
        return f"{rule.name} may use {room} only by its face"
    return None


def breaks(path, text, tracked):
    """The rule breaks of one file, as sentences."""
    rule = rule_of(path)
    if rule is None:
        return [f"{path} lies in no room"]
    found = []
    for bracket, header in INCLUDE.findall(text):
        if bracket == '"':
            why = refusal(rule, path, header, tracked)
            if why:
                found.append(f'{path} includes "{header}": {why}')
        elif header not in STANDARD and header not in rule.outside:
            found.append(f"{path} includes <{header}>: no header for {rule.name}")
    # A path of the kernel's trees is a fact of one system, wherever it is spelled.
    knows = ("src/platform/linux/", "tools/local_machine_linux.cpp", "tests/", "bench/")
    if not path.startswith(knows) and re.search(r'"/(proc|sys)/', text):
        found.append(f"{path} names a path of /proc or /sys")
    return found


def check(top):
    files = sorted(
        p for area in ("src", "tools", "tests", "bench") for p in (top / area).rglob("*")
        if p.suffix in {".h", ".hpp", ".c", ".cc", ".cpp", ".m", ".mm"}
    )
    tracked = {str(p.relative_to(top)) for p in files}
    found = []
    for file in files:
        found += breaks(str(file.relative_to(top)), file.read_text(encoding="utf-8"), tracked)
    return len(files), found + pages(top)


def pages(top):
    """What is wrong with the pages of the rooms: each has one, that is read in a minute."""
    found = []
    for folder in [*(f"src/{room}" for room in ROOMS), "tools"]:
        page = top / folder / "README.md"
        if not page.is_file():
            found.append(f"{folder} has no README.md")
        elif not 10 <= len(page.read_text(encoding="utf-8").splitlines()) <= 20:
            found.append(f"{folder}/README.md is not of ten to twenty lines")
    return found


TREE = {
    f"src/{room}/a.h" for room in ROOMS
} | {
    "src/platform/linux/kernel/linux_machine.h", "src/platform/linux/kernel/meminfo.h",
    "src/platform/linux/update/zip_archive.h", "src/platform/macos/macos_machine.h",
    "src/app/main_popover_linux.h", "src/app/app_delegate.h",
    "tools/demo/a.h", "tools/local_machine.h", "tests/support/a.h", "tests/update/a.h", "bench/bare_loop.h",
}

REFUSED = [
    # The wrong room.
    ("src/core/x.cpp", '#include "model/a.h"'),
    ("src/base/x.cpp", '#include "core/a.h"'),
    ("src/base/x.cpp", '#include "platform/a.h"'),
    ("src/platform/x.h", '#include "core/a.h"'),
    ("src/model/x.cpp", '#include "update/a.h"'),
    ("src/update/x.cpp", '#include "ui/content/a.h"'),
    ("src/ui/content/x.cpp", '#include "ui/quick/a.h"'),
    ("src/ui/quick/x.cpp", '#include "app/a.h"'),
    ("src/report/x.cpp", '#include "model/a.h"'),
    ("src/core/x.cpp", '  #  import "model/a.h"'),
    # A backend from above, and from another.
    ("src/core/x.cpp", '#include "platform/linux/kernel/a.h"'),
    ("src/core/x.cpp", '#include "platform/posix/a.h"'),
    ("src/platform/linux/kernel/x.cpp", '#include "core/a.h"'),
    ("src/platform/linux/kernel/x.cpp", '#include "platform/linux/session/a.h"'),
    ("src/platform/linux/session/x.cpp", '#include "platform/qt/a.h"'),
    ("src/platform/macos/x.mm", '#import "platform/linux/kernel/a.h"'),
    ("src/platform/simulated/x.cpp", '#include "platform/posix/a.h"'),
    ("src/platform/qt/x.cpp", '#include "app/a.h"'),
    ("src/app/app_delegate.cpp", '#include "platform/linux/kernel/linux_machine.h"'),
    ("src/app/app_delegate.cpp", '#include "app/main_popover_linux.h"'),
    ("src/simulation/x.cpp", '#include "platform/qt/a.h"'),
    ("src/simulation/x.cpp", '#include "platform/linux/kernel/linux_machine.h"'),
    ("src/simulation/x.cpp", '#include "ui/quick/a.h"'),
    # The roots: another system's backend, and what is a backend's own.
    ("src/app/main_linux.cpp", '#include "platform/macos/macos_machine.h"'),
    ("src/app/main_linux.cpp", '#include "platform/linux/kernel/meminfo.h"'),
    ("src/app/main_linux.cpp", "#include <openssl/cms.h>"),
    # Outside headers.
    ("src/core/x.cpp", "#include <QString>"),
    ("src/core/x.cpp", "#include <QtCore/QString>"),
    ("src/core/x.cpp", "#include <unistd.h>"),
    ("src/core/x.cpp", "#include <simdjson.h>"),
    ("src/core/x.cpp", "#include <stdint.h>"),
    ("src/core/x.cpp", "#include <boost>"),
    ("src/model/x.cpp", "#include <sys/stat.h>"),
    ("src/update/x.cpp", "#include <openssl/cms.h>"),
    ("src/platform/x.h", "#include <fmt/format.h>"),
    ("src/platform/posix/x.cpp", "#include <zlib.h>"),
    ("src/platform/posix/x.cpp", "#include <simdjson.h>"),
    ("src/platform/posix/x.cpp", "#include <linux/fs.h>"),
    ("src/platform/qt/x.cpp", "#include <simdjson.h>"),
    ("src/platform/qt/x.cpp", "#include <QPainter>"),
    ("src/platform/qt/x.cpp", "#include <archive.h>"),
    ("src/platform/linux/session/x.cpp", "#include <archive.h>"),
    ("src/platform/linux/kernel/x.cpp", "#include <archive.h>"),
    ("src/platform/linux/kernel/x.cpp", "#include <QFile>"),
    ("src/platform/linux/update/x.cpp", "#include <QTemporaryFile>"),
    ("src/platform/linux/update/x.cpp", "#include <mach/mach.h>"),
    ("src/platform/macos/x.mm", "#import <QString>"),
    ("src/ui/quick/x.cpp", "#include <QNetworkReply>"),
    ("src/ui/quick/x.cpp", "#include <unistd.h>"),
    ("src/simulation/x.cpp", "#include <QTimer>"),
    # Files that are not there, and such in no room.
    ("src/core/x.cpp", '#include "core/gone.h"'),
    ("src/core/x.cpp", '#include "simdjson.h"'),
    ("tools/korvel_sim.cpp", '#include "simulation/gone.h"'),
    ("src/stray.cpp", ""),
    ("src/newroom/x.cpp", ""),
    ("tools/newtool.cpp", ""),
    # The kernel's trees.
    ("src/core/x.cpp", 'open("/proc/meminfo")'),
    ("src/platform/posix/x.cpp", 'open("/sys/class/thermal")'),
    ("tools/korvel_sim.cpp", 'open("/proc/stat")'),
    # Tools, benchmarks, tests.
    ("tools/korvel_snapshot.cpp", '#include "platform/linux/kernel/linux_machine.h"'),
    ("tools/local_machine_linux.cpp", '#include "platform/linux/kernel/meminfo.h"'),
    ("tools/local_machine_linux.cpp", '#include "ui/quick/a.h"'),
    ("tools/korvel_sim.cpp", '#include "platform/linux/kernel/linux_machine.h"'),
    ("tools/korvel_sim.cpp", '#include "tools/demo/a.h"'),
    ("tools/korvel_sim.cpp", "#include <QString>"),
    ("tools/demo/x.cpp", '#include "platform/linux/kernel/linux_machine.h"'),
    ("tools/demo/x.cpp", "#include <openssl/cms.h>"),
    ("tools/korvel_icons.cpp", '#include "app/a.h"'),
    ("src/core/x.cpp", '#include "tools/demo/a.h"'),
    ("src/core/x.cpp", '#include "support/a.h"'),
    ("src/core/x.cpp", "#include <gtest/gtest.h>"),
    ("bench/x_bench.cpp", '#include "ui/content/a.h"'),
    ("tests/core/x_test.cpp", '#include "model/a.h"'),
    ("tests/core/x_test.cpp", "#include <QString>"),
    ("tests/ui/content/x_test.cpp", '#include "ui/quick/a.h"'),
]

ALLOWED = [
    ("src/core/x.cpp", '#include "platform/a.h"\n#include "base/a.h"\n#include <vector>\n#include <fmt/format.h>'),
    ("src/app/main_linux.cpp", '#include "platform/linux/kernel/linux_machine.h"\n#include <QApplication>'),
    ("src/app/main_linux.cpp", '#include "app/main_popover_linux.h"\n#include "app/app_delegate.h"'),
    ("src/platform/linux/kernel/x.cpp", '#include "platform/a.h"\n#include <fcntl.h>\nopen("/proc/stat")'),
    ("src/platform/linux/update/x.cpp", "#include <archive.h>\n#include <plist/plist.h>\n#include <openssl/cms.h>"),
    ("src/simulation/x.cpp", '#include "app/app_delegate.h"\n#include "platform/simulated/a.h"'),
    ("src/ui/quick/x.cpp", '#include <QQuickItem>\n#include "ui/content/a.h"\n#include "x.moc"'),
    ("tools/local_machine_linux.cpp", '#include "tools/local_machine.h"\n#include "platform/posix/a.h"'),
    ("tools/local_machine_linux.cpp", '#include "platform/linux/kernel/linux_machine.h"'),
    ("tools/demo/x.cpp", '#include "app/main_popover_linux.h"\n#include "ui/quick/a.h"'),
    ("tests/core/x_test.cpp", '#include "core/a.h"\n#include "support/a.h"\n#include "platform/simulated/a.h"'),
    ("tests/update/x_test.cpp", '#include "update/a.h"\n#include <gtest/gtest.h>'),
    ("bench/x_bench.cpp", '#include "bare_loop.h"\n#include "platform/linux/kernel/linux_machine.h"'),
]


def self_test():
    missed = [case for case in REFUSED if not breaks(*case, TREE)]
    wrong = [(case, breaks(*case, TREE)) for case in ALLOWED if breaks(*case, TREE)]
    for path, text in missed:
        print(f"not refused: {path}: {text}")
    for (path, _), why in wrong:
        print(f"refused: {path}: {why}")
    return not missed and not wrong


def main():
    if sys.argv[1:] == ["--self-test"]:
        sys.exit(0 if self_test() else 1)
    count, found = check(Path(sys.argv[1]))
    for sentence in found:
        print(sentence)
    print(f"{count} files, {len(found)} breaks")
    sys.exit(1 if found or count == 0 else 0)


if __name__ == "__main__":
    main()
