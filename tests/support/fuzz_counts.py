"""How often each fuzz program was executed, for the page on reliability.

A file in the tree has the sums: a line for each program, with its name, the version of what was executed, the
executions, the seconds of a processor that they took, and the findings so far. A run writes a line of the same kind
for each turn; `add` brings such lines into the sums.

Executions count for a version alone: when a program or what it covers changes (comments apart), its sum starts again
at 0. Its findings stay, since each was a fault of the product.
"""

import hashlib
import re
from dataclasses import dataclass
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
SUMS = "tests/fuzz/executions.txt"

# What decides about installations is tried the most; less what makes fewer than 5,000 executions a second.
GOALS = {"feed": 100_000_000, "manifest": 100_000_000, "zip": 100_000_000, "signature": 10_000_000,
         "linux_machine": 10_000_000, "settings": 10_000_000}
USUAL_GOAL = 20_000_000


@dataclass
class Count:
    version: str
    executions: int = 0
    seconds: float = 0
    findings: int = 0


def goal(name):
    return GOALS.get(name, USUAL_GOAL)


def programs(source=SOURCE):
    """The names of all, sorted."""
    names = (path.stem[len("fuzz_"):] for path in (source / "tests/fuzz").glob("fuzz_*.cpp"))
    return sorted(name for name in names if name != "entry")


def code(path):
    """The text of a source file without comments and white space."""
    text = re.sub(r"(?m)(^|\s)//.*$", "", path.read_text(encoding="utf-8"))
    return re.sub(r"\s+", "", text)


def included(path):
    """The headers of the tree that a source file includes, by the names there, without their ending."""
    return re.findall(r'(?m)^#include "(.*)\.h"$', path.read_text(encoding="utf-8"))


def covered(name, source=SOURCE):
    """The files that a program's executions are executions of: its own, those that it includes of the tree, and those
    that these include of their own folder and of src/base. A header stands for its source file, too."""
    own = source / f"tests/fuzz/fuzz_{name}.cpp"
    found = {own}
    left = [(own, header) for header in included(own)]
    while left:
        by, header = left.pop()
        for path in (source / f"{folder}/{header}.{ending}" for folder in ("src", "tests") for ending in ("h", "cpp")):
            near = by == own or path.parent in (by.parent, source / "src/base")
            if near and path.is_file() and path not in found:
                found.add(path)
                left += [(path, further) for further in included(path)]
    return sorted(found)


def version(name, source=SOURCE):
    """Of all that a program covers."""
    digest = hashlib.sha256()
    for path in covered(name, source):
        digest.update(code(path).encode() + b"\0")
    return digest.hexdigest()[:12]


def line(name, count):
    return f"{name} {count.version} {count.executions} {count.seconds:.0f} {count.findings}\n"


def parsed(text):
    """Of each line, in order, its name and count."""
    for words in map(str.split, text.splitlines()):
        name, of, executions, seconds, findings = words
        yield name, Count(of, int(executions), float(seconds), int(findings))


def read(source=SOURCE):
    """The sums by name, of the programs as they stand now."""
    path = source / SUMS
    before = dict(parsed(path.read_text(encoding="utf-8"))) if path.exists() else {}
    sums = {}
    for name in programs(source):
        now = version(name, source)
        sums[name] = before.get(name, Count(now))
        if sums[name].version != now:
            sums[name] = Count(now, findings=sums[name].findings)
    return sums


def add(sums, turns):
    """Adds lines of turns to the sums. Returns the lines that are of another version, or of a program that is gone;
    of these only the findings are added."""
    refused = []
    for name, turn in parsed(turns):
        if name in sums:
            sums[name].findings += turn.findings
        if name not in sums or sums[name].version != turn.version:
            refused.append(line(name, turn).strip())
            continue
        sums[name].executions += turn.executions
        sums[name].seconds += turn.seconds
    return refused


def written(sums):
    return "".join(line(name, count) for name, count in sorted(sums.items()))


def table(sums):
    """The sums as the page shows them."""
    rows = ["| program | executions so far | goal | reached | findings | executions a second |",
            "|---|---:|---:|---:|---:|---:|"]
    for name, count in sorted(sums.items()):
        # Not rounded up to a goal that is not reached.
        share = min(100, 100 * count.executions // goal(name))
        speed = f"{count.executions / count.seconds:,.0f}" if count.seconds else ""
        rows.append(f"| {name} | {count.executions:,} | {goal(name):,} | {share} % | {count.findings} | {speed} |")
    total = sum(count.executions for count in sums.values())
    findings = sum(count.findings for count in sums.values())
    wanted = sum(map(goal, sums))
    rows.append(f"| all | {total:,} | {wanted:,} | | {findings} | |")
    return "\n".join(rows)
