"""The mutants of a room of C++ that needs no Qt: all that cpp_places.py finds in its files."""

import re
import subprocess

import cpp_places
import engine


class Room:
    """`files`: the room's files, a pattern of paths; `tests`: the programs that are asked, the room's own first."""

    GOAL = 95  # per cent of the mutants, of which more are to be noticed
    LEFT_OUT = r"docs/pictures/|tests/ui/pictures/references/"
    # Without sanitizers, which would only cost time; a template or a list may hold a narrowed choice.
    FLAGS = "-w -Wno-c++11-narrowing"
    SETTINGS = ["-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DCMAKE_CXX_COMPILER=clang++",
                "-DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld", "-DKORVEL_QT=OFF", "-DKORVEL_TESTS=all",
                "-DKORVEL_BENCH=OFF", "-DKORVEL_FUZZ=OFF"]

    def __init__(self, name, files, tests):
        self.NAME, self.files, self.TARGETS = name, files, tests
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

    @staticmethod
    def leave_out(source, sources, arguments):
        """Leaves out the mutants that do not compile."""
        by_path = {str(source / one.name): one for one in sources}
        waiting = list(sources)
        while waiting:
            texts = [(path, one.written()) for path, one in by_path.items()]
            faulty, left_out = [], False
            for one in waiting:
                path = str(source / one.name)
                others = [(name, text) for name, text in texts if name != path and name.endswith(".h")]
                unit = cpp_places.parse(path, dict(texts)[path], arguments, others)
                faults = [fault for fault in unit.diagnostics if fault.severity >= 3]
                for fault in faults:
                    left_out |= leave_out_at(fault, by_path)
                if faults:
                    faulty.append(one)
                    told = faults[0]
            if faulty and not left_out:
                raise SystemExit(f"{told}\nthe mutants do not compile")
            waiting = faulty

    def tests(self, _, folder):
        return [engine.traced_test(name, [folder / "bin" / name, "--gtest_fail_fast"], folder / "reached")
                for name in self.TARGETS]


def arguments_of(source, header):
    """What the room's files are read with: libclang has no headers of the compiler's own."""
    own = subprocess.run(["clang++", "-print-resource-dir"], stdout=subprocess.PIPE, text=True, check=True)
    return ["-x", "c++", "-std=c++20", f"-I{source}/src", "-isystem", own.stdout.strip() + "/include", "-include",
            str(header), "-w", "-Wno-c++11-narrowing", "-ferror-limit=0", '-DKORVEL_UPDATE_HOST="localhost"']


def leave_out_at(fault, by_path):
    """Leaves out what a fault of the compiler names, itself or in its notes; whether there was something."""
    for place in [fault, *fault.children]:
        where = place.location
        one = where.file and by_path.get(where.file.name)
        if one and one.without(where.line, where.column):
            return True
    # Not every use of what has to be constant is told with where that was declared.
    one = fault.location.file and by_path.get(fault.location.file.name)
    if not one:
        return False
    line = "".join(text for text, *_ in one.pieces).split("\n")[fault.location.line - 1]
    names = set(re.findall(r"\w+", line))
    return any([other.without_constants(names) for other in by_path.values()])
