#!/usr/bin/python3
"""Tries the cells on one shell, in a namespace of its own that table.py makes.

    session.py PROGRAM SHELL light|dark FOLDER [CELL...]

Writes FOLDER/SHELL-light.json: {cell: [result, remark]}, and pictures: the open popover, and the screen at
each failure.
"""

import fcntl
import json
import os
import socket
import struct
import subprocess
import sys
import time
import traceback

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
sys.path.insert(0, os.path.join(HERE, "..", "desktop"))

import checks  # noqa: E402
from desktop import Failure  # noqa: E402
from shells import SHELLS  # noqa: E402

YES, NO, IMPOSSIBLE = "yes", "no", "n/a"


def prepare_namespace(program, folder):
    """Folders of this run's own where desktops have fixed ones, and a network that reaches itself. Program and
    folder may be in one of these: returns where they are found now."""
    subprocess.run(["mount", "-t", "tmpfs", "tmpfs", "/mnt"], check=True)
    moved = []
    for name, path in (("program", os.path.dirname(program)), ("out", folder)):
        if path.startswith(("/tmp/", "/run/")):
            os.mkdir(f"/mnt/{name}")
            subprocess.run(["mount", "--bind", path, f"/mnt/{name}"], check=True)
            path = f"/mnt/{name}"
        moved.append(path)
    for folder in ("/tmp", "/run"):
        subprocess.run(["mount", "-t", "tmpfs", "tmpfs", folder], check=True)
    for folder in ("/tmp/.X11-unix", "/tmp/.ICE-unix"):
        os.mkdir(folder)
        os.chmod(folder, 0o1777)
    os.chmod("/tmp", 0o1777)
    up, name_and_flags = 0x8914, struct.pack("16sh22x", b"lo", 0x1)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        fcntl.ioctl(any_socket, up, name_and_flags)
    return os.path.join(moved[0], os.path.basename(program)), moved[1]


def picture(shell, path):
    try:
        shell.screenshot().save(path)
    except Exception as error:  # pylint: disable=broad-except
        print(f"no picture {path}: {error}", flush=True)


def try_cell(shell, name, function, folder, look):
    if name in shell.impossible:
        return [IMPOSSIBLE, shell.impossible[name]]
    started = time.monotonic()
    try:
        remark = function(shell) or ""
        result = [YES, remark]
    except Exception as error:  # pylint: disable=broad-except
        if not isinstance(error, Failure):
            traceback.print_exc()
        result = [NO, str(error) or type(error).__name__]
        picture(shell, os.path.join(folder, f"{look}-{name.replace(' ', '_')}-failed.png"))
    print(f"{look} {name}: {' '.join(result)} ({time.monotonic() - started:.1f} s)", flush=True)
    return result


def main(arguments):
    program, name, scheme, folder = arguments[:4]
    wanted = arguments[4:]
    look = f"{name}-{scheme}"
    again = scheme == "dark"
    cells = [one for one in (checks.AGAIN_CELLS if again else checks.CELLS) if not wanted or one[0] in wanted]
    program, folder = prepare_namespace(program, folder)
    os.environ["KORVEL_DESKTOPS_LOG"] = folder
    results = {}
    try:
        with SHELLS[name](program, scale=2 if again else 1, dark=again) as shell:
            for cell, function in cells:
                results[cell] = try_cell(shell, cell, function, folder, look)
                # The picture of "place" is the better one, which not every shell has.
                if cell in ("opens", "place", "2x") and results[cell][0] != IMPOSSIBLE:
                    picture(shell, os.path.join(folder, f"{look}.png"))
    except Exception as error:  # pylint: disable=broad-except
        traceback.print_exc()
        for cell, _ in cells:
            results.setdefault(cell, [NO, f"the shell did not start: {error}"])
    with open(os.path.join(folder, f"{look}.json"), "w", encoding="utf-8") as file:
        json.dump(results, file, indent=1)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
