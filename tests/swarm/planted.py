"""Plants the faults of planted_faults.py, all in one copy of the program, and has the swarm look for each."""

import concurrent.futures
import os
import resource
import subprocess
import sys
from pathlib import Path

from planted_faults import FAULTS

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "mutants"))
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "support"))

import engine  # noqa: E402
import taken_on  # noqa: E402
import written_section  # noqa: E402

GOAL = 60  # seconds in which each must be found, in one process
SETTINGS = ["-DCMAKE_BUILD_TYPE=Release", "-DKORVEL_QT=OFF", "-DKORVEL_TESTS=threads", "-DKORVEL_BENCH=OFF"]
MOVE_STATEMENT = "if (::korvel::mutant() == {0}) {{ {1} }} else {{ {2} }}"
CHOSEN = "::korvel::mutant()"


def planted(number, fault, text):
    """A file's text with that fault in it."""
    file, original, changed, _ = fault
    if text.count(original) != 1:
        raise SystemExit(f"{file}: this stands there {text.count(original)} times, and should once: {original}")
    if "{mutant}" in changed:
        return text.replace(original, changed.replace("{mutant}", str(number)))
    if original.endswith(";"):
        return text.replace(original, MOVE_STATEMENT.format(number, changed, original))
    end = original[len(original.rstrip()):]
    choice = f"({CHOSEN} == {number} ? ({changed.rstrip()}) : ({original.rstrip()})){end}"
    return text.replace(original, choice)


def planted_files(source):
    """The changed files: every fault in its place, to be chosen by its number, which counts from 1."""
    for file, original, _, _ in FAULTS:
        if (source / file).read_text(encoding="utf-8").count(original) != 1:
            raise SystemExit(f"{file}: this does not stand there once: {original}")
    changed = {}
    for number, fault in enumerate(FAULTS, 1):
        text = changed.get(fault[0]) or (source / fault[0]).read_text(encoding="utf-8")
        changed[fault[0]] = planted(number, fault, text)
    return changed


def sought(program, number):
    """What the swarm says of a planted fault, and after how many seconds of a processor; "" where it finds nothing."""
    told = {**os.environ, engine.VARIABLE: str(number)}
    # More on the clock, for others may work on the machine; one that hangs finds nothing.
    with subprocess.Popen(["timeout", str(8 * GOAL), program, str(4 * GOAL), "1", "1"], env=told,
                          stdout=subprocess.PIPE, text=True) as swarm:
        resource.prlimit(swarm.pid, resource.RLIMIT_CPU, (GOAL, GOAL))
        said = swarm.stdout.read().strip()
        _, status, used = os.wait4(swarm.pid, 0)
        swarm.returncode = os.waitstatus_to_exitcode(status)
    return said if swarm.returncode == 1 else "", used.ru_utime + used.ru_stime


def table(found):
    lines = ["| planted fault | found after, s of a processor | goal | the invariant |", "|---|---:|---:|---|"]
    for (file, _, _, sees), (said, seconds) in found:
        sentence = said.split(": ", 1)[-1].split(" At ")[0].split(" (")[0] if said else "not found"
        lines.append(f"| {sees} (`{file[len('src/'):]}`) | {seconds:.1f} | {GOAL} | {sentence} |")
    times = sorted(seconds for _, (said, seconds) in found if said)
    lines.append(f"| all {len(found)}: {len(times)} found; the median after {times[len(times) // 2]:.1f} s | "
                 f"{times[-1]:.1f} | {GOAL} | |")
    return "\n".join(lines) + "\n"


def run(source, page, text, jobs, write):
    """Looks for those whose words have this text; exit status 1 when one is not found."""
    folder = source / "build/planted"
    (folder / "tree").mkdir(parents=True, exist_ok=True)
    engine.write_tree(source, folder / "tree", planted_files(source), r"docs/pictures/|tests/ui/pictures/references/")
    wrong = engine.build(folder, folder / "tree", SETTINGS, ["korvel_swarm"])
    if wrong:
        raise SystemExit(wrong[-6000:] + "\nthe planted faults do not compile")
    program = folder / "build/bin/korvel_swarm"
    sound = subprocess.run([program, "10", "1", "1"], stdout=subprocess.PIPE, text=True, check=False)
    if sound.returncode != 0:
        raise SystemExit(f"without a planted fault: {sound.stdout}")
    chosen = [(number, fault) for number, fault in enumerate(FAULTS, 1) if text in fault[3] or text in fault[0]]
    found = []
    with concurrent.futures.ThreadPoolExecutor(jobs or os.cpu_count() or 1) as workers:
        work = [workers.submit(sought, program, number) for number, _ in chosen]
        for (number, fault), one in zip(chosen, work):
            said, seconds = one.result()
            found.append((fault, (said, seconds)))
            print(f"{number:3} {seconds:5.1f} s  {fault[3]}: {said or 'NOT FOUND'}", flush=True)
    missed = [fault[3] for fault, (said, _) in found if not said]
    print(f"{len(found) - len(missed)} of {len(found)} found" + "".join(f"\nnot found: {one}" for one in missed))
    if write and not text:
        written_section.write(page, "planted", taken_on.taken_on() + "\n\n" + table(found))
    return 1 if missed else 0
