"""Updates from a real server, installed by the real program into its own bundle."""

import fcntl
import json
import os
import re
import shutil
import signal
import stat
import time
import urllib.parse

import PIL.Image
import PIL.ImageChops

from cases import case, check, equal, geometry, history, opened, wait_for_item
from desktop import wait_for
from popover_cases import LAUNCHER
from remedy_cases import Services, defaults, system_bus, tooltip
from update_site import (NEW, NOTES, OLD, PROGRAM, Releases, Signer, certificates, command,
                         contents, packed, trial)
from wayland_cases import open_popover, wayland

TOOLS = ("xfce4-panel", LAUNCHER, "unshare", "nsenter", "openssl")
UNSIGNED = "Update is not signed by Oxbrook; refusing to install"
CANNOT_WRITE = "Can't write to Programs. The new version is in the file manager; drag it over."
UNREACHABLE = "Could not reach the update server"
HOSTILE = "It's \"My\" $(touch hole) `touch hole` ;touch hole; Programs"
ROWS = [[1600000000 + i, 1.5, 2.5] for i in range(100)]


def update_case():
    return case(*TOOLS, before=Releases.make)


def keep_picture(place, name):
    folder = os.environ.get("KORVEL_PICTURES")
    if folder:
        time.sleep(0.5)  # past the moving in
        box = geometry(place, opened(place))
        place.screenshot().crop(*box).save(os.path.join(folder, name))


@update_case()
def update_is_found_installed_relaunched_and_greeted():
    logind = []

    def prepare(made):
        made.site.publish(NEW)
        logind.append(Services(made.place, "logind", environment=system_bus(made.place)))
        with open(os.path.join(made.place.home, ".korvel-history.json"), "w", encoding="utf-8") as file:
            json.dump(ROWS, file)

    with trial(home=HOSTILE, before=prepare, lastUpdateCheck=None, seenBuild={"integer": int(OLD)},
               seenVersion={"string": "1." + OLD}, awakeOn={"bool": True},
               awakeUntil={"integer": 0}) as made:
        place, tree, old = made.place, made.tree, made.pid()
        wait_for("the check of the launch", lambda: "lastUpdateCheck" in defaults(place))
        made.open()
        tree.find(f"Version 1.{NEW} is available")
        keep_picture(place, "update-available.png")
        made.press("Update")
        tree.find("Update installed")
        keep_picture(place, "update-installed.png")
        equal(made.pid(), old, "the process")
        check(made.is_release(NEW), "another bundle than was published is in place")
        equal(made.leftovers(), [], "left behind")
        equal(defaults(place)["pendingReleaseNotes"], {"string": NOTES}, "what is handed over")

        made.press("Relaunch")
        equal(made.program.exit_status(), 0, "exit status")
        ended = time.monotonic()
        new = wait_for("the new copy", made.pid)
        check(0.5 < time.monotonic() - ended < 6, f"it came {time.monotonic() - ended:.1f} s later")
        equal(os.readlink(f"/proc/{new}/exe"), os.path.join(made.bundle, PROGRAM), "what runs")
        opened(place)  # by itself
        tree.find(f"Updated to 1.{NEW}")
        shown = [node.name for node in tree.nodes()]
        for line in (f"Was 1.{OLD}, what changed", "Faster sampling", "Fixed <b>swap</b> readout",
                     "New icon"):
            check(line in shown, f"{line!r} is not shown")
        check("A fourth line" not in shown, "more than three notes are shown")
        keep_picture(place, "update-greeting.png")
        check("pendingReleaseNotes" not in defaults(place), "the notes are still there")
        wait_for("the cup", lambda: "☕" in tooltip(place))
        equal([call[1] for call in logind[0].calls()], ["Inhibit", "closed", "Inhibit"], "keep-awake")
        rows = history(place)
        equal(rows[:len(ROWS)], ROWS, "the history")
        check(len(rows) > len(ROWS), "the history of the first run is lost")
        equal([os.path.join(top, "hole") for top, _, files in os.walk(place.folder) if "hole" in files],
              [], "what a shell made of the path")
        check(not os.path.exists("/hole"), "what a shell made of the path")


def ink(picture, strip):
    """From which column of this strip to which there is more than its ground; None: nowhere."""
    pixels = picture.crop(*strip).picture
    ground = max(pixels.getcolors(2**24))[1]
    found = PIL.ImageChops.difference(pixels, PIL.Image.new("RGB", pixels.size, ground))
    box = found.convert("L").point([0] * 8 + [255] * 248).getbbox()
    return box and (box[0], box[2])


