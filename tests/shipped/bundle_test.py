"""A bundle that is not what the sources make, or that is broken, is refused with a sentence that says what is wrong."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "bundle" / "verify"))

import image_checks  # noqa: E402
import macho  # noqa: E402

APP = pathlib.Path(os.environ["SHIPPED_APP"])
APPEX = pathlib.Path(os.environ["SHIPPED_APPEX"])
EXECUTABLE = "Contents/PlugIns/QELToken.appex/Contents/MacOS/QELToken"


class BrokenBundle(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def copy_of_app(self):
        for name in ("QELToken.app", "QELToken.appex.dSYM", "QELToken.sources", "Extension.entitlements", "App.entitlements"):
            source = APP.parent / name
            (shutil.copytree if source.is_dir() else shutil.copy)(source, self.folder / name)
        return self.folder / "QELToken.app"

    def demo(self, app):
        return subprocess.run([ROOT / "script/demo", "--shipped"], capture_output=True, text=True,
                              env={**os.environ, "QEL_SHIPPED_APP": str(app)})

    def loaded(self, change):
        """What the loader says of the executable in which change(data) replaced something."""
        folder = self.folder / "appex"
        shutil.copytree(APPEX, folder, dirs_exist_ok=True)
        executable = next(folder.glob("Contents/MacOS/*.macho"))
        data = bytearray(executable.read_bytes())
        change(data)
        executable.write_bytes(data)
        done = subprocess.run([folder / "Contents/MacOS/QELToken"], capture_output=True, text=True, timeout=60)
        self.assertEqual(done.returncode, 1, done.stderr)
        return done.stderr

    def replace_all(self, data, old, new):
        self.assertEqual(len(old), len(new))
        self.assertIn(old, data)
        data[:] = data.replace(old, new)

    def test_the_loader_starts_what_is_whole(self):
        done = subprocess.run([APPEX / "Contents/MacOS/QELToken"], capture_output=True, text=True, timeout=60)
        self.assertIn("an extension is started by its host", done.stderr)

    def test_no_bundle_is_status_2_and_a_sentence(self):
        for script in ("demo", "test"):
            done = subprocess.run([ROOT / "script" / script, "--shipped"], capture_output=True, text=True,
                                  env={**os.environ, "QEL_SHIPPED_APP": str(self.folder / "none.app")})
            self.assertEqual(done.returncode, 2, done.stderr)
            self.assertIn(f"there is no extension in {self.folder}/none.app", done.stderr)

    def test_a_bundle_of_other_sources_is_stale(self):
        app = self.copy_of_app()
        sources = self.folder / "QELToken.sources"
        digest, path = sources.read_text().splitlines()[3].split("  ")
        sources.write_text(sources.read_text().replace(digest, "0" * 64))
        done = self.demo(app)
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"{path} changed after the bundle was built", done.stderr)
        self.assertIn("is stale", done.stderr)

    def test_a_bundle_that_does_not_tell_its_sources_is_refused(self):
        app = self.copy_of_app()
        (self.folder / "QELToken.sources").unlink()
        done = self.demo(app)
        self.assertEqual(done.returncode, 1)
        self.assertIn("QELToken.sources is missing", done.stderr)

    def test_every_class_of_another_name_is_named(self):
        app = self.copy_of_app()
        executable = app / EXECUTABLE
        whole = executable.read_bytes()
        classes = image_checks.registered_names(ROOT)[0]
        self.assertGreater(len(classes), 5)
        for name in sorted(classes):
            with self.subTest(name):
                data = bytearray(whole)
                self.replace_all(data, f"\0{name}\0".encode(), f"\0{name[:-1]}_\0".encode())
                executable.write_bytes(data)
                done = self.demo(app)
                self.assertEqual(done.returncode, 1)
                self.assertIn(f"the class {name} is missing", done.stderr)

    def test_a_missing_class_of_an_instance_variable_is_named(self):
        said = self.loaded(lambda data: self.replace_all(data, b"\0SlotSessionPair\0", b"\0SlotSessionPoir\0"))
        self.assertIn("the class SlotSessionPair is missing, of which QELTokenSession has m_currentPair", said)

    def test_two_classes_of_one_name_are_named(self):
        said = self.loaded(lambda data: self.replace_all(data, b"\0QELTokenDriver\0", b"\0TKSmartCardATR\0"))
        self.assertIn("there are two classes TKSmartCardATR", said)

    def test_an_import_without_a_row_is_named(self):
        said = self.loaded(lambda data: self.replace_all(data, b"_getpwuid\0", b"_getpwuix\0"))
        self.assertIn("the import _getpwuix of /usr/lib/libSystem.B.dylib has no row in platform/macho/imports.txt", said)

    def test_an_import_of_another_library_has_no_row(self):
        said = self.loaded(lambda data: self.replace_all(data, b"/usr/lib/libiconv.2.dylib\0", b"/usr/lib/libicomv.2.dylib\0"))
        self.assertRegex(said, "the import _iconv(_open|_close)? of /usr/lib/libicomv.2.dylib has no row")

    def test_every_instance_variable_elsewhere_is_named(self):
        image = macho.read(APP / EXECUTABLE)[PROCESSOR]
        start, section = APP.joinpath(EXECUTABLE).read_bytes().find(bytes(image.data)), image.section("__objc_ivar")
        for place in range(section.offset, section.offset + section.size, 4):
            with self.subTest(place=place):
                def move(data, at=start + place):
                    data[at] += 8
                self.assertRegex(self.loaded(move), r"the instance variable m_\w+ of \w+ is at offset \d+ instead of \d+")

    def test_a_protocol_that_nobody_adopts_is_named(self):
        said = self.loaded(lambda data: self.replace_all(data, b"\0TKTokenDelegate\0", b"\0TKTokenDelegato\0"))
        self.assertIn("adopts TKTokenDelegato, which no class of the loader adopts", said)

    def test_a_file_that_ends_early_is_refused(self):
        def shorten(data):
            image = bytes(macho.read(APP / EXECUTABLE)[PROCESSOR].data)
            data[:] = image[:len(image) * 2 // 3]
        self.assertIn("the file ends too early", self.loaded(shorten))


PROCESSOR = os.environ.get("SHIPPED_ARCH", "x86_64")

if __name__ == "__main__":
    unittest.main()
