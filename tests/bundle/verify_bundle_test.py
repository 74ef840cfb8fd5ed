"""script/verify-bundle passes a good bundle and names each defect of a broken one."""

import pathlib
import shutil
import subprocess
import tempfile
import unittest

import sample_bundle
from sample_bundle import APP_CODE, BASE_CODE, CATEGORY, DRIVER, EXTENSION_CODE, LIBRARY_CODE, PROJECT, TOKEN, edit_plist

EXTENSION = "QELToken.app/Contents/PlugIns/QELToken.appex/Contents"
EXECUTABLE = EXTENSION + "/MacOS/QELToken"
LIBRARY = EXTENSION + "/Frameworks/libQELTarnwellPkcs11.dylib"

# What the extension's executable is made from, and what the verifier must say of it.
BROKEN_EXECUTABLES = [
    ("one processor only", {"processors": ["arm64"]}, "extension: no code for x86_64"),
    ("made for a newer system", {"system": "12.0"}, "minimum system 12.0, not 11.5"),
    ("entry of its own", {"code": EXTENSION_CODE + "int main(void) { return 0; }", "entry": "_main"},
     "the entry is code of its own, not NSExtensionMain"),
    ("a library instead", {"dylib": True}, "not an executable"),
    ("driver class missing", {"code": BASE_CODE + TOKEN + CATEGORY}, "the class QELTokenDriver is missing"),
    ("driver class missing, plist", {"code": BASE_CODE + TOKEN + CATEGORY}, "the driver class 'QELTokenDriver' is not in"),
    ("token class missing", {"code": BASE_CODE + DRIVER + CATEGORY}, "the class QELToken is missing"),
    ("category missing", {"code": BASE_CODE + DRIVER + TOKEN}, "the category QELAditions is missing"),
    ("private framework", {"code": EXTENSION_CODE + "extern int PrivateCall(void); int p(void) { return PrivateCall(); }",
                           "libraries": ["Private"]}, "links /System/Library/PrivateFrameworks/"),
    ("private function", {"code": EXTENSION_CODE + "extern int sandbox_extension_consume(void); "
                                                   "int p(void) { return sandbox_extension_consume(); }"},
     "imports _sandbox_extension_consume"),
    ("private selector", {"code": EXTENSION_CODE + "@interface NSData (P) - (int)_secret; @end\n"
                                                   "int p(NSData *d) { return [d _secret]; }"},
     "uses the private selector _secret"),
    ("path of the build", {"code": EXTENSION_CODE + 'const char *p(void) { return "/Users/' + 'someone/QELToken/a.mm"; }'},
     "contains the path /Users/" + "someone/QELToken/a.mm"),
    ("not stripped", {"stripped": False}, "not stripped"),
    ("other settings file", {"code": EXTENSION_CODE.replace("com.qel.Tarnwell", "org.other.Tarnwell")},
     "grants com.qel.Tarnwell.ini, which the arm64 executable does not read"),
    ("of another version", {"code": EXTENSION_CODE.replace("QELToken-1.0.0", "QELToken-1.0.1")},
     "the arm64 executable is of another version"),
    ("signed without entitlements", {"signed": True}, "signature of arm64: com.apple.security.app-sandbox is missing"),
    ("symbols of another build", {"code": EXTENSION_CODE + "int other;"}, "not the symbols of the arm64 executable"),
]

BROKEN_LIBRARIES = [
    ("one processor only", {"processors": ["x86_64"]}, "libQELTarnwellPkcs11.dylib: no code for arm64"),
    ("made for a newer system", {"system": "12.0"}, "needs system 12.0, the extension runs on 11.5"),
    ("no function list", {"code": "int other;"}, "does not export C_GetFunctionList"),
    ("an executable", {"code": LIBRARY_CODE + APP_CODE, "dylib": False, "entry": "_main"}, "is no dynamic library"),
]


def attributes(plist):
    return plist["NSExtension"]["NSExtensionAttributes"]


