"""What `cmake --install` puts where.

    installed_tree_test.py SOURCE-FOLDER BUILD-FOLDER
"""

import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE, BUILD = (Path(word).resolve() for word in (sys.argv.pop(1), sys.argv.pop(1)))


def installed(prefix, destination, component):
    """The files of a component that is installed below `destination`, with `prefix` as its own name."""
    command = ["cmake", "--install", BUILD, "--prefix", prefix, "--component", component]
    subprocess.run(command, env=os.environ | {"DESTDIR": destination}, stdout=subprocess.DEVNULL, check=True)
    return {"/" + str(path.relative_to(destination)) for path in Path(destination).rglob("*") if not path.is_dir()}


class InstalledTree(unittest.TestCase):
    def files(self, prefix, component):
        with tempfile.TemporaryDirectory() as destination:
            return installed(prefix, destination, component)

    def test_the_program_comes_with_what_a_desktop_looks_for(self):
        files = self.files("/usr", "korvel")
        for name in (
            "/usr/bin/korvel",
            "/usr/share/applications/com.oxbrook.korvel.desktop",
            "/usr/share/icons/hicolor/scalable/apps/com.oxbrook.korvel.svg",
            "/usr/share/icons/hicolor/symbolic/apps/com.oxbrook.korvel-symbolic.svg",
            "/usr/share/metainfo/com.oxbrook.korvel.metainfo.xml",
            "/usr/share/korvel/package-type",
        ):
            self.assertIn(name, files)

    def test_sessions_find_the_entry_that_starts_it_where_they_look(self):
        for prefix, folder in (("/usr", "/etc"), ("/usr/local", "/usr/local/etc"), ("/opt/korvel", "/opt/korvel/etc")):
            with self.subTest(prefix):
                entry = folder + "/xdg/autostart/com.oxbrook.korvel.desktop"
                self.assertEqual([name for name in self.files(prefix, "korvel") if "/autostart/" in name], [entry])

    def test_the_folder_for_settings_is_the_packagers(self):
        for prefix, given, folder in (
            ("/usr", "etc", "/etc"), ("/usr", "/etc", "/etc"), ("/usr/local", "etc", "/usr/local/etc"),
            ("/usr/local", "/etc", "/etc"), ("/opt/korvel", "/etc/opt/korvel", "/etc/opt/korvel"),
        ):
            with self.subTest(prefix=prefix, given=given), tempfile.NamedTemporaryFile("w", suffix=".cmake") as script:
                script.write(f'include("{SOURCE}/packaging/linux/system_folder.cmake")\n'
                             f'korvel_system_folder(folder "{prefix}" "{given}")\nmessage(NOTICE "${{folder}}")\n')
                script.flush()
                done = subprocess.run(["cmake", "-P", script.name], capture_output=True, text=True, check=True)
                self.assertEqual(done.stderr, folder + "\n")

    def test_components_share_no_file(self):
        seen = {}
        for component in ("korvel", "korvel-snapshot", "korvel-tools"):
            for name in self.files("/usr", component):
                self.assertNotIn(name, seen)
                seen[name] = component
        self.assertEqual(seen["/usr/bin/korvel-snapshot"], "korvel-snapshot")
        self.assertEqual(seen["/usr/bin/korvel-sim"], "korvel-tools")
        self.assertEqual(seen["/usr/bin/korvel-demo"], "korvel-tools")

    def test_nothing_is_installed_but_the_components(self):
        with tempfile.TemporaryDirectory() as destination:
            everything = subprocess.run(["cmake", "--install", BUILD, "--prefix", "/usr"], check=True,
                                        env=os.environ | {"DESTDIR": destination}, stdout=subprocess.PIPE, text=True)
            self.assertIn("/usr/bin/korvel", everything.stdout)
            whole = {"/" + str(path.relative_to(destination)) for path in Path(destination).rglob("*")
                     if not path.is_dir()}
        parts = set()
        for component in ("korvel", "korvel-snapshot", "korvel-tools"):
            parts |= self.files("/usr", component)
        self.assertEqual(whole, parts)


if __name__ == "__main__":
    unittest.main()
