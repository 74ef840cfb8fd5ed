#!/usr/bin/env python3
"""Checks that platform/'s headers, sources, tests and COVERAGE.md agree: coverage_table_check.py ROOT

Every declared selector, property, function and constant has a row, every row declares something that exists, and every
class has a source and a test of its own name. Prints a line per defect; exit status 1 when there is any.
"""

import pathlib
import re
import sys

ANSWERS = {"behaves", "records", "refuses", "called"}


def selector(declaration):
    head = re.sub(r"\([^()]*(?:\([^()]*\))?[^()]*\)", " ", declaration)
    head = re.sub(r"\b(?:NS|TK)_[A-Z_]+\b", "", head)
    parts = re.findall(r"(\w+)\s*:", head)
    return "".join(part + ":" for part in parts) if parts else re.findall(r"\w+", head)[0]


def members(name, body):
    for sign, declaration in re.findall(r"^([-+])\s*([^;]+);", body, flags=re.M):
        if "UNAVAILABLE" not in declaration:
            yield f"{sign}[{name} {selector(declaration)}]"
    for declaration in re.findall(r"@property\s*\([^)]*\)\s*([^;]+);", body):
        yield f"{name}.{re.findall(r'[A-Za-z_]+', declaration)[-1]}"


def declared(header):
    """The names that a header declares, as COVERAGE.md spells them."""
    text = re.sub(r"//.*", "", header.read_text())
    block = r"@(?:interface|protocol)\s+(\w+)[^\n;]*\n(.*?)@end"
    for name, body in re.findall(block, text, flags=re.S):
        yield from members(name, re.sub(r"\{.*?\}", "", body, count=1, flags=re.S) if "{" in body else body)
    rest = re.sub(block + r"|^typedef [^;{]*;", "", text, flags=re.S | re.M)
    yield from re.findall(r"^(?:CF_EXPORT|TK_EXTERN)[^;(]*?\b(\w+);", rest, flags=re.M)
    yield from re.findall(r"^(?:CF_EXPORT |TK_EXTERN )?[\w*]+(?: [\w*]+)* \**(\w+)\([^;{}]*\)[^;{}]*;", rest, flags=re.M)
    yield from re.findall(r"^#define (os_log\w*)\(", rest, flags=re.M)


def classes(header):
    return re.findall(r"@interface (\w+) :", header.read_text())


def refusing(source, declarations):
    """Those of `declarations` that the source's class answers by raising."""
    text = source.read_text()
    for sign, head, body in re.findall(r"^([-+]) (\([^{;]*)\{\n(.*?)^\}", text, flags=re.S | re.M):
        if "QEL_NOT_MODELLED" in body:
            name = selector(head)
            setter = re.match(r"set(\w)(\w*):", name)
            attribute = setter.group(1).lower() + setter.group(2) if setter else name
            for candidate in (f"{sign}[{source.stem} {name}]", f"{source.stem}.{attribute}"):
                if candidate in declarations:
                    yield candidate


def rows(table):
    """{name: (answer, line number)}; a name may end with * for all that begin so."""
    found = {}
    for number, line in enumerate(table.read_text().splitlines(), 1):
        match = re.match(r"\| `([^`]+)` \| (\w+) \|", line)
        if match:
            found[match.group(1)] = (match.group(2), number)
    return found


def defects(root):
    platform = root / "platform"
    table = rows(platform / "COVERAGE.md")
    used = set()
    headers = sorted((platform / "include").rglob("*.h"))
    if not headers or not table:
        yield "no headers or no rows were found"
    for header in headers:
        where = header.relative_to(root)
        for name in declared(header):
            row = next((r for r in table if r == name or (r.endswith("*") and name.startswith(r[:-1]))), None)
            if row is None:
                yield f"{where}: {name} has no row in platform/COVERAGE.md"
            used.add(row)
        for name in classes(header):
            sources = platform / "src" / header.parent.name
            if not list(sources.glob(f"{name}.m*")):
                yield f"{where}: {name} has no source in {sources.relative_to(root)}"
            if not list((root / "tests" / "platform").glob(f"{name}Test.*")):
                yield f"{where}: {name} has no test in tests/platform"
    for row, (answer, number) in table.items():
        if row not in used:
            yield f"platform/COVERAGE.md:{number}: no header declares {row}"
        if answer not in ANSWERS:
            yield f"platform/COVERAGE.md:{number}: {answer} is none of {', '.join(sorted(ANSWERS))}"
    declarations = {name for header in headers for name in declared(header)}
    raising = {name for source in (platform / "src").rglob("TK*.m") for name in refusing(source, declarations)}
    for row, (answer, number) in table.items():
        if row.split()[0].strip("-[").endswith("Delegate") or not re.match(r"[-+]\[|\w+\.", row):
            continue
        if (answer == "refuses") != (row in raising):
            yield f"platform/COVERAGE.md:{number}: {row} is in the table as '{answer}', its source says otherwise"
    every = {name for header in headers for name in classes(header)}
    for source in sorted((platform / "src" / "CryptoTokenKit").glob("*.m*")):
        if source.stem not in every | {"TKError"}:
            yield f"{source.relative_to(root)}: no header declares {source.stem}"


if __name__ == "__main__":
    found = list(defects(pathlib.Path(sys.argv[1])))
    for defect in found:
        print(defect)
    sys.exit(1 if found else 0)
