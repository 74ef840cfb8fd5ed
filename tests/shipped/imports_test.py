"""The table of the loader's answers, compared with what is allowed and with what is imported."""

import collections
import fnmatch
import os
import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "bundle" / "verify"))

import image_checks  # noqa: E402
import macho  # noqa: E402

CONTENTS = pathlib.Path(os.environ["SHIPPED_APP"]) / "Contents"
EXECUTABLES = (CONTENTS / "PlugIns/QELToken.appex/Contents/MacOS/QELToken", CONTENTS / "MacOS/QELToken")
ANSWERERS = {"class", "metaclass", "text", "foundation", "platform", "libc++", "libc", "here"}


def rows(file="platform/macho/imports.txt"):
    """{symbol: (library, who answers, the reason)} from a table."""
    table, library = {}, None
    for line in (ROOT / file).read_text().splitlines():
        if not line or line.startswith("#"):
            continue
        if not line.startswith(" "):
            library = line
            continue
        who, rest = line.split(None, 1)
        symbols, reason = (rest.split(None, 1) + [""])[:2] if who.startswith("here") else (rest, None)
        for symbol in symbols.split():
            if symbol in table:
                raise ValueError(f"{symbol} has two rows")
            table[symbol] = (library, who, reason)
    return table


def of_processor(processor):
    return rows(f"platform/macho/imports_{processor}.txt")


class Table(unittest.TestCase):
    def test_every_row_is_of_a_symbol_that_the_verifier_allows(self):
        allowed = image_checks.allowed_imports()
        for symbol, (library, _, _) in {**rows(), **of_processor("x86_64")}.items():
            self.assertTrue(any(fnmatch.fnmatchcase(symbol, pattern) for pattern in allowed.get(library, ())),
                            f"{symbol} of {library} is not in bundle/verify/imports.txt")

    def test_every_import_has_its_row_and_every_row_is_used(self):
        imported = collections.defaultdict(dict)
        for executable in EXECUTABLES:
            for processor, image in macho.read(executable).items():
                imported[processor].update(image.imports())
        for processor, name in (("x86_64", "x86_64"), ("arm64", "aarch64")):
            table = {symbol: library for symbol, (library, _, _) in {**rows(), **of_processor(name)}.items()}
            self.assertEqual({s: l for s, l in imported[processor].items() if table.get(s) != l}, {}, processor)
        self.assertEqual(sorted(set(rows()) - set(imported["x86_64"]) - set(imported["arm64"])), [])
        self.assertEqual(sorted(set(of_processor("x86_64")) - set(imported["x86_64"])), [])

    def test_what_arm64_has_otherwise_has_a_row_of_the_same_library(self):
        of_all = {**rows(), **rows("tests/shipped/unit/imports.txt")}
        for symbol, (library, _, _) in of_processor("aarch64").items():
            self.assertEqual(of_all.get(symbol, (None,))[0], library, symbol)

    def test_every_row_names_who_answers_and_a_difference_its_reason(self):
        for symbol, (_, who, reason) in [*rows().items(), *of_processor("x86_64").items(), *of_processor("aarch64").items()]:
            self.assertIn(who.split(":")[0], ANSWERERS, symbol)
            if who.startswith("here"):
                self.assertRegex(who, r"^here:macos_\w+$")
                self.assertTrue(re.search(r"\w+ \w+", reason), f"{symbol}: no reason")


if __name__ == "__main__":
    unittest.main()
