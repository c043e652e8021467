"""The popover's window on desktops with and without a compositor."""

import os
import subprocess
import time

import ground
from cases import case, check, closed, equal, geometry
from desktop import wait_for
from popover_cases import LAUNCHER, picture, screen_reader

SIDE, TOP, BOTTOM, RADIUS = 20, 12, 28, 10  # of the shadow, and of the panel's corners
PANEL = 340


def start_compositor(place):
    ground.paint(place.environment["DISPLAY"], 0xc0c0c0)
    compositor = place.spawn(["picom", "--config", "/dev/null", "--backend", "xrender"])
    wait_for("the compositor", lambda: place.composited())
    return compositor


def corners_of(image, left, top, right, bottom):
    """The pixels at the corners of a part of a picture."""
    return [image.pixel(x, y) for x in (left, right) for y in (top, bottom)]


def brightness(pixel):
    return sum(pixel) / 3


@case(LAUNCHER)
def without_a_compositor_the_corners_are_square():
    for scheme in (1, 2):
        with screen_reader(portal=scheme) as (place, _):
            equal(geometry(place, place.popover())[2], PANEL, "width")

            def edges():
                shown = picture(place)
                return corners_of(shown, 0, 0, shown.width - 1, shown.height - 1) + [
                    shown.pixel(shown.width // 2, 0)]

            wait_for("one line around the panel", lambda: len(set(edges())) == 1)
            check(brightness(edges()[0]) > 30, f"the edge is {edges()[0]}")


@case(LAUNCHER, "picom")
def with_a_compositor_the_corners_are_round_and_the_shadow_fades():
    for scheme in (1, 2):
        with screen_reader(portal=scheme, before=start_compositor) as (place, _):
            x, y, width, height = geometry(place, place.popover())
            equal(width, PANEL + 2 * SIDE, "width with the shadow")
            check(x + SIDE >= 0 and y + TOP >= 0 and x + width - SIDE <= 800 and
                  y + height - BOTTOM <= 600, f"the popover is at {(x, y, width, height)}")
            screen = place.screenshot()
            backdrop = screen.pixel(2, 590)
            check(brightness(backdrop) > 100, f"no shadow is seen on {backdrop}")
            panel = (x + SIDE, y + TOP, x + width - SIDE - 1, y + height - BOTTOM - 1)
            for corner in corners_of(screen, *panel):
                check(0.3 < brightness(corner) / brightness(backdrop) <= 1.01,
                      f"a corner is {corner} before {backdrop}")
            ground = screen.pixel(panel[0] + RADIUS, panel[1] + RADIUS)
            check(brightness(ground) < 64 if scheme == 1 else brightness(ground) > 192,
                  f"the ground is {ground}")
            below = [brightness(screen.pixel(x + width // 2, row))
                     for row in range(panel[3] + 1, y + height)]
            equal(below, sorted(below), "the shadow below the panel")
            check(below[0] < 0.9 * brightness(backdrop), f"no shadow: {below}")
            check(abs(below[-1] - brightness(backdrop)) <= 2, f"the shadow ends at {below[-1]}")


@case(LAUNCHER, "picom")
def click_in_the_shadow_is_a_click_outside():
    with screen_reader(before=start_compositor) as (place, _):
        x, y, width, height = geometry(place, place.popover())
        place.click(x + width // 2, y + height - BOTTOM - 4)
        time.sleep(0.5)
        check(place.popover(), "a click within the panel closed it")
        for _ in range(5):
            window = place.popover()
            box = geometry(place, window)
            place.click(box[0] + box[2] // 2, box[1] + box[3] - BOTTOM + 6)
            time.sleep(0.5)
            # A refresh may have brought a line more, and the click into the panel.
            if not place.popover() or geometry(place, window) == box:
                break
        closed(place)


@case(LAUNCHER, "picom")
def compositor_that_comes_and_goes_while_open_is_followed():
    with screen_reader(portal=2) as (place, _):
        window = place.popover()

        def wide(pixels):
            wait_for(f"a window of {pixels} pixels",
                     lambda: geometry(place, window)[2] == pixels, 15)

        wide(PANEL)
        left = geometry(place, window)[0]
        compositor = start_compositor(place)
        wide(PANEL + 2 * SIDE)
        wait_for("the panel in its place", lambda: geometry(place, window)[0] + SIDE == left)
        place.end(compositor)
        wide(PANEL)
        wait_for("the panel in its place", lambda: geometry(place, window)[0] == left)
        wait_for("square corners", lambda: (shown := picture(place)) and len(set(corners_of(
            shown, 0, 0, shown.width - 1, shown.height - 1))) == 1)
        equal(place.popover(), window, "the window")


@case(LAUNCHER)
def larger_text_of_the_portal_and_of_the_x_server_widens_the_open_popover():
    with screen_reader(portal=2) as (place, _):
        window = place.popover()

        def wide(factor):
            wait_for(f"a popover {factor} times as wide",
                     lambda: geometry(place, window)[2] == factor * PANEL, 15)

        def scale_text(factor):
            place.call("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                       "com.oxbrook.korvel.test.Set", "org.gnome.desktop.interface",
                       "text-scaling-factor", f"<{factor}>")

        wide(1)
        scale_text(1.5)
        wide(1.5)
        scale_text(1.0)
        wide(1)
        daemon = place.spawn([os.path.join(os.path.dirname(os.path.abspath(__file__)), "fake_xsettings")],
                             stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        for font, factor in (("Sans 20", 2), ("Sans 12", 1.2), ("Sans 10", 1)):
            print(font, file=daemon.stdin, flush=True)
            equal(daemon.stdout.readline(), "done\n", "the daemon's answer")
            wide(factor)
