"""Breaks a room of the program in many single places, and asks its tests which of them they notice.

All mutants are compiled into one copy of the tree: each place chooses between what stands there and what stands there
when the environment names that mutant (KORVEL_MUTANT). So there is one build, and a mutant costs a run of the tests. A
place of C++ that asks by its number also notes that it was reached (in the file that KORVEL_MUTANTS_REACHED names), so
that a test is only asked of what it reaches.
"""

import collections
import concurrent.futures
import datetime
import os
import re
import resource
import signal
import subprocess
import sys
import time

VARIABLE = "KORVEL_MUTANT"
REACHED = "KORVEL_MUTANTS_REACHED"
MOST = 65536  # mutants of a room
PAGE = "docs/reliability.md"
HEADER = ["| room | mutants | noticed | listed survivors | share noticed | goal | minutes | taken on |",
          "|---|---|---|---|---|---|---|---|"]
# What every file of C++ is told of the mutant that was chosen.
CHOSEN = """#pragma once
#ifdef __cplusplus
#include <cstdlib>
#include <type_traits>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
namespace korvel {
/// The number of the mutant; 0: none.
inline int mutant() {
    static const int chosen = [] {
        const char* const text = std::getenv("%s");
        return text ? std::atoi(text) : 0;
    }();
    return chosen;
}
/// A byte for each mutant, of a file, so that it outlives a crash; null: nobody asks.
inline char* reachedMutants() {
    static char* const found = []() -> char* {
        const char* const name = std::getenv("%s");
        const int file = name ? ::open(name, O_RDWR | O_CREAT | O_CLOEXEC, 0600) : -1;
        if (file < 0 || ::ftruncate(file, %d) != 0) {
            return nullptr;
        }
        void* const bytes = ::mmap(nullptr, %d, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
        ::close(file);
        return bytes == MAP_FAILED ? nullptr : static_cast<char*>(bytes);
    }();
    return found;
}
/// Whether this is the mutant, whose place is reached now.
inline bool mutant(int number) {
    if (char* const reached = reachedMutants()) {
        reached[number] = 1;
    }
    return mutant() == number;
}
} // namespace korvel
#endif
""" % (VARIABLE, REACHED, MOST, MOST)

# A place in a file: the text from start to end, what it would be instead, in one or several ways, and how the choice is
# written, a template of {number}, {changed} and {original}.
Place = collections.namedtuple("Place", "start end instead template")
Mutant = collections.namedtuple("Mutant", "number name")  # the name begins with the file
# A test: its name, a function of a mutant's environment and a folder of its own, which says whether it passes, how the
# files begin that it is made of (it cannot notice what is broken elsewhere), and the numbers of the mutants whose
# places it reaches; None: not known.
Test = collections.namedtuple("Test", "name passes made_of reaches", defaults=["", None])

CPP = "(::korvel::mutant() == {number} ? ({changed}) : ({original}))"
QML = "(Theme.mutant === {number} ? ({changed}) : ({original}))"


def replace_each(pattern, instead, template):
    """A rule: places where the group "it" of a pattern is, or all of the match; `instead` gives what it would be."""
    compiled = re.compile(pattern, re.MULTILINE)

    def rule(text):
        for match in compiled.finditer(text):
            group = "it" if "it" in compiled.groupindex else 0
            others = [other for other in instead(match[group]) if other != match[group]]
            if others:
                yield Place(match.start(group), match.end(group), others, template)

    return rule


class Plan:
    """The mutants of a tree, and its files with all of them in."""

    def __init__(self):
        self.mutants = []
        self.files = {}
        self.names = collections.Counter()

    def add(self, file, line, change):
        """A new mutant's number. Its name does not change when lines come or go above it."""
        name = f"{file}: {' '.join(line.split(' //')[0].split())} | {change}"
        self.names[name] += 1
        if self.names[name] > 1:
            name += f" ({self.names[name]})"
        self.mutants.append(Mutant(len(self.mutants) + 1, name))
        return len(self.mutants)

    def break_file(self, file, text, rules, prepared=None):
        """Puts the mutants of these rules in. Where two rules meet, the first has the place. `prepared`: the text, line
        by line as it was, in a form in which places can choose."""
        named, text = text.splitlines(), prepared or text
        taken = []
        for rule in rules:
            for place in rule(text):
                if all(place.end <= other.start or other.end <= place.start for other in taken):
                    taken.append(place)
        done, at = [], 0
        for place in sorted(taken):
            original = text[place.start:place.end]
            line = named[text.count("\n", 0, place.start)]
            choice = original
            for changed in place.instead:
                number = self.add(file, line, f"{' '.join(original.split())} -> {changed}")
                choice = place.template.format(number=number, changed=changed, original=choice)
            done += [text[at:place.start], choice]
            at = place.end
        return "".join(done) + text[at:]


def tracked_files(source):
    listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard"], cwd=source, stdout=subprocess.PIPE,
                            text=True, check=True)
    return [name for name in listed.stdout.splitlines() if (source / name).is_file()]


