"""Reads what the rules of the macOS build are about out of a Mach-O executable for 64 bits."""

import hashlib
import struct

CPU_ARM64 = 0x0100000C
EXECUTABLE = 2
PLATFORM_MACOS = 1

_MAGIC_64 = 0xFEEDFACF
_FAT_ARCHITECTURES = {0xCAFEBABE: (">5I", 2), 0xCAFEBABF: (">2I2Q2I", 2)}  # its form, where the offset is
_SEGMENT_64, _SYMTAB, _CODE_SIGNATURE, _BUILD_VERSION = 0x19, 0x2, 0x1D, 0x32
_RUN_PATH = 0x8000001C
# Every command that gives a library its number, in the order of the commands.
_LIBRARIES = {
    0x0C: "",
    0x80000018: " (weak)",
    0x8000001F: " (re-exported)",
    0x20: " (lazy)",
    0x80000023: " (upward)",
}
_STAB, _TYPE, _EXTERNAL, _WEAK_REFERENCE = 0xE0, 0x0E, 0x01, 0x40
_IN_SECTION = 0x0E
_ORDINALS = {0: "itself", 0xFE: "any library", 0xFF: "the executable"}

_SUPERBLOB, _CODE_DIRECTORY = 0xFADE0CC0, 0xFADE0C02
_AD_HOC, _LINKER_SIGNED = 0x2, 0x20000
_VERSION_WITH_SEGMENT = 0x20400
_SHA256, _SHA256_SIZE = 2, 32
_MAIN_BINARY = 1
_PADDING = 16


class Malformed(Exception):
    """The bytes are not what they say they are."""


def _read(form, data, at):
    if at < 0 or at + struct.calcsize(form) > len(data):
        raise Malformed(f"cut off: nothing at {at}")
    return struct.unpack_from(form, data, at)


def _string(data, at, end):
    stop = data.find(b"\0", at, end)
    if not 0 <= at < end <= len(data) or stop < 0:
        raise Malformed(f"no text at {at}")
    return data[at:stop].decode("utf-8", "replace")


class MachO:
    """The parts of a thin little-endian file; raises Malformed for anything else."""

    def __init__(self, data):
        self.data = data
        (big,) = _read(">I", data, 0)
        if big in _FAT_ARCHITECTURES:
            raise Malformed("a file for several processors")
        magic, self.cpu, _, self.file_type, count, size, _, _ = _read("<8I", data, 0)
        if magic != _MAGIC_64:
            raise Malformed("no Mach-O file for 64 bits")
        self.libraries = []  # as they are looked for at run time, in the order of their numbers
        self.run_paths = []  # where those are looked for that begin with @rpath
        self.segments = {}  # name to (offset, size) in the file
        self.builds = []  # (platform, minimum version) as numbers
        self.signatures = []  # (offset, size)
        self._symbols = None
        at, end = 32, 32 + size
        for _ in range(count):
            command, length = _read("<II", data, at)
            if length < 8 or at + length > end:
                raise Malformed(f"a load command of {length} bytes at {at}")
            self._command(command, at, length)
            at += length
        if at != end:
            raise Malformed("the load commands are not as long as the header says")

    def _command(self, command, at, length):
        if command in _LIBRARIES:
            (name,) = _read("<I", self.data, at + 8)
            path = _string(self.data, at + name, at + length)
            self.libraries.append(path + _LIBRARIES[command])
        elif command == _RUN_PATH:
            (path,) = _read("<I", self.data, at + 8)
            self.run_paths.append(_string(self.data, at + path, at + length))
        elif command == _SEGMENT_64:
            name, _, _, offset, size = _read("<16s4Q", self.data, at + 8)
            self.segments[name.rstrip(b"\0").decode("ascii", "replace")] = (offset, size)
        elif command == _BUILD_VERSION:
            self.builds.append(_read("<II", self.data, at + 8))
        elif command == _CODE_SIGNATURE:
            self.signatures.append(_read("<II", self.data, at + 8))
        elif command == _SYMTAB:
            self._symbols = _read("<4I", self.data, at + 8)

    def imports(self):
        """What the file wants from elsewhere, as (library, symbol), sorted."""
        found = []
        for name, kind, description, value in self._entries():
            if not kind & _TYPE and kind & _EXTERNAL and not value:
                weak = " (weak)" if description & _WEAK_REFERENCE else ""
                found.append((self._library(description >> 8), name + weak))
        return sorted(found)

    def defined(self):
        """The names of what the file holds itself, for others or not."""
        return {name for name, kind, _, _ in self._entries() if kind & _TYPE == _IN_SECTION}

    def _entries(self):
        """The table of symbols without what is a debugger's: (name, kind, description, value)."""
        if self._symbols is None:
            raise Malformed("no table of symbols")
        table, count, strings, size = self._symbols
        for index in range(count):
            name, kind, _, description, value = _read("<IBBHQ", self.data, table + 16 * index)
            if not kind & _STAB:
                yield _string(self.data, strings + name, strings + size), kind, description, value

    def _library(self, ordinal):
        if ordinal in _ORDINALS:
            return _ORDINALS[ordinal]
        if ordinal > len(self.libraries):
            raise Malformed(f"a symbol of library {ordinal} of {len(self.libraries)}")
        return self.libraries[ordinal - 1].split(" (")[0].rsplit("/", 1)[-1]