def sees_the_line_of_the_work(made, panel, in_window=False):
    """Has the update installed by a program that stops when the work has begun, and looks at the
    line then. `panel` tells where the popover is; its line is as far from its lower end as before.
    The screen reader is told places on the screen, or `in_window` in the popover.
    """
    def strip(above, height):
        left, top, width, tall = panel()
        return left + 12, top + tall - above, width - 24, height

    def line():
        """How high above the end, how tall and how wide the words are."""
        _, top, width, height = made.tree.find("Downloading…").box()
        return panel()[3] + (0 if in_window else panel()[1]) - top, height, width

    def bar():
        """The same once there are words on the screen, and the track of a bar from there to the right,
        and no reading moves them meanwhile."""
        found = line()
        seen = ink(made.place.screenshot(), strip(*found[:2]))
        return line() == found and seen and seen[1] > 0.9 * panel()[2] - 24 and found

    with made.site.holding():
        made.press("Update")
        above, height, width = wait_for("the bar", bar)
    wait_for("the stop", made.stopped)
    time.sleep(0.3)  # for the display server, which goes on
    picture = made.place.screenshot()
    if os.environ.get("KORVEL_PICTURES"):
        picture.save(os.path.join(os.environ["KORVEL_PICTURES"], "update-installing.png"))
    first, last = ink(picture, strip(above, height)) or (0, 0)
    check(1.5 * width < last - first < 0.7 * panel()[2],
          f"ink from {first} to {last} of {panel()[2]}, where the words before were {width} wide")
    os.kill(made.pid(), signal.SIGCONT)
    made.tree.find("Update installed")


@update_case()
def work_is_told_on_the_screen_before_it_begins():
    with trial(stop="unpack") as made:
        window = made.open()
        made.place.xdotool("mousemove", 0, 999)  # where it brings up no tip over the line
        made.site.publish(NEW)
        made.check()
        made.tree.find(f"Version 1.{NEW} is available")
        sees_the_line_of_the_work(made, lambda: geometry(made.place, window))


@case(*TOOLS, "sway", "swaymsg", "setpriv", "grim", before=Releases.make)
def on_wayland_work_is_told_on_the_screen_before_it_begins():
    with trial(on=wayland(program=False), before=lambda made: made.site.publish(NEW),
               stop="unpack", lastUpdateCheck=None) as made:
        made.place.run(["swaymsg", "output HEADLESS-1 resolution 800x1000"])  # so that nothing scrolls
        open_popover(made.place)
        made.tree.find(f"Version 1.{NEW} is available")

        def panel():
            rect = made.place.windows()[0]["rect"]
            return rect["x"], rect["y"], rect["width"], rect["height"]

        sees_the_line_of_the_work(made, panel, in_window=True)


def refused(made, version, sentence):
    """Sees the release that is offered refused with this sentence, and nothing changed."""
    before, process = contents(made.installed), made.pid()
    made.check()
    made.tree.find(f"Version {version} is available")
    made.press("Update")
    made.tree.find(sentence)
    equal(made.pid(), process, f"{version}: the process")
    equal(contents(made.installed), before, f"{version}: the bundle")
    equal(made.leftovers(), [], f"{version}: left behind")
    check("pendingReleaseNotes" not in defaults(made.place), f"{version}: notes are handed over")


