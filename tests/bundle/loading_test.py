"""What the system's loader and unwinder mind about an executable is named: images with one damage each."""

import pathlib
import shutil
import struct
import sys
import tempfile
import unittest

import sample_bundle
from sample_bundle import EXTENSION_CODE, PROJECT

sys.path.insert(0, str(PROJECT / "bundle/verify"))
import macho  # noqa: E402
from image_checks import image_defects  # noqa: E402
from unwind import compact_entries, frames, function_starts  # noqa: E402

PROCESSORS = ["x86_64", "arm64"]

# Two functions that only __eh_frame can describe, and one with handlers.
UNWINDING_CODE = EXTENSION_CODE + """
#ifdef __x86_64__
#define ODD ".cfi_def_cfa_offset 16\\n.cfi_offset %rdi, -16\\n"
#else
#define ODD ".cfi_remember_state\\n"
#endif
__asm__(".text\\n.globl _odd\\n.p2align 4\\n_odd:\\n.cfi_startproc\\n" ODD "ret\\n.cfi_endproc\\n");
__asm__(".text\\n.globl _even\\n.p2align 4\\n_even:\\n.cfi_startproc\\n" ODD "ret\\n.cfi_endproc\\n");
void odd(void);
void even(void);
void handles(void) { @try { odd(); } @finally { even(); } }
"""


class Slice:
    """One processor's image within a universal file, to be damaged in place."""

    def __init__(self, data, start, image):
        self.data, self.start, self.image = data, start, image

    def write(self, form, at, *values):
        struct.pack_into(form, self.data, self.start + at, *values)

    def flags(self, take=0, add=0):
        self.write("<I", 24, self.image.flags & ~take | add)

    def command(self, wanted, name=b""):
        """Where the load command lies; of segments, the one of that name."""
        at = 32
        for _ in range(struct.unpack_from("<I", self.image.data, 16)[0]):
            command, size = struct.unpack_from("<II", self.image.data, at)
            if command == wanted and self.image.data[at + 8:at + 24].rstrip(b"\0").startswith(name):
                return at
            at += size
        raise LookupError(hex(wanted))

    def section(self, name):
        return self.image.section(name).offset

    def second_level(self):
        """Where the first page of __unwind_info and its entries begin."""
        section = self.section("__unwind_info")
        page, = struct.unpack_from("<I", self.image.data, section + struct.unpack_from("<I", self.image.data, section + 20)[0] + 4)
        kind, first = struct.unpack_from("<IH", self.image.data, section + page)
        assert kind == 3, "the linker writes compressed pages"
        return section + page, section + page + first

    def entry(self, index):
        """(where it lies, its bits) of an entry of __unwind_info."""
        at = self.second_level()[1] + 4 * index
        return at, struct.unpack_from("<I", self.image.data, at)[0]

    def encoding_at(self, index):
        """Where the encoding of an entry lies, in the common ones or the page's own."""
        section, (page, _) = self.section("__unwind_info"), self.second_level()
        common, count = struct.unpack_from("<II", self.image.data, section + 4)
        own, = struct.unpack_from("<H", self.image.data, page + 8)
        chosen = self.entry(index)[1] >> 24
        return section + common + 4 * chosen if chosen < count else page + own + 4 * (chosen - count)

    def entry_of_mode(self, bits):
        """Index of the first entry whose encoding has one of the bits."""
        return next(i for i, e in enumerate(compact_entries(self.image)[0]) if e.encoding & bits == bits)

    def frame(self, index):
        """Where an entry of __eh_frame lies."""
        return self.section("__eh_frame") + frames(self.image)[index].position


DWARF = {"x86_64": 0x04000000, "arm64": 0x03000000}
LC_SEGMENT, LC_BUILD_VERSION, LC_FUNCTION_STARTS = 0x19, 0x32, 0x26


def clear_read_only(s):
    s.write("<I", s.command(LC_SEGMENT, b"__DATA_CONST") + 68, 0)


