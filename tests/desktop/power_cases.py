"""Keep-awake with what really blanks a display."""

import ctypes
import os
import signal
import time

from cases import Program, case, check, desktop, equal
from desktop import wait_for
from remedy_cases import REASON, Services, system_bus, tooltip
from wayland_cases import wayland

AWAKE = {"awakeOn": {"bool": True}, "awakeUntil": {"integer": 0}}


class SaverInfo(ctypes.Structure):
    _fields_ = [("window", ctypes.c_ulong), ("state", ctypes.c_int), ("kind", ctypes.c_int),
                ("til_or_since", ctypes.c_ulong), ("idle", ctypes.c_ulong), ("mask", ctypes.c_ulong)]


class Saver:
    """The X server's own screen saver."""

    def __init__(self, place):
        self.x = ctypes.CDLL("libX11.so.6")
        self.extension = ctypes.CDLL("libXss.so.1")
        self.x.XOpenDisplay.restype = ctypes.c_void_p
        self.x.XDefaultRootWindow.restype = ctypes.c_ulong
        self.display = ctypes.c_void_p(self.x.XOpenDisplay(place.environment["DISPLAY"].encode()))

    def set(self, seconds):
        self.x.XSetScreenSaver(self.display, seconds, 0, 1, 1)
        self.x.XSync(self.display, 0)

    def is_on(self):
        info = SaverInfo()
        check(self.extension.XScreenSaverQueryInfo(
            self.display, ctypes.c_ulong(self.x.XDefaultRootWindow(self.display)), ctypes.byref(info)),
            "the X server does not tell of its screen saver")
        return info.state == 1


def kept_awake_without_logind(place):
    system_bus(place)
    place.set_defaults(**AWAKE)
    program = Program(place)
    wait_for("the cup", lambda: "☕" in tooltip(place))
    return program


@case("xfce4-panel")
def x_servers_screen_saver_waits_for_the_end_of_the_program():
    for number in (signal.SIGTERM, signal.SIGKILL):
        with desktop("xfce4-panel", program=False) as place:
            saver = Saver(place)
            program = kept_awake_without_logind(place)
            saver.set(1)
            time.sleep(3)
            check(not saver.is_on(), "the screen saver came")
            place.end(program.process, number)
            wait_for("the screen saver", saver.is_on)


@case("xfce4-panel")
def x_servers_screen_saver_is_left_to_a_service_that_appears():
    with desktop("xfce4-panel", program=False) as place:
        saver = Saver(place)
        kept_awake_without_logind(place)
        service = Services(place, "screen-saver")
        equal(service.wait(1, "the request")[0][1:], ["Inhibit", "com.oxbrook.korvel", REASON], "the request")
        saver.set(1)
        wait_for("the screen saver", saver.is_on)


POWER_MANAGER = ("org.freedesktop.PowerManagement", "/org/freedesktop/PowerManagement/Inhibit",
                 "org.freedesktop.PowerManagement.Inhibit.HasInhibit")


@case("xfce4-panel", "xfce4-power-manager")
def power_manager_alone_holds_the_display():
    with desktop("xfce4-panel", program=False) as place:
        system_bus(place)
        place.spawn(["xfce4-power-manager", "--no-daemon"])
        wait_for("the power manager", lambda: place.call(*POWER_MANAGER) == "(false,)")
        program = kept_awake_without_logind(place)
        equal(place.call(*POWER_MANAGER), "(true,)", "what it says of inhibitors")
        equal(program.send(signal.SIGTERM), 0, "exit status")
        # That of XFCE 4.18 does not survive the end of any inhibitor.
        wait_for("the release", lambda: place.call(*POWER_MANAGER) != "(true,)")


@case("sway", "swaymsg", "setpriv", "swayidle")
def wayland_compositor_is_not_idle_while_kept_awake():
    for number in (signal.SIGTERM, signal.SIGKILL):
        with wayland(program=False) as place:
            system_bus(place)
            place.set_defaults(**AWAKE)
            program = Program(place)
            wait_for("the program's name", lambda: place.owner("com.oxbrook.korvel"))
            idle = os.path.join(place.folder, "idle")
            time.sleep(1)  # past the launch
            place.spawn(["swayidle", "timeout", "1", "touch " + idle])
            time.sleep(4)
            check(not os.path.exists(idle), "the compositor was idle")
            place.end(program.process, number)
            wait_for("idleness", lambda: os.path.exists(idle))