# Property list, change, what the verifier must say.
BROKEN_PLISTS = [
    (EXTENSION + "/Info.plist", lambda p: p.pop("CFBundleExecutable"), "CFBundleExecutable is None, not 'QELToken'"),
    (EXTENSION + "/Info.plist", lambda p: p.update(CFBundlePackageType="APPL"), "CFBundlePackageType is 'APPL', not 'XPC!'"),
    (EXTENSION + "/Info.plist", lambda p: p.update(LSMinimumSystemVersion="10.15"), "LSMinimumSystemVersion is '10.15'"),
    (EXTENSION + "/Info.plist", lambda p: p.update(CFBundleVersion="2"), "CFBundleVersion '2' differs from the app's"),
    (EXTENSION + "/Info.plist", lambda p: p.update(CFBundleVersion="one"), "is no version of one to three numbers"),
    (EXTENSION + "/Info.plist", lambda p: p.update(CFBundleIdentifier="com.other.Token"), "does not begin with the app's"),
    (EXTENSION + "/Info.plist", lambda p: p.update(CFBundleIdentifier="a b"), "'a b' is no identifier"),
    (EXTENSION + "/Info.plist", lambda p: p.pop("NSExtension"), "the extension point is None"),
    (EXTENSION + "/Info.plist", lambda p: p["NSExtension"].update(NSExtensionPointIdentifier="com.apple.share-services"),
     "the extension point is 'com.apple.share-services'"),
    (EXTENSION + "/Info.plist", lambda p: p["NSExtension"].update(NSExtensionPrincipalClass="QELToken"),
     "NSExtensionPrincipalClass has no meaning"),
    (EXTENSION + "/Info.plist", lambda p: attributes(p).update({"com.apple.ctk.driver-class": "QELOther"}),
     "the driver class 'QELOther' is not in the arm64 executable"),
    (EXTENSION + "/Info.plist", lambda p: attributes(p).update({"com.apple.ctk.class-id": "x"}), "is not the bundle identifier"),
    (EXTENSION + "/Info.plist", lambda p: attributes(p).pop("com.apple.ctk.token-type"), "token-type is None"),
    (EXTENSION + "/Info.plist", lambda p: attributes(p).update({"com.apple.ctk.aid": ["A0"]}), "is no list of application"),
    ("QELToken.app/Contents/Info.plist", lambda p: p.update(CFBundlePackageType="BNDL"), "app: Info.plist: CFBundlePackageType"),
    ("QELToken.app/Contents/Info.plist", lambda p: p.update(CFBundleShortVersionString="9"), "differs from the app's '9'"),
    ("Extension.entitlements", lambda p: p.pop("com.apple.security.app-sandbox"), "app-sandbox is missing"),
    ("Extension.entitlements", lambda p: p.update({"com.apple.security.app-sandbox": False}), "app-sandbox is False, not True"),
    ("Extension.entitlements", lambda p: p.pop("com.apple.security.smartcard"), "smartcard is missing"),
    ("Extension.entitlements", lambda p: p.update({"com.apple.security.network.client": True}),
     "com.apple.security.network.client must not be there"),
    ("Extension.entitlements", lambda p: p.update({"com.apple.security.get-task-allow": True}), "get-task-allow must not be"),
    ("Extension.entitlements",
     lambda p: p["com.apple.security.temporary-exception.files.absolute-path.read-only"].append("/"), "absolute-path.read-only is"),
    ("Extension.entitlements",
     lambda p: p["com.apple.security.temporary-exception.files.home-relative-path.read-only"].clear(), "home-relative-path.read-only is"),
    ("App.entitlements", lambda p: p.clear(), "the app needs com.apple.security.smartcard and nothing else, found none"),
    ("App.entitlements", lambda p: p.update({"com.apple.security.smartcard": False}), "smartcard and nothing else"),
    ("App.entitlements", lambda p: p.update({"com.apple.security.network.client": True}), "smartcard and nothing else"),
]

