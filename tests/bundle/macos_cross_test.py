"""script/macos-cross names the real reason when it cannot build, and never looks like a build that passed."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from sample_bundle import PROJECT


def cross(*arguments, sdk=None, path=None):
    environment = {k: v for k, v in os.environ.items() if k != "MACOS_SDK"}
    if sdk:
        environment["MACOS_SDK"] = str(sdk)
    if path:
        environment["PATH"] = f"{path}:{environment['PATH']}"
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


class ConfiguringTest(unittest.TestCase):
    def setUp(self):
        self.work = pathlib.Path(tempfile.mkdtemp(prefix="cross", dir="/var/tmp"))
        self.addCleanup(shutil.rmtree, self.work)
        self.sdk = self.work / "an SDK"
        (self.sdk / "usr/lib").mkdir(parents=True)
        (self.sdk / "usr/lib/libobjc.tbd").touch()

    def cross_with_failing_cmake(self, message):
        cmake = self.work / "cmake"
        cmake.write_text(f"#!/bin/sh\necho '-- what was tried before'\necho '{message}' >&2\nexit 1\n")
        cmake.chmod(0o755)
        return cross(sdk=self.sdk, path=self.work)

    def configure(self, *definitions):
        """What cmake says of the toolchain file; it configures nothing that another test or a user has."""
        return subprocess.run(["cmake", "-S", PROJECT, "-B", self.work / "build", "-G", "Ninja",
                               f"--toolchain={PROJECT}/cmake/MacosCross.cmake", *definitions],
                              env={**os.environ, "MACOS_SDK": str(self.sdk)}, capture_output=True, text=True, timeout=60)

    def test_a_failure_to_configure_shows_the_reason_and_guesses_no_other(self):
        done = self.cross_with_failing_cmake("CMake Error: the disk is full")
        self.assertEqual(done.returncode, 1)
        self.assertIn("the disk is full", done.stderr)
        self.assertNotIn("iniparser", done.stderr)

    def test_where_a_download_failed_it_says_what_to_give_instead(self):
        done = self.cross_with_failing_cmake("CMake Error: Build step for iniparser_sources failed: 1")
        self.assertEqual(done.returncode, 1)
        self.assertIn("-DQEL_INIPARSER_SOURCE=DIR", done.stderr)

    def test_a_linker_that_is_too_old_is_named_with_what_to_install(self):
        old = self.work / "ld64.lld"
        old.write_text("#!/bin/sh\necho 'LLD 15.0.7'\n")
        old.chmod(0o755)
        done = self.configure(f"-DQEL_LD64={old}")
        self.assertNotEqual(done.returncode, 0)
        self.assertRegex(" ".join(done.stderr.split()), rf"no ld64.lld of version 16 or later \(QEL_LD64={old}\).*lld-16")

    def test_what_belongs_to_the_linker_must_lie_beside_it(self):
        alone = self.work / "ld64.lld"
        alone.write_text("#!/bin/sh\necho 'LLD 19.1.0'\n")
        alone.chmod(0o755)
        done = self.configure(f"-DQEL_LD64={alone}")
        self.assertNotEqual(done.returncode, 0)
        self.assertIn("llvm-lipo is not beside the linker", " ".join(done.stderr.split()))


if __name__ == "__main__":
    unittest.main()
