"""The Mach-O reader on images made here and on damaged ones."""

import pathlib
import random
import shutil
import sys
import tempfile
import unittest

import sample_bundle
from sample_bundle import EXTENSION_CODE, PROJECT

sys.path.insert(0, str(PROJECT / "bundle/verify"))
import macho  # noqa: E402


class MachOTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = pathlib.Path(tempfile.mkdtemp(prefix="macho", dir="/var/tmp"))
        cls.addClassCleanup(shutil.rmtree, cls.work)
        cls.file = cls.work / "image"
        sample_bundle.Maker(cls.work / "maker").image(cls.file, EXTENSION_CODE, signed=True)

    def test_both_processors_are_read(self):
        self.assertEqual(set(macho.read(self.file)), {"x86_64", "arm64"})

    def test_an_image_says_what_it_is(self):
        for image in macho.read(self.file).values():
            self.assertEqual(image.kind, macho.MH_EXECUTE)
            self.assertEqual((image.platform, image.minimum_system), (macho.PLATFORM_MACOS, "11.5"))
            self.assertEqual(image.entry_symbol, "_NSExtensionMain")
            self.assertEqual(image.classes, {"QELToken", "QELTokenDriver"})
            self.assertEqual(image.categories, {"QELAditions"})
            self.assertEqual(image.libraries[0], "/usr/lib/libobjc.A.dylib")
            self.assertIn(("_getpid", "/usr/lib/libSystem.B.dylib"), set(image.imports()))
            self.assertEqual(len(image.uuid), 32)

    def test_an_ad_hoc_signature_is_seen_and_has_no_entitlements(self):
        for image in macho.read(self.file).values():
            self.assertTrue(image.signed)
            self.assertTrue(image.signature_flags & 0x2)
            self.assertIsNone(image.entitlements)

    def test_a_file_cut_anywhere_is_refused_or_read_but_never_fails_otherwise(self):
        whole = self.file.read_bytes()
        cut = self.work / "cut"
        for length in list(range(0, 4096, 97)) + list(range(4096, len(whole), 4099)):
            cut.write_bytes(whole[:length])
            try:
                macho.read(cut)
            except macho.NotMachO:
                pass

    def test_a_damaged_file_is_refused_or_read_but_never_fails_otherwise(self):
        whole, damaged, chance = self.file.read_bytes(), self.work / "damaged", random.Random(1)
        for _ in range(300):
            content = bytearray(whole)
            for _ in range(8):
                start = chance.choice((0, 16384, 32768))  # the universal header and the two images' headers
                content[start + chance.randrange(4096) % (len(content) - start)] = chance.randrange(256)
            damaged.write_bytes(content)
            try:
                macho.read(damaged)
            except macho.NotMachO:
                pass

    def test_other_files_are_refused(self):
        for content in (b"", b"\x7fELF" + bytes(60), b"#!/bin/sh\n", bytes(4096)):
            other = self.work / "other"
            other.write_bytes(content)
            with self.assertRaises(macho.NotMachO):
                macho.read(other)


if __name__ == "__main__":
    unittest.main()
