"""The cells of the table: what is tried on each shell, in this order, and when it holds."""

import functools
import re
import time

import PIL.ImageChops

from shells.base import WIDTH, Failure, Rectangle, wait_for

REACH = 12  # pixels between the popover's edge and the item's
CELLS = []
AGAIN_CELLS = []


def cell(name, cells=CELLS):
    """Registers a cell under the name that the table heads its column with. A function that returns
    something has found a remark on its "yes"."""

    def register(function):
        cells.append((name, function))
        return function

    return register


def check(holds, message):
    if not holds:
        raise Failure(message)


def opened(shell, seconds=10):
    """The popover's rectangle, once it stands still."""
    wait_for("the open popover", shell.popover, seconds)
    before = None
    deadline = time.monotonic() + 5
    while time.monotonic() < deadline:
        now = shell.popover()
        if now is not None and now == before:
            return now
        before = now
        time.sleep(0.3)
    raise Failure(f"the popover does not stand still: {before}")


def closed(shell, seconds=4):
    wait_for("the closed popover", lambda: shell.popover() is None, seconds)


def stays_closed(shell, seconds=1.5):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        check(shell.popover() is None, "it opened again")
        time.sleep(0.1)


def begin_open(shell):
    """However the last cell ended: now it is open, with the keyboard where it belongs."""
    begin_closed(shell)
    shell.open_with_pointer()
    return opened(shell)


def begin_closed(shell):
    if shell.popover() is not None:
        shell.key("Escape")
        try:
            closed(shell, 2)
        except Failure:
            shell.start_program()
            wait_for("the item", shell.item, 15)
    time.sleep(0.7)  # past the time in which a click after a loss of the keyboard is not heard


def beside(item, popover, unit):
    """How far the popover's nearest edge is from the item's, in pixels, and what is covered of it."""
    across = max(item.x - popover.right, popover.x - item.right)
    down = max(item.y - popover.bottom, popover.y - item.bottom)
    return max(across, down) / unit, across < 0 and down < 0


def check_place(shell):
    begin_closed(shell)
    item, free = wait_for("the item", shell.item), shell.free_area()
    popover = begin_open(shell)
    seen = f"popover {popover}, item {item}, free {free}"
    check(round(popover.width / shell.unit) == WIDTH, f"it is {popover.width / shell.unit:g} wide; {seen}")
    # The item's part of the panel reaches to the panel's edge.
    panel = shell.panel_area()
    column = Rectangle(item.x, panel.y, item.width, panel.height) if panel.width > panel.height else \
        Rectangle(panel.x, item.y, panel.width, item.height)
    distance, covers = beside(column, popover, shell.unit)
    check(not covers, f"it covers the item; {seen}")
    check(distance <= REACH, f"it is {distance:g} pixels from the item; {seen}")
    check(free.contains(popover), f"it is not within the free area; {seen}")


@cell("item")
def item_is_visible(shell):
    box = wait_for("the coloured item in the panel", shell.item, 15)
    check(10 * shell.unit <= box.width <= 40 * shell.unit and 10 * shell.unit <= box.height <= 40 * shell.unit,
          f"its tile is {box}")


@cell("opens")
def one_click_opens(shell):
    begin_closed(shell)
    shell.open_with_pointer()
    opened(shell)


@cell("place")
def popover_is_at_the_item(shell):
    check_place(shell)


@cell("keyboard")
def popover_has_the_keyboard(shell):
    begin_open(shell)
    wait_for("the keyboard", shell.popover_has_keyboard, 3)
    shell.move(*shell.background_point())
    time.sleep(0.5)
    for _ in range(2):  # a refresh may fall between two pictures; hardly in both rounds
        moved = wait_for("a popover that shows the same for a while", lambda: tab_moves_the_ring(shell), 15)
        check(moved == "moved", "the Tab key changed nothing on it")


def tab_moves_the_ring(shell):
    """Whether each of two presses of Tab changes the picture; None when it also changes by itself."""
    place = shell.popover()
    pictures = []
    for key in (None, None, "Tab", "Tab"):
        if key:
            shell.key(key)
        time.sleep(0.35)
        pictures.append(shell.look_at(place).rgb)
    if pictures[0] != pictures[1]:
        return None
    return "moved" if pictures[1] != pictures[2] != pictures[3] else "stood"


@cell("Escape")
def escape_closes(shell):
    begin_open(shell)
    shell.key("Escape")
    closed(shell)
    stays_closed(shell, 0.7)


@cell("second click")
def second_click_closes(shell):
    begin_open(shell)
    time.sleep(0.7)
    shell.close_with_pointer()
    closed(shell)


@cell("other window")
def click_on_another_window_closes(shell):
    begin_closed(shell)
    shell.open_other_window()
    popover = begin_open(shell)
    point = shell.other_window_point()
    check(not popover.holds(point), f"the popover {popover} is over the other window at {point}")
    shell.click(*point)
    closed(shell)
    stays_closed(shell, 0.7)


@cell("background")
def click_on_the_background_closes(shell):
    begin_closed(shell)
    shell.close_other_window()
    popover = begin_open(shell)
    point = shell.background_point()
    check(not popover.holds(point), f"the popover {popover} is over the background at {point}")
    shell.click(*point)
    closed(shell)
    stays_closed(shell, 0.7)


