"""The CI workflow: what nobody can try here is at least made of scripts, presets and options that exist."""

import json
import os
import re
import subprocess
import unittest

from sample_bundle import PROJECT

TEXT = (PROJECT / ".github/workflows/ci.yml").read_text()


def run_blocks():
    """The shell text of each step that has any."""
    lines, blocks = TEXT.splitlines(), []
    for number, line in enumerate(lines):
        found = re.match(r"(\s*)(?:- )?run: (.*)", line)
        if found is None:
            continue
        if found.group(2) != "|":
            blocks.append(found.group(2))
            continue
        inner = len(re.match(r"\s*", lines[number + 1]).group(0))
        block = []
        for following in lines[number + 1:]:
            if following.strip() and len(following) - len(following.lstrip()) < inner:
                break
            block.append(following[inner:])
        blocks.append("\n".join(block))
    return blocks


class WorkflowTest(unittest.TestCase):
    def test_its_blocks_are_found(self):
        self.assertGreater(len(run_blocks()), 8)
        self.assertIn("script/try-on-a-mac", run_blocks())

    def test_every_block_is_shell(self):
        for block in run_blocks():
            done = subprocess.run(["bash", "-n"], input=block, capture_output=True, text=True, timeout=60)
            self.assertEqual((done.returncode, done.stderr), (0, ""), block)

    def test_every_script_exists_with_every_option_that_it_gets(self):
        calls = [re.split(r"[;|&]", call) [0].split() for block in run_blocks()
                 for call in re.findall(r"(?m)^\s*((?:script|\.ci)/\S+.*)", block)]
        self.assertTrue(calls)
        for name, *words in (call for call in calls if "${{" not in call[0]):
            script = PROJECT / name
            self.assertTrue(os.access(script, os.X_OK), name)
            for option in (w for w in words if w.startswith("--")):
                self.assertIn(option, script.read_text(), f"{name} knows no {option}")

    def test_every_preset_exists(self):
        presets = json.loads((PROJECT / "CMakePresets.json").read_text())
        for kind, pattern in (("configurePresets", r"cmake --preset ([\w-]+)"), ("buildPresets", r"--build --preset ([\w-]+)"),
                              ("testPresets", r"ctest --preset ([\w-]+)")):
            used = set(re.findall(pattern, TEXT))
            self.assertTrue(used)
            self.assertLessEqual(used, {p["name"] for p in presets[kind]}, kind)

    def test_what_cmake_is_told_is_something_it_asks(self):
        asked = "".join(f.read_text() for folder in ("bundle", "cmake") for f in (PROJECT / folder).glob("*.cmake"))
        for name in re.findall(r"-D(QEL_\w+)=", TEXT):
            self.assertIn(f"set({name} ", asked)

    def test_macs_are_of_both_kinds_and_of_images_that_exist(self):
        images = set(re.findall(r"macos-\d+(?:-\w+)?", TEXT))
        self.assertTrue([i for i in images if i.endswith("-intel")])
        self.assertTrue([i for i in images if not i.endswith("-intel")])
        self.assertFalse([i for i in images if int(i.split("-")[1]) < 15], "retired")

    def test_actions_have_a_version_and_indentation_has_no_tabs(self):
        self.assertFalse([a for a in re.findall(r"uses: (\S+)", TEXT) if not re.fullmatch(r"[\w./-]+@v\d+", a)])
        self.assertNotIn("\t", TEXT)

    def test_a_step_that_waits_for_a_name_waits_for_one_that_exists(self):
        for job in re.findall(r"needs: (\w[\w-]*)", TEXT):
            self.assertRegex(TEXT, rf"(?m)^  {job}:$")
        uploaded = set(re.findall(r"upload-artifact@v\d+\n(?:.*\n){0,3}?\s*name: (\S+)", TEXT))
        for name in re.findall(r"download-artifact@v\d+\n(?:.*\n){0,3}?\s*name: (\S+)", TEXT):
            self.assertTrue(any(name.startswith(known.split("${{")[0]) if "${{" in known else name == known
                                for known in uploaded), name)


if __name__ == "__main__":
    unittest.main()
