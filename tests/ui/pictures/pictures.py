#!/usr/bin/python3
"""Draws the popover and compares it with the reference pictures of the tree.

    pictures.py SOURCE KORVEL_PICTURES OUT [--accept] [NAME...]

NAMEs are of scenarios or of other scenes (SCENES); without any it is all of them. What is drawn goes to OUT; where it
differs a picture of the difference is put beside it, and the exit status is 1. --accept makes what is drawn the
references. Where the references were not drawn with this machine's libraries and fonts, the exit status is 77.

The references are below tests/ui/pictures/references, as WebP without loss, which takes less than half of what PNG
takes; but those in twice the size of the scenes that documents show (DOCUMENTED) are the pictures of docs/pictures.
"""

import collections
import concurrent.futures
import os
import platform
import re
import struct
import subprocess
import sys
import zlib
from pathlib import Path

from PIL import Image, ImageChops

COLOURS = ("light", "dark")
SCALES = ("1", "2")
# Some are drawn at scales that are no whole number as well.
FRACTIONS = ("1.25", "1.5", "1.75", "2.25")
AT_FRACTIONS = ("breakdown", "remedies_waiting", "update_available")
# Besides the scenarios: by name, the scenario and what is done then.
SCENES = {
    "focus": ("remedies_waiting", ("--focus", "reclaim")),
    "menu": ("healthy", ("--click", "awakeControl")),
    "square": ("short_screen", ("--square",)),
}
# What is in docs/pictures.
DOCUMENTED = ("breakdown", "focus", "healthy", "menu", "remedies_waiting", "strained", "update_available", "welcome")
# How far a channel of a pixel may be off, of 255 levels: what another processor may round otherwise. It is compared
# as it is blended, so what is transparent has no colour.
TOLERANCE = 2
# All references together.
LARGEST = 5_000_000
# What decides how a text looks: of each package the version without Debian's own part, which mends and does not
# redraw. The references are drawn with these; with others nothing is compared.
DRAWN_WITH = {
    "libqt6gui6": "6.4.2", "libqt6quick6": "6.4.2", "libfreetype6": "2.12.1", "libharfbuzz0b": "6.0.0",
    "fonts-inter": "4.0~beta7", "fonts-jetbrains-mono": "2.242", "fonts-dejavu-core": "2.37",
}
PROCESSOR = "x86_64"

Picture = collections.namedtuple("Picture", "scene scale colour")


class Tree:
    def __init__(self, source):
        self.source = Path(source).resolve()
        self.documents = self.source / "docs/pictures"
        self.others = self.source / "tests/ui/pictures/references"

    def scenes(self):
        """By name, the scenario's file and what is done then."""
        scenarios = sorted((self.source / "docs/scenarios").glob("*.json"))
        found = {path.stem: (path, ()) for path in scenarios}
        for name, (scenario, done) in SCENES.items():
            assert name not in found, f"{name} is a scenario too"
            found[name] = (self.source / f"docs/scenarios/{scenario}.json", done)
        return found

    def scales(self, scene):
        return SCALES + FRACTIONS if scene in AT_FRACTIONS else SCALES

    def reference(self, picture):
        if picture.scale == "2" and picture.scene in DOCUMENTED:
            return self.documents / f"{picture.scene}-{picture.colour}.png"
        return self.others / f"{picture.scene}-{picture.colour}@{picture.scale}.webp"

    def references(self):
        """Those that are there."""
        return {path for folder in (self.documents, self.others) if folder.is_dir() for path in folder.iterdir()
                if re.search(r"-(light|dark)(@[\d.]+\.webp|\.png)$", path.name)}

    def wanted(self):
        return {self.reference(Picture(scene, scale, colour))
                for scene in self.scenes() for scale in self.scales(scene) for colour in COLOURS}


def package_version(package):
    """Without Debian's part; None: it is not installed."""
    try:
        asked = subprocess.run(["dpkg-query", "-W", "-f", "${db:Status-Status} ${Version}", package],
                               stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, check=False)
    except FileNotFoundError:
        return None
    if not asked.stdout.startswith("installed "):
        return None
    return re.sub(r"(\+ds.*|\+dfsg.*|-[^-]*)$", "", asked.stdout.split()[1].split(":")[-1])


def why_not_compared():
    """What this machine draws with that is not what the references are drawn with; empty: nothing."""
    if platform.machine() != PROCESSOR:
        return f"the reference pictures are drawn on {PROCESSOR}"
    for package, wanted in DRAWN_WITH.items():
        version = package_version(package)
        if version is None and package.startswith("fonts-") and package_version("libc6") is not None:
            raise SystemExit(f"{package} is not installed: script/setup pictures")
        if version != wanted:
            return f"the reference pictures are drawn with {package} {wanted}, here is {version or 'none'}"
    return ""


def draw(tree, drawer, name, scale, folder, told=None):
    """Draws a scene; gives the two pictures by colour. `told`: what the environment has besides."""
    scenario, done = tree.scenes()[name]
    base = folder / f"{name}@{scale}"
    # Nothing of the desktop's own settings.
    environment = {"PATH": os.environ["PATH"], "LANG": "C.UTF-8", "HOME": str(folder), "XDG_RUNTIME_DIR": str(folder),
                   "XDG_CACHE_HOME": str(folder), "QT_LOGGING_RULES": "*=false",
                   "FONTCONFIG_FILE": str(tree.source / "tests/ui/pictures/fonts.conf"), **(told or {})}
    drawn = subprocess.run([drawer, "--to", str(base), "--scale", scale, *done, str(scenario)], env=environment,
                           stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False, timeout=60)
    if drawn.returncode != 0:
        raise SystemExit(f"{name} at {scale}: exit status {drawn.returncode}\n{drawn.stdout}")
    return {colour: Path(f"{base}-{colour}.png") for colour in COLOURS}


