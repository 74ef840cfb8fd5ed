"""Checks that run a tool over the sources. Each yields the tool's own messages."""

import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import tempfile

from sources import PRODUCT

CLANG_FORMAT_MAJOR = "14"


class Unavailable(Exception):
    """The check cannot run here; the message says why. Reported as skipped, never as passed."""


def _run(command, directory=None):
    return subprocess.run(command, cwd=directory, capture_output=True, text=True, timeout=300)


def progress(done, of):
    """Called when another of a check's files is done; whoever waits for the check may replace it."""


def _each(job, items):
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for done, result in enumerate(pool.map(job, items), 1):
            progress(done, len(items))
            yield result


def formatting(tree):
    for program in (f"clang-format-{CLANG_FORMAT_MAJOR}", "clang-format"):
        path = shutil.which(program)
        version = _run([path, "--version"]).stdout if path else ""
        if re.search(rf"version {CLANG_FORMAT_MAJOR}\.", version):
            break
    else:
        raise Unavailable(f"the sources are formatted with clang-format {CLANG_FORMAT_MAJOR}; "
                          f"found: {version.strip() or 'none'}")
    names = tree.sources()
    chunks = [names[i:i + 20] for i in range(0, len(names), 20)]
    for result in _each(lambda c: _run([path, "--dry-run", "-Werror", "--style=file", *c], tree.root), chunks):
        seen = set()
        for line in result.stderr.splitlines():
            where = re.match(r"(\S+?):\d+:\d+: (?:error|warning)", line)
            if where and where.group(1) not in seen:
                seen.add(where.group(1))
                yield line
        if result.returncode != 0 and not seen:
            yield result.stderr.strip()


def compile_commands(tree, build, folders):
    """[(source, directory, arguments without output and launcher)] of the folders' files, as the build compiles them."""
    database = pathlib.Path(build) / "compile_commands.json"
    if not database.exists():
        raise Unavailable(f"{database} is missing; configure first (cmake --preset dev)")
    commands = {}
    for entry in json.loads(database.read_text()):
        source = os.path.realpath(os.path.join(entry["directory"], entry["file"]))
        name = os.path.relpath(source, tree.root)
        if name.split("/")[0] not in folders or name in commands:
            continue
        words = shlex.split(entry["command"])
        if "ccache" in os.path.basename(words[0]):
            words = words[1:]
        output = words.index("-o")
        del words[output:output + 2]
        words = [w for w in words if w not in ("-c", "-g", entry["file"])]
        commands[name] = (name, entry["directory"], words + [source])
    if not commands:
        raise Unavailable(f"nothing of {', '.join(folders)} is compiled here")
    return list(commands.values())


def _not_built(tree, commands, folders):
    known = {name for name, _, _ in commands}
    for name in tree.sources(*folders, suffixes=(".cc", ".mm", ".m")):
        if name not in known and not name.startswith("bundle/"):  # the containing app is built for macOS only
            yield f"{name}:1: the build does not compile it"


def _compiler_messages(command, name, directory):
    result = _run(command, directory)
    messages = [l for l in result.stderr.splitlines() if re.search(r": (warning|error|fatal error): ", l)]
    if result.returncode != 0 and not messages:
        messages = [f"{name}:1: {result.stderr.strip()[:500] or 'the compiler failed without a message'}"]
    return messages


def apple_dialect(tree, build, folders=PRODUCT):
    """The sources under Apple's Objective-C rules, with the platform's headers: what the Linux runtime lets pass."""
    gcc_only = ("-fobjc-runtime=", "-fconstant-string-class=", "-DGNU_RUNTIME", "-fsanitize", "-fprofile", "-fcoverage")

    def check(entry):
        name, directory, words = entry
        words = [w for w in words if not w.startswith(gcc_only)]
        return _compiler_messages([*words, "-fobjc-runtime=macosx-11.5", "-fblocks", "-fno-objc-arc", "-fsyntax-only",
                                   "-isystem", stubs, "-Wno-nullability-completeness"], name, directory)

    with tempfile.TemporaryDirectory() as stubs:
        os.mkdir(os.path.join(stubs, "objc"))
        pathlib.Path(stubs, "objc", "blocks_runtime.h").touch()  # GNUstep asks for it once blocks are on
        commands = compile_commands(tree, build, folders)
        yield from _not_built(tree, commands, folders)
        for messages in _each(check, commands):
            yield from messages


ANALYZER_CHECKERS = ("core", "cplusplus", "deadcode", "nullability", "unix", "security.insecureAPI.UncheckedReturn",
                     "osx.cocoa", "osx.coreFoundation", "osx.API", "osx.NumberObjectConversion",
                     "osx.OSObjectRetainCount")


def analyzer(tree, build, folders=PRODUCT):
    """clang's static analyzer: retain counts, CoreFoundation ownership, null dereferences, C++ lifetime."""
    def check(entry):
        name, directory, words = entry
        words = [w for w in words if not w.startswith(("-fsanitize", "-fprofile", "-fcoverage"))]
        while words.count("-arch") > 1:  # the analyzer takes one processor
            last = len(words) - 1 - words[::-1].index("-arch")
            del words[last:last + 2]
        enable = [w for c in ANALYZER_CHECKERS for w in ("-Xclang", "-analyzer-checker=" + c)]
        return _compiler_messages([*words, "--analyze", "--analyzer-output", "text", *enable,
                                   "-Xclang", "-analyzer-werror", "-o", os.devnull], name, directory)

    commands = compile_commands(tree, build, folders)
    yield from _not_built(tree, commands, folders)
    for messages in _each(check, commands):
        yield from messages


FILE_CHECKS = {"formatting": formatting}
COMPILER_CHECKS = {"apple_dialect": apple_dialect, "analyzer": analyzer}
