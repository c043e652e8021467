"""When, of what and on what machine a table of a page was taken."""

import datetime
import os
import platform
import re
import subprocess
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def first(pattern, path):
    """What the pattern's group is in the file; None: it is not there."""
    found = re.search(pattern, Path(path).read_text(encoding="utf-8"), re.MULTILINE)
    return found and found[1].strip()


def commit():
    """The commit that is checked out, and whether files differ from it."""
    asked = [subprocess.run(["git", "-C", str(ROOT), *words], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                            text=True, check=False).stdout.strip()
             for words in (["rev-parse", "--short=10", "HEAD"], ["status", "--porcelain", "--untracked-files=no"])]
    return (asked[0] or "no commit") + (" with changes" if asked[1] else "")


def taken_on():
    """A sentence to stand above the table."""
    version = first(r"^project\(korvel VERSION (\S+)", ROOT / "CMakeLists.txt")
    model = first(r"^model name\s*: (.*)$", "/proc/cpuinfo") or platform.machine()
    memory = int(first(r"^MemTotal: +(\d+)", "/proc/meminfo")) / 2**20
    return (f"Taken on {datetime.date.today().isoformat()} of version {version} ({commit()}), on {os.cpu_count()} "
            f"processors ({model}), {memory:.0f} GiB, Linux {platform.release().split('-')[0]}.")


if __name__ == "__main__":
    print(taken_on())
