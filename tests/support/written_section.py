#!/usr/bin/env python3
"""Puts what a script measured into a page, in the place of what it wrote there before.

    written_section.py PAGE NAME <TEXT

The place in the page is between two lines, "<!-- NAME: written by script/... -->" and "<!-- /NAME -->".
Exit status 1, and the page as it was: it has no such place, or more than one.
"""

import re
import sys
from pathlib import Path


def replaced(page, name, text):
    """The page with this text between the two lines; ValueError when they are not there once each."""
    begin = re.findall(rf"(?m)^<!-- {re.escape(name)}: written by .* -->$", page)
    end = f"<!-- /{name} -->"
    if len(begin) != 1 or page.count(end) != 1 or page.index(end) < page.index(begin[0]):
        raise ValueError(f"there is no one place for {name}")
    before, rest = page.split(begin[0])
    return before + begin[0] + "\n" + text.strip("\n") + "\n" + end + rest.split(end)[1]


def write(path, name, text):
    """The same in the file."""
    path = Path(path)
    page = replaced(path.read_text(encoding="utf-8"), name, text)
    new = path.with_name(path.name + ".new")
    new.write_text(page, encoding="utf-8")
    new.replace(path)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    try:
        write(sys.argv[1], sys.argv[2], sys.stdin.read())
    except (OSError, ValueError) as fault:
        sys.exit(f"{sys.argv[1]}: {fault}")
