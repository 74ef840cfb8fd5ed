#!/usr/bin/env python3
"""Checks that the app's texts and their table agree: strings_check.py ROOT. Prints a line per defect."""

import pathlib
import re
import sys

USE = re.compile(r'NSLocalizedString\(\s*((?:@"(?:[^"\\]|\\.)*"\s*)+),', re.S)
LITERAL = re.compile(r'@"((?:[^"\\]|\\.)*)"')
FORMAT = re.compile(r"%(?:\d\$)?l?[@d]")
COLOUR = re.compile(r"\b(?:black|white|gr[ae]y|lightGray|darkGray|red|green|blue|yellow|orange)Color\b|colorWith")


def defects(app):
    used = set()
    for source in sorted(app.glob("*.m*")):
        text = source.read_text()
        used |= {"".join(LITERAL.findall(found)) for found in USE.findall(text)}
        for colour in COLOUR.findall(text):
            yield f"{source.name}: {colour}: no colour of its own would suit both light and dark windows"
    if not used:
        yield "no texts were found"
    table = (app / "en.lproj" / "Localizable.strings").read_bytes()
    if any(byte > 126 for byte in table):
        yield "Localizable.strings: holds other characters than ASCII; write \\Uxxxx"
    rows = dict(re.findall(r'(?m)^"((?:[^"\\]|\\.)*)" = "((?:[^"\\]|\\.)*)";$', table.decode("ascii", "replace")))
    yield from (f"Localizable.strings: {key!r} is missing" for key in sorted(used - rows.keys()))
    yield from (f"Localizable.strings: {key!r} is used nowhere" for key in sorted(rows.keys() - used))
    for key, value in sorted(rows.items()):
        if sorted(FORMAT.findall(key)) != sorted(FORMAT.findall(value)):
            yield f"Localizable.strings: {key!r} and its text take different values"


if __name__ == "__main__":
    found = list(defects(pathlib.Path(sys.argv[1]) / "bundle" / "app"))
    for defect in found:
        print(defect)
    sys.exit(1 if found else 0)
