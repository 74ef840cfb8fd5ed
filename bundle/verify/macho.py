"""Reads Mach-O files: what the bundle's checks ask of an executable or library, for each processor in it.

Knows 64-bit little-endian images, thin or universal, before or after stripping and signing.
"""

import dataclasses
import plistlib
import struct
from xml.parsers import expat

CPU_NAMES = {0x01000007: "x86_64", 0x0100000C: "arm64"}
MH_EXECUTE, MH_DYLIB, MH_DSYM = 2, 6, 10
MH_WEAK_DEFINES, MH_PIE = 0x8000, 0x200000
SG_READ_ONLY = 0x10  # of a segment: the loader takes write access away once it has bound it
WRITABLE, EXECUTABLE = 2, 4
PLATFORM_MACOS = 1

_LC_SYMTAB, _LC_DYSYMTAB, _LC_UUID, _LC_SEGMENT_64, _LC_CODE_SIGNATURE = 0x2, 0xB, 0x1B, 0x19, 0x1D
_LC_BUILD_VERSION, _LC_VERSION_MIN_MACOSX, _LC_MAIN, _LC_RPATH = 0x32, 0x24, 0x80000028, 0x8000001C
_LC_FUNCTION_STARTS, _LC_CHAINED_FIXUPS = 0x26, 0x80000034
_LC_DYLIBS = (0xC, 0x80000018, 0x8000001F, 0x20, 0x80000023)
_MAGIC_64, _FAT_MAGIC, _FAT_MAGIC_64 = 0xFEEDFACF, 0xCAFEBABE, 0xCAFEBABF
_N_STAB, _N_PEXT, _N_TYPE, _N_EXT, _N_SECT, _N_WEAK_DEF = 0xE0, 0x10, 0x0E, 0x01, 0x0E, 0x80


class NotMachO(Exception):
    """The file is no Mach-O file that this module reads; the message says why."""


@dataclasses.dataclass
class Segment:
    name: str
    address: int
    size: int
    protection: int  # as loaded: 1 readable, 2 writable, 4 executable
    flags: int


@dataclasses.dataclass
class Section:
    segment: str
    name: str
    address: int
    size: int
    offset: int
    kind: int
    first_indirect: int
    stub_size: int


@dataclasses.dataclass
class Symbol:
    name: str
    kind: int
    description: int

    @property
    def library(self):
        """Ordinal in the list of linked libraries, counted from 1."""
        return self.description >> 8

    @property
    def debugging(self):
        return self.kind & _N_STAB != 0

    @property
    def undefined(self):
        return not self.debugging and self.kind & _N_TYPE == 0

    @property
    def exported(self):
        return self.kind & (_N_STAB | _N_PEXT | _N_EXT) == _N_EXT and not self.undefined

    @property
    def weak(self):
        """Of a definition: whether the loader may take another image's instead."""
        return self.description & _N_WEAK_DEF != 0

    @property
    def local(self):
        return not self.debugging and self.kind & _N_EXT == 0 and self.kind & _N_TYPE == _N_SECT


def _version(packed):
    major, minor, patch = packed >> 16, packed >> 8 & 0xFF, packed & 0xFF
    return f"{major}.{minor}" + (f".{patch}" if patch else "")


