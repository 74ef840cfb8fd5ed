"""Checks that read the sources. Each yields one line per defect and begins it with file:line."""

import posixpath
import re

from sources import PRODUCT, SUFFIXES, matches

APPLE_HEADERS = ("Foundation/", "CoreFoundation/", "CryptoTokenKit/", "Security/", "os/")

# The only handlers of the product. A handler elsewhere would swallow what must reach the boundary.
CPP_HANDLERS = {
    "pkcs11/QELTokenException.cc": 1,
    "log/LogProvider.cc": 1,    # a logger that cannot be made is a failed creation
    "log/LogClient.cc": 1,      # whatever a provider throws fails no caller
    "log/QELLoggerImpl.cc": 1,  # a message that cannot be converted is lost
}
OBJC_HANDLERS = {
    "settings/SystemLog.m": 1,  # GNUstep's NSLog raises for a user without a name
    "token/NSExceptionSeam.m": 1,
}


def rows_of(tree, function):
    """{folder: words of its row} from the calls of `function` in CMakeLists.txt."""
    calls = matches(rf"(?m)^\s*{function}\(([\w/]+)\s*([^)]*)\)", tree.text("CMakeLists.txt"))
    return {row.group(1): row.group(2).split() for _, row in calls}


def used_by(words):
    """What stands behind USES in a row."""
    uses = set()
    for word in words[words.index("USES") + 1:] if "USES" in words else ():
        if word in ("APPLE", "LINK", "EXCEPT"):
            break
        uses.add(word)
    return uses


def folder_of(path, rooms):
    """The room or the top folder of a file."""
    parts = path.split("/")
    room = "/".join(parts[:2])
    return room if len(parts) > 2 and room in rooms else parts[0]


def include_arrows(tree):
    layers, rooms = rows_of(tree, "qel_layer"), rows_of(tree, "qel_room")
    if not layers:
        yield "CMakeLists.txt:1: no qel_layer rows found"
    houses = {room.split("/")[0] for room in rooms}
    allowed = {folder: used_by(words) for folder, words in {**layers, **rooms}.items()}
    # A house's own files are its programs' entries, which may use all of its rooms.
    allowed |= {house: {room for room in rooms if room.startswith(house + "/")} for house in houses}
    allowed |= {room: used_by(words) for room, words in rooms.items() if "/" not in room}
    allowed |= {"platform": set(), "bundle": {"report"}}
    folders = set(layers) | houses | {"platform", "bundle", "tests", "bench", "fuzz"}
    for name in tree.sources(*folders - {"tests", "bench", "fuzz"}):
        top, folder = name.split("/")[0], folder_of(name, rooms)
        if top in houses and "/" in name.split("/", 1)[1] and folder == top:
            yield f"{name}:1: {name.rsplit('/', 1)[0]}/ has no qel_room row in CMakeLists.txt"
        for line, found in matches(r'(?m)^\s*#\s*(?:include|import)\s*([<"])([^>"\n]+)[>"]', tree.text(name)):
            quoted, target = found.group(1) == '"', found.group(2)
            first, other = target.split("/")[0], folder_of(target, rooms)
            if quoted and first not in folders:
                if top in layers:
                    yield f'{name}:{line}: "{target}" does not start at the repository root'
            elif first in folders and other != folder and other not in allowed[folder]:
                yield f"{name}:{line}: {folder}/ includes {other}/; CMakeLists.txt declares no such arrow"
            elif folder in layers and "APPLE" not in layers[folder] and target.startswith(APPLE_HEADERS):
                yield f"{name}:{line}: {folder}/ includes {target}; its row in CMakeLists.txt lacks APPLE"
            if target.endswith("pkcs11.h") and folder in PRODUCT and name != "pkcs11/Cryptoki.h":
                yield f"{name}:{line}: PKCS#11 types enter through pkcs11/Cryptoki.h only"


def platform_conditionals(tree):
    pattern = (r"\b(__APPLE__|__MACH__|__linux__|__linux|__unix__|__GLIBC__|_WIN32|GNUSTEP\w*|GNU_RUNTIME|"
               r"__GNUSTEP_RUNTIME__|__NEXT_RUNTIME__|__OBJC2__|__OBJC_GNU_RUNTIME__|TARGET_OS_\w+|TARGET_CPU_\w+|"
               r"__has_include|__arm64__|__aarch64__|__x86_64__)\b")
    for name in tree.sources(*PRODUCT):
        for line, found in matches(pattern, tree.code(name)):
            yield f"{name}:{line}: platform conditional {found.group(1)} in a product folder"


