"""script/bench measures with settings of its own, and not with the token log on: bench_settings_test.py BUILD-FOLDER"""

import os
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "script" / "bench.d"))

import settings  # noqa: E402

BUILD = pathlib.Path(sys.argv.pop(1))


class Settings(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="qel-bench-")
        self.addCleanup(folder.cleanup)
        self.library = pathlib.Path(folder.name, "Library")
        settings.make_own(BUILD, self.library)
        self.environment = {**os.environ, "HOME": folder.name, "QEL_LIBRARY_DIR": str(self.library)}
        self.environment.pop("QEL_SOFTCARD_DIR", None)

    def write(self, level):
        (self.library / "Preferences").mkdir(exist_ok=True)
        file = self.library / "Preferences/com.qel.Tarnwell.ini"
        file.write_text(f"[Pkcs11]\nLogLevelPkcs11={level}\n")

    def test_its_own_settings_have_no_token_log(self):
        lines = settings.in_force(BUILD, self.environment)
        self.assertIn("Pkcs11:LogLevelPkcs11 = 0 (default)", lines)
        self.assertIsNone(settings.problem(lines))

    def test_a_token_log_that_is_on_is_refused_with_the_file_that_turned_it_on(self):
        self.write(5)
        problem = settings.problem(settings.in_force(BUILD, self.environment))
        self.assertRegex(problem, r"the token log is on: .*com\.qel\.Tarnwell\.ini has LogLevelPkcs11 = 5")

    def test_a_token_log_that_is_turned_off_in_a_file_is_none(self):
        self.write(0)
        self.assertIsNone(settings.problem(settings.in_force(BUILD, self.environment)))

    def test_a_report_without_the_setting_is_refused(self):
        self.assertEqual(settings.problem([]), "the settings in force are not known")


unittest.main()
