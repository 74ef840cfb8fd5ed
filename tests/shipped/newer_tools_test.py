"""What newer linkers and compilers write, each in an image of its own that the loader runs."""

import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
sys.path.insert(0, str(ROOT / "bundle" / "verify"))

import macho  # noqa: E402
from imports_test import rows  # noqa: E402

LOADER = pathlib.Path(os.environ["SHIPPED_APPEX"]) / "Contents/MacOS"
PROCESSOR = os.environ.get("SHIPPED_ARCH", "x86_64")
OLDEST = 16  # of LLVM's linkers: the first that the product is linked with
OLDEST_OF_METHOD_LISTS = 20  # the one before ends with a signal for x86_64
PRINTED = """started 1
counted 42 42
words one three
import and addend 1
text 30 ct!
"""


def linker():
    for name in ("ld64.lld", *(f"ld64.lld-{version}" for version in range(29, OLDEST - 1, -1))):
        version = shutil.which(name) and subprocess.run([name, "--version"], capture_output=True, text=True).stdout
        number = int(re.search(r"LLD (\d+)", version)[1]) if version else 0
        if number >= OLDEST:
            return name, number
    raise RuntimeError(f"no ld64.lld of version {OLDEST} or later; run script/bootstrap shipped")


LINKER, VERSION = linker()
WITHOUT_METHOD_LISTS = ["-no_objc_relative_method_lists"] if VERSION >= OLDEST_OF_METHOD_LISTS else []
WITH_METHOD_LISTS = unittest.skipIf(VERSION < OLDEST_OF_METHOD_LISTS, f"{LINKER} writes no relative method lists")


def make_chained_pointers_offsets(file):
    """Rewrites chained pointers to addresses (format 2) as pointers to offsets (format 6), as a Mac's own linker writes them."""
    data, image = bytearray(file.read_bytes()), macho.read(file)[PROCESSOR]

    def number(form, at):
        return struct.unpack_from(form, data, at)[0]

    starts = image.chained_fixups + number("<I", image.chained_fixups + 4)
    for i in range(number("<I", starts)):
        segment = starts + number("<I", starts + 4 + 4 * i)
        if segment == starts:
            continue
        page_size, pages, offset = number("<H", segment + 4), number("<H", segment + 20), number("<Q", segment + 8)
        struct.pack_into("<H", data, segment + 6, 6)
        for page in range(pages):
            first = number("<H", segment + 22 + 2 * page)
            at, step = image.file_offset(image.base + offset + page * page_size + first), first != 0xFFFF
            while step:
                pointer = number("<Q", at)
                if not pointer >> 63:
                    struct.pack_into("<Q", data, at, pointer - image.base)
                step = pointer >> 51 & 0xFFF
                at += 4 * step
    file.write_bytes(data)


class NewerTools(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def libraries(self):
        """Stubs of the libraries, with what the loader answers."""
        for number, library in enumerate(sorted({library for library, _, _ in rows().values()})):
            names = [f"'{symbol}'" for symbol, (of, _, _) in rows().items() if of == library]
            weak = [name for name in names if name == "'__Znwm'"]  # a program may have its own
            file = self.folder / f"{number}.tbd"
            file.write_text(f"--- !tapi-tbd\ntbd-version: 4\ntargets: [ {PROCESSOR}-macos ]\ninstall-name: '{library}'\n"
                            f"exports:\n  - targets: [ {PROCESSOR}-macos ]\n    symbols: [ {', '.join(set(names) - set(weak))} ]\n"
                            f"    weak-symbols: [ {', '.join(weak)} ]\n...\n")
            yield file

    def linked(self, *options, source="Newer.m", addend=0, change=lambda file: None):
        """The image and what it prints when the loader runs it."""
        for file in LOADER.iterdir():
            shutil.copy(file, self.folder / file.name.replace("QELToken", "image"))
        compiled, image = self.folder / "image.o", next(self.folder.glob("*.macho"))
        subprocess.run(["clang", "-target", f"{PROCESSOR}-apple-macos12", "-nostdinc", "-O1", f"-DADDEND={addend}", "-c",
                        "-o", compiled, HERE / "fixture" / source], check=True)
        subprocess.run([LINKER, "-arch", PROCESSOR, "-platform_version", "macos", "12.0", "12.0", *options, "-o", image,
                        compiled, *self.libraries()], check=True)
        change(image)
        done = subprocess.run([self.folder / "image", "x"], capture_output=True, text=True, timeout=60)
        self.assertEqual(done.stderr, "")
        return macho.read(image)[PROCESSOR], done.stdout

    def sections(self, image):
        return {section.name for section in image.sections}

    def test_addresses_as_opcodes(self):
        image, printed = self.linked("-no_fixup_chains", *WITHOUT_METHOD_LISTS)
        self.assertIsNone(image.chained_fixups)
        self.assertEqual(printed, PRINTED)

    def test_addresses_as_chains(self):
        for addend in (0, 60, 60 + 4 * 255):  # none, in the pointer, in the import
            with self.subTest(addend=addend):
                image, printed = self.linked("-fixup_chains", *WITHOUT_METHOD_LISTS, addend=addend)
                self.assertIsNotNone(image.chained_fixups)
                self.assertEqual(printed, PRINTED)

    def test_chained_offsets(self):
        _, printed = self.linked("-fixup_chains", *WITHOUT_METHOD_LISTS, change=make_chained_pointers_offsets)
        self.assertEqual(printed, PRINTED)

    @WITH_METHOD_LISTS
    def test_method_lists_of_distances(self):
        image, printed = self.linked("-objc_relative_method_lists")
        self.assertIn("__objc_methlist", self.sections(image))
        self.assertEqual(printed, PRINTED)

    def test_calls_through_stubs(self):
        image, printed = self.linked("-objc_stubs_fast")
        self.assertIn("__objc_stubs", self.sections(image))
        self.assertEqual(printed, PRINTED)

    def test_initializers_as_offsets(self):
        image, printed = self.linked("-init_offsets")
        self.assertIn("__init_offsets", self.sections(image))
        self.assertEqual(printed, PRINTED)

    @WITH_METHOD_LISTS
    def test_all_of_it(self):
        image, printed = self.linked("-fixup_chains", "-objc_relative_method_lists", "-init_offsets")
        self.assertIsNotNone(image.chained_fixups)
        self.assertLessEqual({"__objc_methlist", "__objc_stubs", "__init_offsets"}, self.sections(image))
        self.assertEqual(printed, PRINTED)

    def test_a_mistake_that_only_arm64_shows(self):
        _, printed = self.linked(source="Mistake.c")
        self.assertIn("right 42\n", printed)
        self.assertEqual("wrong 7\n" in printed, PROCESSOR == "x86_64", printed)


if __name__ == "__main__":
    unittest.main()
