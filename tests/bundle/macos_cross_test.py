"""script/macos-cross without an SDK: says so, and never looks like a build that passed."""

import os
import subprocess
import tempfile
import unittest

from sample_bundle import PROJECT


def cross(*arguments, sdk=None):
    environment = {k: v for k, v in os.environ.items() if k != "MACOS_SDK"}
    if sdk:
        environment["MACOS_SDK"] = sdk
    return subprocess.run([PROJECT / "script/macos-cross", *arguments], env=environment, capture_output=True, text=True,
                          timeout=60)


class MacosCrossTest(unittest.TestCase):
    def test_without_an_sdk_it_fails_as_wrong_usage(self):
        done = cross()
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("MACOS_SDK is not set", done.stderr)

    def test_where_an_sdk_is_optional_it_says_that_nothing_was_built(self):
        done = cross("--if-available")
        self.assertEqual(done.returncode, 0)
        self.assertIn("SKIPPED, the macOS product was not built", done.stdout)

    def test_a_folder_that_is_no_sdk_is_named(self):
        with tempfile.TemporaryDirectory() as folder:
            done = cross(sdk=folder)
            self.assertEqual(done.returncode, 2)
            self.assertIn(folder, done.stderr)

    def test_an_unknown_argument_is_wrong_usage(self):
        self.assertEqual(cross("--unknown").returncode, 2)


if __name__ == "__main__":
    unittest.main()
