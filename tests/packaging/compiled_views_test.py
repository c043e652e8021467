"""A view compiles to the same bytes each time.

    compiled_views_test.py COMPILER MODULES

COMPILER is what the build compiles views with, MODULES the folder of Qt's modules.
"""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

MODULES = sys.argv.pop(2)
COMPILER = sys.argv.pop(1)
# Functions with variables of several types; Qt's own compiler gives seven outcomes of it in eight tries.
VIEW = """
import QtQuick

Item {
    id: root
    property int number: 3
    property string text: "a"
    property bool asked: true
    property real share: 0.5
    width: asked ? share * number : number + text.length
    height: Math.max(share, number) + (asked ? text.length : width * 2)
    visible: text.length > number && share < width && asked
    readonly property string said: asked ? text + number : text + share
}
"""


class CompiledViews(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def compiled(self, name, view=VIEW):
        source = self.folder / name / "View.qml"
        source.parent.mkdir(parents=True)
        source.write_text(view)
        out = source.with_suffix(".cpp")
        command = [COMPILER, "--resource-path", "/View.qml", "-I", MODULES, "-o", out, source]
        return subprocess.run(command, capture_output=True, text=True, check=False), out

    def test_two_builds_of_a_view_are_the_same(self):
        outcomes = set()
        for name in ("one", "a/longer/place", "three", "4", "five", "b/c", "seven", "eight"):
            _, out = self.compiled(name)
            outcomes.add(out.read_text())
        self.assertEqual(len(outcomes), 1)
        self.assertIn("aotBuiltFunctions[] = {\n{ 0,", outcomes.pop(), "no function of the view was compiled")

    def test_a_view_that_does_not_compile_is_told_as_qt_tells_it(self):
        run, _ = self.compiled("wrong", "import QtQuick\nItem { width: }\n")
        self.assertNotEqual(run.returncode, 0)
        self.assertIn("View.qml:2:15: error", run.stderr)


if __name__ == "__main__":
    unittest.main()