def begin_everywhere_at_one_address(s):
    """What an older linker did: each entry's address is the first one's."""
    first = frames(s.image)[0].start
    for index, frame in enumerate(frames(s.image)):
        at = s.frame(index) + 8
        s.write("<q", at, first + s.image.base - (s.image.section("__eh_frame").address + frame.position + 8))


def move_frame(s):
    at = s.frame(0) + 8
    s.write("<q", at, struct.unpack_from("<q", s.image.data, at)[0] + 0x100000)


def shift_frame(s):
    at = s.frame(0) + 8
    s.write("<q", at, struct.unpack_from("<q", s.image.data, at)[0] + 1)


def swap_entries(s):
    (one, first), (other, second) = s.entry(0), s.entry(1)
    s.write("<I", one, second)
    s.write("<I", other, first)


def begin_within_a_function(s):
    at, bits = s.entry(2)
    s.write("<I", at, bits + 1)


def begin_after_the_code(s):
    at, bits = s.entry(len(compact_entries(s.image)[0]) - 1)
    s.write("<I", at, bits | 0xFFFFFF)


def lead_to_another_frame(s):
    at = s.encoding_at(s.entry_of_mode(DWARF[s.image.processor]))
    s.write("<I", at, struct.unpack_from("<I", s.image.data, at)[0] + 4)


def lose_handlers(s):
    section = s.section("__unwind_info")
    index, = struct.unpack_from("<I", s.image.data, section + 20)
    table, = struct.unpack_from("<I", s.image.data, section + index + 8)
    s.write("<I", section + table + 4, 0)


# Damage, what the verifier must say of both processors.
DAMAGES = [
    (clear_read_only, "__DATA_CONST lacks SG_READ_ONLY"),
    (lambda s: s.write("<I", s.command(LC_SEGMENT, b"__TEXT") + 60, 7), "__TEXT is both writable and executable"),
    (lambda s: s.flags(take=0x200000), "not position-independent"),
    (lambda s: s.flags(add=0x8000), "offers weak symbols"),
    (lambda s: s.write("<I", s.command(LC_BUILD_VERSION) + 16, 0), "linked against SDK 0.0, older than 11.3"),
    (lambda s: s.write("<I", s.command(LC_BUILD_VERSION) + 16, 10 << 16 | 15 << 8), "linked against SDK 10.15, older than 11.3"),
    (lambda s: s.write("<I", s.command(LC_FUNCTION_STARTS) + 12, 0), "no function starts are recorded"),
    (begin_everywhere_at_one_address, "__eh_frame: two entries cover"),
    (move_frame, "covers no code"),
    (shift_frame, "begins where no function does"),
    (lambda s: s.write("<I", s.frame(0), 0x7FFFFFFF), "__eh_frame: length 0x7fffffff"),
    (lambda s: s.write("<I", s.frame(0) + 4, 4), "__eh_frame: "),
    (lambda s: s.write("<B", s.section("__eh_frame") + 8, 9), "__eh_frame: version 9"),
    (lambda s: s.write("<I", s.section("__unwind_info"), 2), "__unwind_info: version 2"),
    (lambda s: s.write("<I", s.second_level()[0], 9), "__unwind_info: page of kind 9"),
    (lambda s: s.write("<I", s.section("__unwind_info") + 24, 0x10000000), "__unwind_info: damaged"),
    (swap_entries, "comes after"),
    (begin_within_a_function, "begins where no function does"),
    (begin_after_the_code, "covers no code"),
    (lead_to_another_frame, "leads to no entry of __eh_frame for it"),
    (lose_handlers, "names handlers, and there are none"),
]

# What the executable is made from, what the verifier must say.
MADE = [
    ({"sdk": "10.15"}, "linked against SDK 10.15, older than 11.3"),
    ({"rpaths": ()}, "libraries are looked for in [], not ['@executable_path/../Frameworks']"),
    ({"rpaths": ("@executable_path/../Frameworks", "/usr/local/lib")}, "'/usr/local/lib'], not"),
    ({"exported": None}, "symbols, 0 of them weak, such as"),
    ({"exported": None, "code": EXTENSION_CODE + "__attribute__((weak)) int merged(void) { return 1; }"},
     "1 of them weak, such as _merged"),
    ({"exported": None, "code": EXTENSION_CODE + "__attribute__((weak)) int merged(void) { return 1; }"},
     "offers weak symbols"),
]