def write_tree(source, folder, changed, left_out):
    """Copies the tree, with these files changed; writes only what differs, so that little is compiled again."""
    wanted = set()
    for name in tracked_files(source):
        if re.match(left_out, name):
            continue
        target = folder / name
        wanted.add(target)
        content = changed[name].encode() if name in changed else (source / name).read_bytes()
        if not target.exists() or target.read_bytes() != content:
            target.parent.mkdir(parents=True, exist_ok=True)
            target.write_bytes(content)
        target.chmod((source / name).stat().st_mode)
    for path in folder.rglob("*"):
        if path.is_file() and path not in wanted:
            path.unlink()


def build(folder, tree, settings, targets, flags=""):
    """Builds these targets; gives what the compiler says when it fails."""
    chosen = folder / "mutant.h"
    if not chosen.exists() or chosen.read_text(encoding="utf-8") != CHOSEN:
        chosen.write_text(CHOSEN, encoding="utf-8")
    configure = ["cmake", "-G", "Ninja", "-S", str(tree), "-B", str(folder / "build"), *settings,
                 f"-DCMAKE_CXX_FLAGS=-include {chosen} {flags}"]
    for command in (configure, ["cmake", "--build", str(folder / "build"), "--target", *targets, "--", "-k", "0"]):
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
        if done.returncode != 0:
            return done.stdout
    return ""


