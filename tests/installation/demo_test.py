"""Running the demonstration changes nothing for what comes after it: demo_test.py PRESET"""

import hashlib
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PRESET = sys.argv.pop(1)


def snapshot(folder):
    return {path.relative_to(folder): hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else "folder"
            for path in sorted(folder.rglob("*"))}


class Demo(unittest.TestCase):
    def test_the_demo_leaves_settings_home_and_cards_as_they_were(self):
        build = ROOT / "build" / PRESET
        with tempfile.TemporaryDirectory(prefix="qel-demo-") as folder:
            home = pathlib.Path(folder, "home")
            (home / "Documents").mkdir(parents=True)  # where a token log would go
            kept = build / "Library", home
            before = [snapshot(place) for place in kept]
            environment = {**os.environ, "HOME": str(home), "QEL_DEMO_PRESET": PRESET, "QEL_DEMO_BUILT": "1",
                           "QEL_DEMO_FOLDER": folder + "/demo", "QEL_DEMO_PATIENCE": "60"}
            environment.pop("XDG_STATE_HOME", None)
            demo = subprocess.run([ROOT / "script/demo"], env=environment, text=True, stdout=subprocess.PIPE,
                                  stderr=subprocess.STDOUT)
            self.assertEqual(demo.returncode, 0, demo.stdout)
            self.assertIn("the token log tells of a login", demo.stdout)
            self.assertEqual([snapshot(place) for place in kept], before)


unittest.main()
