#!/usr/bin/python3
"""Measures what an archive can cost before it is refused, and the largest that are accepted.

    update_archives.py BIN [FOLDER]     BIN holds korvel-release; FOLDER is to work in

Prints a line for each: processor seconds and peak memory of unpacking, then of verifying. Every
archive is made here; those that are accepted hold a bundle that is signed with keys made here.
"""

import os
import random
import shutil
import stat
import subprocess
import sys
import tempfile
import zipfile
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
MIB = 1 << 20
KEYS = """
openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout root-key.pem -out root.pem \
    -subj /CN=Root -addext basicConstraints=critical,CA:TRUE -addext keyUsage=critical,keyCertSign
openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout key.pem -out request.pem \
    -subj /OU=7QX4D1K9WB/CN=Releases
printf 'extendedKeyUsage=codeSigning\\nsubjectKeyIdentifier=hash\\nauthorityKeyIdentifier=keyid:always\\n' >ext
openssl x509 -req -in request.pem -CA root.pem -CAkey root-key.pem -set_serial 1 -extfile ext -out cert.pem
"""
INFO = """<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CFBundleIdentifier</key><string>com.oxbrook.korvel</string>
<key>CFBundleShortVersionString</key><string>1.0</string>
<key>CFBundleVersion</key><string>2</string>
<key>CFBundleExecutable</key><string>korvel</string>
</dict></plist>
"""


def measured(*command):
    """What the command said, and its processor and wall-clock seconds and peak memory."""
    report = tempfile.NamedTemporaryFile("r", prefix="korvel-time-")
    words = ["/usr/bin/time", "-o", report.name, "-f", "%U %S %e %M", *map(str, command)]
    done = subprocess.run(words, capture_output=True, text=True, check=False)
    user, system, wall, peak = report.read().splitlines()[-1].split()
    said = (done.stdout + done.stderr).strip().rsplit(": ", 1)[-1]
    return (f"{float(user) + float(system):5.2f} s of a processor, {float(wall):5.2f} s, "
            f"{int(peak) / 1024:4.0f} MiB"), done.returncode, said


def hostile(path, names):
    with zipfile.ZipFile(path, "w") as archive:
        for name in names:
            entry = zipfile.ZipInfo(name)
            entry.create_system = 3
            entry.external_attr = 0o100644 << 16
            archive.writestr(entry, b"")


def like_code(size, seed):
    """Bytes that deflate to about half."""
    chance = random.Random(seed)
    words = [chance.randbytes(chance.randint(2, 9)) for _ in range(3000)]
    out = bytearray()
    while len(out) < size:
        out += words[min(int(chance.expovariate(1 / 500)), 2999)]
    return bytes(out[:size])


def signed_archive(tool, work, files, deflate):
    """An archive of a bundle that holds the files: pairs of a path in Resources and its bytes."""
    bundle = work / "made/Korvel.app"
    shutil.rmtree(bundle, ignore_errors=True)
    for folder in ("Linux", "Resources", "_CodeSignature"):
        (bundle / "Contents" / folder).mkdir(parents=True)
    (bundle / "Contents/Info.plist").write_text(INFO)
    (bundle / "Contents/Linux/korvel").write_bytes(b"program")
    (bundle / "Contents/Linux/korvel").chmod(0o755)
    for name, content in files:
        path = bundle / "Contents/Resources" / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
    subprocess.run([tool, "manifest", bundle], check=True)
    sealed = bundle / "Contents/_CodeSignature"
    subprocess.run(["openssl", "cms", "-sign", "-binary", "-nosmimecap", "-outform", "DER", "-md", "sha256",
                    "-signer", work / "cert.pem", "-inkey", work / "key.pem", "-in", sealed / "Manifest",
                    "-out", sealed / "Manifest.p7s"], check=True)
    archive = work / "update.zip"
    with zipfile.ZipFile(archive, "w") as packed:
        for path in sorted([bundle, *bundle.rglob("*")]):
            mode = path.lstat().st_mode
            entry = zipfile.ZipInfo(str(path.relative_to(bundle.parent)) + ("/" if stat.S_ISDIR(mode) else ""))
            entry.create_system = 3
            entry.external_attr = mode << 16
            kind = zipfile.ZIP_DEFLATED if deflate else zipfile.ZIP_STORED
            packed.writestr(entry, b"" if stat.S_ISDIR(mode) else path.read_bytes(), kind, 9)
    return archive


def accepted():
    """Files of the largest bundles that are accepted, each by another bound, and whether they are
    deflated."""
    noise = os.urandom(MIB)

    def names(count):
        return [f"{i % 60:02}/{i:05}" for i in range(count)]

    yield "60 MiB that do not deflate, 1,800 files", [(n, noise[:34000]) for n in names(1800)], False
    yield "190 MiB of which little is left, 1,800 files", [
        (n, noise[:1000] + f"{i:08}".encode() * (13 * MIB // 1000)) for i, n in enumerate(names(1800))], True
    mixed = [(n, like_code(110 * MIB // 900, i)) for i, n in enumerate(names(900))]
    mixed += [(n + "-z", f"{i:08}".encode() * (78 * MIB // 900 // 8)) for i, n in enumerate(names(900))]
    yield "190 MiB, half of it like code, 1,800 files", mixed, True
    yield "190 MiB in four files", [
        (str(i), like_code(24 * MIB, i) + bytes(23 * MIB)) for i in range(4)], True
    yield "720 empty files in 1,140 folders", [
        (f"{i:03}/" + "d/" * 18 + str(j), b"") for i in range(60) for j in range(12)], True


def main():
    tool = Path(sys.argv[1]).absolute() / "korvel-release"
    os.umask(0o022)
    with tempfile.TemporaryDirectory(prefix="korvel-archives-", dir=(sys.argv[2:] or [None])[0]) as folder:
        work = Path(folder)
        subprocess.run(["sh", "-ec", KEYS], cwd=work, check=True, capture_output=True)

        def unpack(archive):
            shutil.rmtree(work / "out", ignore_errors=True)
            (work / "out").mkdir()
            return measured(tool, "unpack", archive, work / "out")

        for what, names in (
            ("5,000 nested entries", [f"{i:x}/" + "d/" * 30 + "f" for i in range(5000)]),
            ("20,000 entries in 640,000 folders", [f"{i:x}/" + "d/" * 30 + "f" for i in range(20000)]),
            ("20,000 long names", [f"{i:05}" + ("/" + "d" * 30) * 31 for i in range(20000)]),
        ):
            hostile(work / "hostile.zip", names)
            cost, status, said = unpack(work / "hostile.zip")
            assert status == 1, f"{what}: not refused: {said}"
            print(f"{what}: {cost}: refused: {said}", flush=True)
        for what, files, deflate in accepted():
            archive = signed_archive(tool, work, files, deflate)
            size = archive.stat().st_size / MIB
            cost, status, said = unpack(archive)
            assert status == 0, f"{what}: not unpacked: {said}"
            print(f"{what}, {size:.0f} MiB zipped: unpacked: {cost}", flush=True)
            cost, status, said = measured(tool, "verify", work / "out/Korvel.app", 2, "--root", work / "root.pem")
            assert status == 0, f"{what}: not good: {said}"
            print(f"{what}, {size:.0f} MiB zipped: verified: {cost}", flush=True)


if __name__ == "__main__":
    main()