def limited(command, environment, folder, processor, seconds):
    """Runs a program of which no process takes more than so many seconds of a processor, and which ends after so many
    on the clock; whether it ended well. A mutant may loop for ever, and fill the memory meanwhile."""
    with subprocess.Popen(command, env=environment, cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL, start_new_session=True) as program:
        try:
            resource.prlimit(program.pid, resource.RLIMIT_CPU, (processor, processor))
            resource.prlimit(program.pid, resource.RLIMIT_AS, (4 << 30, 4 << 30))
        except ProcessLookupError:
            pass
        try:
            return program.wait(seconds) == 0
        except subprocess.TimeoutExpired:
            return False
        finally:
            try:
                os.killpg(program.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass


def traced_test(name, command, folder):
    """A program of C++ that is asked only of the mutants that it reaches, and that has a few times as long as when
    nothing is broken. SystemExit: it does not pass then."""
    reached = folder / f"{name}.reached"
    folder.mkdir(parents=True, exist_ok=True)
    reached.unlink(missing_ok=True)
    before, began = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic()
    if not limited(command, {**os.environ, REACHED: str(reached)}, folder, 600, 600):
        raise SystemExit(f"without a mutant this fails: {name}")
    after, seconds = resource.getrusage(resource.RUSAGE_CHILDREN), time.monotonic() - began
    taken = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

    def passes(mutant, place):
        # Two runs at once have no file in common.
        own = {name: str(place) for name in ("XDG_RUNTIME_DIR", "TEST_TMPDIR", "TMPDIR")}
        return limited(command, {**os.environ, **mutant, **own}, place, int(5 * taken) + 3, 20 * seconds + 20)

    numbers = {number for number, byte in enumerate(reached.read_bytes()) if byte} if reached.exists() else set()
    return Test(name, passes, "", numbers)


def program_test(name, command, seconds=120, environment=(), made_of=""):
    """A test that is a program: it passes by its exit status, and fails when it does not end."""
    def passes(mutant, folder):
        told = {**os.environ, **mutant, **dict(environment), "XDG_RUNTIME_DIR": str(folder)}
        try:
            return subprocess.run(command, env=told, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                  check=False, timeout=seconds).returncode == 0
        except subprocess.TimeoutExpired:
            return False

    return Test(name, passes, made_of)


def noticed_by(mutant, tests, folder, every):
    """The names of the tests that fail on a mutant: the first, or every one."""
    place = folder / str(mutant.number)
    place.mkdir(parents=True, exist_ok=True)
    found = []
    for test in tests:
        if mutant.number and not mutant.name.startswith(test.made_of):
            continue
        if mutant.number and test.reaches is not None and mutant.number not in test.reaches:
            continue
        if not test.passes({VARIABLE: str(mutant.number)}, place):
            found.append(test.name)
            if not every:
                break
    return found


def read_survivors(path):
    """The listed survivors, by name, with the reason: that of the paragraph's first lines, which begin with "# "."""
    found, reason, in_reason = {}, "", False
    for line in path.read_text(encoding="utf-8").splitlines() if path.exists() else []:
        if line.startswith("# "):
            reason = f"{reason} {line[2:]}" if in_reason else line[2:]
        elif line:
            if not reason:
                raise SystemExit(f"{path.name}: no reason for {line}")
            found[line] = reason
        in_reason = line.startswith("# ")
    return found


def judge(results, known, whole):
    """What is wrong with the survivors: those without a reason, and reasons without one. `results` has by name who
    noticed it."""
    faults = [f"nobody notices {name}" for name, tests in results.items() if not tests and name not in known]
    faults += [f"is listed as a survivor, but {tests[0]} notices {name}"
               for name, tests in results.items() if tests and name in known]
    if whole:
        faults += [f"is listed as a survivor, but is no mutant: {name}" for name in known if name not in results]
    return faults


def with_row(rows, room, row):
    """The rows of the table, with this one for the room."""
    others = [line for line in rows if line.startswith("| ") and not line.startswith((HEADER[0], f"| {room} |"))]
    return HEADER + sorted([*others, row])


def row_of(room, results, goal, minutes, when):
    """`goal`: the share of which more are to be noticed, in per cent; None: there is none."""
    noticed = sum(bool(tests) for tests in results.values())
    return (f"| {room} | {len(results)} | {noticed} | {len(results) - noticed} | {share(results):.1f} % | "
            f"{'none' if goal is None else f'over {goal} %'} | {minutes:.0f} | {when} |")


def share(results):
    return 100 * sum(bool(tests) for tests in results.values()) / max(len(results), 1)


def write_table(source, room, results, goal, minutes):
    """Puts the room's row into the table of the page."""
    sys.path.insert(0, str(source / "tests/support"))
    import taken_on
    import written_section

    page = source / PAGE
    text = page.read_text(encoding="utf-8")
    rows = text[text.index("<!-- mutants:"):text.index("<!-- /mutants -->")].splitlines()
    row = row_of(room, results, goal, minutes, f"{datetime.date.today().isoformat()}, {taken_on.commit()}")
    written_section.write(page, "mutants", "\n".join(with_row(rows, room, row)))


def run(plan, tests, folder, chosen, every, known, goal=None):
    """Runs the tests on these mutants; gives what is wrong, and who noticed each. `known`: the survivors that are
    listed; None: these tests are not all that there are, so survivors are no fault. `goal`: the share, in per cent, of
    which more are to be noticed."""
    began = time.monotonic()
    untouched = Mutant(0, "nothing")
    failing = noticed_by(untouched, [test for test in tests if test.reaches is None], folder / "work", True)
    if failing:
        raise SystemExit(f"without a mutant these fail: {', '.join(failing)}")
    results = {}
    with concurrent.futures.ThreadPoolExecutor(min(4, os.cpu_count() or 1)) as workers:
        jobs = [workers.submit(noticed_by, mutant, tests, folder / "work", every) for mutant in chosen]
        for mutant, job in zip(chosen, jobs):
            results[mutant.name] = job.result()
            print(f"{', '.join(results[mutant.name]) or 'SURVIVES'}: {mutant.name}", flush=True)
    count = collections.Counter(test for found in results.values() for test in found)
    survivors = sum(not found for found in results.values())
    print(f"\n{len(chosen)} mutants, {survivors} survive; " +
          ", ".join(f"{test.name} notices {count[test.name]}" for test in tests) +
          f" ({time.monotonic() - began:.0f} s)")
    whole = len(chosen) == len(plan.mutants)
    faults = [] if known is None else judge(results, known, whole)
    if whole and None not in (known, goal) and share(results) <= goal:
        faults.append(f"{share(results):.1f} % are noticed, and not over {goal} %")
    print("\n".join(faults))
    return faults, results


def main(source, room, words):
    """`words`: [--all | --by=TEST | --list] [--listed] [TEXT]."""
    texts = [word for word in words if not word.startswith("--")]
    by = [word[len("--by="):] for word in words if word.startswith("--by=")]
    plan, began = Plan(), time.monotonic()
    changed = room.plan(source, plan)
    known = read_survivors(source / f"tests/mutants/{room.NAME}.survivors")
    chosen = [mutant for mutant in plan.mutants
              if all(text in mutant.name for text in texts) and ("--listed" not in words or mutant.name in known)]
    if "--list" in words:
        print("\n".join(mutant.name for mutant in chosen))
        return 0
    folder = source / "build/mutants" / room.NAME
    (folder / "tree").mkdir(parents=True, exist_ok=True)
    write_tree(source, folder / "tree", changed, room.LEFT_OUT)
    print(f"{len(chosen)} of {len(plan.mutants)} mutants", flush=True)
    fault = build(folder, folder / "tree", room.SETTINGS, room.TARGETS, getattr(room, "FLAGS", ""))
    if fault:
        raise SystemExit(fault[-6000:] + "\nthe mutants do not compile")
    tests = [test for test in room.tests(source, folder / "build") if not by or test.name in by]
    if not tests:
        raise SystemExit(f"there is no test {by[0]}")
    goal = getattr(room, "GOAL", None)
    faults, results = run(plan, tests, folder, chosen, "--all" in words, None if by else known, goal)
    if len(chosen) == len(plan.mutants) and not by:
        write_table(source, room.NAME, results, goal, (time.monotonic() - began) / 60)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit("script/mutants")
