#!/usr/bin/env python3
"""Holds the manual pages against the help of the programs, the schemas, and what is installed.

    manual_test.py SOURCE BUILD PROGRAM...
"""

import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
from help_text import Help  # noqa: E402  (the line above keeps the tree clean)

SOURCE, BUILD = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
PROGRAMS = {Path(name).name: Path(name) for name in sys.argv[3:]}
del sys.argv[1:]
PAGES = sorted((SOURCE / "docs/man").iterdir())
# Pages of other packages that ours refer to.
OTHERS = {"bash.1", "df.1", "free.1", "waybar.5"}


def page(name):
    return SOURCE / "docs/man" / name


def rendered(path, section):
    """The text of a section as a reader sees it, each of its lines stripped."""
    text = subprocess.run(["mandoc", "-T", "ascii", path], stdout=subprocess.PIPE, text=True, check=True).stdout
    text = re.sub(".\b", "", text)
    found = re.search(rf"^{section}\n(.*?)(?=^\S)", text, re.DOTALL | re.MULTILINE)
    return [line.strip() for line in found[1].strip().split("\n")] if found else []


def source_of(path, section):
    """The lines of a section as they are written."""
    text = path.read_text(encoding="utf-8")
    found = re.search(rf"^\.Sh {section}\n(.*?)(?=^\.Sh|\Z)", text, re.DOTALL | re.MULTILINE)
    return found[1].split("\n") if found else []


def literal_block(path):
    """The first block of lines that a page shows as they are."""
    return re.search(r"^\.Bd -literal.*?\n(.*?)^\.Ed", path.read_text(encoding="utf-8"), re.DOTALL | re.MULTILINE)[1]


def items(path, section, macro):
    """What the tagged items of a section are about, of those that begin with a macro."""
    return [line.removeprefix(f".It {macro} ") for line in source_of(path, section)
            if line.startswith(f".It {macro} ")]


class EveryPage(unittest.TestCase):
    def test_each_program_has_one(self):
        self.assertLessEqual({name + ".1" for name in PROGRAMS} | {"korvel.1"}, {path.name for path in PAGES})

    def test_mandoc_has_nothing_to_say(self):
        # Whether it finds the pages that are referred to depends on what the machine has; see below.
        other = re.compile(r"STYLE: referenced manual not found: Xr |outdated mandoc\.db lacks ")
        for path in PAGES:
            with self.subTest(path.name):
                done = subprocess.run(["mandoc", "-T", "lint", "-W", "all", path], stdout=subprocess.PIPE,
                                      stderr=subprocess.STDOUT, text=True, check=False)
                self.assertEqual([line for line in done.stdout.splitlines() if not other.search(line)], [])

    def test_pages_that_are_referred_to_exist(self):
        known = {path.name for path in PAGES} | OTHERS
        for path in PAGES:
            with self.subTest(path.name):
                referred = set(re.findall(r"^\.Xr (\S+) (\d)", path.read_text(encoding="utf-8"), re.MULTILINE))
                self.assertTrue(referred)
                self.assertLessEqual({".".join(each) for each in referred}, known)

    def test_it_names_itself_and_no_version(self):
        for path in PAGES:
            with self.subTest(path.name):
                name, section = path.name.split(".")
                text = path.read_text(encoding="utf-8")
                self.assertIn(f".Dt {name.upper()} {section}\n", text)
                self.assertIn(f".Sh NAME\n.Nm {name}\n.Nd ", text)
                self.assertIsNone(re.search(r"\d+\.\d+\.\d+", text))


class ProgramsWithOptions(unittest.TestCase):
    def each(self):
        return [(Help(program), page(name + ".1")) for name, program in PROGRAMS.items()]

    def test_the_synopsis_is_the_usage_of_the_help(self):
        for told, path in self.each():
            with self.subTest(told.name):
                self.assertEqual(rendered(path, "SYNOPSIS"), [f"{told.name} {usage}" for usage in told.usages])

    def test_wrong_words_are_answered_with_the_usage_of_the_help(self):
        for told, _ in self.each():
            with self.subTest(told.name):
                done = subprocess.run([PROGRAMS[told.name], "--unknown"], capture_output=True, text=True, check=False)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertEqual(done.stderr, f"usage: {told.name} {' | '.join(told.usages)}\n")

    def test_the_options_are_those_of_the_help(self):
        for told, path in self.each():
            with self.subTest(told.name):
                lines = [line.removeprefix(".It Fl -") for line in source_of(path, "DESCRIPTION")
                         if line.startswith(".It Fl ")]
                described = {}
                for line in lines:
                    name, _, value = line.partition(" Ar ")
                    self.assertNotIn("--" + name, described)
                    described["--" + name] = value
                self.assertEqual(described, {name: value for name, (value, _) in told.options.items()})

    def test_every_option_is_in_a_usage(self):
        for told, _ in self.each():
            with self.subTest(told.name):
                self.assertEqual({name for needed, groups in told.forms() for name in needed.union(*groups)},
                                 set(told.options))

    def test_the_exit_statuses_and_the_environment_are_those_of_the_help(self):
        for told, path in self.each():
            with self.subTest(told.name):
                statuses = [line.removeprefix(".It ") for line in source_of(path, "EXIT STATUS")
                            if line.startswith(".It ")]
                self.assertEqual(statuses, [term for term in told.terms("Exit status") if term.isdigit()])
                self.assertEqual(items(path, "ENVIRONMENT", "Ev"), told.terms("Environment"))
                for signal in (term for term in told.terms("Exit status") if not term.isdigit()):
                    self.assertIn(".Dv " + signal, source_of(path, "EXIT STATUS"))

    def test_the_help_fits_a_terminal_of_80_columns(self):
        for told, _ in self.each():
            with self.subTest(told.name):
                self.assertEqual([line for line in told.text.split("\n") if len(line) > 80], [])

    def test_the_version_is_a_line_of_its_own(self):
        versions = set()
        for told, _ in self.each():
            with self.subTest(told.name):
                done = subprocess.run([PROGRAMS[told.name], "--version"], stdout=subprocess.PIPE, text=True, check=True)
                name, version = done.stdout.split(" ")
                self.assertEqual(name, told.name)
                self.assertRegex(version, r"^\d+\.\d+\.\d+\n$")
                versions.add(version)
        self.assertEqual(len(versions), 1)


