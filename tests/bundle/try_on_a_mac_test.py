"""script/try-on-a-mac where the Mac's programs are played: it goes on after a failure, and never calls one a success."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from sample_bundle import PROJECT

IDENTIFIER = "com.qel.QELToken.Extension"

# What a Mac on which everything holds would answer. The app's and the probe's own code cannot run here.
PROGRAMS = {
    "uname": "echo Darwin",
    "sw_vers": "echo 15.0",
    "plutil": f"echo {IDENTIFIER}",
    "codesign": "exit 0",
    "ditto": 'mkdir -p "$2/Contents/MacOS" "$2/Contents/PlugIns/QELToken.appex/Contents/MacOS"; '
             'for f in Contents/MacOS Contents/PlugIns/QELToken.appex/Contents/MacOS; do '
             'cp "$(dirname "$0")/code" "$2/$f/QELToken"; done',
    "code": "exit 0",
    "pluginkit": f'[ "$1" != -m ] || echo "+    {IDENTIFIER}(1.0.0)"',
    "arch": 'shift; [ "$1" = /usr/bin/true ] || "$@"',
    "security": "exit 0",
    "log": "exit 0",
    "sleep": "exec /bin/sleep 1",  # the extension is given five seconds, which are long
    "macprobe": "echo probe $*",
}


class TryOnAMacTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = pathlib.Path(tempfile.mkdtemp(prefix="tryout", dir="/var/tmp"))
        cls.addClassCleanup(shutil.rmtree, cls.work)
        cls.app = cls.work / "QELToken.app"
        cls.app.mkdir()

    def setUp(self):
        self.tools, self.home = self.work / "tools", self.work / "home"
        for folder in (self.tools, self.home):
            shutil.rmtree(folder, ignore_errors=True)
            folder.mkdir()
        self.play(**PROGRAMS)
        # The verifier and the signer have tests of their own.
        self.project = self.work / "project"
        shutil.rmtree(self.project, ignore_errors=True)
        (self.project / "script").mkdir(parents=True)
        shutil.copy(PROJECT / "script/try-on-a-mac", self.project / "script")
        for name in ("verify-bundle", "sign-and-notarize"):
            self.write(self.project / "script" / name, "exit 0")

    def write(self, file, text):
        file.write_text(f"#!/bin/bash\n{text}\n")
        file.chmod(0o755)

    def play(self, **programs):
        for name, text in programs.items():
            self.write(self.tools / name, text)

    def run_it(self, *arguments):
        return subprocess.run([self.project / "script/try-on-a-mac", "--app", self.app, "--probe", self.tools / "macprobe", *arguments],
                              env={**os.environ, "HOME": str(self.home), "PATH": f"{self.tools}:{os.environ['PATH']}"},
                              capture_output=True, text=True, timeout=60)

    def test_where_everything_holds_it_succeeds_and_leaves_nothing(self):
        done = self.run_it()
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertIn("script/try-on-a-mac: all held", done.stdout)
        self.assertNotIn("FAILED", done.stdout)
        self.assertFalse((self.home / "Applications/QELToken.app").exists())

    def test_the_probe_is_asked_outside_and_inside_the_sandbox(self):
        done = self.run_it()
        self.assertIn("\nprobe\n", done.stdout)
        self.assertIn("probe --here sandbox\n", done.stdout)

    def test_each_failure_is_named_and_the_rest_is_tried(self):
        failures = {
            "pluginkit": ("exit 0", "the registry takes the extension"),
            "macprobe": ("exit 1", "the system does what the product takes for granted"),
            "code": ('echo "dyld[1]: __DATA_CONST segment missing SG_READ_ONLY flag" >&2', "the loader takes the extension"),
        }
        for program, (text, what) in failures.items():
            with self.subTest(program):
                self.play(**{**PROGRAMS, program: text})
                done = self.run_it()
                self.assertEqual(done.returncode, 1, done.stdout)
                self.assertIn(f"script/try-on-a-mac: did not hold: {what}\n", done.stdout)
                self.assertIn("== so it does in the extension's sandbox", done.stdout)

    def test_an_app_with_defects_is_named(self):
        self.write(self.project / "script/verify-bundle", "exit 1")
        self.assertIn("did not hold: the app has no defect that a Mac is not needed for", self.run_it().stdout)

    def test_an_app_that_is_installed_already_is_left_alone(self):
        installed = self.home / "Applications/QELToken.app"
        installed.mkdir(parents=True)
        done = self.run_it()
        self.assertEqual(done.returncode, 2)
        self.assertIn("exists; remove it first", done.stderr)
        self.assertTrue(installed.exists())

    def test_it_needs_a_mac(self):
        self.play(uname="echo Linux")
        done = self.run_it()
        self.assertEqual((done.returncode, done.stderr), (2, "script/try-on-a-mac: this needs a Mac\n"))


if __name__ == "__main__":
    unittest.main()
