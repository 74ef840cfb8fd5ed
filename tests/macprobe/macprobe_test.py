"""The probe says what differs and what that means, and fails then: macprobe_test.py MACPROBE."""

import os
import pathlib
import re
import subprocess
import sys
import unittest

PROBE = sys.argv.pop()
LIMITS = pathlib.Path(__file__).resolve().parents[2] / "docs/limits.md"


def probe(*arguments, **environment):
    return subprocess.run([PROBE, *arguments], env={**os.environ, **environment}, capture_output=True, text=True, timeout=120)


class MacprobeTest(unittest.TestCase):
    def test_an_answer_as_assumed_is_printed_and_succeeds(self):
        done = probe("sandbox.home", APP_SANDBOX_CONTAINER_ID="x", HOME="/home-of-x/Library/Containers/y/Data")
        self.assertEqual((done.returncode, done.stdout),
                         (0, "ok      sandbox.home: the container\nmacprobe: 1 checks, 0 differ\n"))

    def test_another_answer_is_printed_with_what_it_means_and_fails(self):
        done = probe("sandbox.home", APP_SANDBOX_CONTAINER_ID="x", HOME="/home-of-x")
        self.assertEqual(done.returncode, 1)
        self.assertIn("DIFFERS sandbox.home: elsewhere, not the container; then the token log would lie elsewhere", done.stdout)

    def test_what_cannot_be_asked_here_is_not_called_an_answer(self):
        done = probe("sandbox.home")
        self.assertEqual((done.returncode, done.stdout.splitlines()[0]), (0, "unasked sandbox.home: cannot be asked here"))

    def test_the_first_part_of_a_name_and_this_process_will_do(self):
        done = probe("--here", "sandbox", APP_SANDBOX_CONTAINER_ID="x", HOME="/home-of-x/Library/Containers/y/Data")
        self.assertIn("ok      sandbox.home: the container", done.stdout)
        self.assertIn("ok      sandbox.password-database: the real home", done.stdout)
        self.assertEqual(probe("--here", "sand").returncode, 2)

    def test_every_check_has_a_name_of_its_own_and_says_what_it_matters(self):
        lines = probe("--list").stdout.splitlines()
        names = [line.split(":")[0] for line in lines]
        self.assertEqual(len(names), len(set(names)))
        self.assertFalse([line for line in lines if "; else " not in line or line.endswith("else ")])

    def test_the_checks_that_the_documentation_names_exist(self):
        names = {line.split(":")[0] for line in probe("--list").stdout.splitlines()}
        groups = "|".join(sorted({name.split(".")[0] for name in names}))
        named = set(re.findall(rf"`((?:{groups})\.[\w-]+)`", LIMITS.read_text()))
        self.assertGreater(len(named), 25)
        self.assertEqual(named - names, set())

    def test_an_unknown_name_is_wrong_usage(self):
        done = probe("no.such-check")
        self.assertEqual((done.returncode, done.stdout), (2, ""))


if __name__ == "__main__":
    unittest.main()
