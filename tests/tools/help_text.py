"""What the help of a program says, for tests that hold other texts against it."""

import re
import subprocess


class Help:
    """The help of a program: its usages, its options, and its other sections."""

    def __init__(self, program):
        self.name = program.name
        self.text = subprocess.run([program, "--help"], stdout=subprocess.PIPE, text=True, check=True).stdout
        self.sections = {}
        for block in re.split(r"\n\n(?=[A-Z][\w ]*:\n)", "\n\n" + self.text.strip()):
            heading, _, lines = block.strip().partition(":\n")
            self.sections[heading] = [line.strip() for line in lines.split("\n\n")[0].split("\n")]
        self.usages = [line.removeprefix(self.name).strip() for line in self.sections["Usage"]]
        self.options = {}  # name -> (name of its value, meaning)
        for line in self.sections["Options"]:
            term, meaning = re.split(r" {2,}", line, maxsplit=1)
            name, _, value = term.partition(" ")
            self.options[name] = (value, meaning)

    def terms(self, heading):
        """The terms of a section; none without it."""
        return [re.split(r" {2,}", line)[0] for line in self.sections.get(heading, [])]

    def forms(self):
        """Of each way to call the program, the options: those that it needs, and the groups of which one may be."""
        for usage in self.usages:
            if "[" not in usage and "|" in usage:
                yield from (({name}, []) for name in usage.split(" | "))
                continue
            groups = [set(re.findall(r"--\w+", group)) for group in re.findall(r"\[([^]]*)\]", usage)]
            yield set(re.findall(r"--\w+", re.sub(r"\[[^]]*\]", "", usage))), groups

    def go_together(self, options):
        """Whether there is a way to call the program with these options, and perhaps more."""
        return any(options <= needed.union(*groups) and all(len(options & group) <= 1 for group in groups)
                   for needed, groups in self.forms())
