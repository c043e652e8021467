"""Makes a small executable for macOS, byte by byte: no compiler for it is needed."""

import hashlib
import struct

SYSTEM = "/usr/lib/libSystem.B.dylib"
APPKIT = "/System/Library/Frameworks/AppKit.framework/Versions/C/AppKit"
LOAD, LOAD_WEAK = 0x0C, 0x80000018
UNDEFINED, DEFINED = 0x01, 0x0F
PAGE = 4096
TEXT = 2 * PAGE
CODE_DIRECTORY = 88  # what of it comes before the identifier


def command(number, content):
    content += bytes(-len(content) % 8)
    return struct.pack("<II", number, 8 + len(content)) + content


def segment(name, offset, size):
    return command(0x19, struct.pack("<16s4Q4I", name, offset, size, offset, size, 7, 5, 0, 0))


def library(path, number=LOAD):
    return command(number, struct.pack("<4I", 24, 2, 0, 0) + path.encode() + b"\0")


def run_path(path):
    return command(0x8000001C, struct.pack("<I", 12) + path.encode() + b"\0")


def universal(*parts, wide=False):
    """One file of several, each for a processor of its own; `wide` has places of 64 bits."""
    form, head = (">2I2Q2I", 0xCAFEBABF) if wide else (">5I", 0xCAFEBABE)
    at = -(-(8 + len(parts) * struct.calcsize(form)) // PAGE) * PAGE
    table, content = struct.pack(">2I", head, len(parts)), b""
    for part in parts:
        fields = (struct.unpack_from("<I", part, 4)[0], 0, at + len(content), len(part), 12)
        table += struct.pack(form, *fields, *([0] if wide else []))
        content += part + bytes(-len(part) % PAGE)
    return table.ljust(at, b"\0") + content


def symbol_table(symbols):
    """The records and the texts of (name, kind, number of its library, more of the description)."""
    texts, records = b"\0", b""
    for name, kind, ordinal, more in symbols:
        value = 0 if kind == UNDEFINED else 0x1000
        records += struct.pack("<IBBHQ", len(texts), kind, 0, ordinal << 8 | more, value)
        texts += name.encode() + b"\0"
    return records, texts


def signature(covered, name, flags=0x20002, version=0x20400, segment_flags=1, special=0, limit=None):
    pages = [covered[i : i + PAGE] for i in range(0, len(covered), PAGE)]
    identifier = name.encode() + b"\0"
    hashes = CODE_DIRECTORY + len(identifier)
    fields = struct.pack(
        ">9I4BI", 0xFADE0C02, hashes + 32 * len(pages), version, flags, hashes, CODE_DIRECTORY,
        special, len(pages), len(covered) if limit is None else limit, 32, 2, 0, 12, 0,
    )
    fields += bytes(64 - len(fields)) + struct.pack(">3Q", 0, TEXT, segment_flags) + identifier
    fields += b"".join(hashlib.sha256(page).digest() for page in pages)
    return struct.pack(">5I", 0xFADE0CC0, 20 + len(fields), 1, 0, 20) + fields


def executable(
    cpu=0x0100000C, kind=2, builds=((1, 13 << 16),), signed=True, extra_commands=(), padding=4,
    libraries=((SYSTEM, LOAD), (APPKIT, LOAD)),
    symbols=(("_main", DEFINED, 0, 0), ("_abort", UNDEFINED, 1, 0), ("_NSApp", UNDEFINED, 2, 0)),
    **signing,
):
    """The bytes of an executable as the rules want it, but for what is given."""
    signing = {"name": "tiny", **signing}
    records, texts = symbol_table(symbols)
    texts += bytes(-len(records + texts) % 16)
    end = TEXT + len(records) + len(texts)
    size = len(signature(bytes(end), **signing)) + padding if signed else 0
    commands = [
        segment(b"__TEXT", 0, TEXT),
        segment(b"__LINKEDIT", TEXT, end + size - TEXT),
        command(0x2, struct.pack("<4I", TEXT, len(symbols), TEXT + len(records), len(texts))),
        *(command(0x32, struct.pack("<4I", *build, 13 << 16, 0)) for build in builds),
        *(library(*each) for each in libraries),
        *extra_commands,
    ]
    if signed:
        commands.append(command(0x1D, struct.pack("<II", end, size)))
    joined = b"".join(commands)
    head = struct.pack("<8I", 0xFEEDFACF, cpu, 0, kind, len(commands), len(joined), 0x85, 0)
    covered = (head + joined).ljust(TEXT, b"\x5a") + records + texts
    return covered + signature(covered, **signing) + bytes(padding) if signed else covered
