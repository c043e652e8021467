#!/usr/bin/env python3
"""Reads CHANGELOG.md and prints what others want of it.

    changelog.py [--file PATH] notes [VERSION]   what is new in a version (the newest), at most three lines
    changelog.py [--file PATH] metainfo          <releases> for the description that software centres read
    changelog.py [--file PATH] debian            a changelog as Debian's packages have it

A version is a heading, "## 1.0.0 (2026-11-22)", the newest first. The bullets directly under it, one to three
short ones, are what is new; what follows in groups, "### In the tray", is for who reads the page. "## Unreleased"
may stand above the newest version, and is in none of these.

Exit status 0; 1 when the page is not so or has no such version, with a line on standard error; 2 for wrong usage.
"""

import argparse
import datetime
import re
import sys
import textwrap
from collections import namedtuple
from email.utils import format_datetime
from pathlib import Path
from xml.sax.saxutils import escape

Release = namedtuple("Release", "version date notes")  # text, datetime.date, texts without Markdown

MOST_NOTES = 3
LONGEST_NOTE = 64  # characters: two lines of the popover
UNRELEASED = "Unreleased"
MAINTAINER = "Korvel developers <korvel@oxbrook.example>"


class WrongChangelog(Exception):
    """The page is not as described above, or has no such version."""


def plain(text):
    """A line without links, emphasis and the signs of code."""
    text = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", text)
    return re.sub(r"[`*]", "", text)


def heading(line, number):
    """The version and date of a heading, or None for what is not released yet."""
    title = line[len("## "):].strip()
    if title == UNRELEASED:
        return None
    found = re.fullmatch(r"([0-9]+\.[0-9]+\.[0-9]+)(?: \((.*)\))?", title)
    if not found:
        raise WrongChangelog(f"line {number}: {title!r} is no version")
    version, date = found.groups()
    if date is None:
        raise WrongChangelog(f"line {number}: {version} has no date, as in \"{version} (2026-11-22)\"")
    try:
        if not re.fullmatch(r"[0-9]{4}-[0-9]{2}-[0-9]{2}", date):
            raise ValueError
        return version, datetime.date.fromisoformat(date)
    except ValueError:
        raise WrongChangelog(f"line {number}: {date!r} is no date, as 2026-11-22 is one") from None


def bullets(lines):
    """The bullets before the first group; a line that is indented goes on with the one before it."""
    found = []
    for line in lines:
        if line.startswith("#"):
            break
        if line.startswith("- "):
            found.append(line[2:].strip())
        elif line.startswith(" ") and line.strip() and found:
            found[-1] += " " + line.strip()
        elif line.strip():
            raise WrongChangelog(f"{line.strip()!r} stands under a version and is no bullet")
    return [plain(text) for text in found]


def check(release):
    count = len(release.notes)
    if not 1 <= count <= MOST_NOTES:
        raise WrongChangelog(f"{release.version} has {count} bullets directly under its heading, not 1 to {MOST_NOTES}")
    for note in release.notes:
        if len(note) > LONGEST_NOTE:
            raise WrongChangelog(f"{release.version}: {note!r} is longer than {LONGEST_NOTE} characters")


def number(version):
    return tuple(int(part) for part in version.split("."))


def read(text):
    """The releases of a page, newest first."""
    lines = text.splitlines()
    heads = [at for at, line in enumerate(lines) if re.match(r"##(?!#)", line)]
    releases = []
    for at, end in zip(heads, [*heads[1:], len(lines)]):
        named = heading(lines[at], at + 1)
        if named is None:
            if at != heads[0]:
                raise WrongChangelog(f"line {at + 1}: {UNRELEASED} is not the first heading")
            continue
        release = Release(*named, bullets(lines[at + 1:end]))
        check(release)
        if releases and number(release.version) >= number(releases[-1].version):
            raise WrongChangelog(f"line {at + 1}: {release.version} is not older than {releases[-1].version} above it")
        releases.append(release)
    if not releases:
        raise WrongChangelog("no version")
    return releases


def notes(releases, version):
    for release in releases:
        if version in (None, release.version):
            return "".join(line + "\n" for line in release.notes)
    raise WrongChangelog(f"no version {version}")


def metainfo(releases):
    lines = ["<releases>"]
    for release in releases:
        lines += [f'  <release version="{release.version}" date="{release.date}" type="stable">',
                  "    <description>", "      <ul>"]
        lines += [f"        <li>{escape(note)}</li>" for note in release.notes]
        lines += ["      </ul>", "    </description>", "  </release>"]
    return "\n".join([*lines, "</releases>"]) + "\n"


def debian(releases):
    """The time of day is always the same, so that a package is the same whenever it is made."""
    entries = []
    for release in releases:
        noon = datetime.datetime.combine(release.date, datetime.time(12), datetime.timezone.utc)
        lines = [f"korvel ({release.version}) unstable; urgency=medium", ""]
        for note in release.notes:
            lines += textwrap.wrap(note, 79, initial_indent="  * ", subsequent_indent="    ")
        lines += ["", f" -- {MAINTAINER}  {format_datetime(noon)}"]
        entries.append("\n".join(lines) + "\n")
    return "\n".join(entries)


def main(words):
    parser = argparse.ArgumentParser(description="Prints what others want of CHANGELOG.md.")
    parser.add_argument("--file", type=Path, default=Path(__file__).resolve().parent.parent / "CHANGELOG.md")
    kinds = parser.add_subparsers(dest="kind", required=True)
    kinds.add_parser("notes").add_argument("version", nargs="?")
    kinds.add_parser("metainfo")
    kinds.add_parser("debian")
    given = parser.parse_args(words)
    try:
        releases = read(given.file.read_text(encoding="utf-8"))
        made = {"notes": lambda: notes(releases, given.version), "metainfo": lambda: metainfo(releases),
                "debian": lambda: debian(releases)}[given.kind]()
    except (WrongChangelog, OSError, UnicodeDecodeError) as error:
        reason = error.strerror if isinstance(error, OSError) else error
        print(f"changelog.py: {given.file}: {reason}", file=sys.stderr)
        return 1
    sys.stdout.buffer.write(made.encode())
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
