"""What an installation is worth to a user who may write nowhere but at home: installation_test.py BUILD-FOLDER"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

BUILD = pathlib.Path(sys.argv.pop(1))
PIN = "Install-7391"
NOBODY = 65534


def snapshot(folder):
    return {path: path.read_bytes() if path.is_file() else None for path in sorted(folder.rglob("*"))}


class Installation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # Not below the build folder, which other users may not be able to reach.
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="qel-installation-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.folder.chmod(0o755)
        cls.prefix = cls.folder / "prefix"
        subprocess.run(["cmake", "--install", BUILD, "--prefix", cls.prefix], check=True, stdout=subprocess.DEVNULL)

    def setUp(self):
        self.home = pathlib.Path(tempfile.mkdtemp(dir=self.folder))
        self.environment = {"HOME": str(self.home), "PATH": f"{self.prefix}/bin:/usr/bin:/bin", "LC_ALL": "C.UTF-8"}
        for name in ("ASAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS", "LLVM_PROFILE_FILE"):
            if name in os.environ:
                self.environment[name] = os.environ[name]
        (self.home / "pin").write_text(PIN + "\n")
        (self.home / "message").write_text("Pay 100 to the bearer of this file.\n")
        if os.getuid() == 0:
            for path in (self.home, *self.home.iterdir()):
                os.chown(path, NOBODY, NOBODY)

    def run_as_user(self, *command):
        unprivileged = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"] if os.getuid() == 0 else []
        return subprocess.run([*unprivileged, *command], cwd=self.home, env=self.environment, text=True,
                              capture_output=True)

    def must(self, *command):
        result = self.run_as_user(*command)
        self.assertEqual(result.returncode, 0, f"{command}: {result.stdout}{result.stderr}")
        return result.stdout

    def test_an_unprivileged_user_makes_a_card_and_signs_what_openssl_verifies(self):
        before = snapshot(self.prefix), snapshot(BUILD / "Library")
        self.must("softcard", "init", "mine", "--key", "p256", "--pin-file", "pin")
        self.must("softcard", "insert", "mine")
        listed = self.must("ctkhost", "list")
        key, certificate = (re.search(rf"^  {kind} +([0-9a-f]+)", listed, re.M).group(1) for kind in ("key", "cert"))
        self.must("ctkhost", "--pin-file", "pin", "sign", "--key", key, "--algorithm", "ecdsa-sha256", "--in", "message",
                  "--out", "signature")
        self.must("ctkhost", "export", "--certificate", certificate, "--out", "cert.pem")
        (self.home / "public.pem").write_text(self.must("openssl", "x509", "-in", "cert.pem", "-noout", "-pubkey"))
        verified = self.must("openssl", "dgst", "-sha256", "-verify", "public.pem", "-signature", "signature", "message")
        self.assertEqual(verified, "Verified OK\n")
        self.assertTrue((self.home / ".local/state/qeltoken/softcard/state.json").is_file())
        self.assertEqual((snapshot(self.prefix), snapshot(BUILD / "Library")), before)

    def test_cards_are_kept_below_the_folder_for_states_that_the_environment_names(self):
        self.environment["XDG_STATE_HOME"] = str(self.home / "states")
        self.must("softcard", "init", "mine", "--key", "p256", "--pin-file", "pin")
        self.assertTrue((self.home / "states/qeltoken/softcard/state.json").is_file())
        self.assertFalse((self.home / ".local").exists())
        self.must("softcard", "insert", "mine")
        self.assertIn("QEL", self.must("ctkhost", "list"))

    def test_the_extension_reads_the_settings_of_the_prefix(self):
        settings = self.prefix / "lib/qeltoken/Library/Preferences/com.qel.Tarnwell.ini"
        settings.write_text("[Pkcs11]\nLogLevelPkcs11=5\n")
        self.addCleanup(settings.unlink)
        (self.home / "Documents").mkdir(mode=0o777)
        (self.home / "Documents").chmod(0o777)
        self.assertIn(f"Pkcs11:LogLevelPkcs11 = 5 ({settings})", self.must("ctkhost", "support"))
        self.must("softcard", "init", "mine", "--key", "p256", "--pin-file", "pin")
        self.must("softcard", "insert", "mine")
        self.must("ctkhost", "list")
        self.assertIn("Loading content from", (self.home / "Documents/QELToken.log").read_text())

    def test_cards_that_may_not_be_opened_are_refused_with_what_to_do(self):
        self.environment["QEL_SOFTCARD_DIR"] = str(self.home / "theirs")
        self.must("mkdir", "--mode=0", "theirs")
        for command in (["softcard", "list"], ["softcard", "init", "mine", "--key", "p256", "--pin-file", "pin"],
                        ["ctkhost", "readers"], ["ctkhost", "list"]):
            result = self.run_as_user(*command)
            self.assertNotEqual(result.returncode, 0, command)
            self.assertRegex(result.stderr, "Permission denied; set QEL_SOFTCARD_DIR to a folder of your own")

    def test_both_programs_tell_version_and_commit(self):
        for program in ("ctkhost", "softcard"):
            self.assertRegex(self.must(program, "--version"),
                             rf"\A{program} \d+\.\d+\.\d+ \(([0-9a-f]{{7,}}(\+changes)?|no git clone)\)\n\Z")

    def test_man_and_the_shells_find_theirs(self):
        for program in ("ctkhost", "softcard"):
            for file in (f"man/man1/{program}.1", f"bash-completion/completions/{program}", f"zsh/site-functions/_{program}"):
                self.assertTrue((self.prefix / "share" / file).is_file(), file)


unittest.main()
