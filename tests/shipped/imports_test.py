"""The table of the loader's answers, compared with what is allowed and with what is imported."""

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


def rows():
    """{symbol: (library, who answers, the reason)} from imports.txt."""
    table, library = {}, None
    for line in (ROOT / "platform/macho/imports.txt").read_text().splitlines():
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


class Table(unittest.TestCase):
    def test_every_row_is_of_a_symbol_that_the_verifier_allows(self):
        allowed = image_checks.allowed_imports()
        for symbol, (library, _, _) in rows().items():
            self.assertTrue(any(fnmatch.fnmatchcase(symbol, pattern) for pattern in allowed.get(library, ())),
                            f"{symbol} of {library} is not in bundle/verify/imports.txt")

    def test_every_import_of_both_processors_has_its_row_and_every_row_is_used(self):
        imported = {}
        for executable in EXECUTABLES:
            for image in macho.read(executable).values():
                imported.update(image.imports())
        table = {symbol: library for symbol, (library, _, _) in rows().items()}
        self.assertEqual({s: l for s, l in imported.items() if table.get(s) != l}, {})
        self.assertEqual(sorted(set(table) - set(imported)), [])

    def test_every_row_names_who_answers_and_a_difference_its_reason(self):
        for symbol, (_, who, reason) in rows().items():
            self.assertIn(who.split(":")[0], ANSWERERS, symbol)
            if who.startswith("here"):
                self.assertRegex(who, r"^here:macos_\w+$")
                self.assertTrue(re.search(r"\w+ \w+", reason), f"{symbol}: no reason")


if __name__ == "__main__":
    unittest.main()