@cell("panel")
def click_on_the_panel_closes(shell):
    begin_open(shell)
    shell.click(*shell.panel_point())
    closed(shell)
    stays_closed(shell, 0.7)


@cell("stays closed")
def closing_click_does_not_open_it_again(shell):
    for _ in range(3):
        begin_open(shell)
        shell.close_with_pointer()
        closed(shell)
        stays_closed(shell)


@cell("menu")
def menu_has_its_entries_and_the_first_opens(shell):
    begin_closed(shell)
    told = shell.menu_entries()
    if told is not None:
        expected = [r"\d+ · \w+", "Check for Updates…", "Quit Korvel"]
        check(len(told) == len(expected) and all(map(re.fullmatch, expected, told)), f"its entries are {told}")
    shell.open_menu()
    time.sleep(0.7)
    shell.close_menu()
    time.sleep(0.5)
    check(shell.popover() is None, "the menu that was closed opened the popover")
    shell.open_menu()
    time.sleep(0.7)
    shell.choose_first_entry()
    opened(shell)


@cell("tooltip")
def tooltip_says_the_score(shell):
    begin_closed(shell)
    told = shell.tooltip()
    check(told is None or re.search(r"● \d+ · ", told), f"it is {told!r}")
    item, free = wait_for("the item", shell.item), shell.free_area()
    shell.move(*shell.background_point())
    time.sleep(1)
    before = shell.look_at(free)
    x, y = map(round, item.middle)
    shell.move(x - 2, y)
    time.sleep(0.2)
    shell.move(x, y)
    wait_for("the tooltip", lambda: difference(before, shell.look_at(free), 60, 4), 5)
    shell.move(*shell.background_point())


def difference(before, after, width, height):
    """Where two pictures differ, when that is at least so wide and high; else None."""
    apart = functools.reduce(PIL.ImageChops.lighter, PIL.ImageChops.difference(before.picture, after.picture).split())
    box = apart.point([0] * 24 + [255] * 232).getbbox()
    if box is None or box[2] - box[0] < width or box[3] - box[1] < height:
        return None
    return box[0], box[1], box[2] - box[0], box[3] - box[1]


@cell("light")
def popover_is_light(shell):
    ground = ground_of(shell, begin_open(shell))
    check(ground > 192, f"its ground has the brightness {ground:.0f} of 255")


def ground_of(shell, popover):
    """How bright the popover's ground is, left of all that it shows."""
    shown = shell.look_at(popover)
    return sum(shown.pixel(round(8 * shell.unit * shell.pixels), shown.height // 2)) / 3


@cell("second start")
def further_start_opens(shell):
    begin_closed(shell)
    check(shell.start_again() == 0, "a further start failed")
    opened(shell)
    wait_for("the keyboard", shell.popover_has_keyboard, 4)


@cell("panel restart")
def panel_restart_brings_the_item_back(shell):
    begin_closed(shell)
    shell.restart_panel()
    wait_for("the item", shell.item, 20)
    time.sleep(1)
    shell.open_with_pointer()
    opened(shell)


@cell("notification")
def notification_opens_when_clicked(shell):
    begin_closed(shell)
    shell.move(*shell.background_point())
    time.sleep(max(1, shell.program_started + 121 - time.monotonic()))
    free = shell.free_area()
    before = shell.look_at(free)
    shell.load.set(shell.load.EXHAUSTED)
    try:
        banner = wait_for("the notification", lambda: difference(before, shell.look_at(free), 120, 30), 20, 0.5)
        time.sleep(0.7)  # it may still be moving
        banner = difference(before, shell.look_at(free), 120, 30) or banner
        found = shell.from_picture(banner)
        shell.click_notification(Rectangle(free.x + found.x, free.y + found.y, found.width, found.height))
        opened(shell, 6)
    finally:
        shell.load.set(shell.load.STEADY)


@cell("keep awake")
def keeping_awake_is_read_back(shell):
    check(not shell.kept_awake(), "something was held before")
    shell.start_program(awakeOn={"bool": True}, awakeUntil={"integer": 0})
    held = wait_for("what is held", lambda: "display" in shell.kept_awake() and shell.kept_awake(), 8)
    shell.end_program()
    wait_for("nothing held after its end", lambda: not shell.kept_awake(), 5)
    shell.start_program()
    return "read back: " + " and ".join(sorted(held))


# In a dark shell at twice the size.


@cell("2x", AGAIN_CELLS)
def popover_is_twice_as_large_at_the_item(shell):
    if shell.has_items:
        wait_for("the coloured item in the panel", shell.item, 15)
        check_place(shell)
    else:
        begin_open(shell)
    place = shell.popover()
    pixels = shell.on_picture(place)[2]
    check(abs(pixels - 2 * WIDTH) <= 2, f"it takes {pixels} pixels of the screen in width")


@cell("dark", AGAIN_CELLS)
def popover_is_dark(shell):
    ground = ground_of(shell, begin_open(shell))
    check(ground < 64, f"its ground has the brightness {ground:.0f} of 255")
