"""Makes, with the openssl command, an authority and the certificates of test servers."""

import datetime
import subprocess
from pathlib import Path


def openssl(*arguments):
    subprocess.run(["openssl", *arguments], check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.PIPE)


def make_key(path):
    openssl("genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-out", str(path))


def make_authority(folder, name):
    """folder/name.pem and folder/name.key: an authority that signs what make_certificate asks."""
    folder = Path(folder)
    make_key(folder / f"{name}.key")
    openssl("req", "-x509", "-new", "-key", str(folder / f"{name}.key"), "-subj", f"/CN={name}",
            "-days", "2", "-addext", "keyUsage=critical,keyCertSign",
            "-out", str(folder / f"{name}.pem"))


# `openssl ca` alone takes dates in each version; it wants to keep a list of what it has signed.
SIGNING = """[ca]
default_ca = signing
[signing]
database = {list}
policy = names
default_md = sha256
unique_subject = no
rand_serial = yes
[names]
commonName = supplied
"""


def make_certificate(folder, authority, name, hosts, ended=False):
    """folder/name.pem and folder/name.key for the hosts, such as "DNS:localhost,IP:127.0.0.1"; valid for two days
    from now on, or until yesterday.
    """
    folder = Path(folder)
    make_key(folder / f"{name}.key")
    request, extensions = folder / f"{name}.csr", folder / f"{name}.ext"
    openssl("req", "-new", "-key", str(folder / f"{name}.key"), "-subj", f"/CN={name}",
            "-out", str(request))
    extensions.write_text(f"subjectAltName={hosts}\nextendedKeyUsage=serverAuth\n")
    settings, signed = folder / f"{name}.cnf", folder / f"{name}.list"
    settings.write_text(SIGNING.format(list=signed))
    signed.touch()
    now = datetime.datetime.now(datetime.timezone.utc)
    start, end = (now + datetime.timedelta(days=days) for days in ((-2, -1) if ended else (0, 2)))
    openssl("ca", "-batch", "-notext", "-config", str(settings), "-in", str(request), "-outdir", str(folder),
            "-cert", str(folder / f"{authority}.pem"), "-keyfile", str(folder / f"{authority}.key"),
            "-startdate", start.strftime("%Y%m%d%H%M%SZ"), "-enddate", end.strftime("%Y%m%d%H%M%SZ"),
            "-extfile", str(extensions), "-out", str(folder / f"{name}.pem"))


def make_signer(folder, root, name, team):
    """folder/name.key and folder/name.pem, which are given: of a team, for the signing of code, under
    the authority of root.key and root.pem, a path without its ending (relative to the folder, or not).
    """
    folder = Path(folder)
    key, certificate = folder / f"{name}.key", folder / f"{name}.pem"
    request, extensions = folder / f"{name}.csr", folder / f"{name}.ext"
    make_key(key)
    openssl("req", "-new", "-key", str(key), "-subj", f"/OU={team}/CN={name}", "-out", str(request))
    extensions.write_text("basicConstraints=critical,CA:FALSE\nkeyUsage=critical,digitalSignature\n"
                          "extendedKeyUsage=critical,codeSigning\n")
    openssl("x509", "-req", "-in", str(request), "-CA", str(folder / f"{root}.pem"), "-CAkey",
            str(folder / f"{root}.key"), "-set_serial", "7", "-days", "2", "-extfile", str(extensions),
            "-out", str(certificate))
    return str(key), str(certificate)
