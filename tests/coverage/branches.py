"""Counts the branches of the rooms of the rules that their unit tests take both ways, by clang's own counters.

    branches.py SOURCE [ROOM...]
"""

import collections
import json
import os
import subprocess
import sys
from pathlib import Path

sys.path[:0] = [str(Path(__file__).resolve().parents[1] / folder) for folder in ("mutants", "support")]

import engine
import taken_on
import written_section

# A room's files, and the program of its unit tests. What is in none of the libraries that are tested is not there:
# the mains, which a desktop's cases run.
ROOMS = {
    "core": ("src/core/", "core_test"),
    "model": ("src/model/", "model_test"),
    "update": ("src/update/", "update_test"),
    "content": ("src/ui/content/", "content_test"),
    "app": ("src/app/", "app_test"),
}
# The counters lie in a file that is shared with the children, so that a program that ends by a fault has counted too.
COUNTED = "-fprofile-instr-generate -fcoverage-mapping -mllvm -runtime-counter-relocation"
SETTINGS = ["-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DCMAKE_CXX_COMPILER=clang++",
            "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DKORVEL_QT=OFF", "-DKORVEL_TESTS=all", "-DKORVEL_BENCH=OFF",
            "-DKORVEL_FUZZ=OFF", f"-DCMAKE_CXX_FLAGS={COUNTED}"]
EXCEPTIONS = "tests/coverage/exceptions"
PAGE = "docs/reliability.md"

# A condition, by its file and its place there: how often it was true and false. `name` says what it is, without the
# number of its line.
Branch = collections.namedtuple("Branch", "name true false")


def build(source, folder, programs):
    for command in (["cmake", "-G", "Ninja", "-S", str(source), "-B", str(folder), *SETTINGS],
                    ["cmake", "--build", str(folder), "--target", *programs]):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        if done.returncode != 0:
            raise SystemExit(done.stdout[-6000:])


def exported(folder, programs):
    """What llvm-cov says of a run of these programs."""
    counted = folder / "counted"
    counted.mkdir(parents=True, exist_ok=True)
    for old in counted.iterdir():
        old.unlink()
    for program in programs:
        told = {**os.environ, "LLVM_PROFILE_FILE": str(counted / f"{program}%c.profraw")}
        done = subprocess.run([folder / "bin" / program, "--gtest_brief=1"], env=told, cwd=folder,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        if done.returncode != 0:
            raise SystemExit(done.stdout[-6000:] + f"\n{program} fails")
    subprocess.run(["llvm-profdata", "merge", "-o", counted / "all.profdata", *counted.glob("*.profraw")], check=True)
    others = [word for program in programs[1:] for word in ("-object", folder / "bin" / program)]
    text = subprocess.run(["llvm-cov", "export", "-format=text", "-skip-functions",
                           f"-instr-profile={counted / 'all.profdata'}", folder / "bin" / programs[0], *others],
                          stdout=subprocess.PIPE, check=True).stdout
    return json.loads(text)["data"][0]["files"]


def branches_of(files, source, folder):
    """The branches of the files in the folder. A template has its counters more than once; they are added up."""
    found = []
    for file in sorted(files, key=lambda one: one["filename"]):
        name = os.path.relpath(file["filename"], source)
        if not name.startswith(folder):
            continue
        counts = collections.Counter()
        for first, column, last, end, true, false, *_ in file["branches"]:
            counts[first, column, last, end, True] += true
            counts[first, column, last, end, False] += false
        found += named(name, Path(file["filename"]).read_text(encoding="utf-8"), counts)
    return found


def named(file, text, counts):
    """The branches of a file, in their order. `counts`: by the first line and column, the last, and the way."""
    lines, names, found = text.splitlines(), collections.Counter(), []
    for first, column, last, end in sorted({place[:4] for place in counts}):
        # Columns are bytes.
        rows = [line.encode() for line in lines[first - 1:last]]
        rows[-1] = rows[-1][:end - 1]
        rows[0] = rows[0][column - 1:]
        condition = " ".join(b" ".join(rows).decode().split())
        name = f"{file}: {' '.join(lines[first - 1].split(' //')[0].split())} | {condition}"
        names[name] += 1
        if names[name] > 1:
            name += f" ({names[name]})"
        found.append(Branch(name, counts[first, column, last, end, True], counts[first, column, last, end, False]))
    return found


def missing(branches):
    """The ways that were not taken."""
    return [f"{branch.name} is never {way}" for branch in branches
            for way, count in (("true", branch.true), ("false", branch.false)) if count == 0]


def judge(ways, known, folders):
    """What is wrong: ways that are not taken and have no reason, and reasons that are not needed, of these folders."""
    faults = [way for way in ways if way not in known]
    return faults + [f"is listed as an exception, and is none: {way}" for way in known
                     if way.startswith(tuple(folders)) and way not in ways]


def row_of(room, branches, known):
    both = sum(branch.true > 0 and branch.false > 0 for branch in branches)
    excepted = sum(bool(missing([branch])) and all(way in known for way in missing([branch])) for branch in branches)
    return f"| {room} | {len(branches)} | {both} | {excepted} | {len(branches) - both - excepted} | 0 |"


def main(source, rooms):
    wrong = [room for room in rooms if room not in ROOMS]
    if wrong:
        raise SystemExit(f"there is no room {wrong[0]}; there are {' '.join(ROOMS)}")
    chosen = rooms or list(ROOMS)
    folder = source / "build/coverage"
    programs = [ROOMS[room][1] for room in chosen]
    build(source, folder, programs)
    files = exported(folder, programs)
    known = engine.read_survivors(source / EXCEPTIONS)
    rows, ways = [], []
    for room in chosen:
        branches = branches_of(files, source, ROOMS[room][0])
        ways += missing(branches)
        rows.append(row_of(room, branches, known))
    faults = judge(ways, known, [ROOMS[room][0] for room in chosen])
    table = ["| room | branches | taken both ways | excepted | left | goal |", "|---|---:|---:|---:|---:|---:|", *rows]
    print("\n".join([*faults, *table]))
    if not rooms:
        written_section.write(source / PAGE, "coverage", "\n".join([taken_on.taken_on(), "", *table]))
    return 1 if faults else 0


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    sys.exit(main(Path(sys.argv[1]).resolve(), sys.argv[2:]))