class Piece:
    """A bundle as image_defects asks for it."""

    def __init__(self, images, label="extension"):
        self.images, self.label = images, label


class LoadingTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = pathlib.Path(tempfile.mkdtemp(prefix="loading", dir="/var/tmp"))
        cls.addClassCleanup(shutil.rmtree, cls.work)
        cls.maker = sample_bundle.Maker(cls.work / "maker")
        cls.file = cls.work / "image"
        cls.maker.image(cls.file, UNWINDING_CODE)
        cls.sources = cls.work / "sources"
        for name, text in sample_bundle.SOURCES.items():
            (cls.sources / name).parent.mkdir(parents=True, exist_ok=True)
            (cls.sources / name).write_text(text)

    def defects(self, content, label="extension"):
        changed = self.work / "changed"
        changed.write_bytes(content)
        return list(image_defects(Piece(macho.read(changed), label), self.sources, set(PROCESSORS), "11.5", None))

    def damaged(self, damage):
        """The file with that damage in both processors' images."""
        data = bytearray(self.file.read_bytes())
        for index, image in enumerate(macho.read(self.file).values()):
            damage(Slice(data, struct.unpack_from(">5I", data, 8 + 20 * index)[2], image))
        return data

    def test_an_image_as_the_linker_writes_it_has_no_defect(self):
        self.assertEqual(self.defects(self.file.read_bytes()), [])

    def test_its_unwind_entries_are_all_seen(self):
        for image in macho.read(self.file).values():
            self.assertEqual(len(frames(image)), 2)
            self.assertEqual(len(compact_entries(image)[1]), 1)
            self.assertLessEqual({f.start for f in frames(image)}, function_starts(image))

    def test_each_damage_is_named_in_both_processors(self):
        for damage, message in DAMAGES:
            with self.subTest(message):
                found = self.defects(self.damaged(damage))
                for processor in PROCESSORS:
                    self.assertTrue([d for d in found if d.startswith(f"extension: {processor}: ") and message in d], found)

    def test_a_function_that_nothing_covers_is_named(self):
        found = self.defects(self.damaged(lambda s: s.write("<I", s.encoding_at(s.entry_of_mode(0x40000000)), 0)))
        self.assertTrue([d for d in found if "nothing covers the function at" in d], found)

    def test_each_wrong_way_to_link_is_named(self):
        for how, message in MADE:
            with self.subTest(message):
                made = self.work / "made"
                self.maker.image(made, **{"code": EXTENSION_CODE, **how})
                found = self.defects(made.read_bytes())
                self.assertTrue([d for d in found if message in d], found)

    def test_the_app_looks_for_libraries_nowhere_but_in_the_system(self):
        found = self.defects(self.file.read_bytes(), label="app")
        self.assertTrue([d for d in found if "libraries are looked for in ['@executable_path/../Frameworks'], not []" in d], found)

    def test_many_defects_of_unwinding_are_counted(self):
        many = EXTENSION_CODE + "".join(f"int f{i}(int a) {{ return a * {i + 7} + getpid(); }}\n" for i in range(20))
        made = self.work / "many"
        self.maker.image(made, many, processors=["x86_64"])
        data = bytearray(made.read_bytes())
        image = next(iter(macho.read(made).values()))
        slice_ = Slice(data, struct.unpack_from(">5I", data, 8)[2], image)
        for index in range(len(compact_entries(image)[0])):
            slice_.write("<I", slice_.encoding_at(index), 0)
        found = self.defects(data)
        self.assertTrue([d for d in found if "more defects of unwinding" in d], found)


if __name__ == "__main__":
    unittest.main()
