"""Paints the ground of an X desktop, as a program that shows wallpapers does: compositors draw what the root
window's properties name, and each another thing where they name nothing."""

import ctypes

PIXMAP, REPLACE, RETAIN_PERMANENT = 20, 0, 1  # numbers of the protocol


def paint(display_name, colour):
    """The whole ground in one colour, as 0xc0c0c0. It stays when this is over."""
    x = ctypes.CDLL("libX11.so.6")
    x.XOpenDisplay.restype = x.XCreateGC.restype = ctypes.c_void_p
    for function in (x.XInternAtom, x.XDefaultRootWindow, x.XCreatePixmap):
        function.restype = ctypes.c_ulong
    display = ctypes.c_void_p(x.XOpenDisplay(display_name.encode()))
    screen = x.XDefaultScreen(display)
    root = ctypes.c_ulong(x.XDefaultRootWindow(display))
    pixmap = ctypes.c_ulong(x.XCreatePixmap(display, root, 1, 1, x.XDefaultDepth(display, screen)))
    context = ctypes.c_void_p(x.XCreateGC(display, pixmap, ctypes.c_ulong(0), None))
    x.XSetForeground(display, context, ctypes.c_ulong(colour))
    x.XFillRectangle(display, pixmap, context, 0, 0, 1, 1)
    atom = ctypes.c_ulong(x.XInternAtom(display, b"_XROOTPMAP_ID", 0))
    x.XChangeProperty(display, root, atom, ctypes.c_ulong(PIXMAP), 32, REPLACE, ctypes.byref(pixmap), 1)
    x.XSetCloseDownMode(display, RETAIN_PERMANENT)
    x.XCloseDisplay(display)
