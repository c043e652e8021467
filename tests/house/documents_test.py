#!/usr/bin/env python3
"""Holds the pages of the tree to what is there: every link leads to a file, and to a heading of it; the scripts and
files that the pages for people name exist.

    documents_test.py SOURCE
"""

import os
import re
import sys
import unittest
from pathlib import Path

SOURCE = Path(sys.argv.pop(1)).resolve()
LEFT_OUT = {"build", ".git", ".cache"}
LINK = re.compile(r"\]\(([^()\s]+)\)")
# Pages whose every named path is held to the tree; others also name what a build or a machine has.
NAMING = ["README.md", "CONTRIBUTING.md", "SECURITY.md", "docs/questions.md", "docs/packaging.md"]
NAMED = re.compile(r"(?<![\w/.~-])((?:bench|contrib|cross|docs|packaging|script|src|tests|tools)/[\w./-]*[\w/])")


def pages():
    for folder, folders, names in os.walk(SOURCE):
        folders[:] = sorted(set(folders) - LEFT_OUT)
        yield from (Path(folder) / name for name in sorted(names) if name.endswith(".md"))


def without_code(text):
    """A page without its blocks and pieces of code, in which brackets are no links."""
    text = re.sub(r"(?ms)^```.*?^```$", "", text)
    return re.sub(r"`[^`\n]*`", "", re.sub(r"(?m)^ {4}.*$", "", text))


def anchors(text):
    """The names by which the headings of a page are linked to."""
    found = set()
    for title in re.findall(r"(?m)^#+ (.*)$", re.sub(r"(?ms)^```.*?^```$", "", text)):
        name = re.sub(r"[^\w -]", "", re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", title).lower()).replace(" ", "-")
        count = sum(one == name or re.fullmatch(re.escape(name) + r"-\d+", one) is not None for one in found)
        found.add(name if not count else f"{name}-{count}")
    return found


def link_faults(page, text):
    for link in LINK.findall(without_code(text)):
        path, _, anchor = link.partition("#")
        if re.match(r"[a-z]+:", path):
            continue
        target = page.parent / path if path else page
        if path and not target.exists():
            yield f"{page.relative_to(SOURCE)}: there is no {link}"
        elif anchor and target.suffix == ".md" and anchor not in anchors(
                text if target == page else target.read_text(encoding="utf-8")):
            yield f"{page.relative_to(SOURCE)}: {link} leads to no heading"


def name_faults(page, text):
    for name in sorted(set(NAMED.findall(text))):
        path = SOURCE / name
        if not path.exists():
            yield f"{page.relative_to(SOURCE)}: there is no {name}"
        elif name.startswith("script/") and not os.access(path, os.X_OK):
            yield f"{page.relative_to(SOURCE)}: {name} cannot be run"


class Documents(unittest.TestCase):
    def test_every_link_leads_to_a_file_and_a_heading(self):
        read = {page: page.read_text(encoding="utf-8") for page in pages()}
        self.assertGreater(len(read), 30)
        self.assertGreater(sum(len(LINK.findall(text)) for text in read.values()), 50)
        self.assertEqual([fault for page, text in read.items() for fault in link_faults(page, text)], [])

    def test_what_the_pages_for_people_name_is_there(self):
        for name in NAMING:
            with self.subTest(name):
                page = SOURCE / name
                text = page.read_text(encoding="utf-8")
                self.assertGreater(len(NAMED.findall(text)), 0)
                self.assertEqual(list(name_faults(page, text)), [])

    def test_a_link_that_leads_nowhere_is_seen(self):
        page = SOURCE / "docs/any.md"
        for text, faults in (
                ("[a](heat.md), [b](../README.md) and [c](https://example.org/x) and [d](pictures)", []),
                ("[a](heat.md#what-an-expert-may-dispute)", []),
                ("# One, two!\n[a](#one-two)", []),
                ("# One\n# One\n[a](#one) [b](#one-1)", []),
                ("[a](warmth.md)", ["docs/any.md: there is no warmth.md"]),
                ("![a](pictures/none.png)", ["docs/any.md: there is no pictures/none.png"]),
                ("[a](../docs/warmth.md)", ["docs/any.md: there is no ../docs/warmth.md"]),
                ("[a](heat.md#nothing)", ["docs/any.md: heat.md#nothing leads to no heading"]),
                ("# One\n[a](#two)", ["docs/any.md: #two leads to no heading"]),
                ("# One\n[a](#one-1)", ["docs/any.md: #one-1 leads to no heading"]),
                ("`[a](warmth.md)`\n\n    [b](warmth.md)\n\n```sh\n[c](warmth.md)\n```\n", [])):
            with self.subTest(text):
                self.assertEqual(list(link_faults(page, text)), faults)

    def test_a_name_of_what_is_not_there_is_seen(self):
        page = SOURCE / "README.md"
        for text, faults in (
                ("`script/run`, src/core/score.cpp, docs/ and ~/docs/x and /usr/share/docs/x and build/docs/x", []),
                ("`script/walk`", ["README.md: there is no script/walk"]),
                ("in src/core/scores.cpp.", ["README.md: there is no src/core/scores.cpp"]),
                ("    script/walk --far", ["README.md: there is no script/walk"])):
            with self.subTest(text):
                self.assertEqual(list(name_faults(page, text)), faults)


if __name__ == "__main__":
    unittest.main()
