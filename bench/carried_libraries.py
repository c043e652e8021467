#!/usr/bin/python3
"""Measures what it costs that a release carries its libraries: the same program with the system's and
with its own, started in turn. Prints JSON.

    carried_libraries.py BUILD-FOLDER
"""

import json
import shutil
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.dont_write_bytecode = True
sys.path[:0] = [str(ROOT / folder) for folder in ("tests/desktop", "bench", "packaging/linux")]

from collect_libraries import collect  # noqa: E402
from desktop import Desktop, wait_for  # noqa: E402
from first_paint import median  # noqa: E402
from whole_programs import memory_mib  # noqa: E402

LAUNCHES = 15
SETTLED = 17  # seconds after the launch: what only that used has been given back


def launch(place, program, then=lambda process: None):
    """Milliseconds to the item with its first title on the bus, and what `then` gives."""
    started = time.monotonic()
    process = place.spawn([program])
    while not place.items():
        pass
    took = (time.monotonic() - started) * 1000
    seen = then(process)
    place.end(process)
    wait_for("the tray without it", lambda: not place.items())
    return took, seen


def settled_memory(process):
    time.sleep(SETTLED)
    return memory_mib(process.pid)


def main():
    built = Path(sys.argv[1]) / "bin/korvel"
    with tempfile.TemporaryDirectory(prefix="korvel-bench-") as folder, Desktop() as place:
        contents = Path(folder) / "Korvel.app/Contents"
        for name in ("Linux", "Resources"):
            (contents / name).mkdir(parents=True)
        shutil.copy(built, contents / "Linux/korvel")
        collect(built, ROOT / "src/ui/quick", contents)
        place.start_panel("xfce4-panel")
        programs = {"system": str(built), "carried": str(contents / "Linux/korvel")}
        took = {name: [] for name in programs}
        for _ in range(LAUNCHES):
            for name, program in programs.items():
                took[name].append(launch(place, program)[0])
        result = {}
        for name, program in programs.items():
            resident, dirty = launch(place, program, settled_memory)[1]
            result[name] = {"launch_ms": median(took[name]), "resident_mib": resident,
                            "private_dirty_mib": dirty}
    json.dump(result, sys.stdout)


if __name__ == "__main__":
    main()
