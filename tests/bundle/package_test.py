"""script/macos-package lays out and refuses; what the package runs registers, and the uninstaller removes only its own."""

import os
import pathlib
import plistlib
import shutil
import subprocess
import tempfile
import unittest

import sample_bundle
from sample_bundle import PROJECT
from sign_test import code_with_the_products_names

TOOLS = ("sudo", "pluginkit", "lsregister", "pkgutil", "sc_auth", "launchctl", "stat", "defaults")


class PackageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = pathlib.Path(tempfile.mkdtemp(prefix="package", dir="/var/tmp"))
        cls.addClassCleanup(shutil.rmtree, cls.work)
        cls.app = sample_bundle.Maker(cls.work / "good").bundle(code_with_the_products_names())
        uninstall = (PROJECT / "bundle/installer/uninstall").read_text()
        uninstall = uninstall.replace("@QEL_APP_ID@", "com.qel.QELToken").replace("@QEL_EXTENSION_ID@", "com.qel.QELToken.Extension")
        (cls.app / "Contents/Resources").mkdir()
        (cls.app / "Contents/Resources/uninstall").write_text(uninstall)
        cls.tools = cls.work / "tools"
        cls.tools.mkdir()
        for tool in TOOLS:
            (cls.tools / tool).write_text(f'#!/bin/sh\necho "{tool} $*" >>"$CALLS"\n[ "{tool}" = stat ] && echo ada\n'
                                          f'[ "{tool}" = defaults ] && echo com.qel.QELToken.Extension\n[ -z "$BROKEN" ]\n')
            (cls.tools / tool).chmod(0o755)

    def setUp(self):
        self.place = pathlib.Path(tempfile.mkdtemp(dir=self.work))
        self.calls = self.place / "calls"
        self.calls.touch()

    def package(self, *arguments, app=None):
        return subprocess.run([PROJECT / "script/macos-package", "--app", app or self.app, *arguments],
                              capture_output=True, text=True, timeout=120)

    def staged(self, name="stage"):
        done = self.package("--stage", self.place / name)
        self.assertEqual(done.returncode, 0, done.stderr)
        return self.place / name

    def run_script(self, *command, **environment):
        return subprocess.run(command, capture_output=True, text=True, timeout=60, env={
            **os.environ, "PATH": f"{self.tools}:{os.environ['PATH']}", "CALLS": str(self.calls), **environment})

    def test_the_commands_build_sign_and_check_the_package(self):
        done = self.package("--dry-run", "--identity", "Team Installer")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(done.stdout, r"(?m)^pkgbuild .*--identifier com\.qel\.QELToken\.pkg --version 1\.0\.0 --install-location / ")
        self.assertRegex(done.stdout, r"(?m)^productbuild --distribution .* --sign Team\\ Installer --timestamp .*QELToken\.pkg")
        self.assertIn("pkgutil --check-signature", done.stdout)
        self.assertNotIn("notarytool", done.stdout)

    def test_notarization_comes_last_and_only_with_a_profile(self):
        lines = self.package("--dry-run", "--identity", "Team", "--profile", "p").stdout.splitlines()
        self.assertRegex(lines[-3], "notarytool submit .*QELToken.pkg --keychain-profile p --wait")
        self.assertRegex(lines[-2], "stapler staple")
        self.assertRegex(lines[-1], "spctl --assess --type install")

    def test_what_the_verifier_refuses_is_refused(self):
        broken = self.place / "QELToken.app"
        shutil.copytree(self.app, broken)
        for beside in ("Extension.entitlements", "App.entitlements", "QELToken.appex.dSYM"):
            source = self.app.parent / beside
            shutil.copytree(source, self.place / beside) if source.is_dir() else shutil.copy(source, self.place)
        (broken / "Contents/PlugIns/QELToken.appex/Contents/Frameworks/libQELTarnwellPkcs11.dylib").unlink()
        done = self.package("--dry-run", "--identity", "Team", app=broken)
        self.assertEqual(done.returncode, 1)
        self.assertIn("libQELTarnwellPkcs11.dylib is missing", done.stderr)
        self.assertEqual(done.stdout, "")

    def test_an_app_that_is_not_signed_is_refused(self):
        done = self.package("--identity", "Team")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("the app is not signed", done.stderr)

    def test_wrong_arguments_are_named(self):
        for arguments, text in (((), "--identity is missing"), (("--identity",), "needs a value"), (("--bogus",), "'--bogus'"),
                                (("--identity", "-"), "signed ad hoc"), (("--stage", self.place), "exists already")):
            done = self.package(*arguments)
            self.assertEqual(done.returncode, 2, arguments)
            self.assertIn(text, done.stderr)

    def test_the_same_app_gives_the_same_payload(self):
        def described(stage):
            return [(p.relative_to(stage), oct(p.stat().st_mode), p.stat().st_mtime, p.read_bytes() if p.is_file() else b"")
                    for p in sorted(stage.rglob("*"))]
        first, second = described(self.staged("first")), described(self.staged("second"))
        self.assertGreater(len(first), 10)
        self.assertEqual(first, second)

    def test_the_payload_is_the_app_and_an_agent_that_registers_its_extension(self):
        stage = self.staged()
        self.assertEqual([p.name for p in (stage / "root/Applications").iterdir()], ["QELToken.app"])
        agents = list((stage / "root/Library/LaunchAgents").iterdir())
        self.assertEqual([p.name for p in agents], ["com.qel.QELToken.register.plist"])
        agent = plistlib.loads(agents[0].read_bytes())
        self.assertEqual(agent["Label"], "com.qel.QELToken.register")
        self.assertEqual(agent["ProgramArguments"],
                         ["/usr/bin/pluginkit", "-a", "/Applications/QELToken.app/Contents/PlugIns/QELToken.appex"])
        self.assertIs(agent["RunAtLoad"], True)
        self.assertFalse(plistlib.loads((stage / "components.plist").read_bytes())[0]["BundleIsRelocatable"])
        self.assertEqual(plistlib.loads((stage / "product.plist").read_bytes())["os"], ["11.5"])

    def test_installation_registers_for_the_user_at_the_screen_and_the_login_window(self):
        done = self.run_script(PROJECT / "bundle/installer/postinstall", "package", "/", "/")
        self.assertEqual(done.returncode, 0)
        calls = self.calls.read_text()
        self.assertRegex(calls, r"(?m)^launchctl asuser .*sudo -u ada pluginkit -a /Applications/QELToken\.app/")
        self.assertRegex(calls, r"(?m)^sudo -u _securityagent pluginkit -a /Applications/QELToken\.app/")
        self.assertIn("sc_auth enable_for_login -c com.qel.QELToken.Extension", calls)

    def test_installation_succeeds_where_registration_fails_and_says_so(self):
        done = self.run_script(PROJECT / "bundle/installer/postinstall", "package", "/", "/", BROKEN="1")
        self.assertEqual(done.returncode, 0)
        self.assertIn("failed, and installation goes on: sc_auth", done.stdout)

    def test_installation_on_another_volume_registers_nothing(self):
        self.run_script(PROJECT / "bundle/installer/postinstall", "package", "/Volumes/Other", "/Volumes/Other")
        self.assertEqual(self.calls.read_text(), "")

    def installed(self):
        """A system's root with the package and with what others have."""
        root = self.place / "system"
        shutil.copytree(self.staged() / "root", root)
        for other in ("Applications/Other.app/x", "Library/LaunchAgents/com.qel.other.plist", "Users/ada/Documents/x",
                      "Library/Preferences/com.qel.Tarnwell.ini", "Users/Shared/x",
                      "Users/ada/Library/Containers/com.qel.QELToken.Extension/Data/Documents/QELToken.log"):
            (root / other).parent.mkdir(parents=True, exist_ok=True)
            (root / other).write_text("kept")
        return root

    def uninstall(self, root, *arguments, **environment):
        script = self.app / "Contents/Resources/uninstall"
        return self.run_script("sh", script, *arguments, QEL_UNINSTALL_ROOT=str(root), **environment)

    def files(self, root):
        return sorted(str(p.relative_to(root)) for p in root.rglob("*") if p.is_file())

    def test_the_uninstaller_removes_what_was_installed_and_nothing_else(self):
        root = self.installed()
        kept = [f for f in self.files(root) if (root / f).read_bytes() == b"kept"]
        self.assertEqual(len(kept), 6)
        done = self.uninstall(root)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(self.files(root), kept)
        calls = self.calls.read_text()
        self.assertRegex(calls, r"(?m)^sudo -u ada pluginkit -r .*QELToken\.appex$")
        self.assertNotIn("-u Shared", calls)
        self.assertIn("pkgutil --forget com.qel.QELToken.pkg", calls)
        self.assertEqual(self.uninstall(root).returncode, 0)

    def test_the_uninstaller_goes_on_where_the_registry_fails(self):
        root = self.installed()
        self.assertEqual(self.uninstall(root, BROKEN="1").returncode, 0)
        self.assertFalse((root / "Applications/QELToken.app").exists())

    def test_the_uninstaller_leaves_an_app_that_is_not_its_own(self):
        root = self.installed()
        (root / "Applications/QELToken.app/Contents/Info.plist").write_text("<plist><string>com.other</string></plist>")
        before = self.files(root)
        done = self.uninstall(root)
        self.assertEqual(done.returncode, 1)
        self.assertIn("is not com.qel.QELToken; nothing was removed", done.stderr)
        self.assertEqual((self.files(root), self.calls.read_text()), (before, ""))

    def test_the_uninstaller_shows_what_it_would_do(self):
        root = self.installed()
        before = self.files(root)
        done = self.uninstall(root, "--dry-run")
        self.assertRegex(done.stdout, r"(?m)^rm -rf .*/Applications/QELToken\.app$")
        self.assertEqual((self.files(root), self.calls.read_text()), (before, ""))
        self.assertEqual(self.uninstall(root, "--bogus").returncode, 2)


if __name__ == "__main__":
    unittest.main()
