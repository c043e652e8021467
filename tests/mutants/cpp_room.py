"""The mutants of a room of C++ that needs no Qt: all that cpp_places.py finds in its files."""

import concurrent.futures
import os
import re
import shutil
import subprocess
from pathlib import Path

import cpp_places
import engine


class Room:
    """`files`: the room's files, a pattern of paths; `tests`: the programs that are asked, the room's own first;
    `slow`: of some of them the tests, a filter, that are asked when the others have noticed nothing."""

    GOAL = 95  # per cent of the mutants, of which more are to be noticed
    LEFT_OUT = r"docs/pictures/|tests/ui/pictures/references/"
    # A template or a list may hold a narrowed choice. Of the checks, only those that cost nothing: what is read of an
    # empty container, and a function that ends without its value.
    FLAGS = "-w -Wno-c++11-narrowing -D_GLIBCXX_ASSERTIONS -fsanitize=return -fsanitize-trap=return"
    SETTINGS = ["-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DCMAKE_CXX_COMPILER=clang++",
                "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DKORVEL_QT=OFF", "-DKORVEL_TESTS=all",
                "-DKORVEL_BENCH=OFF", "-DKORVEL_FUZZ=OFF"]

    def __init__(self, name, files, tests, slow=None):
        self.NAME, self.files, self.TARGETS, self.slow = name, files, tests, slow or {}
        self.sources = []

    def plan(self, source, found):
        """The room's files, with the mutants that compile."""
        self.sources = self.read(source)
        return {one.name: one.written(found) for one in self.sources}

    def read(self, source):
        header = source / "build/mutants" / self.NAME / "mutant.h"
        header.parent.mkdir(parents=True, exist_ok=True)
        header.write_text(engine.CHOSEN, encoding="utf-8")
        arguments = arguments_of(source, header)
        sources = []
        for name in engine.tracked_files(source):
            if re.fullmatch(self.files, name):
                text = (source / name).read_text(encoding="utf-8")
                unit = cpp_places.parse(str(source / name), text, arguments)
                wrong = [str(fault) for fault in unit.diagnostics if fault.severity >= 3]
                if wrong:
                    raise SystemExit("\n".join(wrong))
                sources.append(cpp_places.Source(name, text, unit))
        self.leave_out(source, sources, arguments)
        return sources

    def leave_out(self, source, sources, arguments):
        """Leaves out the mutants that do not compile."""
        tried = source / "build/mutants" / self.NAME / "tried"
        shutil.rmtree(tried, ignore_errors=True)  # a header that is no longer the room's would be read from there
        by_path = {str(tried / one.name): one for one in sources}
        waiting = [path for path in by_path]
        while waiting:
            for path, one in by_path.items():
                write(Path(path), one.written())
            with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as workers:
                faults = list(workers.map(lambda path: faults_of(path, [f"-I{tried}/src", *arguments]), waiting))
            gone = set()
            left_out = [leave_out_at(fault, by_path, gone) for found in faults for fault in found]
            if left_out and not gone:
                raise SystemExit(f"{next(found for found in faults if found)[0]}\nthe mutants do not compile")
            waiting = [path for path, found in zip(waiting, faults) if found]

    def tests(self, _, folder):
        found = []
        for name in self.TARGETS:
            parts = [(name, "*")]
            if name in self.slow:
                parts = [(name, f"-{self.slow[name]}"), (f"{name} (slow)", self.slow[name])]
            found += [engine.traced_test(part, [folder / "bin" / name, "--gtest_fail_fast", f"--gtest_filter={tests}"],
                                         folder / "reached") for part, tests in parts]
        return found


def arguments_of(source, header):
    """What the room's files are read with: libclang has no headers of the compiler's own."""
    own = subprocess.run(["clang++", "-print-resource-dir"], stdout=subprocess.PIPE, text=True, check=True)
    return ["-x", "c++", "-std=c++20", f"-I{source}/src", "-isystem", own.stdout.strip() + "/include", "-include",
            str(header), "-w", "-Wno-c++11-narrowing", "-ferror-limit=0", '-DKORVEL_UPDATE_HOST="localhost"']


def write(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")


def faults_of(path, arguments):
    """What the compiler does not take in a file: of each fault what it says, its place and those of its notes, each the
    file, the line and the column. Another process, because this compiler may come to a bad end over what is wrong."""
    done = subprocess.run(["clang++", "-fsyntax-only", "-fno-caret-diagnostics", *arguments, path],
                          stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, check=False)
    found = []
    for file, line, column, kind, text in re.findall(r"^(\S+?):(\d+):(\d+): (error|fatal error|note): (.*)",
                                                     done.stderr, re.M):
        if kind != "note":
            found.append((text, []))
        if found:
            found[-1][1].append((file, int(line), int(column)))
    if done.returncode != 0 and not found:
        raise SystemExit(done.stderr[-6000:])
    return found


def blamed(fault, by_path):
    """The mutants that a fault may come from, the likeliest first, in lists of those that go together."""
    text, places = fault
    at = [by_path[file].ways_at(line, column) for file, line, column in places if file in by_path]
    file, line, _ = places[0]
    names = set()
    if file in by_path:
        yield at[0][0]
        names = set(re.findall(r"\w+", "".join(text for text, *_ in by_path[file].pieces).split("\n")[line - 1]))
    yield from (declared for _, declared, _ in at)
    # Not every use of what has to be constant is told with where that was declared.
    constants = [way for one in by_path.values() for way in one.ways_of_constants(names)]
    yield constants if re.search("constant|variable length|variable-sized", text) else []
    yield from (way or inside for way, _, inside in at)
    yield constants


def leave_out_at(fault, by_path, gone):
    """Leaves out what a fault comes from; whether there was something. `gone`: what was left out since the compiler was
    asked."""
    for ways in blamed(fault, by_path):
        if any(way in gone for way in ways):
            return True
        left = [way for way in ways if way.compiles]
        if left:
            for way in left:
                way.compiles = False
            gone.update(left)
            return True
    return False
