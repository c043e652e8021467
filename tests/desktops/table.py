#!/usr/bin/python3
"""Runs the whole table of shells, inside a root that has them, and holds it against a document.

    table.py PROGRAM FOLDER [--document FILE] [--write] [--side-by-side N] [SHELL...]

Every shell runs twice (light at 1x with all cells; dark at 2x), each time in namespaces of its own:
mounts, processes, network, for X servers share abstract sockets. Logs and pictures are left in FOLDER.
Exit status 1 when a result is another than the document's; --write puts the results there.
"""

import argparse
import concurrent.futures
import json
import os
import subprocess
import sys
import time

import PIL.Image

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)

import checks  # noqa: E402
from session import IMPOSSIBLE, NO  # noqa: E402
from shells import SHELLS  # noqa: E402

PICTURE = 640, 560  # pixels of each picture in the document
COLOURS = 192
LOW = ("lxqt", "cinnamon", "i3", "plasma")  # whose panel is at the bottom
LIMIT = 420  # seconds for one shell in one scheme
BEGIN, END = "<!-- table: begin -->\n", "<!-- table: end -->\n"
COLUMNS = [name for name, _ in checks.CELLS + checks.AGAIN_CELLS]


def run_one(program, folder, name, scheme, wanted):
    log_path = os.path.join(folder, f"{name}-{scheme}.log")
    result_path = os.path.join(folder, f"{name}-{scheme}.json")
    if os.path.exists(result_path):
        os.remove(result_path)
    started = time.monotonic()
    with open(log_path, "wb") as log:
        process = subprocess.Popen(
            ["unshare", "--mount", "--pid", "--net", "--fork", "--kill-child", "--mount-proc", "--propagation",
             "private", sys.executable, os.path.join(HERE, "session.py"), program, name, scheme, folder, *wanted],
            stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        try:
            process.wait(LIMIT)
            ended = "the session ended early, see its log"
        except subprocess.TimeoutExpired:
            ended = f"not done within {LIMIT} s"
            process.kill()
            process.wait()
    print(f"{name} {scheme}: {time.monotonic() - started:.0f} s", flush=True)
    if os.path.exists(result_path):
        with open(result_path, encoding="utf-8") as file:
            return json.load(file)
    cells = checks.AGAIN_CELLS if scheme == "dark" else checks.CELLS
    return {cell: [NO, ended] for cell, _ in cells}


def titles(names):
    return [SHELLS[name].title for name in names]


def rows(results):
    """The table in Markdown, a row for each cell, and below it what is to be said of single ones."""
    lines = ["| | " + " | ".join(titles(results)) + " |", "|---" * (len(results) + 1) + "|"]
    lines += [f"| {column} | " + " | ".join(cells[column][0] for cells in results.values()) + " |"
              for column in COLUMNS if all(column in cells for cells in results.values())]
    remarks = [f"- {SHELLS[name].title}, {cell}: {remark}." for name, cells in results.items()
               for cell, (result, remark) in cells.items() if result == IMPOSSIBLE]
    return "\n".join([*lines, "", *remarks]) + "\n"


def save_pictures(names, folder, target):
    """The open popover of each shell, in few colours and without the screen's emptier part."""
    os.makedirs(target, exist_ok=True)
    for name in names:
        path = os.path.join(folder, f"{name}-light.png")
        if not os.path.exists(path):
            print(f"{name}: no picture")
            continue
        with PIL.Image.open(path) as screen:
            width, height = screen.size
            left = max(0, width - PICTURE[0])
            top = height - PICTURE[1] if name in LOW else 0
            part = screen.convert("RGB").crop((left, top, min(width, left + PICTURE[0]), min(height, top + PICTURE[1])))
        part.quantize(COLOURS).save(os.path.join(target, f"{name}.png"), optimize=True)


def document_cells(text):
    """What the document's table says: {(title, cell): result}."""
    table = text.split(BEGIN)[1].split(END)[0]
    lines = [[part.strip() for part in line.strip("|").split("|")] for line in table.splitlines()
             if line.startswith("|") and not line.startswith("|-")]
    return {(title, line[0]): result for line in lines[1:] for title, result in zip(lines[0][1:], line[1:])}


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--document")
    parser.add_argument("--write", action="store_true")
    parser.add_argument("--side-by-side", type=int, default=os.cpu_count() + 1,
                        help="shells at a time; they wait more than they work")
    parser.add_argument("--cells", default="", help="these alone, with commas between them")
    parser.add_argument("--light", action="store_true", help="without the dark shells at 2x")
    parser.add_argument("program")
    parser.add_argument("folder")
    parser.add_argument("shells", nargs="*")
    options = parser.parse_intermixed_args()
    unknown = set(options.shells) - set(SHELLS)
    if unknown:
        parser.error("no such shell: " + ", ".join(sorted(unknown)))
    if options.write and (options.shells or options.cells or options.light):
        parser.error("--write takes the whole table")
    folder = os.path.abspath(options.folder)
    os.makedirs(folder, exist_ok=True)
    names = options.shells or list(SHELLS)
    wanted = [cell for cell in options.cells.split(",") if cell]
    started = time.monotonic()
    schemes = ["light"] if options.light else ["light", "dark"]
    with concurrent.futures.ThreadPoolExecutor(options.side_by_side) as pool:
        runs = {(name, scheme): pool.submit(run_one, os.path.abspath(options.program), folder, name, scheme, wanted)
                for scheme in schemes for name in names}
        results = {name: {cell: result for scheme in schemes for cell, result in runs[name, scheme].result().items()}
                   for name in names}
    table = rows(results)
    print(table)
    for name, cells in results.items():
        for cell, (result, remark) in cells.items():
            if remark and result != IMPOSSIBLE:
                print(f"{name}, {cell}: {result}: {remark}")
    print(f"{sum(len(cells) for cells in results.values())} cells in {time.monotonic() - started:.0f} s")
    with open(os.path.join(folder, "results.json"), "w", encoding="utf-8") as file:
        json.dump(results, file, indent=1)
    if not options.document:
        return 1 if any(result == NO for cells in results.values() for result, _ in cells.values()) else 0
    with open(options.document, encoding="utf-8") as file:
        text = file.read()
    if options.write:
        before, after = text.split(BEGIN)[0], text.split(END)[1]
        with open(options.document, "w", encoding="utf-8") as file:
            file.write(before + BEGIN + table + END + after)
        save_pictures(names, folder, os.path.join(os.path.dirname(options.document), "pictures", "desktops"))
        return 0
    expected = document_cells(text)
    others = [(SHELLS[name].title, cell, result, expected.get((SHELLS[name].title, cell)))
              for name, cells in results.items() for cell, (result, _) in cells.items()
              if result != expected.get((SHELLS[name].title, cell))]
    for title, cell, result, before in others:
        print(f"{title}, {cell}: {result}, but the document says {before}")
    return 1 if others else 0


if __name__ == "__main__":
    sys.exit(main())