# What is done to the folder, what the verifier must say.
BROKEN_LAYOUTS = [
    (lambda f: (f / EXECUTABLE).unlink(), "extension: Contents/MacOS/QELToken is missing"),
    (lambda f: (f / EXECUTABLE).write_bytes(b"#!/bin/sh\n" + bytes(64)), "no 64-bit Mach-O image"),
    (lambda f: (f / EXECUTABLE).write_bytes((f / EXECUTABLE).read_bytes()[:20000]), "Contents/MacOS/QELToken: "),
    (lambda f: (f / EXECUTABLE).chmod(0o644), "Contents/MacOS/QELToken is not executable"),
    (lambda f: (f / EXTENSION / "Info.plist").unlink(), "extension: Contents/Info.plist is missing"),
    (lambda f: (f / EXTENSION / "Info.plist").write_text("<plist>"), "is no property list"),
    (lambda f: shutil.rmtree(f / "QELToken.app/Contents/PlugIns"), "extension: QELToken.appex is missing"),
    (lambda f: (f / EXTENSION / "notes.txt").touch(), "Contents/notes.txt does not belong in the bundle"),
    (lambda f: (f / EXTENSION / "MacOS/helper").touch(), "Contents/MacOS/helper does not belong in the bundle"),
    (lambda f: (f / EXTENSION / "Frameworks/libother.dylib").touch(), "holds libother.dylib"),
    (lambda f: (f / EXTENSION / "link").symlink_to("/etc"), "is a symbolic link"),
    (lambda f: (f / LIBRARY).write_bytes(b"no library"), "libQELTarnwellPkcs11.dylib: "),
    (lambda f: shutil.rmtree(f / "QELToken.appex.dSYM"), "QELToken.appex.dSYM is not beside the app"),
    (lambda f: (f / "Extension.entitlements").unlink(), "Extension.entitlements is not beside the app"),
    (lambda f: (f / "Extension.entitlements").write_text("<plist>"), "Extension.entitlements: no property list"),
]


class VerifyBundleTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = pathlib.Path(tempfile.mkdtemp(prefix="bundle", dir="/var/tmp"))
        cls.addClassCleanup(shutil.rmtree, cls.work)
        cls.maker = sample_bundle.Maker(cls.work / "good")
        cls.maker.bundle()

    def setUp(self):
        self.folder = self.work / "broken"
        self.broken()

    def broken(self):
        """A fresh copy of the good bundle, to be broken."""
        shutil.rmtree(self.folder, ignore_errors=True)
        shutil.copytree(self.work / "good", self.folder, symlinks=True)
        return self.folder

    def verify(self, *options):
        return subprocess.run([PROJECT / "script/verify-bundle", "--sources", self.folder / "sources", *options,
                               self.folder / "QELToken.app"], capture_output=True, text=True, timeout=60)

    def assert_defect(self, message, *options):
        done = self.verify(*options)
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        self.assertEqual(done.stderr, "")
        self.assertIn(message, done.stdout)

    def test_a_good_bundle_has_no_defects(self):
        done = self.verify("--complete")
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)

    def test_application_identifiers_are_accepted(self):
        edit_plist(self.folder / EXTENSION / "Info.plist",
                   lambda p: attributes(p).update({"com.apple.ctk.aid": ["A000000308", "D27600012401"]}))
        self.assertEqual(self.verify().returncode, 0)

    def test_a_bundle_without_the_makers_library_is_good_but_not_complete(self):
        (self.folder / LIBRARY).unlink()
        self.assertEqual(self.verify().returncode, 0)
        self.assert_defect("libQELTarnwellPkcs11.dylib is missing", "--complete")

    def test_each_broken_executable_is_named(self):
        for what, how, message in BROKEN_EXECUTABLES:
            with self.subTest(what):
                self.maker.image(self.broken() / EXECUTABLE, **{"code": EXTENSION_CODE, **how})
                self.assert_defect(message)

    def test_each_broken_makers_library_is_named(self):
        for what, how, message in BROKEN_LIBRARIES:
            with self.subTest(what):
                self.maker.image(self.broken() / LIBRARY, **{"code": LIBRARY_CODE, "dylib": True, **how})
                self.assert_defect(message)

    def test_each_broken_property_list_is_named(self):
        for name, change, message in BROKEN_PLISTS:
            with self.subTest(message):
                edit_plist(self.broken() / name, change)
                self.assert_defect(message)

    def test_each_broken_layout_is_named(self):
        for breaking, message in BROKEN_LAYOUTS:
            with self.subTest(message):
                breaking(self.broken())
                self.assert_defect(message)

    def test_sources_without_classes_prove_nothing(self):
        shutil.rmtree(self.folder / "sources/token")
        self.assert_defect("no classes found in the sources")

    def test_what_is_no_folder_is_a_usage_error(self):
        done = subprocess.run([PROJECT / "script/verify-bundle", self.folder / "none"], capture_output=True, timeout=60)
        self.assertEqual(done.returncode, 2)


if __name__ == "__main__":
    unittest.main()
