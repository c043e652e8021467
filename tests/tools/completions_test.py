#!/usr/bin/env python3
"""What bash, zsh and fish offer for the command lines of the tools, asked of the shells themselves.

    completions_test.py SOURCE PROGRAM...
"""

import os
import shlex
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True
from help_text import Help  # noqa: E402  (the line above keeps the tree clean)

PROGRAMS = {Path(name).name: Path(name) for name in sys.argv[2:]}
SOURCE = Path(sys.argv[1]).resolve()
del sys.argv[1:]
COMPLETIONS = SOURCE / "packaging/completions"
ZSH = SOURCE / "tests/tools/zsh"
BASH = """
source /usr/share/bash-completion/bash_completion
source "$COMPLETIONS/bash/$1"
function=$(complete -p "$1" | sed 's/.* -F \\([^ ]*\\) .*/\\1/')
while IFS= read -r COMP_LINE; do
    read -ra COMP_WORDS <<<"$COMP_LINE"
    [[ $COMP_LINE != *" " ]] || COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) COMP_POINT=${#COMP_LINE} COMPREPLY=()
    "$function" "$1" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}" 2>/dev/null # not at a prompt
    printf '%s\\n' "${COMPREPLY[@]}" ""
done <"$LINES_FILE"
"""
FISH = """
source $COMPLETIONS/fish/$argv[1].fish
for line in (cat $LINES_FILE)
    complete -C $line
    echo
end
"""


def ask(shell, program, lines, folder):
    """What the shell offers for each of the lines: matches and their descriptions, in its order."""
    with tempfile.TemporaryDirectory() as own:
        file, matches = Path(own, "lines"), Path(own, "matches")
        file.write_text("".join(line + "\n" for line in lines), encoding="utf-8")
        matches.touch()
        environment = {"PATH": os.environ["PATH"], "HOME": own, "TERM": "dumb", "COMPLETIONS": str(COMPLETIONS),
                       "LINES_FILE": str(file), "MATCHES": str(matches), "LC_ALL": "C.UTF-8"}
        if shell == "zsh":
            environment |= {"COMPLETIONS": str(COMPLETIONS / "zsh"), "ZDOTDIR": str(ZSH)}
            command = ["script", "--quiet", "--return", "--command", "zsh -i", "/dev/null"]
        elif shell == "fish":
            command = ["fish", "--no-config", "-c", FISH, program]
        else:
            command = ["bash", "--norc", "--noprofile", "-c", BASH, "bash", program]
        done = subprocess.run(command, env=environment, cwd=folder, stdin=subprocess.DEVNULL, text=True,
                              capture_output=True, timeout=60, check=False)
        if done.returncode != 0:
            raise AssertionError(f"{shell}: {done.returncode}: {done.stderr}")
        text = matches.read_text(encoding="utf-8") if shell == "zsh" else done.stdout
    answers, answer = [], {}
    for line in text.split("\n")[:-1]:
        if line:
            match, _, said = line.partition("\t")
            answer[match.rstrip(" ")] = said.partition(" -- ")[2] if shell == "zsh" else said
        else:
            answers.append(answer)
            answer = {}
    if len(answers) != len(lines):
        raise AssertionError(f"{shell}: {len(answers)} answers to {len(lines)} lines: {done.stderr}")
    return dict(zip(lines, answers))


class Completions(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="korvel-completions-")
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        os.mkdir(os.path.join(self.folder, "sub"))
        for name in ("scenario.json", "notes.txt"):
            Path(self.folder, name).touch()

    def test_the_options_are_those_of_the_help_in_its_words(self):
        for shell in ("bash", "zsh", "fish"):
            for name, program in PROGRAMS.items():
                with self.subTest(shell=shell, program=name):
                    answer = ask(shell, name, [name + " --"], self.folder)[name + " --"]
                    wanted = {option: "" if shell == "bash" else meaning
                              for option, (_, meaning) in Help(program).options.items()}
                    self.assertEqual(answer, wanted)

    def test_options_that_do_not_go_together_are_not_offered(self):
        for name, program in PROGRAMS.items():
            told = Help(program)
            lines = {}
            given = [{option} for option in told.options]
            given += [{one, other} for one in told.options for other in told.options
                      if one < other and told.go_together({one, other})]
            for options in given:
                words = [word for option in sorted(options)
                         for word in ((option, "5") if told.options[option][0] else (option,))]
                lines[shlex.join([name, *words, "--"])] = {
                    option for option in told.options
                    if option not in options and told.go_together(options | {option})}  # fmt: skip
            for shell in ("bash", "zsh", "fish"):
                answers = ask(shell, name, list(lines), self.folder)
                for line, wanted in lines.items():
                    with self.subTest(shell=shell, line=line):
                        self.assertEqual(set(answers[line]), wanted)

    def test_a_scenario_is_a_file_of_its_ending_or_in_a_folder(self):
        for name, lines in {"korvel-sim": ["korvel-sim "],
                            "korvel-demo": ["korvel-demo ", "korvel-demo --pictures sub "]}.items():
            if name not in PROGRAMS:
                continue
            for shell in ("bash", "zsh", "fish"):
                for line, answer in ask(shell, name, lines, self.folder).items():
                    with self.subTest(shell=shell, line=line):
                        files = [match.rstrip("/") for match in answer if not match.startswith("-")]
                        if shell == "fish":  # has the others behind these
                            self.assertEqual(files[0], "scenario.json")
                        else:
                            self.assertEqual(sorted(files), ["scenario.json", "sub"])

    def test_one_scenario_is_enough(self):
        for shell in ("bash", "zsh", "fish"):
            for name in set(PROGRAMS) - {"korvel-snapshot"}:
                line = name + " scenario.json "
                with self.subTest(shell=shell, line=line):
                    answer = ask(shell, name, [line], self.folder)[line]
                    self.assertEqual([match for match in answer if not match.startswith("-")], [])

    @unittest.skipUnless("korvel-demo" in PROGRAMS, "korvel-demo is not in this build")
    def test_pictures_go_to_a_folder(self):
        for shell in ("bash", "zsh", "fish"):
            with self.subTest(shell):
                answer = ask(shell, "korvel-demo", ["korvel-demo --pictures "], self.folder)
                self.assertEqual([match.rstrip("/") for match in answer["korvel-demo --pictures "]], ["sub"])

    def test_an_interval_is_no_file(self):
        for shell in ("bash", "zsh", "fish"):
            with self.subTest(shell):
                line = "korvel-snapshot --watch "
                self.assertEqual(ask(shell, "korvel-snapshot", [line], self.folder)[line], {})


if __name__ == "__main__":
    unittest.main()
