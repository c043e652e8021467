"""Draws lines over an axis as SVG, for the pages: panels one below the other, each with its own unit.

The picture has a ground of its own, so that it reads the same on a light and on a dark page.
"""

import collections
import html
import math

# A line's name and its points, (x, y); `marks`: each point is shown too.
Line = collections.namedtuple("Line", "name points marks", defaults=[False])
# What stands above a panel, its lines, and a limit that is drawn across it, or None.
Panel = collections.namedtuple("Panel", "title lines limit", defaults=[None])

WIDTH, HEIGHT, LEFT, RIGHT, TOP, BELOW = 760, 190, 64, 150, 34, 30
COLOURS = ["#0b6bcb", "#c2410c", "#15803d", "#7e22ce", "#525252", "#be185d"]
FONT = "font-family='Inter, DejaVu Sans, sans-serif' font-size='12'"


def steps(low, high, logarithmic):
    """Where an axis has its marks: round numbers from `low` to `high`."""
    if logarithmic:
        first, last = math.floor(math.log10(low)), math.ceil(math.log10(high))
        return [10.0 ** power for power in range(first, last + 1)]
    span = high - low or abs(high) or 1
    step = 10.0 ** math.floor(math.log10(span / 2))
    step *= next(times for times in (1, 2, 5, 10) if span / (step * times) <= 5)
    first, last = math.floor(low / step + 1e-9), math.ceil(high / step - 1e-9)
    return [number * step for number in range(first, max(last, first + 1) + 1)]


def place(value, marks, begin, end, logarithmic):
    """Where on its axis a value stands, in pixels."""
    low, high = marks[0], marks[-1]
    if logarithmic:
        value, low, high = (math.log10(number) for number in (value, low, high))
    return begin + (value - low) / (high - low) * (end - begin)


def text(x, y, words, colour="#404040", anchor="start"):
    return f"<text x='{x:.1f}' y='{y:.1f}' fill='{colour}' text-anchor='{anchor}' {FONT}>{html.escape(words)}</text>"


def apart(heights, least):
    """The same heights, moved down where two would be nearer than `least`, by the order that they are in."""
    placed = {}
    last = -math.inf
    for index, height in sorted(enumerate(heights), key=lambda pair: pair[1]):
        last = max(height, last + least)
        placed[index] = last
    return [placed[index] for index in range(len(heights))]


def draw_panel(panel, top, across, logarithmic):
    values = [y for line in panel.lines for _, y in line.points]
    values += [panel.limit] if panel.limit is not None else []
    marks = steps(min(values), max(values), logarithmic)
    right, bottom = WIDTH - RIGHT, top + HEIGHT

    def at(x, y):
        return (place(x, across, LEFT, right, logarithmic), place(y, marks, bottom, top, logarithmic))

    title = html.escape(panel.title)
    drawn = [f"<text x='{LEFT}' y='{top - 12}' fill='#171717' font-weight='600' {FONT}>{title}</text>"]
    for mark in marks:
        y = at(across[0], mark)[1]
        drawn.append(f"<path d='M{LEFT} {y:.1f}H{right}' stroke='#e5e5e5'/>")
        drawn.append(text(LEFT - 8, y + 4, f"{mark:g}", anchor="end"))
    if panel.limit is not None:
        y = at(across[0], panel.limit)[1]
        drawn.append(f"<path d='M{LEFT} {y:.1f}H{right}' stroke='#dc2626' stroke-dasharray='6 4'/>")
        drawn.append(text(right + 8, y + 4, "limit", "#dc2626"))
    ends = apart([at(*line.points[-1])[1] for line in panel.lines], 14)
    for line, colour, end in zip(panel.lines, COLOURS, ends):
        points = [at(*point) for point in line.points]
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        drawn.append(f"<polyline points='{path}' fill='none' stroke='{colour}' stroke-width='1.5'/>")
        if line.marks:
            drawn += [f"<circle cx='{x:.1f}' cy='{y:.1f}' r='2.5' fill='{colour}'/>" for x, y in points]
        drawn.append(text(right + 8, end + 4, line.name, colour))
    return drawn


def draw(panels, below, logarithmic=False):
    """The picture as text; `below`: what the axis across is, with its unit. At most six lines a panel, each with
    points; on logarithmic axes all values are above 0."""
    xs = [x for panel in panels for line in panel.lines for x, _ in line.points]
    across = steps(min(xs), max(xs), logarithmic)
    height = len(panels) * (TOP + HEIGHT + BELOW) + 16
    size = f"width='{WIDTH}' height='{height}'"
    drawn = [f"<svg xmlns='http://www.w3.org/2000/svg' {size} viewBox='0 0 {WIDTH} {height}'>",
             f"<rect {size} rx='8' fill='#ffffff'/>"]
    for number, panel in enumerate(panels):
        top = number * (TOP + HEIGHT + BELOW) + TOP
        drawn += draw_panel(panel, top, across, logarithmic)
        for mark in across:
            x = place(mark, across, LEFT, WIDTH - RIGHT, logarithmic)
            drawn.append(text(x, top + HEIGHT + 18, f"{mark:g}", anchor="middle"))
    drawn.append(text((LEFT + WIDTH - RIGHT) / 2, height - 8, below, anchor="middle"))
    return "\n".join([*drawn, "</svg>\n"])
