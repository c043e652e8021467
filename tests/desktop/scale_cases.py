"""The popover's window where the screen's scale is no whole number: its size, and that its picture is whole."""

import contextlib
import os
import re
import time

from cases import PALETTE, case, check, equal, geometry, opened
from demo_cases import demo
from desktop import Desktop, Failure, wait_for
from window_cases import BOTTOM, PANEL, RADIUS, SIDE, TOP, start_compositor

SCALES = (1.25, 1.5, 1.75, 2.25)
UNEVEN = 17 / 16  # of 102 dots an inch: the panel is then 361.25 pixels wide
# What is shown stands still; with the breakdown open the window has a second height.
CLOSED = {"defaults": {"seenBuild": 2**31 - 1}, "events": [{"at": 0.2, "do": "togglePopover"}]}
OPENED = {**CLOSED, "events": [{"at": 0.1, "do": "toggleBreakdown"}, *CLOSED["events"]]}
MOST = 0.97  # of an edge at the side: lines across the panel cross it
SECTIONS = 4  # at least so many lines divide the panel


def pixels(points, scale):
    return int(points * scale + 0.5)


def shown(place, window):
    """Where the part of the window is that it is not cut by, as geometry tells it."""
    x, y, width, height = geometry(place, window)
    cut = re.search(r"Window shape extents: +(\d+)x(\d+)\+0\+0", place.run(["xwininfo", "-id", window, "-shape"]))
    return (x, y, *map(int, cut.groups())) if cut else (x, y, width, height)


def still_picture(place, window):
    """What is shown of the window, once it does not change any more."""

    def still():
        before = place.screenshot().crop(*shown(place, window))
        time.sleep(0.2)
        after = place.screenshot().crop(*shown(place, window))
        return after if after.rgb == before.rgb and after.box(PALETTE) else None

    return wait_for("a picture that stands still", still)


@contextlib.contextmanager
def popover(place, scale, scenario):
    """The open popover, on a machine of which nothing changes."""
    place.environment["QT_SCALE_FACTOR"] = str(scale)
    program = demo(place, scenario)
    window = opened(place).split()[0]
    yield window, still_picture(place, window)
    equal(program.send(15), 0, "exit status")


def line(picture, x, y, width, height, share=1.0):
    """The colour of a line, of at least that share of it; None if it has none."""
    counts = picture.crop(x, y, width, height).picture.getcolors(width * height)
    count, colour = max(counts)
    return colour if count >= share * width * height else None


def check_size(place, window, scale, shadow):
    """The width, and that the window manager has no reason to round the size."""
    equal(shown(place, window)[2], pixels(PANEL + 2 * SIDE * shadow, scale), "shown width")
    width, height = geometry(place, window)[2:]
    hints = place.run(["xprop", "-id", window, "WM_NORMAL_HINTS"])
    step = re.search(r"resize increment: (\d+) by (\d+)", hints)
    base = re.search(r"base size: (-?\d+) by (-?\d+)", hints)
    if step:
        check(base, f"steps without a size to count from: {hints}")
        equal([(size - int(start)) % int(by) for size, start, by in zip((width, height), base.groups(), step.groups())],
              [0, 0], f"pixels that {width}x{height} has beyond the steps of {hints}")


def check_picture(picture, scale, shadow):
    """That the panel's edges, its lines and the dial are where they belong, and straight."""
    left, top = (pixels(SIDE, scale), pixels(TOP, scale)) if shadow else (0, 0)
    width, height = pixels(PANEL, scale), picture.height - (pixels(TOP, scale) + pixels(BOTTOM, scale)) * shadow
    round_part = pixels(RADIUS, scale) * shadow
    tall, wide = height - 2 * round_part, width - 2 * round_part
    edges = {"left": line(picture, left, top + round_part, 1, tall, MOST),
             "right": line(picture, left + width - 1, top + round_part, 1, tall, MOST),
             "top": line(picture, left + round_part, top, wide, 1),
             "bottom": line(picture, left + round_part, top + height - 1, wide, 1)}
    ground = picture.pixel(left + width // 2, top + pixels(5, scale))
    check(len(set(edges.values())) == 1 and None not in edges.values() and ground not in edges.values(),
          f"the edges are {edges} on {ground}")
    inside = 3  # pixels at most that the edge is thick
    rows = [line(picture, left + inside, top + row, width - 2 * inside, 1) for row in range(inside, height - inside)]
    dividing = [row for row, colour in enumerate(rows) if colour not in (None, ground)]
    check(len(dividing) >= SECTIONS, f"of {len(rows)} rows only {dividing} are lines across the panel")
    # The dial: 56 wide, behind a padding of 16 at the left and of 14 at the top.
    dial = pixels(56, scale)
    arc = picture.crop(left + pixels(16, scale), top + pixels(14, scale), dial, dial).box(PALETTE)
    check(arc and arc[1] <= 2 and arc[0] + arc[2] >= dial - 3, f"the arc of the score is at {arc}")


def looks_right_at(scales, before=None, shadow=False, **options):
    with Desktop(size="1000x1800", **options) as place:
        if before is not None:
            before(place)
        for number, scale in enumerate(scales):
            with popover(place, scale, (CLOSED, OPENED)[number % 2]) as (window, picture):
                try:
                    check_size(place, window, scale, shadow)
                    check_picture(picture, scale, shadow)
                except Failure as failure:
                    raise Failure(f"at {scale}: {failure}") from None
        with open(os.path.join(place.folder, "printed"), "rb") as printed:
            equal(printed.read(), b"", "printed by the program")


@case("xwininfo")
def on_openbox_the_popover_is_whole_at_each_scale():
    looks_right_at((*SCALES, UNEVEN))


@case("xfwm4", "xwininfo")
def on_xfwm4_the_popover_is_whole_at_each_scale():
    looks_right_at(SCALES, manager=["xfwm4", "--compositor=off"])


@case("picom", "xwininfo")
def with_a_compositor_the_popover_is_whole_at_each_scale():
    looks_right_at(SCALES, before=start_compositor, shadow=True)


@case("xwininfo")
def popover_of_a_size_that_it_did_not_ask_for_shows_the_same_picture():
    with Desktop(size="1000x1800", manager=None) as place:
        with popover(place, 1.75, CLOSED) as (window, picture):
            width, height = geometry(place, window)[2:]
            # One of these widths has as many whole logical pixels as the other. The popover asks for its own a
            # few times, and then leaves the desktop its way.
            for columns in (1, 3, 2):

                def kept():
                    place.xdotool("windowsize", window, width - columns, height)
                    narrow = still_picture(place, window)
                    return narrow if geometry(place, window)[2] == width - columns else None

                narrow = wait_for(f"a window without {columns} columns", kept, 30)
                check(columns <= width - narrow.width <= columns + 2, f"{narrow.width} of {width} columns are shown")
                whole = picture.crop(0, 0, narrow.width, narrow.height)
                # Qt may blend a piece in another way, which rounds otherwise.
                off = max(abs(a - b) for a, b in zip(narrow.rgb, whole.rgb))
                check(off <= 2, f"without {columns} columns the picture differs by up to {off} levels")
