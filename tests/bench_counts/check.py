#!/usr/bin/env python3
"""Compares the instructions that each operation takes with those recorded in counts.json, beside this file.

    check.py [--record] --build-type TYPE --compiler NAME PROGRAM

PROGRAM is count_instructions. A count may be 5 % above the recorded one; one that is 5 % below fails as well, so that what
was gained is recorded and kept. --record writes what was counted. Exit status: 0; 1 a count is off; 77 nothing is
recorded for these tools, whose code generation and libraries the counts depend on: the counts are shown, and not judged.
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

RECORDED = pathlib.Path(__file__).with_name("counts.json")
TOLERANCE = 0.05
# The C library chooses among its copies of memcpy and the like by what the processor can do; so all take the same.
SAME_ON_ALL_PROCESSORS = "glibc.cpu.hwcaps=-AVX2,-AVX,-AVX512F,-AVX512VL,-AVX512BW,-BMI2,-ERMS,-FSRM,-SSE4_2,-SSSE3"


def count(program):
    """{operation: instructions}"""
    counts = {}
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run(["valgrind", "--tool=callgrind", "--instr-atstart=no",
                               f"--callgrind-out-file={folder}/profile", program],
                              capture_output=True, text=True,
                              env={**os.environ, "GLIBC_TUNABLES": SAME_ON_ALL_PROCESSORS})
        if done.returncode != 0:
            sys.exit(done.stderr)
        for profile in pathlib.Path(folder).glob("profile.*"):
            text = profile.read_text()
            name = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.MULTILINE)
            total = re.search(r"^(?:totals|summary): (\d+)", text, re.MULTILINE)
            counts[name[1]] = int(total[1])
    return counts


def tools(options):
    """What the counts depend on: upstream versions, for a distribution's fixes hardly change them."""
    packages = ["libc6", "libgnustep-base-dev", "libobjc4"]
    versions = subprocess.run(["dpkg-query", "--show", "--showformat", "${Package} ${Version}\\n", *packages],
                              capture_output=True, text=True).stdout.split("\n")
    libraries = sorted(re.sub(r"^(\S+ \d+(?:\.\d+)?).*", r"\1", line) for line in versions if line)
    compiler = re.sub(r"\..*", "", options.compiler)
    return ", ".join([platform.machine(), options.build_type, compiler, *libraries])


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--record", action="store_true")
    parser.add_argument("--build-type", required=True)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("program")
    options = parser.parse_args()

    recorded = json.loads(RECORDED.read_text()) if RECORDED.exists() else {}
    made_with = tools(options)
    counts = count(options.program)
    if not counts:
        sys.exit("callgrind wrote no profile")
    if options.record:
        recorded[made_with] = dict(sorted(counts.items()))
        RECORDED.write_text(json.dumps(dict(sorted(recorded.items())), indent=2) + "\n")
        return 0
    if made_with not in recorded:
        print(f"NOT JUDGED: nothing is recorded for {made_with}; check.py --record does. Counted:")
        for operation, now in sorted(counts.items()):
            print(f"{operation:<34} {now:>7} instructions")
        return 77

    expected = recorded[made_with]
    failed = set(expected) != set(counts)
    for operation in sorted(set(expected) | set(counts)):
        before, now = expected.get(operation, 0), counts.get(operation, 0)
        change = now / before - 1 if before else float("inf")
        off = abs(change) > TOLERANCE
        failed |= off
        print(f"{operation:<34} {now:>7} instructions, recorded {before:>7} ({change:+.1%}){'  OFF' if off else ''}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