class ProgramWithoutOptions(unittest.TestCase):
    def test_the_variables_that_it_reads_are_in_its_page(self):
        read = {name for path in (SOURCE / "src").rglob("*.cpp")
                for name in re.findall(r'"(KORVEL_[A-Z_]+)"', path.read_text(encoding="utf-8"))}
        successor = {"KORVEL_OPEN", "KORVEL_RELAUNCH"}  # what a copy that relaunches sets for its successor
        self.assertEqual(set(items(page("korvel.1"), "ENVIRONMENT", "Ev")), read - successor)


class Formats(unittest.TestCase):
    def schema(self, name):
        return json.loads((SOURCE / f"docs/schema/{name}.schema.json").read_text(encoding="utf-8"))

    def variables(self, path, section):
        """What a section calls by a variable's name."""
        return {word for line in source_of(path, section) if re.match(r"\.(It |Pq )?Va ", line)
                for word in line.split("Va ")[1].split() if len(word) > 1}

    def test_a_reading_has_the_members_of_its_schema(self):
        schema = self.schema("korvel-snapshot")
        parts = {name for part in schema["$defs"].values() for name in part["properties"]}
        self.assertEqual(self.variables(page("korvel-snapshot.1"), "JSON"), set(schema["properties"]) | parts)

    def test_a_scenario_has_the_keys_of_its_schema(self):
        schema = self.schema("korvel-scenario")
        path = page("korvel-scenario.5")
        text = "\n".join(source_of(path, "DESCRIPTION"))
        listed = {line.removeprefix(".It Va ") for line in text.split("\n") if line.startswith(".It Va ")}
        self.assertEqual(listed, set(schema["properties"]))
        for name, keys in (("machine", schema["$defs"]["machine"]["properties"]),
                           ("bundle", schema["properties"]["bundle"]["properties"])):
            described = re.search(rf"\.It Va {name}\n(.*?)\.It ", text, re.DOTALL)[1]
            self.assertEqual(set(re.findall(r"(?:\.|Pq )Va (\w+)", described)), set(keys), name)

    @unittest.skipUnless("korvel-sim" in PROGRAMS, "korvel-sim is not in this build")
    def test_the_scenarios_that_are_shown_run(self):
        shown = [literal_block(page("korvel-scenario.5")), literal_block(page("korvel-sim.1")).split("\n")[1]]
        for scenario in shown:
            with self.subTest(scenario), tempfile.NamedTemporaryFile("w", suffix=".json") as file:
                file.write(scenario)
                file.flush()
                done = subprocess.run([PROGRAMS["korvel-sim"], file.name], capture_output=True, text=True, check=False)
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                scores = {trace["score"] for trace in map(json.loads, done.stdout.splitlines())
                          if trace["what"] == "snapshot"}
                self.assertLess(min(scores), 100, "nothing happens to the score")


class InstalledFiles(unittest.TestCase):
    def test_what_the_pages_name_is_installed(self):
        with tempfile.TemporaryDirectory() as destination:
            subprocess.run(["cmake", "--install", BUILD, "--prefix", "/usr"], check=True, stdout=subprocess.DEVNULL,
                           env=os.environ | {"DESTDIR": destination})
            for path in PAGES:
                installed = Path(destination, f"usr/share/man/man{path.suffix[1:]}", path.name)
                self.assertEqual(installed.read_bytes(), path.read_bytes())
                for name in items(path, "FILES", "Pa"):
                    with self.subTest(path.name, file=name):
                        elsewhere = name.startswith(("~/", "$", "/tmp/"))
                        self.assertTrue(elsewhere or os.path.exists(destination + name), name)
            completions = {"bash": "bash-completion/completions/{}", "zsh": "zsh/vendor-completions/_{}",
                           "fish": "fish/vendor_completions.d/{}.fish"}
            for name in PROGRAMS:
                for shell, place in completions.items():
                    with self.subTest(shell=shell, program=name):
                        self.assertTrue(Path(destination, "usr/share", place.format(name)).is_file())


if __name__ == "__main__":
    unittest.main()