class Image:
    """One processor's image."""

    def __init__(self, data):
        if len(data) < 32 or struct.unpack_from("<I", data)[0] != _MAGIC_64:
            raise NotMachO("no 64-bit Mach-O image")
        self.data = data
        _, cpu, _, self.kind, count, _, self.flags, _ = struct.unpack_from("<8I", data)
        self.processor = CPU_NAMES.get(cpu, hex(cpu))
        self.platform, self.minimum_system, self.sdk, self.uuid, self.entry_offset = None, None, None, None, None
        self.libraries, self.rpaths, self.segments, self.sections, self.symbols = [], [], [], [], []
        self.function_starts = b""  # as the linker wrote them: differences in ULEB128
        self.chained_fixups = None  # where they begin, in the file; None where there are the older opcodes
        self.base, self._indirect, self._signature = 0, (0, 0), None
        position = 32
        for _ in range(count):
            command, size = struct.unpack_from("<II", data, position)
            if size < 8:
                raise NotMachO("damaged load commands")
            self._read(command, position, size)
            position += size
        self.classes, self.categories, self.selectors = self._read_classes(), self._read_categories(), self._read_selectors()
        self.entry_symbol, self.entitlements = self._read_entry_symbol(), self._read_entitlements()

    def _read(self, command, at, size):
        data = self.data
        if command == _LC_SEGMENT_64:
            name, address, length, _, _, _, protection, _, flags = struct.unpack_from("<16s4Q4I", data, at + 8)
            self.segments.append(Segment(name.rstrip(b"\0").decode(), address, length, protection, flags))
            if self.segments[-1].name == "__TEXT":
                self.base = address
            for i in range(struct.unpack_from("<I", data, at + 64)[0]):
                s = struct.unpack_from("<16s16sQQ8I", data, at + 72 + 80 * i)
                self.sections.append(Section(s[1].rstrip(b"\0").decode(), s[0].rstrip(b"\0").decode(), s[2], s[3], s[4],
                                             s[8] & 0xFF, s[9], s[10]))
        elif command in _LC_DYLIBS:
            self.libraries.append(self._c_string(at + struct.unpack_from("<I", data, at + 8)[0]))
        elif command == _LC_RPATH:
            self.rpaths.append(self._c_string(at + struct.unpack_from("<I", data, at + 8)[0]))
        elif command == _LC_BUILD_VERSION:
            self.platform, minimum, sdk = struct.unpack_from("<III", data, at + 8)
            self.minimum_system, self.sdk = _version(minimum), _version(sdk)
        elif command == _LC_VERSION_MIN_MACOSX:
            self.platform = PLATFORM_MACOS
            self.minimum_system, self.sdk = map(_version, struct.unpack_from("<II", data, at + 8))
        elif command == _LC_MAIN:
            self.entry_offset = struct.unpack_from("<Q", data, at + 8)[0]
        elif command == _LC_UUID:
            self.uuid = data[at + 8:at + 24].hex().upper()
        elif command == _LC_FUNCTION_STARTS:
            start, length = struct.unpack_from("<II", data, at + 8)
            self.function_starts = data[start:start + length]
        elif command == _LC_CHAINED_FIXUPS:
            self.chained_fixups, = struct.unpack_from("<I", data, at + 8)
        elif command == _LC_CODE_SIGNATURE:
            self._signature = struct.unpack_from("<II", data, at + 8)
        elif command == _LC_DYSYMTAB:
            self._indirect = struct.unpack_from("<II", data, at + 56)
        elif command == _LC_SYMTAB:
            symbols, count, strings, _ = struct.unpack_from("<4I", data, at + 8)
            for i in range(count):
                name, kind, _, description, _ = struct.unpack_from("<IBBHQ", data, symbols + 16 * i)
                self.symbols.append(Symbol(self._c_string(strings + name), kind, description))

    def _c_string(self, offset):
        return self.data[offset:self.data.index(b"\0", offset)].decode("utf-8", "replace")

    def section(self, name):
        return next((s for s in self.sections if s.name == name), None)

    def _target(self, address):
        """File offset that a stored pointer leads to, whichever way the linker encodes pointers; None for an import."""
        address &= 0xFFFFFFFFF
        if address < self.base:
            address += self.base
        return self.file_offset(address)

    def file_offset(self, address):
        """Where the file holds what is loaded at `address`; None when it does not."""
        for s in self.sections:
            if s.address <= address < s.address + s.size and s.offset:
                return s.offset + address - s.address
        return None

    def _pointer(self, offset):
        return self._target(struct.unpack_from("<Q", self.data, offset)[0])

    def _pointers(self, section):
        found = self.section(section)
        for offset in range(found.offset, found.offset + found.size, 8) if found else ():
            target = self._pointer(offset)
            if target is not None:
                yield target

    def _read_classes(self):
        """Names of the Objective-C classes that the image registers."""
        class_records = (self._target(struct.unpack_from("<Q", self.data, c + 32)[0] & ~7) for c in
                         self._pointers("__objc_classlist"))
        return {self._c_string(self._pointer(record + 24)) for record in class_records if record is not None}

    def _read_categories(self):
        """Names of the Objective-C categories that the image registers."""
        return {self._c_string(self._pointer(c)) for c in self._pointers("__objc_catlist")}

    def _read_selectors(self):
        """Names of the messages that the image sends."""
        return {self._c_string(s) for s in self._pointers("__objc_selrefs")}

    def _read_entry_symbol(self):
        """Name of the imported function that the entry leads to; None when the entry is the image's own code."""
        stubs = self.section("__stubs")
        if stubs is None or self.entry_offset is None or stubs.stub_size == 0:
            return None
        index, rest = divmod(self.base + self.entry_offset - stubs.address, stubs.stub_size)
        if rest != 0 or not 0 <= index < stubs.size // stubs.stub_size or self._indirect[1] == 0:
            return None
        symbol, = struct.unpack_from("<I", self.data, self._indirect[0] + 4 * (stubs.first_indirect + index))
        return self.symbols[symbol].name if symbol < len(self.symbols) else None

    def imports(self):
        """(symbol, library) of everything that other libraries must provide."""
        for symbol in self.symbols:
            if symbol.undefined:
                known = 0 < symbol.library <= len(self.libraries)
                yield symbol.name, self.libraries[symbol.library - 1] if known else None

    def _signature_blob(self, magic):
        if self._signature is None:
            return None
        start, size = self._signature
        blob = self.data[start:start + size]
        for i in range(struct.unpack_from(">I", blob, 8)[0]):
            offset, = struct.unpack_from(">I", blob, 16 + 8 * i)
            found, length = struct.unpack_from(">II", blob, offset)
            if found == magic:
                return blob[offset:offset + length]
        return None

    @property
    def signed(self):
        return self._signature is not None

    @property
    def signature_flags(self):
        """Flags of the code directory: 0x2 ad hoc, 0x10000 hardened runtime. 0 when unsigned."""
        directory = self._signature_blob(0xFADE0C02)
        return struct.unpack_from(">I", directory, 12)[0] if directory else 0

    def _read_entitlements(self):
        """The entitlements in the signature; None when it has none."""
        blob = self._signature_blob(0xFADE7171)
        return plistlib.loads(blob[8:]) if blob else None


def read(path):
    """The images in the file, by processor name. Throws NotMachO."""
    with open(path, "rb") as file:
        data = file.read()
    try:
        magic, = struct.unpack_from(">I", data)
        if magic not in (_FAT_MAGIC, _FAT_MAGIC_64):
            image = Image(data)
            return {image.processor: image}
        form, size = (">IIIII", 20) if magic == _FAT_MAGIC else (">IIQQII", 32)
        images = {}
        for i in range(struct.unpack_from(">I", data, 4)[0]):
            offset, length = struct.unpack_from(form, data, 8 + size * i)[2:4]
            image = Image(data[offset:offset + length])
            images[image.processor] = image
        return images
    except (struct.error, ValueError, IndexError, TypeError, OverflowError, expat.ExpatError) as damage:
        raise NotMachO(f"damaged Mach-O file ({damage})") from damage