def read(path):
    with Image.open(path) as image:
        return image.convert("RGBA")


def difference(reference, drawn):
    """What differs beyond the tolerance, in words, and where as a mask; None: nothing."""
    if reference.size != drawn.size:
        return f"is {drawn.width} by {drawn.height} pixels and not {reference.width} by {reference.height}", None
    bands = ImageChops.difference(reference.convert("RGBa"), drawn.convert("RGBa")).split()
    most = bands[0]
    for band in bands[1:]:
        most = ImageChops.lighter(most, band)
    mask = most.point([0] * (TOLERANCE + 1) + [255] * (255 - TOLERANCE))
    box = mask.getbbox()
    if box is None:
        return None
    count = mask.histogram()[255]
    return f"differs in {count} pixels, by up to {most.getextrema()[1]} levels, within {box}", mask


def picture_of_difference(reference, drawn, mask):
    """The reference, what is drawn, and that again, faint, with what differs in red."""
    def seen(image):
        return Image.alpha_composite(Image.new("RGBA", image.size, (128, 128, 128, 255)), image).convert("RGB")

    faint = Image.blend(seen(drawn).convert("L").convert("RGB"), Image.new("RGB", drawn.size, "white"), 0.7)
    if mask is not None:
        faint.paste((255, 0, 0), mask=mask)
    row = [seen(reference), seen(drawn), faint]
    whole = Image.new("RGB", (sum(one.width for one in row), max(one.height for one in row)), "white")
    left = 0
    for one in row:
        whole.paste(one, (left, 0))
        left += one.width
    return whole


def write(image, path):
    """Without loss. A PNG without filters: of texts on plain ground that is the shortest by a third."""
    path.parent.mkdir(parents=True, exist_ok=True)
    if path.suffix == ".webp":
        image.save(path, lossless=True, quality=100, exact=True)
        return
    rows = image.tobytes()
    stride = 4 * image.width
    packed = zlib.compress(b"".join(b"\0" + rows[at:at + stride] for at in range(0, len(rows), stride)), 9)

    def chunk(kind, content):
        return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))

    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", *image.size, 8, 6, 0, 0, 0)) +
                     chunk(b"IDAT", packed) + chunk(b"IEND", b""))


def compare(tree, drawer, out, name, scale, accept):
    """Draws a scene; gives what is to be said of it, a line for each picture that differs."""
    found = []
    for colour, path in draw(tree, drawer, name, scale, out).items():
        reference, drawn = tree.reference(Picture(name, scale, colour)), read(path)
        there = read(reference) if reference.exists() else None
        if accept:
            if there is None or there.size != drawn.size or there.tobytes() != drawn.tobytes():
                write(drawn, reference)
                found.append(f"{reference.relative_to(tree.source)}: renewed")
            continue
        if there is None:
            found.append(f"{path}: there is no {reference.relative_to(tree.source)}")
            continue
        differs = difference(there, drawn)
        if differs is not None:
            shown = path.with_name(path.stem + "-difference.png")
            picture_of_difference(there, drawn, differs[1]).save(shown)
            found.append(f"{reference.relative_to(tree.source)}: the popover {differs[0]}; see {shown}")
    return found


def compare_all(tree, drawer, out, names=(), accept=False, scales=None):
    """What is to be said of the scenes of these names, or of all, in order."""
    out.mkdir(parents=True, exist_ok=True)
    for old in out.glob("*.png"):
        old.unlink()
    scenes = tree.scenes()
    unknown = [name for name in names if name not in scenes]
    if unknown:
        raise SystemExit(f"there is no scene {unknown[0]}; there are {', '.join(scenes)}")
    wanted = [(name, scale) for name in names or scenes for scale in tree.scales(name)
              if scales is None or scale in scales]
    with concurrent.futures.ThreadPoolExecutor(min(4, os.cpu_count() or 1)) as workers:
        done = [workers.submit(compare, tree, drawer, out, name, scale, accept) for name, scale in wanted]
        found = [line for one in done for line in one.result()]
    if not names:
        for path in sorted(tree.references() - tree.wanted()):
            found.append(f"{path.relative_to(tree.source)}: " + ("removed" if accept else "belongs to no scene"))
            if accept:
                path.unlink()
        size = sum(path.stat().st_size for path in tree.references())
        if size > LARGEST and not accept:
            found.append(f"the references take {size} bytes, more than {LARGEST}")
    return found


def describe_sizes(tree):
    """The description for software centres says how large the pictures are."""
    path = tree.source / "packaging/linux/com.oxbrook.korvel.metainfo.xml.in"
    text = path.read_text(encoding="utf-8")

    def renewed(found):
        with Image.open(tree.documents / found[3]) as image:
            return f'width="{image.width}" height="{image.height}">{found[2]}{found[3]}<'

    new = re.sub(r'width="(\d+)" height="\d+">([^<]*/pictures/)([^/<]+\.png)<', renewed, text)
    if new != text:
        path.write_text(new, encoding="utf-8")


def main():
    words = [word for word in sys.argv[1:] if word != "--accept"]
    accept = "--accept" in sys.argv
    reason = why_not_compared()
    if reason:
        print(f"SKIPPED: {reason}")
        return 77
    tree = Tree(words[0])
    found = compare_all(tree, words[1], Path(words[2]), words[3:], accept)
    print("\n".join(found) if found else "every picture is as the references are")
    if accept:
        describe_sizes(tree)
    elif found:
        print("(reference, what is drawn, and where they differ; if that is as it should be: script/pictures --accept)")
    return 1 if found and not accept else 0


if __name__ == "__main__":
    sys.exit(main())
