"""What an image says about unwinding: the entries of __unwind_info and __eh_frame, and where they lead astray.

An exception that meets a function without a true entry ends the process, so each entry must cover what it claims.
"""

import dataclasses
import struct

_HAS_LSDA, _MODE, _DETAIL = 0x40000000, 0x0F000000, 0x00FFFFFF
_DWARF_MODE = {"x86_64": 0x04000000, "arm64": 0x03000000}
_REGULAR, _COMPRESSED = 2, 3
_PCREL, _FORMATS = 0x10, {0x00: "<Q", 0x03: "<I", 0x04: "<Q", 0x0B: "<i", 0x0C: "<q"}


class Unreadable(Exception):
    """The section does not have the form that unwinders read; the message says where."""


@dataclasses.dataclass
class Frame:
    """An entry of __eh_frame that describes one function."""
    position: int  # within the section
    start: int
    end: int


@dataclasses.dataclass
class Compact:
    """An entry of __unwind_info: it holds from `start` to the next entry's start. Addresses are relative to the image."""
    start: int
    encoding: int


def _uleb(data, at):
    value, shift = 0, 0
    while True:
        value |= (data[at] & 0x7F) << shift
        shift += 7
        at += 1
        if data[at - 1] & 0x80 == 0:
            return value, at


def function_starts(image):
    """Addresses, relative to the image, at which functions begin."""
    starts, address, at = set(), 0, 0
    data = image.function_starts
    while at < len(data) and data[at] != 0:
        step, at = _uleb(data, at)
        address += step
        starts.add(address)
    return starts


def _pointer_encoding(section, at):
    """How the entries of the CIE at `at` write addresses."""
    if section[at + 8] not in (1, 3):
        raise Unreadable(f"__eh_frame: version {section[at + 8]} at {at:#x}")
    end = section.index(b"\0", at + 9)
    augmentation, at = section[at + 9:end], end + 1
    if augmentation[:1] != b"z":
        return 0
    for _ in range(4):  # code alignment, data alignment, return register, length of what follows
        _, at = _uleb(section, at)
    for letter in augmentation[1:]:
        if letter == ord("R"):
            return section[at]
        if letter == ord("P"):
            at += struct.calcsize(_FORMATS[section[at] & 0x0F])
        at += 1
    return 0


def frames(image):
    """The functions' entries in __eh_frame. Throws Unreadable."""
    found = image.section("__eh_frame")
    if found is None:
        return []
    section, entries, at = image.data[found.offset:found.offset + found.size], [], 0
    try:
        while at + 4 <= len(section):
            length, = struct.unpack_from("<I", section, at)
            if length == 0:
                break
            if length < 4 or at + 4 + length > len(section):
                raise Unreadable(f"__eh_frame: length {length:#x} at {at:#x}")
            back, = struct.unpack_from("<I", section, at + 4)
            if back != 0:
                encoding = _pointer_encoding(section, at + 4 - back)
                form = _FORMATS[encoding & 0x0F]
                start, size = struct.unpack_from("<" + 2 * form[1], section, at + 8)
                start = (start + (found.address + at + 8 if encoding & _PCREL else 0)) % 2**64 - image.base
                entries.append(Frame(at, start, start + size))
            at += 4 + length
    except (struct.error, IndexError, KeyError, ValueError) as damage:
        raise Unreadable(f"__eh_frame: damaged at {at:#x} ({damage})") from damage
    return entries


def _page(section, page, base, common):
    kind, first, count = struct.unpack_from("<IHH", section, page)
    for i in range(count):
        if kind == _REGULAR:
            yield Compact(*struct.unpack_from("<II", section, page + first + 8 * i))
        elif kind == _COMPRESSED:
            own, = struct.unpack_from("<H", section, page + 8)
            entry, = struct.unpack_from("<I", section, page + first + 4 * i)
            index = entry >> 24
            at = common[0] + 4 * index if index < common[1] else page + own + 4 * (index - common[1])
            yield Compact(base + (entry & _DETAIL), struct.unpack_from("<I", section, at)[0])
        else:
            raise Unreadable(f"__unwind_info: page of kind {kind} at {page:#x}")


