#!/usr/bin/env python3
"""Compares the instructions that each operation takes with those recorded in counts.json, beside this file, and with the goals.

    check.py [--record] --build-type TYPE --compiler NAME BUILD

BUILD is the build folder. Counted are the operations of count_instructions, on a library that answers at once, and those of
"script/bench counts" on SoftHSM2, where the product stands beside other users of PKCS#11. A count may be 5 % above the recorded
one; one that is 5 % below fails as well, so that what was gained is recorded and kept. --record writes what was counted.
Exit status: 0; 1 a count is off or a goal is missed; 77 nothing is recorded for these tools, whose code generation and
libraries the counts depend on: the counts are shown, and not judged.
"""

import argparse
import json
import os
import pathlib
import platform
import re
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent.parent / "script" / "bench.d"))

import counts  # noqa: E402
import goals  # noqa: E402
import settings  # noqa: E402

RECORDED = HERE / "counts.json"
TOLERANCE = 0.05


def counted(build):
    """{operation: {whose code: instructions}}"""
    own = counts.own_functions(build)
    operations = {name: counts.where(profile, own) for name, profile in
                  counts.profiles(build / "count_instructions/MacOS/count_instructions", os.environ).items()}
    with tempfile.TemporaryDirectory() as folder:
        environment = {**os.environ, "HOME": folder, "QEL_LIBRARY_DIR": folder + "/Library",
                       "QEL_BENCH_CARDS": folder + "/cards"}
        environment.pop("QEL_SOFTCARD_DIR", None)
        settings.make_own(build, pathlib.Path(folder, "Library"))
        subprocess.run([build / "bin/bench_cards", "main"], check=True, env=environment)
        for name, profile in counts.profiles(build / counts.PROGRAMS["product"], environment).items():
            operations[name + " on SoftHSM2"] = counts.where(profile, own)
    return operations


def tools(options):
    """What the counts depend on: upstream versions, for a distribution's fixes hardly change them."""
    packages = ["libc6", "libgnustep-base-dev", "libobjc4"]
    versions = subprocess.run(["dpkg-query", "--show", "--showformat", "${Package} ${Version}\\n", *packages],
                              capture_output=True, text=True).stdout.split("\n")
    libraries = sorted(re.sub(r"^(\S+ \d+(?:\.\d+)?).*", r"\1", line) for line in versions if line)
    compiler = re.sub(r"\..*", "", options.compiler)
    return ", ".join([platform.machine(), options.build_type, compiler, *libraries])


def missed_goals(operations):
    for (operation, whose), most in goals.INSTRUCTIONS.items():
        parts = operations[operation]
        now = sum(parts.values()) if whose == "all" else parts[whose]
        print(f"{operation:<46} {now:>7} instructions of {whose}, goal {most:>7}{'  MISSED' if now > most else ''}")
        if now > most:
            yield operation


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--record", action="store_true")
    parser.add_argument("--build-type", required=True)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("build", type=pathlib.Path)
    options = parser.parse_args()

    recorded = json.loads(RECORDED.read_text())
    made_with = tools(options)
    operations = counted(options.build)
    totals = {operation: sum(parts.values()) for operation, parts in operations.items()}
    if options.record:
        recorded[made_with] = dict(sorted(totals.items()))
        RECORDED.write_text(json.dumps(dict(sorted(recorded.items())), indent=2) + "\n")
        return 0
    if made_with not in recorded:
        print(f"NOT JUDGED: nothing is recorded for {made_with}; check.py --record does. Counted:")
        for operation, now in sorted(totals.items()):
            print(f"{operation:<46} {now:>7} instructions")
        return 77

    expected = recorded[made_with]
    failed = set(expected) != set(totals)
    for operation in sorted(set(expected) | set(totals)):
        before, now = expected.get(operation, 0), totals.get(operation, 0)
        change = now / before - 1 if before else float("inf")
        off = abs(change) > TOLERANCE
        failed |= off
        print(f"{operation:<46} {now:>7} instructions, recorded {before:>7} ({change:+.1%}){'  OFF' if off else ''}")
    # An unoptimised build takes what it takes.
    if options.build_type != "Debug":
        failed |= bool(list(missed_goals(operations)))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
