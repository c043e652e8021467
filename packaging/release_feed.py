"""What a release says of itself, the same on every system: its version, build, notes and feed."""

import json
import re
from pathlib import Path

LONGEST_NOTES = 64 << 10  # bytes; to the program, what has longer ones is no release
LARGEST_BUILD = (1 << 63) - 1


class WrongInput(Exception):
    """Something that was given is not as it is to be: exit status 2."""


def check_version(version):
    if not re.fullmatch(r"[0-9][0-9A-Za-z.+-]{0,63}", version):
        raise WrongInput(f"--version {version!r} is no version")


def check_build(build):
    if not re.fullmatch(r"[1-9][0-9]{0,18}", build) or int(build) > LARGEST_BUILD:
        raise WrongInput(f"--build {build!r} is no number of a build")


def check_url(url):
    if not re.fullmatch(r"https://[A-Za-z0-9.-]+(:[0-9]+)?(/[A-Za-z0-9._~/-]*)?", url):
        raise WrongInput(f"--url {url!r} is no plain https address")


def read_notes(path):
    try:
        notes = Path(path).read_text(encoding="utf-8")
    except UnicodeDecodeError:
        raise WrongInput(f"--notes {path} is not UTF-8") from None
    if len(notes.encode()) > LONGEST_NOTES:
        raise WrongInput(f"--notes {path} is longer than {LONGEST_NOTES} bytes")
    return notes


def archive_name(version, build):
    return f"Korvel-{version}-{build}.zip"


def feed_text(version, build, folder, digest, notes):
    """The feed of an archive that will be found, by its name, in a folder on the web."""
    feed = {
        "version": version,
        "build": int(build),
        "url": folder.rstrip("/") + "/" + archive_name(version, build),
        "sha256": digest,
        "notes": notes,
        "minimumOS": "13.0",  # every feed has it, and no program asks for it
    }
    return json.dumps(feed, indent=2, ensure_ascii=False) + "\n"
