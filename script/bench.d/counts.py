"""Instructions, counted by callgrind: nothing depends on the machine's speed or on what else runs there.

A program writes a profile for each operation (bench/Callgrind.h). For the product and other users of PKCS#11 on the same card
(bench/OwnCounts.h) it has what runs outside the library; the forwarder in front of that, which switches the counting off
inside, is left out here.
"""

import collections
import os
import re
import subprocess
import tempfile

# The C library chooses among its copies of memcpy and the like by what the processor can do; so all take the same.
SAME_ON_ALL_PROCESSORS = "glibc.cpu.hwcaps=-AVX2,-AVX,-AVX512F,-AVX512VL,-AVX512BW,-BMI2,-ERMS,-FSRM,-SSE4_2,-SSSE3"
FORWARDER = ("libqel_timing_forwarder.so", "libQELTarnwellPkcs11.dylib")

PROGRAMS = {
    "product": "bench/own_time/MacOS/bench_own_time",
    "OpenSSL with libp11": "bench/own_time_openssl/MacOS/bench_own_time_openssl",
    "GnuTLS": "bench/own_time_gnutls/MacOS/bench_own_time_gnutls",
    "p11-kit": "bin/count_p11_kit",
}

ORDER = ["RSA-2048 signature", "RSA-3072 signature", "P-256 signature", "P-384 signature", "RSA-2048 decryption",
         "P-256 agreement"]
# How the names of the libraries begin.
LIBRARIES = {"libobjc": "Objective-C runtime", "libgnustep-base": "Foundation", "libc.": "C library"}


def profiles(program, environment):
    """{operation: text of callgrind's profile}"""
    found = {}
    with tempfile.TemporaryDirectory() as folder:
        done = subprocess.run(["valgrind", "--tool=callgrind", "--instr-atstart=no",
                               f"--callgrind-out-file={folder}/profile", program], capture_output=True, text=True,
                              # Symbols are bound at the start, which is no part of an operation.
                              env={**environment, "GLIBC_TUNABLES": SAME_ON_ALL_PROCESSORS, "LD_BIND_NOW": "1"})
        if done.returncode != 0:
            raise SystemExit(f"{program} failed under callgrind: {done.stderr}")
        for file in os.scandir(folder):
            with open(file, encoding="utf-8", errors="replace") as profile:
                text = profile.read()
            name = re.search(r"^desc: Trigger: Client Request: (.*)$", text, re.MULTILINE)
            if name:
                found[name[1]] = text
    if not found:
        raise SystemExit(f"{program} wrote no profile: {done.stderr}")
    return found


def costs(profile):
    """{(program or library, function): instructions in it}; what a call takes stands with the callee."""
    names, taken, place, inclusive = {}, collections.Counter(), {"ob": "", "fn": ""}, False
    for line in profile.splitlines():
        if match := re.match(r"(c?)(ob|fn)=\((\d+)\)(?: (.*))?$", line):
            called, kind, number, name = match.groups()
            known = names.setdefault((kind, number), name or "")
            if not called:
                place[kind] = known
        elif line.startswith("calls="):
            inclusive = True
        elif match := re.match(r"(?:[+-]?\d+|\*) (\d+)$", line):
            if not inclusive:
                taken[os.path.basename(place["ob"]), place["fn"]] += int(match[1])
            inclusive = False
    return taken


def own_functions(build):
    """The names of the functions of the product's folders."""
    names = set()
    for archive in build.glob("libqel_*_objects.a"):
        symbols = subprocess.run(["nm", "--demangle", "--defined-only", archive], capture_output=True, text=True, check=True)
        names.update(re.findall(r"^[0-9a-f]+ [tTwW] (.*)$", symbols.stdout, re.MULTILINE))
    if not names:
        raise SystemExit(f"{build} has no libraries of the product")
    return names


def where(profile, own):
    """{whose code: instructions}, the library and what stands in front of it left out."""
    parts = collections.Counter()
    for (program, function), cost in costs(profile).items():
        if program in FORWARDER:
            continue
        library = next((what for start, what in LIBRARIES.items() if program.startswith(start)), "platform layer, rest")
        parts["product" if function in own else library] += cost
    return parts


def table(build, environment):
    """{operation: {side: {whose code: instructions}}}"""
    own, rows = own_functions(build), {}
    for side, program in PROGRAMS.items():
        for operation, profile in profiles(build / program, environment).items():
            rows.setdefault(operation, {})[side] = where(profile, own if side == "product" else ())
    return rows


def print_table(rows):
    """Returns how many goals are missed: the product is below every peer."""
    sides, missed = list(PROGRAMS), 0
    print("instructions outside the PKCS#11 library, the same operation on the same SoftHSM2 token")
    print(f"{'':<22}" + "".join(f"{side:>20}" for side in sides))
    for operation, row in sorted(rows.items(), key=lambda each: ORDER.index(each[0])):
        totals = {side: sum(parts.values()) for side, parts in row.items()}
        above = [side for side in sides[1:] if side in totals and totals["product"] >= totals[side]]
        missed += len(above)
        print(f"{operation:<22}" + "".join(f"{totals[side]:>20,}" if side in totals else f"{'none':>20}" for side in sides) +
              ("  MISSED: above " + ", ".join(above) if above else "  met"))
    print("\nwhose code the product's are")
    parts = ["product", *LIBRARIES.values(), "platform layer, rest"]
    print(f"{'':<22}" + "".join(f"{part:>22}" for part in parts))
    for operation in ORDER:
        print(f"{operation:<22}" + "".join(f"{rows[operation]['product'][part]:>22,}" for part in parts))
    return missed