def compact_entries(image):
    """(entries in their order, {function: its table of handlers}). Throws Unreadable."""
    found = image.section("__unwind_info")
    if found is None:
        return [], {}
    section, entries, handlers = image.data[found.offset:found.offset + found.size], [], {}
    try:
        version, *common, _, _, index, count = struct.unpack_from("<7I", section)
        if version != 1:
            raise Unreadable(f"__unwind_info: version {version}")
        pages = [struct.unpack_from("<III", section, index + 12 * i) for i in range(count)]
        for base, page, _ in pages:
            if page != 0:
                entries += _page(section, page, base, common)
        for at in range(pages[0][2], pages[-1][2], 8) if pages else ():
            function, table = struct.unpack_from("<II", section, at)
            handlers[function] = table
    except (struct.error, IndexError) as damage:
        raise Unreadable(f"__unwind_info: damaged ({damage})") from damage
    return entries, handlers


def _frame_defects(entries, text, starts):
    for entry in entries:
        where = f"__eh_frame: the entry for {entry.start:#x} to {entry.end:#x}"
        if not text[0] <= entry.start < entry.end <= text[1]:
            yield f"{where} covers no code"
        elif entry.start not in starts:
            yield f"{where} begins where no function does"
    ordered = sorted(entries, key=lambda e: e.start)
    for one, other in zip(ordered, ordered[1:]):
        if other.start < one.end:
            yield f"__eh_frame: two entries cover {other.start:#x}"


def _compact_defects(image, entries, handlers, by_position, text, starts):
    tables = image.section("__gcc_except_tab")
    for one, other in zip(entries, entries[1:]):
        # Linkers may mark a gap that turns out to be empty.
        if other.start < one.start or (other.start == one.start and one.encoding != 0):
            yield f"__unwind_info: {other.start:#x} comes after {one.start:#x}"
    for entry in entries:
        where = f"__unwind_info: the entry for {entry.start:#x}"
        if entry.encoding == 0:
            continue
        if not text[0] <= entry.start < text[1]:
            yield f"{where} covers no code"
        elif entry.start not in starts:
            yield f"{where} begins where no function does"
        if entry.encoding & _MODE == _DWARF_MODE.get(image.processor):
            frame = by_position.get(entry.encoding & _DETAIL)
            if frame is None or frame.start != entry.start:
                yield f"{where} leads to no entry of __eh_frame for it"
        if entry.encoding & _HAS_LSDA:
            table = handlers.get(entry.start)
            if tables is None or table is None or not 0 <= table + image.base - tables.address < tables.size:
                yield f"{where} names handlers, and there are none"


def _uncovered(entries, starts, frames_found):
    """Functions for which nothing says how to unwind."""
    covered, position = {f.start for f in frames_found}, -1
    for start in sorted(starts):
        while position + 1 < len(entries) and entries[position + 1].start <= start:
            position += 1
        if start not in covered and (position < 0 or entries[position].encoding == 0):
            yield f"__unwind_info: nothing covers the function at {start:#x}"


def unwind_defects(image):
    """Where the image's unwind entries do not cover what they claim."""
    section = image.section("__text")
    if section is None or section.size == 0:
        return
    text = section.address - image.base, section.address - image.base + section.size
    starts = function_starts(image)
    starts_of_text = {s for s in starts if text[0] <= s < text[1]}
    if not starts_of_text:
        yield "no function starts are recorded"
        return
    try:
        found = frames(image)
        entries, handlers = compact_entries(image)
    except Unreadable as reason:
        yield str(reason)
        return
    yield from _frame_defects(found, text, starts)
    yield from _compact_defects(image, entries, handlers, {f.position: f for f in found}, text, starts)
    yield from _uncovered(entries, starts_of_text, found)
