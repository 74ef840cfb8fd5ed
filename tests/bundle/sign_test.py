"""script/sign-and-notarize signs inside out, and refuses what must not be signed."""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import sample_bundle
from sample_bundle import EXTENSION_CODE, PROJECT

sys.path.insert(0, str(PROJECT / "bundle/verify"))
from image_checks import registered_names  # noqa: E402


def code_with_the_products_names():
    """Code of an executable that registers every class and category of the product."""
    classes, categories = registered_names(PROJECT)
    code = EXTENSION_CODE
    for name in sorted(classes - {"QELToken", "QELTokenDriver"}):
        code += f"@interface {name} : NSObject @end\n@implementation {name} @end\n"
    for name in sorted(categories - {"QELAditions"}):
        code += f"@interface NSData ({name}) @end\n@implementation NSData ({name}) - (int)m{name} {{ return 0; }} @end\n"
    return code


class SignTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = pathlib.Path(tempfile.mkdtemp(prefix="sign", dir="/var/tmp"))
        cls.addClassCleanup(shutil.rmtree, cls.work)
        cls.app = sample_bundle.Maker(cls.work / "good").bundle(code_with_the_products_names())

    def sign(self, *arguments, app=None):
        return subprocess.run([PROJECT / "script/sign-and-notarize", "--app", app or self.app, *arguments],
                              capture_output=True, text=True, timeout=60)

    def commands(self, *arguments):
        done = self.sign("--dry-run", *arguments)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout.splitlines()

    def test_pieces_are_signed_inside_out_each_with_its_own_entitlements(self):
        library, extension, app = self.commands("--identity", "Team")[:3]
        self.assertRegex(library, r"^codesign .*--options runtime .*libQELTarnwellPkcs11\.dylib")
        self.assertRegex(extension, r"--options runtime .*--entitlements .*/Extension\.entitlements .*QELToken\.appex ?$")
        self.assertRegex(app, r"--options runtime .*QELToken\.app ?$")
        self.assertRegex(app, r"--entitlements .*/App\.entitlements ")
        self.assertNotIn("--entitlements", library)

    def test_nothing_is_signed_deep(self):
        self.assertFalse([line for line in self.commands("--identity", "Team", "--profile", "p") if "--deep" in line])

    def test_an_ad_hoc_signature_has_no_hardened_runtime(self):
        self.assertFalse([line for line in self.commands("--identity", "-") if "runtime" in line])

    def test_notarization_comes_last_and_only_with_a_profile(self):
        self.assertFalse([line for line in self.commands("--identity", "Team") if "notarytool" in line])
        lines = self.commands("--identity", "Team", "--profile", "p")
        submitted = next(i for i, line in enumerate(lines) if "notarytool submit" in line)
        self.assertGreater(submitted, max(i for i, line in enumerate(lines) if line.startswith("codesign")))
        self.assertTrue(any("stapler staple" in line for line in lines[submitted:]))

    def test_an_app_without_the_makers_library_is_refused(self):
        app = self.work / "incomplete" / "QELToken.app"
        shutil.copytree(self.work / "good", app.parent)
        (app / "Contents/PlugIns/QELToken.appex/Contents/Frameworks/libQELTarnwellPkcs11.dylib").unlink()
        done = self.sign("--identity", "Team", "--dry-run", app=app)
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("libQELTarnwellPkcs11.dylib is missing", done.stderr)

    def test_wrong_usage_is_refused(self):
        for arguments in ([], ["--identity"], ["--identity", "-", "--profile", "p"], ["--unknown"]):
            with self.subTest(arguments):
                done = self.sign(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, ""))


if __name__ == "__main__":
    unittest.main()