@update_case()
def download_that_is_not_the_release_is_refused():
    with trial() as made:
        made.open()
        made.site.publish(NEW, version="2.digest", sha256="0" * 64)
        refused(made, "2.digest", "Update failed its integrity check")
        made.site.publish(NEW, version="2.missing", url=f"https://{made.releases.host}/archives/none.zip")
        refused(made, "2.missing", "Download failed")
        made.site.publish(NEW, version="2.plain", url=f"http://{made.releases.host}/archives/none.zip")
        made.check()
        made.tree.find(UNREACHABLE)
        with open(made.releases.archive(NEW), "rb") as file:
            whole = file.read()
        made.site.offer("2.text", b"This is no archive.\n" * 100)
        refused(made, "2.text", "Update could not be unpacked")
        made.site.offer("2.cut", whole[:len(whole) // 2])
        refused(made, "2.cut", "Update could not be unpacked")
        folder = os.path.join(made.place.folder, "no-bundle")
        shutil.copytree(made.releases.bundles[NEW], os.path.join(folder, "Korvel"))
        made.site.offer("2.folder", packed(folder))
        refused(made, "2.folder", "Update could not be unpacked")
        # The digest in capitals is the same digest; and after all of that an update works.
        made.site.publish(NEW, version="2.good", sha256=made.releases.feed(NEW)["sha256"].upper())
        made.check()
        made.tree.find("Version 2.good is available")
        made.press("Update")
        made.tree.find("Update installed")
        check(made.is_release(NEW), "another bundle than was published is in place")


def remove_signature(bundle):
    shutil.rmtree(os.path.join(bundle, "Contents/_CodeSignature"))


def change_a_byte(bundle):
    with open(os.path.join(bundle, PROGRAM), "r+b") as file:
        file.seek(5000)
        byte = file.read(1)
        file.seek(5000)
        file.write(bytes([byte[0] ^ 1]))


def add_a_file(bundle):
    with open(os.path.join(bundle, "Contents/Resources/more"), "w", encoding="ascii") as file:
        file.write("more")


def remove_a_file(bundle):
    os.remove(os.path.join(bundle, "Contents/Resources/com.oxbrook.korvel.svg"))


def change_a_mode(bundle):
    os.chmod(os.path.join(bundle, "Contents/Info.plist"), 0o755)


def link_out(bundle):
    os.symlink("/etc/passwd", os.path.join(bundle, "Contents/Resources/link"))


@update_case()
def bundle_that_the_team_did_not_sign_is_refused():
    with trial() as made:
        folder, releases = made.place.folder, made.releases

        certificates.make_authority(folder, "other")
        foreign = Signer(folder, "foreign", os.path.join(folder, "other"))
        other = Signer(folder, "elsewhere", releases.root, "ZZZZZZZZZZ")

        def seal(signer):
            return lambda bundle: releases.seal(bundle, signer)

        def rename_program(bundle):
            path = os.path.join(bundle, "Contents/Info.plist")
            with open(path, encoding="utf-8") as file:
                text = file.read()
            with open(path, "w", encoding="utf-8") as file:
                file.write(text.replace("com.oxbrook.korvel", "com.oxbrook.other"))
            releases.seal(bundle, releases.team)

        made.open()
        for version, origin, change in (
                ("3.unsigned", NEW, remove_signature), ("3.team", NEW, seal(other)),
                ("3.root", NEW, seal(foreign)), ("3.byte", NEW, change_a_byte),
                ("3.added", NEW, add_a_file), ("3.removed", NEW, remove_a_file),
                ("3.mode", NEW, change_a_mode), ("3.link", NEW, link_out),
                ("3.program", NEW, rename_program),
                ("3.older", OLD, lambda bundle: None)):
            unpacked = os.path.join(folder, version)
            bundle = os.path.join(unpacked, "Korvel.app")
            shutil.copytree(releases.bundles[origin], bundle, symlinks=True)
            change(bundle)
            made.site.offer(version, packed(unpacked))
            refused(made, version, UNSIGNED)
        # Offered in the same way, the bundle as it was signed is installed.
        made.site.offer("3.good", packed(os.path.dirname(releases.bundles[NEW])))
        made.check()
        made.tree.find("Version 3.good is available")
        made.press("Update")
        made.tree.find("Update installed")


@update_case()
def folder_that_cannot_be_written_has_the_new_bundle_shown():
    lock = ("mount --bind {0} {0}", "mount -o remount,ro,bind {0}")
    with trial(mounts=[step.format("{trial.place.folder}/Programs") for step in lock]) as made:
        manager = Services(made.place, "file-manager")
        made.open()
        made.site.publish(NEW)
        refused(made, "1." + NEW, CANNOT_WRITE)
        keep_picture(made.place, "update-cannot-write.png")

        def folder_shown(number):
            """Of the bundle that was shown at that call: what the folder of the work was in."""
            call = manager.wait(number, "the file manager")[number - 1]
            equal(call[:2] + call[3:], ["file-manager", "ShowItems", ""], "what is asked")
            equal(len(call[2]), 1, "bundles shown")
            shown = urllib.parse.urlparse(call[2][0])
            equal((shown.scheme, shown.path.rsplit("/", 2)[1:]), ("file", ["out", "Korvel.app"]), "what is shown")
            return os.path.dirname(os.path.dirname(os.path.dirname(shown.path)))

        equal(folder_shown(1), made.temporary, "the folder for temporary files")
        os.chmod(made.temporary, 0o777)  # anybody could exchange in it what is to be dragged over
        made.site.publish(NEW, version="2.shared")
        refused(made, "2.shared", CANNOT_WRITE)
        check(folder_shown(2) != made.temporary, "the folder that others may write is used")


@update_case()
def check_from_the_menu_tells_what_the_server_does():
    with trial() as made:
        made.open()
        site = made.site
        site.publish(OLD)

        def time_of_check():
            return defaults(made.place)["lastUpdateCheck"]["double"]

        def checked():
            before = time_of_check()
            made.check()
            wait_for("the end of the check", lambda: time_of_check() > before)

        def strange():
            site.stop()
            site.start("strange")

        def back():
            site.stop()
            site.start()

        for what, worsen, mend in (("500", lambda: site.status(500), site.status),
                                   ("another authority", strange, back),
                                   ("down", site.stop, site.start)):
            worsen()
            checked()
            made.tree.find(UNREACHABLE)
            keep_picture(made.place, "update-unreachable.png")
            mend()
            checked()  # and this is the newest release
            wait_for(f"no line after {what}", lambda: not made.shows(UNREACHABLE))
        site.publish(NEW)
        checked()
        made.tree.find(f"Version 1.{NEW} is available")


def installs(made, version):
    """Has the offered release installed."""
    made.check()
    made.tree.find(f"Version {version} is available")
    made.press("Update")
    made.tree.find("Update installed")
    equal(made.leftovers(), [], f"{version}: left behind")


@update_case()
def release_older_than_the_one_installed_and_not_yet_started_is_refused():
    with trial() as made:
        folder = os.path.join(made.place.folder, "newest")
        bundle = os.path.join(folder, "Korvel.app")
        shutil.copytree(made.releases.bundles[NEW], bundle, symlinks=True)
        path = os.path.join(bundle, "Contents/Info.plist")
        with open(path, encoding="utf-8") as file:
            text = file.read()
        with open(path, "w", encoding="utf-8") as file:
            file.write(text.replace(f"<string>{NEW}</string>", "<string>102</string>"))
        made.releases.seal(bundle, made.releases.team)
        made.open()
        made.site.offer("1.102", packed(folder), build=102)
        installs(made, "1.102")
        newest = contents(bundle)
        equal(contents(made.installed), newest, "the bundle")
        made.site.publish(NEW)
        made.check()
        made.tree.find(f"Version 1.{NEW} is available")
        made.press("Update")
        made.tree.find(UNSIGNED)
        equal(contents(made.installed), newest, "the bundle")
        equal(made.leftovers(), [], "left behind")


def tmpfs(size, folder):
    return f"mount -t tmpfs -o size={size},mode=1777 tmpfs {folder}"


@update_case()
def update_takes_no_room_in_the_temporary_folder():
    with trial(mounts=[tmpfs("8k", "{trial.temporary}")]) as made:
        made.open()
        made.site.publish(NEW)
        installs(made, "1." + NEW)
        check(made.is_release(NEW), "another bundle than was published is in place")


@update_case()
def full_disk_under_the_bundle_fails_the_update_and_nothing_is_left():
    kept = "{trial.place.folder}/kept"
    with trial(mounts=[tmpfs("200m", "{trial.temporary}"), f"mkdir {kept}",
                       f"mount --bind {{trial.home}} {kept}", tmpfs("100m", "{trial.home}"),
                       f"cp -a {kept}/. {{trial.home}}"]) as made:
        home = made.site.path(made.home)
        disk = os.statvfs(home)
        bundle = (disk.f_blocks - disk.f_bfree) * disk.f_frsize
        archive = os.path.getsize(made.releases.archive(NEW))
        made.open()
        for room, sentence in ((archive // 2, "Download failed"),
                               (archive + bundle // 2, "Update could not be unpacked")):
            command(*made.site.inside("mount", "-o", f"remount,size={bundle + room}", made.home))
            made.site.publish(NEW, version=f"4.{room}")
            refused(made, f"4.{room}", sentence)
        # With the room of one more bundle and its archive there is no more to ask for.
        room = archive + bundle + 2**18
        command(*made.site.inside("mount", "-o", f"remount,size={bundle + room}", made.home))
        made.site.publish(NEW, version="4.good")
        installs(made, "4.good")
        check(made.is_release(NEW), "another bundle than was published is in place")


@update_case()
def quit_during_a_download_leaves_nothing():
    with trial() as made:
        made.open()
        made.site.publish(NEW)
        made.check()
        made.tree.find(f"Version 1.{NEW} is available")
        with made.site.holding():
            made.press("Update")
            made.tree.find("Downloading…")
            folder, = made.leftovers()
            check(re.fullmatch(r"\.korvel-update-[0-9A-F-]{36}", folder), f"it works in {folder}")
            mode = stat.S_IMODE(os.stat(os.path.join(made.home, folder)).st_mode)
            equal(oct(mode), "0o700", "who may look into it")
            quit_program(made)
        equal(made.leftovers(), [], "left behind")
        check(made.is_release(OLD), "another bundle is in place")


def stale(folder, name):
    """A folder as an installation leaves it that was killed while nothing was in place."""
    path = os.path.join(folder, name)
    os.makedirs(os.path.join(path, "out/Korvel.app/Contents"))
    for inside in ("korvel-work", "update.zip", "out/Korvel.app/Contents/Info.plist"):
        with open(os.path.join(path, inside), "w", encoding="ascii") as file:
            file.write(os.path.join(folder, "Elsewhere.app"))
    return path


@update_case()
def launch_removes_what_installations_left_and_follows_no_link():
    names = [f"korvel-update-0123ABCD-0000-4000-8000-00000000000{n}" for n in range(3)]

    def prepare(made):
        made.gone = [stale(made.home, "." + names[0]), stale(made.temporary, names[0])]
        made.kept = [stale(made.home, f".{names[0]}-mine"), stale(made.temporary, "korvel-update-"),
                     stale(made.home, "." + names[1]), stale(made.home, "treasure")]
        os.mkdir(os.path.join(made.kept[3], "old.app"))
        made.links = [os.path.join(made.home, "." + names[2]), os.path.join(made.temporary, names[2])]
        for link in made.links:
            os.symlink(made.kept[3], link)
        # One that another copy is at work in.
        made.work = open(os.path.join(made.kept[2], "korvel-work"), "r+", encoding="ascii")
        fcntl.flock(made.work, fcntl.LOCK_EX)
        made.before = [contents(path) for path in made.kept]

    with trial(before=prepare) as made:
        equal([os.path.exists(path) for path in made.gone], [False, False], "what is stale is there")
        equal([contents(path) for path in made.kept], made.before, "what is not stale")
        equal([os.readlink(link) for link in made.links], [made.kept[3]] * 2, "the links")
        quit_program(made)
        made.work.close()
        made.start()
        check(not os.path.exists(made.kept[2]), "what the other copy left is there")


def start_over(made):
    for folder in (made.home, made.temporary):
        for name in os.listdir(folder):
            shutil.rmtree(os.path.join(folder, name))
    made.put_old()


def quit_program(made):
    """Quits it once its item is in the tray: the panel keeps the item of a program that ends while it
    registers it."""
    wait_for_item(made.place)
    equal(made.program.send(signal.SIGTERM), 0, "exit status")
    wait_for("the item gone", lambda: not made.place.items())


@update_case()
def killed_in_the_change_the_next_start_sees_to_it():
    with trial() as made:
        made.site.publish(NEW)
        for step, exchanges, left in (("exchange", True, NEW), ("move aside", False, None),
                                      ("move in", False, NEW)):
            quit_program(made)
            start_over(made)
            made.start(**made.signalled(signal.SIGKILL, step), KORVEL_EXCHANGES=int(exchanges))
            made.open()
            made.check()
            made.press("Update")
            equal(made.program.exit_status(), -signal.SIGKILL, f"{step}: exit status")
            wait_for("the item gone", lambda: not made.place.items())
            equal(os.listdir(made.home) == ["Korvel.app"], False, f"{step}: nothing is left")
            equal(made.is_release(left) if left else os.path.exists(made.bundle), bool(left),
                  f"{step}: whether a bundle is in place")
            made.start(made.releases.bundles[NEW])  # any copy
            check(made.is_release(left or OLD), f"{step}: another bundle is in place")
            quit_program(made)
            made.start()
            equal(made.leftovers(), [], f"{step}: left behind")


@update_case()
def file_system_that_cannot_exchange_serves_as_well():
    with trial() as made:
        quit_program(made)
        made.start(**made.signalled(signal.SIGKILL, "exchange"), KORVEL_EXCHANGES=0)
        made.open()
        made.site.publish(NEW)
        installs(made, "1." + NEW)
        check(made.is_release(NEW), "another bundle than was published is in place")
