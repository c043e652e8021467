"""Two releases of the trial program, signed under a root that is made for the run, and published in a
folder. The bundles are small: what an installation does to them does not depend on their size.
"""

import hashlib
import json
import os
import shutil
import stat
import subprocess
import sys
import zipfile

SOURCE = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(SOURCE, "tests", "support"))
import certificates  # noqa: E402
from trees import contents  # noqa: E402

PROGRAM = "Contents/Linux/korvel"
OLD, NEW = "100", "101"
NOTES = "• Faster sampling\n• Fixed swap readout\n"


def command(*words, given=None):
    done = subprocess.run(words, input=given, capture_output=True, check=False)
    if done.returncode != 0:
        raise RuntimeError(f"{words[0]}: {(done.stderr or done.stdout).decode(errors='replace').strip()}")
    return done.stdout


def pack(folder):
    """The bytes of a zip archive with modes and links of all that is in the folder."""
    path = folder + ".zip"
    with zipfile.ZipFile(path, "w") as archive:
        for top, folders, files in sorted(os.walk(folder)):
            for name in sorted(folders + files):
                inside = os.path.join(top, name)
                mode = os.lstat(inside).st_mode
                relative = os.path.relpath(inside, folder)
                entry = zipfile.ZipInfo(relative + ("/" if stat.S_ISDIR(mode) else ""))
                entry.create_system = 3
                entry.external_attr = mode << 16
                entry.compress_type = zipfile.ZIP_DEFLATED
                if stat.S_ISLNK(mode):
                    archive.writestr(entry, os.readlink(inside))
                elif stat.S_ISDIR(mode):
                    archive.writestr(entry, b"")
                else:
                    with open(inside, "rb") as file:
                        archive.writestr(entry, file.read())
    with open(path, "rb") as file:
        packed = file.read()
    os.remove(path)
    return packed


class Releases:
    """In `folder`: OLD/Korvel.app and NEW/Korvel.app, root.pem, and the site that publishes NEW."""

    def __init__(self, folder, programs):
        self.folder = folder
        self.tool = os.path.join(programs, "korvel-release")
        self.trial = os.path.join(programs, "korvel_install_trial")
        certificates.make_authority(folder, "root")
        self.root = os.path.join(folder, "root.pem")
        self.team = certificates.make_signer(folder, "root", "team", "7QX4D1K9WB")
        self.bundles = {}
        for build in (OLD, NEW):
            self.bundles[build] = self.make_bundle(os.path.join(folder, build), build)
        self.trees = {build: contents(bundle) for build, bundle in self.bundles.items()}
        self.archive = pack(os.path.join(folder, NEW))
        self.site = self.publish("site", self.archive)

    def make_bundle(self, folder, build):
        bundle = os.path.join(folder, "Korvel.app")
        contents = os.path.join(bundle, "Contents")
        for name in ("Linux", "Resources"):
            os.makedirs(os.path.join(contents, name))
        with open(os.path.join(SOURCE, "packaging/linux/Info.plist.in"), encoding="utf-8") as file:
            description = file.read()
        for key, value in (("IDENTIFIER", "com.oxbrook.korvel"), ("VERSION", "1." + build), ("BUILD", build)):
            description = description.replace(f"@{key}@", value)
        with open(os.path.join(contents, "Info.plist"), "w", encoding="utf-8") as file:
            file.write(description)
        with open(os.path.join(contents, "Resources", "text"), "w", encoding="utf-8") as file:
            file.write(f"of build {build}\n" * 1000)
        os.symlink("text", os.path.join(contents, "Resources", "link"))
        command("strip", "-o", os.path.join(bundle, PROGRAM), self.trial)
        os.chmod(os.path.join(bundle, PROGRAM), 0o755)
        self.seal(bundle)
        return bundle

    def seal(self, bundle, signer=None):
        """Lists what is in the bundle now, and signs that."""
        command(self.tool, "manifest", bundle)
        folder = os.path.join(bundle, "Contents/_CodeSignature")
        key, certificate = signer or self.team
        command("openssl", "cms", "-sign", "-binary", "-nosmimecap", "-outform", "DER", "-md", "sha256",
                "-signer", certificate, "-inkey", key, "-in", os.path.join(folder, "Manifest"), "-out",
                os.path.join(folder, "Manifest.p7s"))

    def publish(self, name, archive, **changed):
        """A folder with these bytes as the release NEW, and its feed, in which `changed` goes."""
        site = os.path.join(self.folder, name)
        os.mkdir(site)
        with open(os.path.join(site, "Korvel.zip"), "wb") as file:
            file.write(archive)
        feed = {"version": "1." + NEW, "build": int(NEW), "url": "https://updates.example/Korvel.zip",
                "sha256": hashlib.sha256(archive).hexdigest(), "notes": NOTES, **changed}
        with open(os.path.join(site, "appcast.json"), "w", encoding="utf-8") as file:
            json.dump(feed, file)
        return site

    def build_of(self, bundle):
        """The release that this bundle is, whole, unchanged and nothing else; None: it is none."""
        found = contents(bundle)
        return next((build for build, listed in self.trees.items() if listed == found), None)

    def put(self, build, place):
        shutil.copytree(self.bundles[build], place, symlinks=True)
