"""Releases that are not what the team published: each is refused in its words, the program that runs
stays as it is, and nothing outside the folder of the work is touched.
"""

import os
import shutil

from releases import NEW, OLD, PROGRAM, certificates, contents, pack
from trial import DIGEST, SIGNATURE, UNPACK, Trial, check


def change_a_byte(path):
    with open(path, "r+b") as file:
        file.seek(os.path.getsize(path) // 2)
        byte = file.read(1)
        file.seek(-1, os.SEEK_CUR)
        file.write(bytes([byte[0] ^ 1]))


def change_identifier(bundle):
    path = os.path.join(bundle, "Contents/Info.plist")
    with open(path, encoding="utf-8") as file:
        text = file.read()
    with open(path, "w", encoding="utf-8") as file:
        file.write(text.replace("com.oxbrook.korvel", "com.oxbrook.other"))


def link_out(bundle):
    os.symlink("/etc/passwd", os.path.join(bundle, "Contents/Resources/out"))


def bundles(context):
    """Bundles that are not as they were signed, or signed by others: name, release, change."""
    releases = context.releases

    def seal_by(root, team):
        def seal(bundle):
            folder = os.path.dirname(os.path.dirname(bundle))
            if root == "stranger":
                certificates.make_authority(folder, root)
            else:
                for end in (".pem", ".key"):
                    shutil.copy(os.path.join(releases.folder, root + end), folder)
            releases.seal(bundle, certificates.make_signer(folder, root, "other", team))
        return seal

    def rename(bundle):
        change_identifier(bundle)
        releases.seal(bundle)

    def inside(bundle, name):
        return os.path.join(bundle, "Contents", name)

    yield "a byte of the program changed", NEW, lambda b: change_a_byte(os.path.join(b, PROGRAM))
    yield "a byte of the manifest changed", NEW, lambda b: change_a_byte(inside(b, "_CodeSignature/Manifest"))
    yield "a byte of the signature changed", NEW, lambda b: change_a_byte(inside(b, "_CodeSignature/Manifest.p7s"))
    yield "no signature", NEW, lambda b: shutil.rmtree(inside(b, "_CodeSignature"))
    yield "a file added", NEW, lambda b: shutil.copy(inside(b, "Info.plist"), inside(b, "Resources/more"))
    yield "a file missing", NEW, lambda b: os.remove(inside(b, "Resources/text"))
    yield "a mode changed", NEW, lambda b: os.chmod(inside(b, "Info.plist"), 0o755)
    yield "signed by another team", NEW, seal_by("root", "ZZZZZZZZZZ")
    yield "signed under another root", NEW, seal_by("stranger", "7QX4D1K9WB")
    yield "another program of the team", NEW, rename
    yield "the build that runs, shown as a later one", OLD, lambda b: None


def refused(context, site, sentence):
    def play(folder):
        trial = Trial(context.releases, folder)
        before = contents(trial.place)
        state = trial.install(site(folder))
        check(state == "failed: " + sentence, f"{state!r}, not {sentence!r}")
        check(contents(trial.place) == before, "the place of the program is not as it was")
        check(not os.listdir(trial.temporary), f"in the temporary folder: {os.listdir(trial.temporary)}")
        check(not {"out", "escaped-out"} & set(os.listdir(folder)), "something was unpacked elsewhere")
        trial.judge(OLD)
    return play


def site_of_bundle(context, build, change):
    def site(folder):
        made = os.path.join(folder, "made", "bundles")
        context.releases.put(build, os.path.join(made, "Korvel.app"))
        change(os.path.join(made, "Korvel.app"))
        return context.releases.publish(os.path.join(folder, "site"), pack(made))
    return site


def cases(context):
    releases = context.releases
    whole = releases.archive

    def archive(data, **changed):
        return lambda folder: releases.publish(os.path.join(folder, "site"), data, **changed)

    for name, build, change in bundles(context):
        yield name, True, refused(context, site_of_bundle(context, build, change), SIGNATURE)
    yield ("a link that leads out", True,
           refused(context, site_of_bundle(context, NEW, link_out), UNPACK))  # not even made
    yield "another digest", True, refused(context, archive(whole, sha256="0" * 64), DIGEST)
    yield "half of the archive", True, refused(context, archive(whole[:len(whole) // 2]), UNPACK)
    yield "no archive", True, refused(context, archive(b"This is no archive.\n" * 100), UNPACK)
    yield ("an entry that leads out of the folder", True,
           refused(context, archive(whole.replace(b"Korvel.app/Contents/Resources/text",
                                                  b"Korvel.app/../../../../escaped-out")), UNPACK))
