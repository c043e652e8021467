"""What contrib/bars/i3blocks does at a click; the bars themselves are run in tests/desktop.

    i3blocks_test.py SOURCE
"""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PIECE = Path(sys.argv.pop(1)).resolve() / "contrib/bars/i3blocks/korvel-i3blocks"


class Click(unittest.TestCase):
    def started(self, button):
        """What the piece starts apart from itself when i3blocks tells it of a button."""
        with tempfile.TemporaryDirectory() as top:
            setsid = Path(top) / "setsid"
            setsid.write_text(f'#!/bin/sh\necho "$2" >>"{top}/started"\n')
            setsid.chmod(0o755)
            environment = {"PATH": f"{top}:{os.environ['PATH']}", "XDG_RUNTIME_DIR": top, "BLOCK_BUTTON": button}
            subprocess.run([PIECE], env=environment, check=True)
            return (Path(top) / "started").read_text().split()

    def test_only_the_left_button_opens_the_popover(self):
        for button, started in (("", ["flock"]), ("1", ["korvel", "flock"]), ("2", ["flock"]), ("3", ["flock"]),
                                ("4", ["flock"]), ("5", ["flock"])):
            with self.subTest(button):
                self.assertEqual(self.started(button), started)


if __name__ == "__main__":
    unittest.main()
