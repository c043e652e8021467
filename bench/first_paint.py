"""How long the popover takes from the click on its item to its first painted frame.

The clock starts when the panel's call for a click, Activate, is handed to the session bus, and stops
when the screen shows content where the popover stands: so the bus, the sample that an opening takes,
the views, the window manager and the X server are all in it. The screen is asked for one column of
pixels, again and again without a pause (0.04 ms each). A window that is there and has nothing painted
into it yet is of one colour, and does not count.
"""

import ctypes
import time

import dbus
import dbus.bus
import dbus.lowlevel

from desktop import Failure, wait_for

ALL_PLANES = ctypes.c_ulong(-1)
Z_PIXMAP = 2
POINTER = 400, 300


class XImage(ctypes.Structure):
    """The beginning of Xlib's structure."""
    _fields_ = [("width", ctypes.c_int), ("height", ctypes.c_int), ("xoffset", ctypes.c_int),
                ("format", ctypes.c_int), ("data", ctypes.c_void_p), ("byte_order", ctypes.c_int),
                ("bitmap_unit", ctypes.c_int), ("bitmap_bit_order", ctypes.c_int),
                ("bitmap_pad", ctypes.c_int), ("depth", ctypes.c_int),
                ("bytes_per_line", ctypes.c_int)]


class Column:
    """A column of the screen's pixels that an opened popover covers."""

    def __init__(self, place):
        self.x = ctypes.CDLL("libX11.so.6")
        self.x.XOpenDisplay.restype = ctypes.c_void_p
        self.x.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
        self.x.XDefaultRootWindow.restype = ctypes.c_ulong
        self.x.XGetImage.argtypes = [ctypes.c_void_p, ctypes.c_ulong, ctypes.c_int, ctypes.c_int,
                                     ctypes.c_uint, ctypes.c_uint, ctypes.c_ulong, ctypes.c_int]
        self.x.XGetImage.restype = ctypes.POINTER(XImage)
        self.x.XDestroyImage.argtypes = [ctypes.POINTER(XImage)]
        self.display = self.x.XOpenDisplay(place.environment["DISPLAY"].encode())
        if not self.display:
            raise Failure("the display does not open")
        self.root = self.x.XDefaultRootWindow(self.display)

    def pixels(self):
        # Left of the pointer, below the panel; 600 is the height of the screen.
        image = self.x.XGetImage(self.display, self.root, POINTER[0] - 100, 40, 1, 560, ALL_PLANES,
                                 Z_PIXMAP)
        data = ctypes.string_at(image.contents.data,
                                image.contents.bytes_per_line * image.contents.height)
        self.x.XDestroyImage(image)
        return data


def painted(seen, before):
    """Whether what has changed is of several colours: ground, bars, edges of letters."""
    return len({seen[i:i + 4] for i in range(0, len(seen), 4)
                if seen[i:i + 4] != before[i:i + 4]}) > 3


class Clicker:
    """Clicks on the one item in the tray, as the panel does, and watches the screen."""

    def __init__(self, place):
        self.place = place
        self.column = Column(place)
        self.bus = dbus.bus.BusConnection(place.environment["DBUS_SESSION_BUS_ADDRESS"])
        self.item = wait_for("the item", place.items)[0]
        # A host that does not tell where its items are has the popover open at the pointer.
        place.xdotool("mousemove", *POINTER)

    def click(self):
        message = dbus.lowlevel.MethodCallMessage(self.item, "/StatusNotifierItem",
                                                  "org.kde.StatusNotifierItem", "Activate")
        message.append(*POINTER, signature="ii")
        message.set_no_reply(True)
        self.bus.send_message(message)
        self.bus.flush()

    def open(self):
        """Opens the popover. Milliseconds to its first painted frame."""
        before = self.column.pixels()
        started = time.perf_counter()
        self.click()
        while True:
            seen = self.column.pixels()
            ended = time.perf_counter()
            if seen != before and painted(seen, before):
                return (ended - started) * 1000
            if ended - started > 5:
                raise Failure("the popover was not painted")

    def close(self):
        self.click()
        wait_for("the closed popover", lambda: not self.place.popover())


def median(values):
    return sorted(values)[len(values) // 2]


def first_paint_ms(place, program):
    """Of a program that has just started: the first opening, one soon after a closing, and one after
    the views have been let go. Medians of five programs."""
    first, again, later = [], [], []
    for _ in range(5):
        process = place.spawn([program])
        clicker = Clicker(place)
        time.sleep(3)
        first.append(clicker.open())
        for _ in range(2):
            time.sleep(0.7)
            clicker.close()
            time.sleep(0.7)
            again.append(clicker.open())
        time.sleep(0.7)
        clicker.close()
        time.sleep(13)
        later.append(clicker.open())
        place.end(process)
        wait_for("the tray without it", lambda: not place.items())
    return {"first": median(first), "again": median(again), "later": median(later)}