def exception_handlers(tree):
    for name in tree.sources():
        code = tree.code(name)
        product = name.split("/")[0] in PRODUCT
        cpp = list(matches(r"(?<![@\w])catch\s*\(", code))
        objc = list(matches(r"@catch\b", code))
        if name.endswith(".mm"):
            for line, _ in cpp:
                yield f"{name}:{line}: a C++ handler in a .mm file is never entered on the Linux runtime; move it to a .cc"
            for line, found in matches(r"\b(?:EXPECT|ASSERT)_(?:NO_|ANY_)?THROW\b", code):
                yield f"{name}:{line}: {found.group(0)} in a .mm file terminates on the Linux runtime; move it to a .cc"
        elif product and len(cpp) > CPP_HANDLERS.get(name, 0):
            yield f"{name}:{cpp[-1][0]}: {len(cpp)} C++ handlers, {CPP_HANDLERS.get(name, 0)} allowed here"
        if product and len(objc) > OBJC_HANDLERS.get(name, 0):
            yield f"{name}:{objc[-1][0]}: {len(objc)} @catch, {OBJC_HANDLERS.get(name, 0)} allowed here"


def imports_tell_the_language(tree):
    """A product file imports the headers that are Objective-C and includes those that are C++."""
    for name in tree.sources(*PRODUCT):
        for line, found in matches(r'(?m)^[ \t]*#\s*(include|import)\s*"([^"\n]+)"', tree.text(name)):
            directive, header = found.groups()
            if not tree.exists(header):
                continue
            code = re.sub(r"(?ms)^#ifdef __OBJC__$.*?^#endif$", "", tree.text(header))
            language = "import" if re.search(r"(?m)^(#import|@(interface|protocol|class))\b", code) else "include"
            if directive != language:
                yield f'{name}:{line}: #{directive} "{header}"; write #{language}'


# Interfaces that one file only may call: macOS 12 deprecates the ASN.1 coder, so its replacement must stay one edit.
CONFINED = {r"\bSecAsn1\w+": "token/SignatureForms.mm"}


def confined_interfaces(tree):
    for name in tree.sources(*PRODUCT):
        for pattern, home in CONFINED.items():
            for line, found in matches(pattern, tree.code(name)) if name != home else ():
                yield f"{name}:{line}: {found.group(0)} is called in {home} only"


def forbidden_words(tree):
    patterns = [
        (r"(?i)\bspec[i]fications?\b", "names a document"),
        (r"\bspec[.]md\b|\bdesign[.]md\b|\bplatform-api[.]md\b|\bstyle-anchors[.]md\b", "names a document"),
        (r"\bPart [1-9][.][1-9]\b", "names a numbered section"),
        (r"(?<![\w.])/(?:work|root|tmp/bash_jobs)/", "machine path"),
        (r"(?<![\w.])/(?:home|Users)/(?!runner\b)[a-z]\w*/", "machine path"),
        (r"(?<![\w./])/op[t]/(?!homebrew\b|local\b)", "machine path"),
        (r"\b(?:TO[D]O|FIX[M]E|X[X]X)\b", "unfinished work; say it in an issue"),
    ]
    for name in tree.files:
        if name.endswith((".png", ".der", ".bin")):
            continue
        text = tree.text(name)
        for pattern, reason in patterns:
            for line, found in matches(pattern, text):
                yield f"{name}:{line}: '{found.group(0)}': {reason}"


WARN_LINES, PRODUCT_LINES, TEST_LINES = 400, 600, 800


def file_sizes(tree):
    for name in tree.sources():
        lines = tree.text(name).count("\n")
        limit = TEST_LINES if name.startswith("tests/") else PRODUCT_LINES
        if lines > limit:
            yield f"{name}:{lines}: {lines} lines, the limit is {limit}"
        elif lines > WARN_LINES and name.split("/")[0] in PRODUCT:
            yield f"warning: {name}:{lines}: {lines} lines, more than {WARN_LINES}"


def tests_have_a_target(tree):
    for name in tree.sources("tests", suffixes=(".cc", ".mm", ".m", ".c")):
        named_test = re.search(r"Test\.(cc|mm)$", name)
        holds_tests = re.search(r"(?m)^\s*(?:TYPED_)?TEST(?:_[FP])?\(", tree.code(name))
        if not (named_test or holds_tests):
            continue
        folder, file = name.rsplit("/", 1)
        listing = f"{folder}/CMakeLists.txt"
        if not tree.exists(listing) or "qel_add_tests" not in tree.text(listing):
            yield f"{name}:1: its folder has no CMakeLists.txt that calls qel_add_tests"
        elif "SOURCES" in tree.text(listing):
            if not re.search(rf"(?<![\w.]){re.escape(file)}\b|\*{re.escape(file[file.find('Test'):])}", tree.text(listing)):
                yield f"{name}:1: {listing} lists its sources, but not this one"
        elif not named_test:
            yield f"{name}:1: holds tests, but is not named *Test.cc or *Test.mm, so nothing builds it"


_FUNCTION = re.compile(r"(?:[-+] ?\(|(?!return\b|using\b|typedef\b|explicit\b|friend\b|virtual ~|[#@}~])"
                       r"[\w:<>,&*~\[\] ]+?\s[*&]*\w+\()")