def is_macho(data):
    """Whether a file that begins with these bytes is of this kind, for one processor or for several."""
    little = int.from_bytes(data[:4], "little")
    return little == _MAGIC_64 or int.from_bytes(data[:4], "big") in _FAT_ARCHITECTURES


def parts(data):
    """The file for each processor that a file has code for; a thin file is one of them itself."""
    (magic,) = _read(">I", data, 0)
    if magic not in _FAT_ARCHITECTURES:
        return [MachO(data)]
    form, place = _FAT_ARCHITECTURES[magic]
    (count,) = _read(">I", data, 4)
    found = []
    for index in range(count):
        fields = _read(form, data, 8 + index * struct.calcsize(form))
        offset, size = fields[place : place + 2]
        if size == 0 or offset + size > len(data):
            raise Malformed(f"a part of {size} bytes at {offset}")
        found.append(MachO(data[offset : offset + size]))
    if not found:
        raise Malformed("a file for no processor")
    return found


def _code_directory(macho, offset, size):
    """The position of the only blob of the signature."""
    magic, length, count = _read(">3I", macho.data, offset)
    if magic != _SUPERBLOB:
        raise Malformed("the signature does not begin as one")
    padding = macho.data[offset + length : offset + size]
    if length > size or len(padding) >= _PADDING or any(padding):
        raise Malformed("the signature is not as long as it says")
    kind, at = _read(">II", macho.data, offset + 12)
    if count != 1 or kind != 0:
        raise Malformed("the signature holds something else than a code directory")
    magic, blob = _read(">II", macho.data, offset + at)
    if magic != _CODE_DIRECTORY or at + blob != length:
        raise Malformed("the signature's code directory is none")
    return offset + at


def signature_faults(macho, identifier):
    """What is wrong with the signature that the linker made, in words; empty when it is good."""
    if len(macho.signatures) != 1:
        return [f"signatures: {len(macho.signatures)}, not one"]
    offset, size = macho.signatures[0]
    data, faults = macho.data, []

    def want(what, found, wanted):
        if found != wanted:
            faults.append(f"signature: {what} is {found}, not {wanted}")

    want("its end", offset + size, len(data))
    link_edit = macho.segments.get("__LINKEDIT", (0, 0))
    want("the end of __LINKEDIT", sum(link_edit), len(data))
    try:
        base = _code_directory(macho, offset, size)
        fields = _read(">9I4BI", data, base)
        _, blob, version, flags, hashes, name, special, slots, limit = fields[:9]
        hash_size, hash_kind, _, page_bits, _ = fields[9:]
        want("its version", hex(version), hex(_VERSION_WITH_SEGMENT))
        want("its flags", hex(flags), hex(_AD_HOC | _LINKER_SIGNED))
        want("its identifier", _string(data, base + name, base + blob), identifier)
        want("the kind of its hashes", (hash_kind, hash_size), (_SHA256, _SHA256_SIZE))
        want("the number of its special slots", special, 0)
        want("the end of what it covers", limit, offset)
        want("the code segment", _read(">3Q", data, base + 64),
             (*macho.segments.get("__TEXT", (0, 0)), _MAIN_BINARY))
        if page_bits not in (12, 14):
            return faults + [f"signature: pages of 2^{page_bits} bytes"]
        page = 1 << page_bits
        want("the number of its pages", slots, -(-offset // page))
        want("the end of its hashes", hashes + slots * _SHA256_SIZE, blob)
        if not faults:
            faults += _page_faults(data[:offset], page, data[base + hashes : base + blob])
    except Malformed as fault:
        faults.append(f"signature: {fault}")
    return faults


def _page_faults(covered, page, hashes):
    return [
        f"signature: page {number} is not what was signed"
        for number, start in enumerate(range(0, len(covered), page))
        if hashlib.sha256(covered[start : start + page]).digest()
        != hashes[number * _SHA256_SIZE : (number + 1) * _SHA256_SIZE]
    ]