def headers_documented(tree):
    """A group of function declarations in a product header begins with a comment; a blank line ends a group.

    Private members, constructors and what is defaulted, deleted or overridden may go without.
    """
    for name in tree.sources(*PRODUCT, suffixes=(".h",)):
        documented, continued, private = False, False, False
        for number, line in enumerate(map(str.strip, tree.text(name).splitlines()), 1):
            comment = line.startswith(("///", "/**", "*", "//"))
            if not line:
                documented = False
            elif comment or "///<" in line:
                documented = True
            elif re.match(r"(public|protected|private):$", line):
                documented, private = False, line == "private:"
            elif re.match(r"(class|struct)\b.*\{$", line):
                documented, private = False, line.startswith("class")
            elif line == "};":
                private = False
            elif line.endswith("{") and not _FUNCTION.match(line):
                documented = False
            elif _FUNCTION.match(line) and not (continued or documented or private) and \
                    not re.search(r"=\s*(default|delete)|\boverride\b", line):
                yield f"{name}:{number}: no comment: {line}"
                documented = True  # one line per group
            continued = bool(line) and not comment and not line.startswith(("@", "#")) and not line.endswith((";", "}", "{", ":"))


def named_tests(tree):
    """"Suite.Case" of every test."""
    return {f"{found.group(1)}.{found.group(2)}"
            for name in tree.sources("tests")
            for found in re.finditer(r"(?m)^\s*(?:TYPED_)?TEST(?:_[FP])?\(\s*(\w+),\s*(\w+)\s*\)", tree.code(name))}


def quirks_are_held(tree):
    """Each row of docs/quirks.md that names where a quirk stands names an existing file and existing tests that hold it."""
    if not tree.exists("docs/quirks.md"):
        return
    tests = named_tests(tree)
    for line, row in matches(r"(?m)^\| .* \|$", tree.text("docs/quirks.md")):
        cells = [cell.strip() for cell in row.group(0).strip("|").split(" | ")]
        if len(cells) != 4 or cells[1] == "where" or set(cells[0]) == {"-"}:
            continue
        file, held_by = cells[1].strip("`"), re.findall(r"`([^`]+)`", cells[2])
        if not tree.exists(file):
            yield f"docs/quirks.md:{line}: there is no {file}"
        if not held_by:
            yield f"docs/quirks.md:{line}: no test holds this"
        for test in held_by:
            if test not in tests:
                yield f"docs/quirks.md:{line}: there is no test {test}"


def _anchors(text):
    """What the headings of a page are linked by."""
    headings = re.findall(r"(?m)^#+ +(.*)$", text)
    return {re.sub(r"[^\w\- ]", "", heading.strip().lower()).replace(" ", "-") for heading in headings}


def pages_name_what_is_there(tree):
    """Links of the pages lead to files and headings; files, scripts and tests that they name exist."""
    tests, tops = named_tests(tree), {name.split("/")[0] for name in tree.files if "/" in name}
    suites = {test.split(".")[0] for test in tests}
    for name in tree.files:
        if not name.endswith(".md"):
            continue
        text, folder = tree.text(name), posixpath.dirname(name)
        for line, link in matches(r"\]\((?!https?:)([^)#\s]*)#?([^)\s]*)\)", text):
            target = posixpath.normpath(posixpath.join(folder, link.group(1))) if link.group(1) else name
            if not tree.exists(target):
                yield f"{name}:{line}: the link leads to no file: {link.group(1)}"
            elif link.group(2) and link.group(2) not in _anchors(tree.text(target)):
                yield f"{name}:{line}: {target} has no heading #{link.group(2)}"
        for line, word in matches(r"`([a-z]+/[\w./+*-]*)[^`\n]*`|(?<![\w/])(script/\w[\w./-]*)", text):
            path = (word.group(1) or word.group(2)).rstrip("./")
            if path.split("/")[0] in tops and not any(tree.root.glob(path)):
                yield f"{name}:{line}: there is no {path}"
        for line, test in matches(r"`(\w+)\.([A-Z]\w*)[^`\n]*`", text):
            if folder == "docs" and test.group(1) in suites and f"{test.group(1)}.{test.group(2)}" not in tests:
                yield f"{name}:{line}: there is no test {test.group(1)}.{test.group(2)}"


CHECKS = {
    "include_arrows": include_arrows,
    "platform_conditionals": platform_conditionals,
    "exception_handlers": exception_handlers,
    "imports_tell_the_language": imports_tell_the_language,
    "confined_interfaces": confined_interfaces,
    "forbidden_words": forbidden_words,
    "file_sizes": file_sizes,
    "tests_have_a_target": tests_have_a_target,
    "headers_documented": headers_documented,
    "quirks_are_held": quirks_are_held,
    "pages_name_what_is_there": pages_name_what_is_there,
}
